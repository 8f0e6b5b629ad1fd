#pragma once
// Linux names are bytes, and text that must be UTF-8 (JSON, a terminal, a
// page) can't always hold them as they are. A name is then shown with its bad
// bytes replaced, and carried exactly beside that as base64, so that nothing a
// person or a script is told ever names a different file.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tessel {

namespace Utf8 {
// The length of the well-formed UTF-8 sequence at the start of `text`, or 0:
// no overlong forms, no surrogates, nothing above U+10FFFF.
std::size_t sequenceLength(std::string_view text);
bool isValid(std::string_view text);
// Each byte that starts no well-formed sequence becomes U+FFFD.
std::string repaired(std::string_view text);
// The code point of a well-formed sequence of `sequenceLength` bytes.
char32_t codePoint(std::string_view sequence);
// Appends the UTF-8 bytes of `code`; a surrogate or a value above U+10FFFF as U+FFFD.
void append(std::string& out, char32_t code);
} // namespace Utf8

// The standard alphabet with padding (RFC 4648, section 4).
namespace Base64 {
std::string encode(std::string_view bytes);
// None for anything but well-formed, padded base64.
std::optional<std::string> decode(std::string_view text);
} // namespace Base64

} // namespace tessel
