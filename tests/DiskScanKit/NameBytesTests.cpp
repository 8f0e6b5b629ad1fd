// Names as bytes in text that must be UTF-8: what is valid, how bad bytes are
// shown, and base64 that gives back exactly what it was given.
#include <gtest/gtest.h>

#include <string>

#include "DiskScanKit/NameBytes.h"

using namespace tessel;

TEST(NameBytes, ValidUtf8IsKeptAndBadBytesBecomeReplacementCharacters) {
    for (const char* valid : {"", "plain", "Stra\xc3\x9f" "e", "\xf0\x9f\x98\x80", "\xed\x9f\xbf", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_TRUE(Utf8::isValid(valid)) << valid;
        EXPECT_EQ(Utf8::repaired(valid), valid);
    }
    for (const char* invalid : {"bad\xff", "\x80", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xe2\x82"})
        EXPECT_FALSE(Utf8::isValid(invalid)) << invalid;
    EXPECT_EQ(Utf8::repaired("bad\xff.bin"), "bad\xef\xbf\xbd.bin");
    EXPECT_EQ(Utf8::repaired("\xe2\x82x"), "\xef\xbf\xbd\xef\xbf\xbdx") << "each bad byte on its own";
    EXPECT_EQ(Utf8::repaired("bad\xff"), Utf8::repaired("bad\xfe")) << "which is why the bytes travel beside it";
}

TEST(NameBytes, Base64GivesBackEveryByte) {
    EXPECT_EQ(Base64::encode(""), "");
    EXPECT_EQ(Base64::encode("f"), "Zg==");
    EXPECT_EQ(Base64::encode("fo"), "Zm8=");
    EXPECT_EQ(Base64::encode("foo"), "Zm9v");
    EXPECT_EQ(Base64::encode(std::string_view("\xff\xfe\x00", 3)), "//4A") << "the alphabet's last two letters";
    std::string every;
    for (int byte = 0; byte < 256; ++byte) every += static_cast<char>(byte);
    for (std::size_t length = 0; length <= every.size(); length += 37)
        EXPECT_EQ(Base64::decode(Base64::encode(every.substr(0, length))), every.substr(0, length));
}

TEST(NameBytes, Base64RefusesWhatIsNotBase64) {
    for (const char* bad : {"Zg=", "Zg=a", "Z===", "Zm9v!A==", "Zg==Zg==", "A"})
        EXPECT_EQ(Base64::decode(bad), std::nullopt) << bad;
}
