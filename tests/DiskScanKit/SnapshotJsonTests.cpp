// The JSON form of a snapshot: names kept to the byte, files of the plain
// form still read, and every value out of range refused with its reason, the
// same by the full reader and by the header reader that listing uses.

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
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

// A snapshot file as raw text: each field of a plain, valid one may be
// replaced by raw JSON, or left out when the replacement is empty.
std::string snapshotText(const std::map<std::string, std::string>& replaced = {}) {
    std::map<std::string, std::string> fields{{"date", "790000000"},
                                              {"entries", R"({"/data":120000000,"/data/a":60000000})"},
                                              {"formatVersion", "1"},
                                              {"minimumBytes", "10000000"},
                                              {"rootPath", R"("/data")"},
                                              {"totalBytes", "120000000"}};
    for (const auto& [key, value] : replaced) {
        if (value.empty()) fields.erase(key);
        else fields[key] = value;
    }
    std::string text = "{";
    for (const auto& [key, value] : fields) text += (text.size() > 1 ? ",\"" : "\"") + key + "\":" + value;
    return text + "}";
}

ScanSnapshot namesNotUtf8() {
    ScanSnapshot snapshot;
    snapshot.rootPath = "/data/caf\xe9";
    snapshot.date = 790'000'000.5;
    snapshot.totalBytes = 300 * MB;
    snapshot.entries = {{"/data/caf\xe9", 300 * MB},
                        {"/data/caf\xe9/bad\xff", 60 * MB},
                        {"/data/caf\xe9/bad\xfe", 61 * MB},
                        {"/data/caf\xe9/plain \xc3\xa9t\xc3\xa9", 70 * MB}};
    return snapshot;
}

TEST(SnapshotJsonForm, SortedKeysPlainSlashesAndAFaithfulRoundTrip) {
    ScanSnapshot snapshot;
    snapshot.rootPath = "/home/me";
    snapshot.date = 785'000'000.125;
    snapshot.totalBytes = 90 * MB;
    snapshot.entries = {{"/home/me", 90 * MB}, {"/home/me/a \"quoted\"", 60 * MB}, {"/home/me/b", 30 * MB}};
    const std::string text = SnapshotJson::encode(snapshot);
    EXPECT_TRUE(text.starts_with("{\"date\":785000000.125,\"entries\":{")) << text;
    EXPECT_NE(text.find("\"formatVersion\":1,\"minimumBytes\":10000000,\"rootPath\":\"/home/me\",\"totalBytes\":90000000}"),
              std::string::npos)
        << text;
    EXPECT_EQ(text.find("\\/"), std::string::npos) << "slashes are written as they are";
    EXPECT_EQ(text.find("rootPathBytes"), std::string::npos) << "names that are UTF-8 need no bytes beside them";
    EXPECT_EQ(text.find("entriesBytes"), std::string::npos);
    EXPECT_EQ(SnapshotJson::decode(text), snapshot);
}

TEST(SnapshotJsonForm, NamesThatAreNotUtf8KeepTheirExactBytes) {
    const ScanSnapshot snapshot = namesNotUtf8();
    const std::string text = SnapshotJson::encode(snapshot);
    ASSERT_TRUE(Utf8::isValid(text)) << "the file itself is UTF-8 JSON";
    EXPECT_EQ(SnapshotJson::decode(text), snapshot) << "bad\\xff and bad\\xfe stay two names";

    const SnapshotJson::Header header = SnapshotJson::decodeHeader(text);
    EXPECT_EQ(header.rootPath, "/data/caf\xe9");
    EXPECT_EQ(header.totalBytes, 300 * MB);

    // A reader of the plain form sees the repaired root and the UTF-8 entries.
    const nlohmann::json plain = nlohmann::json::parse(text);
    EXPECT_EQ(plain.at("rootPath"), "/data/caf\xef\xbf\xbd");
    EXPECT_EQ(Base64::decode(plain.at("rootPathBytes").get<std::string>()), "/data/caf\xe9");
    EXPECT_TRUE(plain.at("entries").empty()) << "below a root that is not UTF-8, no path is";
    EXPECT_EQ(plain.at("entriesBytes").size(), 4u);
    EXPECT_EQ(plain.at("entriesBytes").at(Base64::encode("/data/caf\xe9/bad\xfe")), 61 * MB);
}

