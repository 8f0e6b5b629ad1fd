#include "SystemStatsKit/MemorySampler.h"

#include "Base/Lines.h"
#include "KernelFiles.h"
#include "Meminfo.h"

namespace tessel {

namespace {

// "some avg10=12.50 avg60=..." -> 12.5 for the line that starts with `kind`.
std::optional<double> tenSecondShare(std::string_view psi, std::string_view kind) {
    std::optional<double> share;
    forEachLine(psi, [&](std::string_view line) {
        const std::vector<std::string_view> words = KernelFiles::words(line);
        if (words.size() < 2 || words[0] != kind || !words[1].starts_with("avg10=")) return;
        share = KernelFiles::parseDecimal(words[1].substr(6));
    });
    return share;
}

} // namespace

MemorySampler::MemorySampler(SystemRoots roots) : roots_(std::move(roots)) {}

std::optional<MemoryUsage> MemorySampler::fromMeminfo(std::string_view meminfo, std::uint64_t zramBytes) {
    const Meminfo::Fields fields = Meminfo::parse(meminfo);
    auto field = [&](std::string_view name) -> std::uint64_t {
        auto found = fields.find(name);
        return found == fields.end() ? 0 : found->second;
    };
    for (std::string_view required : {"MemTotal", "MemFree", "AnonPages", "Cached"})
        if (!fields.contains(required)) return std::nullopt;
    MemoryUsage usage;
    usage.total = field("MemTotal");
    usage.app = field("AnonPages");
    usage.wired = field("Unevictable") + field("SUnreclaim") + field("KernelStack") + field("PageTables");
    usage.compressed = field("Zswap") + std::min(zramBytes, Meminfo::largestKilobytes * 1024);
    const std::uint64_t dropped = field("Buffers") + field("Cached") + field("SReclaimable");
    usage.cached = dropped > field("Shmem") ? dropped - field("Shmem") : 0;
    usage.free = field("MemFree");
    return usage;
}

std::optional<MemoryPressure> MemorySampler::pressureFrom(std::string_view psi) {
    const std::optional<double> some = tenSecondShare(psi, "some");
    const std::optional<double> full = tenSecondShare(psi, "full");
    if (!some && !full) return std::nullopt;
    if (full && *full >= 10) return MemoryPressure::critical;
    if (some && *some >= 10) return MemoryPressure::warning;
    return MemoryPressure::normal;
}

std::uint64_t MemorySampler::zramBytes() const {
    std::uint64_t bytes = 0;
    const std::optional<std::vector<std::string>> devices = KernelFiles::entries(roots_.sys + "/block");
    if (!devices) return 0;
    for (const std::string& device : *devices) {
        if (!device.starts_with("zram")) continue;
        // orig_data_size compr_data_size mem_used_total ...
        const std::optional<std::string> stat = KernelFiles::line(roots_.sys + "/block/" + device + "/mm_stat");
        const std::vector<std::string_view> words = stat ? KernelFiles::words(*stat) : std::vector<std::string_view>{};
        if (words.size() < 3) continue;
        if (std::optional<std::uint64_t> used = KernelFiles::parseUnsigned(words[2]); used && *used <= Meminfo::largestKilobytes)
            bytes += *used;
    }
    return bytes;
}

std::optional<MemoryUsage> MemorySampler::sample() {
    const std::string path = roots_.proc + "/meminfo";
    const std::optional<std::string> text = KernelFiles::text(path, &failure_);
    if (!text) return std::nullopt;
    std::optional<MemoryUsage> usage = fromMeminfo(*text, zramBytes());
    if (!usage) {
        failure_ = path + " lacks MemTotal, MemFree, AnonPages or Cached";
        return std::nullopt;
    }
    usage->pressure = readPressure();
    failure_.clear();
    return usage;
}

std::optional<MemoryPressure> MemorySampler::readPressure() {
    const std::optional<std::string> psi = KernelFiles::line(roots_.proc + "/pressure/memory");
    return psi ? pressureFrom(*psi) : std::nullopt;
}

} // namespace tessel
