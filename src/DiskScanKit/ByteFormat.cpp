#include "DiskScanKit/ByteFormat.h"

#include <array>
#include <cstdio>

namespace tessel::ByteFormat {

std::string string(std::int64_t bytes) {
    if (bytes < 1000) return std::to_string(bytes) + " bytes";
    static constexpr std::array<const char*, 6> units{"bytes", "KB", "MB", "GB", "TB", "PB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 1000 && unit + 1 < units.size()) {
        value /= 1000;
        ++unit;
    }
    char text[64];
    std::snprintf(text, sizeof text, value >= 100 ? "%.0f %s" : "%.1f %s", value, units[unit]);
    return text;
}

std::string padded(std::int64_t bytes, int width) {
    std::string text = string(bytes);
    if (width > 0 && text.size() < static_cast<std::size_t>(width))
        text.insert(0, static_cast<std::size_t>(width) - text.size(), ' ');
    return text;
}

} // namespace tessel::ByteFormat
