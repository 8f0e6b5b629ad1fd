#pragma once
// Text meant for a person at a terminal. File names can hold anything but a
// "/" and a NUL: a newline, an escape sequence, bytes that are not UTF-8. They
// are shown with visible escapes so that one name stays on one line and
// can't move the cursor.

#include <string>
#include <string_view>

namespace tessel::cli {

std::string printable(std::string_view text);

} // namespace tessel::cli
