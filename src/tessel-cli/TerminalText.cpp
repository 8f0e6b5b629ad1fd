#include "TerminalText.h"

#include <cstdio>

namespace tessel::cli {

namespace {

// Length of the valid UTF-8 sequence at the start of `text`, or 0.
std::size_t utf8SequenceLength(std::string_view text) {
    auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char lead = byte(0);
    std::size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xe ? 3 : (lead >> 3) == 0x1e ? 4 : 0;
    if (length == 0 || length > text.size()) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xc0) != 0x80) return 0;
    if (length == 2 && lead < 0xc2) return 0; // overlong
    if (length == 3) {
        unsigned second = byte(1);
        if (lead == 0xe0 && second < 0xa0) return 0;                 // overlong
        if (lead == 0xed && second >= 0xa0) return 0;                // surrogate
    }
    if (length == 4) {
        unsigned second = byte(1);
        if ((lead == 0xf0 && second < 0x90) || lead > 0xf4 || (lead == 0xf4 && second >= 0x90)) return 0;
    }
    return length;
}

} // namespace

std::string printable(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    char escape[8];
    while (!text.empty()) {
        std::size_t length = utf8SequenceLength(text);
        auto lead = static_cast<unsigned char>(text[0]);
        // U+0080 to U+009F are valid UTF-8, yet some terminals obey them as they obey
        // ESC (U+009B is a one-character CSI), so they are escaped byte by byte too.
        const bool c1Control = length == 2 && lead == 0xc2 && static_cast<unsigned char>(text[1]) < 0xa0;
        if (length == 0 || c1Control || (length == 1 && (lead < 0x20 || lead == 0x7f))) {
            if (lead == '\n') shown += "\\n";
            else if (lead == '\t') shown += "\\t";
            else if (lead == '\r') shown += "\\r";
            else {
                std::snprintf(escape, sizeof escape, "\\x%02x", lead);
                shown += escape;
            }
            text.remove_prefix(1);
            continue;
        }
        if (lead == '\\') shown += '\\';
        shown.append(text.substr(0, length));
        text.remove_prefix(length);
    }
    return shown;
}

std::string groupDigits(std::int64_t number) {
    const std::uint64_t magnitude =
        number < 0 ? 0 - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
    const std::string digits = std::to_string(magnitude);
    std::string grouped;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) grouped += ',';
        grouped += digits[i];
    }
    return number < 0 ? "-" + grouped : grouped;
}

std::string counted(std::int64_t count, const char* one, const char* many) {
    return groupDigits(count) + " " + (count == 1 ? one : many);
}

std::string seconds(double value) {
    char text[32];
    std::snprintf(text, sizeof text, value < 10 ? "%.2f s" : "%.1f s", value);
    return text;
}

} // namespace tessel::cli
