// Names as bytes in text that must be UTF-8: what is valid, how bad bytes are
// shown, and base64 that gives back exactly what it was given.
#include <gtest/gtest.h>

#include "DiskScanKit/NameBytes.h"

using namespace tessel;

TEST(NameBytes, ValidUtf8IsKeptAndEachBadByteIsReplaced) {
    for (const char* valid : {"Stra\xc3\x9f" "e", "\xf0\x9f\x98\x80", "\xed\x9f\xbf", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_TRUE(Utf8::isValid(valid)) << valid;
        EXPECT_EQ(Utf8::repaired(valid), valid);
    }
    // Overlong, a surrogate, beyond U+10FFFF, cut short.
    for (const char* invalid : {"\x80", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xe2\x82"})
        EXPECT_FALSE(Utf8::isValid(invalid)) << invalid;
    EXPECT_EQ(Utf8::repaired("\xe2\x82x\xff"), "\xef\xbf\xbd\xef\xbf\xbdx\xef\xbf\xbd");
}

TEST(NameBytes, Base64GivesBackEveryByteAndRefusesWhatIsNot) {
    EXPECT_EQ(Base64::encode("fo"), "Zm8=");
    EXPECT_EQ(Base64::encode(std::string_view("\xff\xfe\x00", 3)), "//4A") << "the alphabet's last two letters";
    std::string every;
    for (int byte = 0; byte < 256; ++byte) every += static_cast<char>(byte);
    for (std::size_t length = 0; length <= every.size(); length += 37)
        EXPECT_EQ(Base64::decode(Base64::encode(every.substr(0, length))), every.substr(0, length));
    for (const char* bad : {"Zg=", "Zg=a", "Z===", "Zm9v!A==", "Zg==Zg==", "A"})
        EXPECT_EQ(Base64::decode(bad), std::nullopt) << bad;
}
