#pragma once
// Where the machine's memory is, in bytes, and how hard the system is working
// to find more. See MemorySampler.h for where each figure comes from.

#include <cstdint>
#include <optional>
#include <string_view>

namespace tessel {

// The raw values are fixed (0, 1, 2) because histories and stored samples
// keep them as numbers.
enum class MemoryPressure : int { normal = 0, warning = 1, critical = 2 };

struct MemoryUsage {
    using Pressure = MemoryPressure;

    std::uint64_t total = 0;
    std::uint64_t app = 0;
    std::uint64_t wired = 0;
    std::uint64_t compressed = 0;
    std::uint64_t cached = 0;
    std::uint64_t free = 0;
    // None where the kernel does not measure it.
    std::optional<Pressure> pressure;

    std::uint64_t used() const { return app + wired + compressed; }
    // used / total; 0 when the total is 0.
    double usedFraction() const { return total == 0 ? 0 : static_cast<double>(used()) / static_cast<double>(total); }

    bool operator==(const MemoryUsage&) const = default;
};

constexpr std::string_view label(MemoryPressure pressure) {
    switch (pressure) {
    case MemoryPressure::normal: return "Normal";
    case MemoryPressure::warning: return "Warning";
    case MemoryPressure::critical: return "Critical";
    }
    return "Normal";
}

} // namespace tessel
