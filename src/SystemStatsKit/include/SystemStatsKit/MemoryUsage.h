#pragma once
// How hard the system is working to find memory. The raw values are fixed
// (0, 1, 2) because histories and stored samples keep them as numbers.

#include <string_view>

namespace tessel {

enum class MemoryPressure : int { normal = 0, warning = 1, critical = 2 };

struct MemoryUsage {
    using Pressure = MemoryPressure;
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
