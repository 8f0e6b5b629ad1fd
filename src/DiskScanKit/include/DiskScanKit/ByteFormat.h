#pragma once
// Sizes as people read them: decimal units, "999 bytes", "1.0 KB", "100 KB".

#include <cstdint>
#include <string>

namespace tessel::ByteFormat {

std::string string(std::int64_t bytes);
std::string padded(std::int64_t bytes, int width);

} // namespace tessel::ByteFormat
