#include "TerminalText.h"

#include <cstdio>

#include "DiskScanKit/NameBytes.h"

namespace tessel::cli {

namespace {

// Characters that reorder the text around them on screen: a name holding one
// can make what follows it read backwards ("exe.txt" shown for "txt.exe").
bool isBidiControl(char32_t point) { return (point >= 0x202A && point <= 0x202E) || (point >= 0x2066 && point <= 0x2069); }

} // namespace

std::string printable(std::string_view text) {
    std::string shown;
    shown.reserve(text.size());
    char escape[8];
    while (!text.empty()) {
        const std::size_t length = Utf8::sequenceLength(text);
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
        if (length == 3 && isBidiControl(Utf8::codePoint(text.substr(0, 3)))) {
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(Utf8::codePoint(text.substr(0, 3))));
            shown += escape;
            text.remove_prefix(3);
            continue;
        }
        if (lead == '\\') shown += '\\';
        shown.append(text.substr(0, length));
        text.remove_prefix(length);
    }
    return shown;
}

} // namespace tessel::cli
