#pragma once
// What a Mac's system management controller answers, decoded: a key's bytes
// by its four-character type, and the fans from the keys that count them.
// Pure functions, so that the decoding is tested on every platform; the
// controller itself is reached only on a Mac.

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "SystemStatsKit/FanReader.h"

namespace tessel::SmcValues {

// "ui8 " one byte; "ui16" and "ui32" big-endian; "flt " a 32-bit float in the
// machine's order; "fpe2" two bytes big-endian times 0.25. None for another
// type, for no bytes or more than 32, or for fewer bytes than the type needs.
std::optional<double> decode(std::string_view type, std::span<const std::uint8_t> bytes);

// The fans, given a way to read a key's decoded value: none unless "#KEY"
// reads above 0; empty when "FNum" can't be read, is 0 or is above 8; then
// "F0Ac", "F1Ac"... each kept when it reads from 0 up to 12,000 rpm.
std::optional<std::vector<FanReader::Fan>> fans(const std::function<std::optional<double>(std::string_view key)>& value);

} // namespace tessel::SmcValues
