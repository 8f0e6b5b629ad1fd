#include "TerminalText.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace tessel::cli {
namespace {

TEST(TerminalText, OnlyValidUtf8ThatCannotMoveTheCursorOrReorderTheLineIsKept) {
    const std::vector<std::pair<std::string, std::string>> cases{
        // Valid UTF-8, as it is.
        {"Straße 자백 \xf0\x9f\x98\x80", "Straße 자백 \xf0\x9f\x98\x80"},
        {"\xed\x9f\xbf\xf4\x8f\xbf\xbf", "\xed\x9f\xbf\xf4\x8f\xbf\xbf"},
        {"\xe2\x80\xa9\xe2\x81\xaa", "\xe2\x80\xa9\xe2\x81\xaa"}, // the neighbours of the reordering range
        // Control characters, so that a name stays on one line and changes nothing on screen.
        {"a\nb\tc\rd", "a\\nb\\tc\\rd"},
        {"\x1b[2Jx del\x7f", "\\x1b[2Jx del\\x7f"},
        {std::string("nul\0!", 5), "nul\\x00!"},
        // C1 controls are valid UTF-8, but U+009B acts as an escape sequence on some terminals.
        {"\xc2\x9b" "2J\xc2\x80", "\\xc2\\x9b2J\\xc2\\x80"},
        // Characters that reorder the line: U+202E would make the rest read backwards.
        {"photo\xe2\x80\xaegpj.exe", "photo\\u202egpj.exe"},
        {"\xe2\x80\xaa\xe2\x81\xa6\xe2\x81\xa9", "\\u202a\\u2066\\u2069"},
        // Every byte that is not part of valid UTF-8.
        {"bad\xff", "bad\\xff"},
        {"\x80x", "\\x80x"},                           // a continuation byte alone
        {"\xe2\x82", "\\xe2\\x82"},                    // cut short at the end
        {"\xe2\x82x", "\\xe2\\x82x"},                  // cut short by an ASCII byte
        {"\xc0\xaf\xe0\x80\xaf", "\\xc0\\xaf\\xe0\\x80\\xaf"}, // overlong "/"
        {"\xed\xa0\x80", "\\xed\\xa0\\x80"},           // a UTF-16 surrogate
        {"\xf4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"}, // above U+10FFFF
        {"\xf8\x88\x80\x80\x80", "\\xf8\\x88\\x80\\x80\\x80"},
        {"\xff\xc3\xa9", "\\xff\xc3\xa9"},             // what follows a bad byte survives
        // Backslashes doubled, so that an escape is never ambiguous.
        {"a\\nb \\xff", "a\\\\nb \\\\xff"},
    };
    for (const auto& [text, shown] : cases) EXPECT_EQ(printable(text), shown) << shown;
}

} // namespace
} // namespace tessel::cli
