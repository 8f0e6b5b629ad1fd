// Decoding the controller's answers. A key's value comes back as up to 32
// bytes and a four-character type that says how to read them:
//
//     "ui16" 0x12 0x34   ->  0x1234        = 4660
//     "fpe2" 0x12 0x34   ->  0x1234 * 0.25 = 1165   (rpm, in quarters)
//
// Fans: "#KEY" (how many keys there are) proves the controller answers at all;
// "FNum" counts the fans, and a count above 8 is not believed; fan i's speed
// is "F" i "Ac".

#include "SystemStatsKit/SmcValues.h"

#include <cstring>
#include <string>

namespace tessel::SmcValues {

namespace {

std::uint64_t bigEndian(std::span<const std::uint8_t> bytes, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) value = value << 8 | bytes[i];
    return value;
}

} // namespace

std::optional<double> decode(std::string_view type, std::span<const std::uint8_t> bytes) {
    if (bytes.empty() || bytes.size() > 32) return std::nullopt;
    auto needs = [&](std::size_t count) { return bytes.size() >= count; };
    if (type == "ui8 " && needs(1)) return bytes[0];
    if (type == "ui16" && needs(2)) return static_cast<double>(bigEndian(bytes, 2));
    if (type == "ui32" && needs(4)) return static_cast<double>(bigEndian(bytes, 4));
    if (type == "fpe2" && needs(2)) return static_cast<double>(bigEndian(bytes, 2)) * 0.25;
    if (type == "flt " && needs(4)) {
        float value = 0;
        std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }
    return std::nullopt;
}

std::optional<std::vector<FanReader::Fan>> fans(const std::function<std::optional<double>(std::string_view key)>& value) {
    const std::optional<double> keys = value("#KEY");
    if (!keys || !(*keys > 0)) return std::nullopt;
    std::vector<FanReader::Fan> found;
    const std::optional<double> count = value("FNum");
    if (!count || !(*count >= 1) || *count > 8) return found;
    for (int i = 0; i < static_cast<int>(*count); ++i) {
        const std::optional<double> rpm = value("F" + std::to_string(i) + "Ac");
        if (rpm && FanReader::believable(*rpm)) found.push_back({i, *rpm, "Fan " + std::to_string(i + 1)});
    }
    return found;
}

} // namespace tessel::SmcValues