TEST(SnapshotJsonForm, UtfEightEntriesBesideARootThatIsNotStayPlain) {
    ScanSnapshot snapshot = namesNotUtf8();
    snapshot.entries = {{"/data/caf\xe9", 300 * MB}, {"/elsewhere/plain", 60 * MB}};
    const nlohmann::json plain = nlohmann::json::parse(SnapshotJson::encode(snapshot));
    EXPECT_EQ(plain.at("entries"), (nlohmann::json{{"/elsewhere/plain", 60 * MB}}));
    EXPECT_EQ(plain.at("entriesBytes"), (nlohmann::json{{Base64::encode("/data/caf\xe9"), 300 * MB}}));
}

TEST(SnapshotJsonForm, AFileOfThePlainFormStillReads) {
    // As the first builds wrote it: "entries" alone, a name that was not UTF-8
    // already repaired.
    const std::string text =
        R"({"date":790000000,"entries":{"/data":120000000,"/data/bad\ufffd":60000000},)"
        R"("formatVersion":1,"minimumBytes":10000000,"rootPath":"/data","totalBytes":120000000})";
    const ScanSnapshot snapshot = SnapshotJson::decode(text);
    EXPECT_EQ(snapshot.rootPath, "/data");
    EXPECT_EQ(snapshot.date, 790'000'000);
    EXPECT_EQ(snapshot.entries, (std::unordered_map<std::string, std::int64_t>{
                                    {"/data", 120 * MB}, {"/data/bad\xef\xbf\xbd", 60 * MB}}));
    EXPECT_EQ(SnapshotJson::decodeHeader(text).rootPath, "/data");
}

TEST(SnapshotJsonForm, ANewerFormatAndBrokenFilesAreRefusedInWords) {
    const std::string newer = snapshotText({{"formatVersion", "2"}});
    EXPECT_EQ(refusal([&] { SnapshotJson::decode(newer); }), "Snapshot format 2 is newer than this build understands.");
    EXPECT_EQ(SnapshotJson::decodeHeader(newer).formatVersion, 2) << "listed, so that loading it can say why not";
    EXPECT_EQ(refusal([] { SnapshotJson::decodeHeader(R"({"formatVersion":2,"rootPath":7})"); }),
              "Snapshot format 2 is newer than this build understands.");

    const std::map<std::string, std::string> broken{
        {"", "It is not valid JSON."},
        {"[1]", "It is not a JSON object."},
        {R"({"formatVersion":1,"rootPath":"/","date":1,)", "It is not valid JSON."},
        {"{\"formatVersion\":1}", "It names no root folder."},
        {snapshotText({{"formatVersion", ""}}), "It has no format version."},
        {snapshotText({{"formatVersion", "0"}}), "Its format version is below 1, which no build writes."},
        {snapshotText({{"date", "\"today\""}}), "It has no date."},
        {snapshotText({{"entries", ""}}), "It has no entries."},
        {snapshotText({{"rootPathBytes", "\"not base64!\""}}), "The bytes of its root folder are not base64."},
    };
    for (const auto& [text, reason] : broken) {
        EXPECT_EQ(refusal([&] { SnapshotJson::decode(text); }), reason) << text;
        EXPECT_EQ(refusal([&] { SnapshotJson::decodeHeader(text); }), reason) << text;
    }
}

