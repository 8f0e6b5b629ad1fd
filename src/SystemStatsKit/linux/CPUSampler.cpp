#include "SystemStatsKit/CPUSampler.h"

#include <algorithm>

#include "Base/Lines.h"
#include "KernelFiles.h"

namespace tessel {

namespace {

// "cpu  3063819 662278 1020353 3234754 31115 0 6875 1528 0 0":
// user nice system idle iowait irq softirq steal guest guest_nice. Kernels
// before 2.6.11 wrote fewer columns; the missing ones count as 0.
std::optional<CPUTicks> ticksOf(const std::vector<std::string_view>& words) {
    if (words.size() < 5) return std::nullopt;
    std::uint64_t column[8] = {};
    for (std::size_t i = 0; i < 8 && i + 1 < words.size(); ++i) {
        const std::optional<std::uint64_t> value = KernelFiles::parseUnsigned(words[i + 1]);
        if (!value) return std::nullopt;
        column[i] = *value;
    }
    const auto [user, nice, system, idle, iowait, irq, softirq, steal] = column;
    return CPUTicks{user, system + irq + softirq + steal, idle + iowait, nice};
}

} // namespace

CPUSampler::CPUSampler(std::string procRoot) : path_(std::move(procRoot) + "/stat") {}

std::optional<ProcessorTicks> CPUSampler::parse(std::string_view procStat) {
    std::optional<ProcessorTicks> reading;
    std::vector<std::pair<int, CPUTicks>> cores;
    forEachLine(procStat, [&](std::string_view line) {
        if (!line.starts_with("cpu")) return;
        const std::vector<std::string_view> words = KernelFiles::words(line);
        const std::optional<CPUTicks> ticks = ticksOf(words);
        if (!ticks) return;
        if (words[0] == "cpu") {
            reading = ProcessorTicks{*ticks, {}};
        } else if (std::optional<std::int64_t> core = KernelFiles::parseInteger(words[0].substr(3));
                   core && *core >= 0 && *core < (1 << 20)) {
            cores.emplace_back(static_cast<int>(*core), *ticks);
        }
    });
    if (reading) reading->cores = std::move(cores);
    return reading;
}

std::optional<CPULoad> CPUSampler::sample() {
    cores_.clear();
    const std::optional<std::string> text = KernelFiles::text(path_, &failure_);
    std::optional<ProcessorTicks> current = text ? parse(*text) : std::nullopt;
    if (!current) {
        if (text) failure_ = path_ + " holds no line of processor ticks";
        return std::nullopt;
    }
    coreCount_ = static_cast<int>(current->cores.size());
    if (!previous_) {
        previous_ = std::move(current);
        failure_ = "a load needs two readings of " + path_ + ", and this was the first";
        return std::nullopt;
    }
    const std::optional<CPULoad> load = CPULoad::between(previous_->all, current->all);
    if (!load) {
        failure_ = "no tick went by since the last reading of " + path_;
        return std::nullopt;
    }
    const auto& earlier = previous_->cores;
    for (std::size_t i = 0; i < current->cores.size(); ++i) {
        const auto& [core, ticks] = current->cores[i];
        // The same place in both readings, unless a core came or went.
        auto before = i < earlier.size() && earlier[i].first == core
                          ? earlier.begin() + static_cast<std::ptrdiff_t>(i)
                          : std::find_if(earlier.begin(), earlier.end(), [&](const auto& entry) { return entry.first == core; });
        cores_.push_back({core, before == earlier.end() ? std::nullopt : CPULoad::between(before->second, ticks)});
    }
    previous_ = std::move(current);
    failure_.clear();
    return load;
}

void CPUSampler::reset() {
    previous_.reset();
    cores_.clear();
}

} // namespace tessel
