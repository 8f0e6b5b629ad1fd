// tessel snapshot, snapshots and changes, run as the real tool with a home of
// its own, so the snapshots it keeps are the test's. What the store refuses and
// why is tested with the store; here, that the tool finds its snapshots again,
// gives names to the byte and tells what it passed over without waiting on it.

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "DiskScanKit/NameBytes.h"
#include "FifoRelease.h"
#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;

struct SnapshotHome : ::testing::Test {
    test::TempFolder home;
    test::TempFolder data;
    Outcome run(std::vector<std::string> words) { return runTessel(std::move(words), As::usual, home.path()); }
    json runJson(std::vector<std::string> words) { return cli::runJson(std::move(words), As::usual, home.path()); }
};

// "unreadable" as a map from the file's name to the reason.
std::map<std::string, std::string> reasonsByName(const json& unreadable) {
    std::map<std::string, std::string> reasons;
    for (const json& item : unreadable) {
        const std::string file = item.at("file");
        reasons[file.substr(file.rfind('/') + 1)] = item.at("reason");
    }
    return reasons;
}

TEST_F(SnapshotHome, TheFirstRunHasNoBaselineAndTheNextTellsWhatAppeared) {
    test::writeFile(data / "old.bin", 12'000'000);
    const json first = runJson({"changes", "--json", data.path()});
    EXPECT_EQ(first.at("root"), data.path());
    EXPECT_TRUE(first.at("baseline").is_null());
    EXPECT_EQ(first.at("changes"), json::array());

    test::writeFile(data / "new.bin", 60'000'000);
    const json second = runJson({"changes", "--json", data.path()});
    ASSERT_EQ(second.at("changes").size(), 1u) << second;
    EXPECT_EQ(second.at("changes")[0],
              (json{{"path", data / "new.bin"}, {"oldBytes", 0}, {"newBytes", test::allocatedOf(data / "new.bin")},
                    {"kind", "appeared"}}));

    const json listed = runJson({"snapshots", "--json", data.path()});
    ASSERT_EQ(listed.at("snapshots").size(), 2u);
    EXPECT_FALSE(listed.contains("rootBytes")) << "a UTF-8 name needs no bytes beside it";
    EXPECT_EQ(listed.at("unreadable"), json::array());
    EXPECT_TRUE(listed.at("snapshots")[0].at("path").get<std::string>().starts_with(home / ".local/share/Tessel/Snapshots/"));
    EXPECT_EQ(second.at("baseline").at("totalBytes"), listed.at("snapshots")[1].at("totalBytes")) << "newest first";
    EXPECT_EQ(second.at("baseline").at("date"), listed.at("snapshots")[1].at("date"));
    EXPECT_TRUE(second.at("baseline").at("date").get<std::string>().ends_with('Z'));
    expectOneErrorLine(run({"changes", data / "missing"}), 1, data / "missing");
}

TEST_F(SnapshotHome, NamesNotUtf8AreFoundAgainAndGivenToTheByte) {
    const std::string root = data / "caf\xe9";
    test::makeFolder(root);
    test::writeFile(root + "/bad\xff", 60'000'000);
    test::writeFile(root + "/bad\xfe", 60'000'000);
    const std::int64_t before = test::allocatedOf(root + "/bad\xfe");
    const json first = runJson({"changes", "--json", root});
    EXPECT_EQ(first.at("root"), Utf8::repaired(root));
    EXPECT_EQ(Base64::decode(first.at("rootBytes").get<std::string>()), root);

    test::writeFile(root + "/bad\xfe", 120'000'000);
    const json grown = runJson({"changes", "--json", root});
    EXPECT_TRUE(grown.at("baseline").is_object()) << "the first run's snapshot is found again: " << grown;
    ASSERT_EQ(grown.at("changes").size(), 1u) << "two names that differ in a bad byte stay two: " << grown;
    const json& change = grown.at("changes")[0];
    EXPECT_EQ(change.at("path"), Utf8::repaired(root + "/bad\xfe"));
    EXPECT_EQ(Base64::decode(change.at("pathBytes").get<std::string>()), root + "/bad\xfe");
    EXPECT_EQ(change.at("oldBytes"), before);

    const json listed = runJson({"snapshots", "--json", root});
    EXPECT_EQ(listed.at("snapshots").size(), 2u) << listed;
    EXPECT_EQ(Base64::decode(listed.at("rootBytes").get<std::string>()), root);
}

TEST_F(SnapshotHome, WhatIsNotASnapshotIsToldPassedOverAndNeverWaitedOn) {
    test::writeFile(data / "keep.bin", 12'000'000);
    ASSERT_EQ(run({"snapshot", data.path()}).status, 0);
    const std::string good = runJson({"snapshots", "--json", data.path()}).at("snapshots")[0].at("path");
    const std::string folder = good.substr(0, good.rfind('/'));
    // A later snapshot that lists but can't be loaded whole, and a FIFO.
    json future = json::parse(std::ifstream(good));
    future["date"] = future.at("date").get<double>() + 100;
    future["formatVersion"] = 2;
    std::ofstream(folder + "/future.json") << future.dump();
    const std::string fifo = folder + "/stray.json";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0644), 0);

    const test::FifoRelease guard(fifo);
    const auto start = std::chrono::steady_clock::now();
    const json listed = runJson({"snapshots", "--json", data.path()});
    EXPECT_EQ(listed.at("snapshots").size(), 2u) << listed;
    EXPECT_EQ(reasonsByName(listed.at("unreadable")).count("stray.json"), 1u) << listed;
    const json changes = runJson({"changes", "--json", data.path()});
    ASSERT_TRUE(changes.at("baseline").is_object()) << changes;
    EXPECT_EQ(changes.at("baseline").at("date"), listed.at("snapshots")[1].at("date")) << "the good one";
    const std::map<std::string, std::string> passed = reasonsByName(changes.at("unreadable"));
    EXPECT_EQ(passed.size(), 2u) << changes;
    EXPECT_NE(passed.at("future.json").find("format 2"), std::string::npos);
    const std::string told = run({"changes", data.path()}).out;
    EXPECT_NE(told.find("future.json: "), std::string::npos) << told;
    EXPECT_NE(told.find("stray.json: "), std::string::npos) << told;
    EXPECT_FALSE(guard.hadToRelease()) << "the tool waited on " << fifo;
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    struct stat info {};
    EXPECT_EQ(lstat((folder + "/future.json").c_str(), &info), 0) << "nothing is removed for being unreadable";
    EXPECT_EQ(lstat(fifo.c_str(), &info), 0);
}

} // namespace
} // namespace tessel::cli