TEST(SnapshotJsonForm, ValuesOutOfRangeAreRefusedNotWrapped) {
    const std::string dateReason = "Its date is not between 1970 and 2261.";
    const std::map<std::string, std::string> outOfRange{
        {snapshotText({{"date", "1e308"}}), dateReason},
        {snapshotText({{"date", "-1e308"}}), dateReason},
        {snapshotText({{"date", "-978307201"}}), dateReason},
        {snapshotText({{"date", "8236339200"}}), dateReason},
        {snapshotText({{"date", "18446744073709551615"}}), dateReason},
        {snapshotText({{"totalBytes", "18446744073709551615"}}), "Its total size is negative or too large."},
        {snapshotText({{"totalBytes", "9223372036854775808"}}), "Its total size is negative or too large."},
        {snapshotText({{"totalBytes", "-1"}}), "Its total size is negative or too large."},
        {snapshotText({{"totalBytes", "1.5"}}), "Its total size is not a whole number."},
        {snapshotText({{"totalBytes", ""}}), "It has no total size."},
        {snapshotText({{"minimumBytes", "-10000000"}}), "Its size floor is negative or too large."},
        {snapshotText({{"minimumBytes", "18446744073709551615"}}), "Its size floor is negative or too large."},
        {snapshotText({{"formatVersion", "18446744073709551615"}}), "Its format version is negative or too large."},
        {snapshotText({{"entries", R"({"/data":-9223372036854775808})"}}), "The size of \"/data\" is negative or too large."},
        {snapshotText({{"entries", R"({"/data":18446744073709551615})"}}), "The size of \"/data\" is negative or too large."},
        {snapshotText({{"entries", R"({"/data":"x"})"}}), "The size of \"/data\" is not a whole number."},
        {snapshotText({{"entries", R"({"/data":{"deeper":1}})"}}), "The size of \"/data\" is not a whole number."},
        {snapshotText({{"entries", R"({"/data":[1]})"}}), "The size of \"/data\" is not a whole number."},
        {snapshotText({{"entries", "[1]"}}), "Its entries are not a JSON object."},
        {snapshotText({{"entriesBytes", "7"}}), "Its non-UTF-8 entries are not a JSON object."},
        {snapshotText({{"entriesBytes", R"({"L2Rh/w==":-1})"}}), "The size of \"L2Rh/w==\" is negative or too large."},
        {snapshotText({{"entriesBytes", R"({"!!":1})"}}), "The entry \"!!\" of its non-UTF-8 paths is not base64."},
        // The parser takes a number beyond a double's range for no JSON at all.
        {snapshotText({{"date", "1e400"}}), "It is not valid JSON."},
    };
    for (const auto& [text, reason] : outOfRange) {
        EXPECT_EQ(refusal([&] { SnapshotJson::decode(text); }), reason) << text;
        EXPECT_EQ(refusal([&] { SnapshotJson::decodeHeader(text); }), reason) << text;
    }
}

TEST(SnapshotJsonForm, TheEdgesOfEachRangeAreRead) {
    const std::string text = snapshotText({{"date", "-978307200"},
                                           {"totalBytes", "9223372036854775807"},
                                           {"minimumBytes", "0"},
                                           {"entries", R"({"/data":9223372036854775807,"/data/empty":0})"}});
    const ScanSnapshot snapshot = SnapshotJson::decode(text);
    EXPECT_EQ(snapshot.date, SnapshotJson::earliestDate);
    EXPECT_EQ(snapshot.totalBytes, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(snapshot.minimumBytes, 0);
    EXPECT_EQ(snapshot.entries.at("/data"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(SnapshotJson::decodeHeader(text).totalBytes, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(SnapshotJson::decode(snapshotText({{"date", "8236339199.5"}})).date, 8'236'339'199.5);
}

TEST(SnapshotJsonForm, APathListedTwiceIsRefusedByTheFullReader) {
    const std::string text =
        snapshotText({{"entriesBytes", "{\"" + Base64::encode("/data/a") + "\":70000000}"}});
    EXPECT_EQ(refusal([&] { SnapshotJson::decode(text); }), "It lists the path of \"L2RhdGEvYQ==\" twice.");
}

TEST(SnapshotJsonForm, NothingIsWrittenThatCouldNotBeReadBack) {
    ScanSnapshot snapshot = namesNotUtf8();
    snapshot.date = 1e308;
    EXPECT_EQ(refusal([&] { SnapshotJson::encode(snapshot); }), "Its date is not between 1970 and 2261.");
    snapshot = namesNotUtf8();
    snapshot.entries["/data/caf\xe9/bad\xff"] = -1;
    EXPECT_EQ(refusal([&] { SnapshotJson::encode(snapshot); }),
              "The size of \"" + Base64::encode("/data/caf\xe9/bad\xff") + "\" is negative or too large.");
    snapshot = namesNotUtf8();
    snapshot.totalBytes = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(refusal([&] { SnapshotJson::encode(snapshot); }), "Its total size is negative or too large.");
    snapshot = namesNotUtf8();
    snapshot.formatVersion = 0;
    EXPECT_EQ(refusal([&] { SnapshotJson::encode(snapshot); }), "Its format version is below 1, which no build writes.");
}

} // namespace
} // namespace tessel
