#include "SystemStatsKit/SystemFacts.h"

#include <algorithm>
#include <cmath>

#include "Base/Lines.h"
#include "KernelFiles.h"
#include "Meminfo.h"
#include "SystemStatsKit/MountTable.h"

namespace tessel::SystemFacts {

namespace {

std::optional<std::string> nonEmpty(std::string_view text) {
    const std::string_view kept = trimmed(text, std::string_view(" \t\n\0", 4));
    if (kept.empty()) return std::nullopt;
    return std::string(kept);
}

std::optional<Meminfo::Fields> meminfo(const SystemRoots& roots) {
    const std::optional<std::string> text = KernelFiles::text(roots.proc + "/meminfo");
    if (!text) return std::nullopt;
    return Meminfo::parse(*text);
}

} // namespace

std::optional<std::string> modelName(const SystemRoots& roots) {
    if (std::optional<std::string> product = KernelFiles::line(roots.sys + "/class/dmi/id/product_name")) {
        static const std::string_view placeholders[] = {"To be filled by O.E.M.", "System Product Name", "Default string", "Not Applicable"};
        std::optional<std::string> name = nonEmpty(*product);
        if (name && std::find(std::begin(placeholders), std::end(placeholders), *name) == std::end(placeholders)) return name;
    }
    const std::optional<std::string> model = KernelFiles::text(roots.sys + "/firmware/devicetree/base/model");
    return model ? nonEmpty(*model) : std::nullopt;
}

std::optional<std::string> osReleaseValue(std::string_view text, std::string_view key) {
    std::optional<std::string> value;
    forEachLine(text, [&](std::string_view line) {
        if (!line.starts_with(key) || line.size() <= key.size() || line[key.size()] != '=') return;
        std::string_view raw = trimmed(line.substr(key.size() + 1));
        if (raw.size() >= 2 && (raw.front() == '"' || raw.front() == '\'') && raw.back() == raw.front())
            raw = raw.substr(1, raw.size() - 2);
        value = nonEmpty(raw);
    });
    return value;
}

std::optional<std::string> systemVersion(const SystemRoots& roots, const std::string& systemRoot) {
    // /etc/os-release is usually a link to the other, and the safe reader follows no link.
    std::optional<std::string> name;
    for (const char* file : {"/etc/os-release", "/usr/lib/os-release"}) {
        const std::optional<std::string> release = KernelFiles::text(MountTable::onSystem(systemRoot, file));
        if (release && (name = osReleaseValue(*release, "PRETTY_NAME"))) break;
    }
    const std::optional<std::string> kernel = KernelFiles::line(roots.proc + "/sys/kernel/osrelease");
    if (!kernel || kernel->empty()) return name;
    return (name ? *name + " (" : "(") + "Linux " + *kernel + ")";
}

std::optional<std::string> processorName(const SystemRoots& roots) {
    const std::optional<std::string> cpuinfo = KernelFiles::text(roots.proc + "/cpuinfo");
    if (!cpuinfo) return std::nullopt;
    std::optional<std::string> name;
    forEachLine(*cpuinfo, [&](std::string_view line) {
        const std::size_t colon = line.find(':');
        if (!name && colon != std::string_view::npos && trimmed(line.substr(0, colon)) == "model name")
            name = nonEmpty(line.substr(colon + 1));
    });
    return name;
}

std::optional<double> uptime(const SystemRoots& roots) {
    const std::optional<std::string> text = KernelFiles::line(roots.proc + "/uptime");
    const std::vector<std::string_view> words = text ? KernelFiles::words(*text) : std::vector<std::string_view>{};
    return words.empty() ? std::nullopt : KernelFiles::parseDecimal(words[0]);
}

std::optional<Swap> swap(const SystemRoots& roots) {
    const std::optional<Meminfo::Fields> fields = meminfo(roots);
    if (!fields) return std::nullopt;
    auto total = fields->find("SwapTotal"), free = fields->find("SwapFree");
    if (total == fields->end() || free == fields->end()) return std::nullopt;
    return Swap{total->second > free->second ? total->second - free->second : 0, total->second};
}

std::optional<int> memoryLevel(const SystemRoots& roots) {
    const std::optional<Meminfo::Fields> fields = meminfo(roots);
    if (!fields) return std::nullopt;
    auto total = fields->find("MemTotal"), available = fields->find("MemAvailable");
    if (total == fields->end() || available == fields->end() || total->second == 0 || available->second > total->second)
        return std::nullopt;
    return 100 - static_cast<int>(std::lround(100.0 * static_cast<double>(available->second) / static_cast<double>(total->second)));
}

std::optional<std::array<double, 3>> loadAverages(const SystemRoots& roots) {
    const std::optional<std::string> text = KernelFiles::line(roots.proc + "/loadavg");
    const std::vector<std::string_view> words = text ? KernelFiles::words(*text) : std::vector<std::string_view>{};
    if (words.size() < 3) return std::nullopt;
    std::array<double, 3> averages{};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::optional<double> value = KernelFiles::parseDecimal(words[i]);
        if (!value) return std::nullopt;
        averages[i] = *value;
    }
    return averages;
}

} // namespace tessel::SystemFacts
