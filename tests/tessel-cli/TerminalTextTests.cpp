#include "TerminalText.h"

#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace tessel::cli {
namespace {

TEST(TerminalText, KeepsValidUtf8AsItIs) {
    for (const char* text : {"Straße", "자백", "smile \xf0\x9f\x98\x80", "no-break\xc2\xa0space",
                             "\xed\x9f\xbf", "\xf4\x8f\xbf\xbf", "-rf with spaces"})
        EXPECT_EQ(printable(text), text);
}

TEST(TerminalText, EscapesControlCharactersSoANameStaysOnOneLine) {
    EXPECT_EQ(printable("a\nb\tc\rd"), "a\\nb\\tc\\rd");
    EXPECT_EQ(printable("\x1b[2Jx"), "\\x1b[2Jx");
    EXPECT_EQ(printable("del\x7f"), "del\\x7f");
    EXPECT_EQ(printable(std::string_view("nul\0!", 5)), "nul\\x00!");
    // C1 controls are valid UTF-8, but U+009B acts as an escape sequence on some terminals.
    EXPECT_EQ(printable("\xc2\x9b" "2J"), "\\xc2\\x9b2J");
    EXPECT_EQ(printable("\xc2\x80"), "\\xc2\\x80");
}

TEST(TerminalText, EscapesEveryByteThatIsNotPartOfValidUtf8) {
    EXPECT_EQ(printable("bad\xff"), "bad\\xff");
    EXPECT_EQ(printable("\x80x"), "\\x80x");              // a continuation byte alone
    EXPECT_EQ(printable("\xe2\x82"), "\\xe2\\x82");        // cut short at the end
    EXPECT_EQ(printable("\xe2\x82x"), "\\xe2\\x82x");      // cut short by an ASCII byte
    EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf");        // overlong "/"
    EXPECT_EQ(printable("\xe0\x80\xaf"), "\\xe0\\x80\\xaf");
    EXPECT_EQ(printable("\xf0\x80\x80\xaf"), "\\xf0\\x80\\x80\\xaf");
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80"); // a UTF-16 surrogate
    EXPECT_EQ(printable("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80"); // above U+10FFFF
    EXPECT_EQ(printable("\xf8\x88\x80\x80\x80"), "\\xf8\\x88\\x80\\x80\\x80");
    EXPECT_EQ(printable("\xff\xc3\xa9"), "\\xff\xc3\xa9"); // what follows a bad byte survives
}

TEST(TerminalText, EscapesCharactersThatReorderTheLine) {
    EXPECT_EQ(printable("photo\xe2\x80\xaegpj.exe"), "photo\\u202egpj.exe");
    EXPECT_EQ(printable("\xe2\x80\xaa\xe2\x81\xa6\xe2\x81\xa9"), "\\u202a\\u2066\\u2069");
    EXPECT_EQ(printable("\xe2\x80\xa9\xe2\x81\xaa"), "\xe2\x80\xa9\xe2\x81\xaa") << "neighbours of the range stay";
}

TEST(TerminalText, DoublesBackslashesSoEscapesAreUnambiguous) {
    EXPECT_EQ(printable("a\\nb"), "a\\\\nb");
    EXPECT_NE(printable("a\\nb"), printable("a\nb"));
    EXPECT_NE(printable("\\xff"), printable("\xff"));
}

} // namespace
} // namespace tessel::cli
