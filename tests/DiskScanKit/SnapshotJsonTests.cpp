// The JSON form of a snapshot: names kept to the byte, files of the plain
// form still read, and every value out of range refused with its reason, the
// same by the full reader and by the header reader that listing uses. Names
// that are not UTF-8 travel in base64, which must give back every byte.

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <nlohmann/json.hpp>

#include "DiskScanKit/NameBytes.h"
#include "DiskScanKit/ScanSnapshot.h"

namespace tessel {
namespace {

constexpr std::int64_t MB = 1'000'000;

// The words of the SnapshotError that `read` throws, or "(read)" when it reads.
template <typename Read>
std::string refusal(Read read) {
    try {
        read();
        return "(read)";
    } catch (const SnapshotError& error) {
        return error.what();
    }
}

// A plain, valid snapshot file with each field in `replaced` given as raw JSON, or left out when that is empty.
std::string snapshotText(const std::map<std::string, std::string>& replaced = {}) {
    std::map<std::string, std::string> fields{{"date", "790000000"}, {"entries", R"({"/data":120000000,"/data/a":60000000})"},
        {"formatVersion", "1"}, {"minimumBytes", "10000000"}, {"rootPath", R"("/data")"}, {"totalBytes", "120000000"}};
    for (const auto& [key, value] : replaced)
        if (value.empty()) fields.erase(key);
        else fields[key] = value;
    std::string text;
    for (const auto& [key, value] : fields) text += (text.empty() ? "{\"" : ",\"") + key + "\":" + value;
    return text + "}";
}

TEST(SnapshotJsonForm, SortedKeysPlainSlashesAndAFaithfulRoundTrip) {
    ScanSnapshot snapshot{.rootPath = "/home/me", .date = 785'000'000.125, .totalBytes = 90 * MB,
                          .entries = {{"/home/me", 90 * MB}, {"/home/me/a \"quoted\"", 60 * MB}}};
    const std::string text = SnapshotJson::encode(snapshot);
    EXPECT_TRUE(text.starts_with("{\"date\":785000000.125,\"entries\":{")) << text;
    EXPECT_TRUE(text.ends_with(R"("formatVersion":1,"minimumBytes":10000000,"rootPath":"/home/me","totalBytes":90000000})"))
        << text;
    EXPECT_EQ(text.find("\\/"), std::string::npos) << "slashes are written as they are";
    EXPECT_EQ(SnapshotJson::decode(text), snapshot);
}

TEST(SnapshotJsonForm, NamesThatAreNotUtf8KeepTheirExactBytes) {
    const ScanSnapshot snapshot{.rootPath = "/data/caf\xe9", .date = 790'000'000.5, .totalBytes = 300 * MB,
        .entries = {{"/data/caf\xe9", 300 * MB}, {"/data/caf\xe9/bad\xff", 60 * MB}, {"/data/caf\xe9/bad\xfe", 61 * MB},
                    {"/elsewhere/plain", 70 * MB}}};
    const std::string text = SnapshotJson::encode(snapshot);
    ASSERT_TRUE(Utf8::isValid(text)) << "the file itself is UTF-8 JSON";
    EXPECT_EQ(SnapshotJson::decode(text), snapshot) << "bad\\xff and bad\\xfe stay two names";
    EXPECT_EQ(SnapshotJson::decodeHeader(text).rootPath, "/data/caf\xe9");
    // A reader of the plain form sees the repaired root and the UTF-8 entries.
    const nlohmann::json plain = nlohmann::json::parse(text);
    EXPECT_EQ(plain.at("rootPath"), "/data/caf\xef\xbf\xbd");
    EXPECT_EQ(plain.at("entries"), (nlohmann::json{{"/elsewhere/plain", 70 * MB}}));
    EXPECT_EQ(plain.at("entriesBytes").at(Base64::encode("/data/caf\xe9/bad\xfe")), 61 * MB);
}

TEST(SnapshotJsonForm, AFileOfThePlainFormStillReads) {
    // As the first builds wrote it: "entries" alone, a name that was not UTF-8 already repaired.
    const ScanSnapshot snapshot = SnapshotJson::decode(snapshotText({{"entries", R"({"/data":120000000,"/data/bad\ufffd":1})"}}));
    EXPECT_EQ(snapshot.rootPath, "/data");
    EXPECT_EQ(snapshot.entries.at("/data/bad\xef\xbf\xbd"), 1);
}

TEST(SnapshotJsonForm, ANewerFormatBrokenFilesAndValuesOutOfRangeAreRefusedInWords) {
    const std::string newer = snapshotText({{"formatVersion", "2"}});
    EXPECT_EQ(refusal([&] { SnapshotJson::decode(newer); }), "Snapshot format 2 is newer than this build understands.");
    EXPECT_EQ(SnapshotJson::decodeHeader(newer).formatVersion, 2) << "listed, so that loading it can say why not";

    const std::map<std::string, std::string> refused{
        {"", "It is not valid JSON."},
        {"{\"formatVersion\":1}", "It names no root folder."},
        {snapshotText({{"formatVersion", ""}}), "It has no format version."},
        {snapshotText({{"formatVersion", "0"}}), "Its format version is below 1, which no build writes."},
        {snapshotText({{"date", "\"today\""}}), "It has no date."},
        {snapshotText({{"date", "8236339200"}}), "Its date is not between 1970 and 2261."},
        {snapshotText({{"date", "1e400"}}), "It is not valid JSON."}, // beyond a double, so the parser refuses it
        {snapshotText({{"totalBytes", "9223372036854775808"}}), "Its total size is negative or too large."},
        {snapshotText({{"totalBytes", "1.5"}}), "Its total size is not a whole number."},
        {snapshotText({{"entries", ""}}), "It has no entries."},
        {snapshotText({{"entries", R"({"/data":-9223372036854775808})"}}), "The size of \"/data\" is negative or too large."},
        {snapshotText({{"entries", R"({"/data":"x"})"}}), "The size of \"/data\" is not a whole number."},
        {snapshotText({{"rootPathBytes", "\"not base64!\""}}), "The bytes of its root folder are not base64."},
        {snapshotText({{"entriesBytes", R"({"!!":1})"}}), "The entry \"!!\" of its non-UTF-8 paths is not base64."},
    };
    for (const auto& [text, reason] : refused) {
        EXPECT_EQ(refusal([&] { SnapshotJson::decode(text); }), reason) << text;
        EXPECT_EQ(refusal([&] { SnapshotJson::decodeHeader(text); }), reason) << text;
    }
    const std::string twice = snapshotText({{"entriesBytes", "{\"" + Base64::encode("/data/a") + "\":70000000}"}});
    EXPECT_EQ(refusal([&] { SnapshotJson::decode(twice); }), "It lists the path of \"L2RhdGEvYQ==\" twice.");
}

TEST(SnapshotJsonForm, TheEdgesOfEachRangeAreRead) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    const std::string text = snapshotText({{"date", "-978307200"}, {"totalBytes", "9223372036854775807"},
                                           {"entries", R"({"/data":9223372036854775807})"}});
    const ScanSnapshot snapshot = SnapshotJson::decode(text);
    EXPECT_EQ(snapshot.date, SnapshotJson::earliestDate);
    EXPECT_EQ(snapshot.totalBytes, largest);
    EXPECT_EQ(snapshot.entries.at("/data"), largest);
    EXPECT_EQ(SnapshotJson::decode(snapshotText({{"date", "8236339199.5"}})).date, 8'236'339'199.5);
}

TEST(SnapshotJsonForm, NothingIsWrittenThatCouldNotBeReadBack) {
    ScanSnapshot snapshot{.rootPath = "/data/caf\xe9", .entries = {{"/data/caf\xe9/bad\xff", -1}}};
    EXPECT_EQ(refusal([&] { SnapshotJson::encode(snapshot); }),
              "The size of \"" + Base64::encode("/data/caf\xe9/bad\xff") + "\" is negative or too large.");
}

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
    EXPECT_EQ(Base64::encode(std::string_view("\xff\xfe\x00" "fo", 5)), "//4AZm8=") << "the alphabet's last two letters";
    std::string every;
    for (int byte = 0; byte < 256; ++byte) every += static_cast<char>(byte);
    for (std::size_t length = 0; length <= every.size(); length += 37)
        EXPECT_EQ(Base64::decode(Base64::encode(every.substr(0, length))), every.substr(0, length));
    for (const char* bad : {"Zg=", "Zg=a", "Z===", "Zm9v!A==", "Zg==Zg==", "A"})
        EXPECT_EQ(Base64::decode(bad), std::nullopt) << bad;
}

} // namespace
} // namespace tessel
