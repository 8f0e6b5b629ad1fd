#pragma once
// What the Monitor room says of the machine beside its readings: its model,
// its system, its processor, how long it has been up, its swap, how full its
// memory is and its load averages. Each is read when asked, and is none
// where the machine does not tell.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "SystemStatsKit/SystemRoots.h"

namespace tessel::SystemFacts {

// The firmware's product name (/sys/class/dmi/id/product_name), leaving out
// the placeholders of boards nobody named ("To be filled by O.E.M."); else the
// device tree's model (/sys/firmware/devicetree/base/model) of a board
// without that firmware, its trailing NUL trimmed.
std::optional<std::string> modelName(const SystemRoots& roots = {});
// PRETTY_NAME of the system's os-release (/etc/os-release, else
// /usr/lib/os-release, under `systemRoot`), then the kernel's release in
// parentheses: "Debian GNU/Linux 12 (bookworm) (Linux 6.1.0-18-amd64)".
std::optional<std::string> systemVersion(const SystemRoots& roots = {}, const std::string& systemRoot = "/");
// The first "model name" of /proc/cpuinfo, its blanks trimmed.
std::optional<std::string> processorName(const SystemRoots& roots = {});
// Seconds since boot, from /proc/uptime.
std::optional<double> uptime(const SystemRoots& roots = {});
// Swap in use and swap there is, in bytes, from /proc/meminfo.
struct Swap {
    std::uint64_t used = 0;
    std::uint64_t total = 0;
    bool operator==(const Swap&) const = default;
};
std::optional<Swap> swap(const SystemRoots& roots = {});
// How full memory is, in percent: 100 minus the share of MemAvailable, what
// programs could still have without swapping. None past 100 either way.
std::optional<int> memoryLevel(const SystemRoots& roots = {});
// The average number of tasks running or waiting over 1, 5 and 15 minutes.
std::optional<std::array<double, 3>> loadAverages(const SystemRoots& roots = {});

// The value of KEY=value in an os-release text, its quotes taken off.
std::optional<std::string> osReleaseValue(std::string_view text, std::string_view key);

} // namespace tessel::SystemFacts
