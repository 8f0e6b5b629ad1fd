#pragma once
// Text meant for a person at a terminal. File names can hold anything but a
// "/" and a NUL: a newline, an escape sequence, bytes that are not UTF-8. They
// are shown with visible escapes so that one name stays on one line and
// can't move the cursor.

#include <cstdint>
#include <string>
#include <string_view>

namespace tessel::cli {

std::string printable(std::string_view text);
// 1234567 -> "1,234,567"
std::string groupDigits(std::int64_t number);
// "1 folder", "2,003 folders"
std::string counted(std::int64_t count, const char* one, const char* many);
std::string seconds(double value);

} // namespace tessel::cli
