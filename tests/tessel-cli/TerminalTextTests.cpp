#include "TerminalText.h"

#include <gtest/gtest.h>

namespace tessel::cli {
namespace {

TEST(TerminalText, OnlyValidUtf8ThatCannotMoveTheCursorOrReorderTheLineIsKept) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"Straße 자백 \xf0\x9f\x98\x80", "Straße 자백 \xf0\x9f\x98\x80"},
        {"\xed\x9f\xbf\xf4\x8f\xbf\xbf\xe2\x80\xa9\xe2\x81\xaa", "\xed\x9f\xbf\xf4\x8f\xbf\xbf\xe2\x80\xa9\xe2\x81\xaa"}, // the edges of each range
        // Control characters, so that a name stays on one line and changes nothing on screen.
        {"a\nb\tc\x1b[2J del\x7f", "a\\nb\\tc\\x1b[2J del\\x7f"},
        {std::string("nul\0!", 5), "nul\\x00!"},
        // C1 controls are valid UTF-8, but U+009B acts as an escape sequence on some terminals.
        {"\xc2\x9b" "2J", "\\xc2\\x9b2J"},
        // Characters that reorder the line: U+202E would make the rest read backwards.
        {"photo\xe2\x80\xaegpj.exe\xe2\x81\xa9", "photo\\u202egpj.exe\\u2069"},
        // Every byte that is not part of valid UTF-8, and what follows a bad byte survives.
        {"\x80x\xe2\x82x\xff\xc3\xa9\xe2\x82", "\\x80x\\xe2\\x82x\\xff\xc3\xa9\\xe2\\x82"}, // alone, cut short, at the end
        {"\xc0\xaf\xed\xa0\x80\xf4\x90\x80\x80", "\\xc0\\xaf\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80"}, // overlong, surrogate, too high
        // Backslashes doubled, so that an escape is never ambiguous.
        {"a\\nb \\xff", "a\\\\nb \\\\xff"},
    };
    for (const auto& [text, shown] : cases) EXPECT_EQ(printable(text), shown) << shown;
}

} // namespace
} // namespace tessel::cli
