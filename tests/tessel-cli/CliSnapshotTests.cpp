// tessel snapshot, snapshots and changes, run as the real tool with a home of
// its own, so the snapshots it keeps are the test's: names that are not UTF-8
// kept to the byte, and a snapshot folder holding things that are not
// snapshots told plainly and never waited on.

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "FifoRelease.h"
#include "DiskScanKit/NameBytes.h"
#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;

struct SnapshotHome : ::testing::Test {
    test::TempFolder home;
    test::TempFolder data;
    Outcome run(std::vector<std::string> words) { return runTessel(std::move(words), As::usual, home.path()); }
    json runJson(std::vector<std::string> words) {
        const Outcome outcome = run(std::move(words));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return json::parse(outcome.out);
    }
    // Runs the tool while a FIFO sits in the snapshot folder: fails, rather
    // than hangs, if the tool waits on it, and if it takes more than 10 s.
    Outcome runBeside(const std::string& fifo, std::vector<std::string> words) {
        const auto start = std::chrono::steady_clock::now();
        Outcome outcome;
        {
            const test::FifoRelease guard(fifo);
            outcome = run(std::move(words));
            EXPECT_FALSE(guard.hadToRelease()) << "the tool waited on " << fifo;
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome;
    }
};

std::string fileText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

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
    test::makeFolder(data / "keep");
    test::writeFile(data / "keep/old.bin", 12'000'000);
    const json first = runJson({"changes", "--json", data.path()});
    EXPECT_EQ(first.at("root"), data.path());
    EXPECT_TRUE(first.at("baseline").is_null());
    EXPECT_TRUE(first.at("changes").empty());

    test::writeFile(data / "keep/new.bin", 60'000'000);
    const json second = runJson({"changes", "--json", data.path()});
    ASSERT_TRUE(second.at("baseline").is_object()) << second;
    ASSERT_EQ(second.at("changes").size(), 1u) << second;
    const json& change = second.at("changes")[0];
    EXPECT_EQ(change.at("path"), data / "keep/new.bin");
    EXPECT_EQ(change.at("kind"), "appeared");
    EXPECT_EQ(change.at("oldBytes"), 0);
    EXPECT_GE(change.at("newBytes").get<std::int64_t>(), 60'000'000);

    const json listed = runJson({"snapshots", "--json", data.path()});
    ASSERT_EQ(listed.at("snapshots").size(), 2u);
    EXPECT_EQ(listed.at("root"), data.path());
    EXPECT_FALSE(listed.contains("rootBytes")) << "a UTF-8 name needs no bytes beside it";
    EXPECT_EQ(listed.at("unreadable"), json::array());
    EXPECT_EQ(second.at("unreadable"), json::array());
    EXPECT_GT(listed.at("snapshots")[0].at("totalBytes").get<std::int64_t>(),
              listed.at("snapshots")[1].at("totalBytes").get<std::int64_t>())
        << "newest first";
    EXPECT_TRUE(listed.at("snapshots")[0].at("path").get<std::string>().starts_with(home / ".local/share/Tessel/Snapshots/"));
    EXPECT_EQ(second.at("baseline").at("totalBytes"), listed.at("snapshots")[1].at("totalBytes")) << "the first scan";
    EXPECT_EQ(second.at("baseline").at("date"), listed.at("snapshots")[1].at("date"));
    EXPECT_TRUE(second.at("baseline").at("date").get<std::string>().ends_with('Z'));
}

TEST_F(SnapshotHome, ARootWhoseNameIsNotUtf8FindsItsSnapshotsAgain) {
    const std::string root = data / "caf\xe9";
    test::makeFolder(root);
    test::writeFile(root + "/a.bin", 12'000'000);
    const json first = runJson({"changes", "--json", root});
    EXPECT_EQ(first.at("root"), Utf8::repaired(root));
    EXPECT_EQ(Base64::decode(first.at("rootBytes").get<std::string>()), root);
    EXPECT_TRUE(first.at("baseline").is_null());

    const json second = runJson({"changes", "--json", root});
    EXPECT_TRUE(second.at("baseline").is_object()) << "the first run's snapshot is found again: " << second;
    EXPECT_EQ(second.at("changes"), json::array());

    const json listed = runJson({"snapshots", "--json", root});
    EXPECT_EQ(listed.at("snapshots").size(), 2u) << listed;
    EXPECT_EQ(listed.at("root"), Utf8::repaired(root));
    EXPECT_EQ(Base64::decode(listed.at("rootBytes").get<std::string>()), root);
    EXPECT_EQ(listed.at("unreadable"), json::array());
    const Outcome text = run({"snapshots", root});
    EXPECT_EQ(std::count(text.out.begin(), text.out.end(), '\n'), 2) << text.out;
}

TEST_F(SnapshotHome, TwoNamesNotUtf8StayTwoAndOnlyTheOneThatGrewIsTold) {
    test::writeFile(data / "bad\xff", 60'000'000);
    test::writeFile(data / "bad\xfe", 60'000'000);
    const std::int64_t before = test::allocatedOf(data / "bad\xfe");
    runJson({"changes", "--json", data.path()});
    const json unchanged = runJson({"changes", "--json", data.path()});
    ASSERT_TRUE(unchanged.at("baseline").is_object());
    EXPECT_EQ(unchanged.at("changes"), json::array()) << "nothing changed";

    test::writeFile(data / "bad\xfe", 120'000'000);
    const json grown = runJson({"changes", "--json", data.path()});
    ASSERT_EQ(grown.at("changes").size(), 1u) << grown;
    const json& change = grown.at("changes")[0];
    EXPECT_EQ(change.at("kind"), "grew");
    EXPECT_EQ(change.at("path"), Utf8::repaired(data / "bad\xfe"));
    EXPECT_EQ(Base64::decode(change.at("pathBytes").get<std::string>()), data / "bad\xfe");
    EXPECT_EQ(change.at("oldBytes"), before);
    EXPECT_EQ(change.at("newBytes"), test::allocatedOf(data / "bad\xfe"));
}

TEST_F(SnapshotHome, FilesInTheSnapshotFolderThatAreNotSnapshotsAreToldAndPassedOver) {
    test::writeFile(data / "keep.bin", 12'000'000);
    const Outcome saved = run({"snapshot", data.path()});
    ASSERT_EQ(saved.status, 0) << saved.err;
    const std::string good = runJson({"snapshots", "--json", data.path()}).at("snapshots")[0].at("path");
    const std::string folder = good.substr(0, good.rfind('/'));
    const json goodJson = json::parse(fileText(good));
    const double date = goodJson.at("date");
    const auto altered = [&](const std::string& name, double later, auto change) {
        json copy = goodJson;
        copy["date"] = date + later;
        change(copy);
        std::ofstream(folder + "/" + name) << copy.dump();
    };

    ASSERT_EQ(mkfifo((folder + "/stray.json").c_str(), 0644), 0);
    test::makeSymlink(good, folder + "/link.json");
    test::makeFolder(folder + "/dir.json");
    test::writeSparseFile(folder + "/big.json", 64'000'001);
    altered("entries.json", 100, [&](json& o) { o["entries"][data.path()] = "x"; });
    altered("date.json", 0, [](json& o) { o["date"] = 1e308; });
    altered("total.json", 200, [](json& o) { o["totalBytes"] = std::numeric_limits<std::uint64_t>::max(); });
    altered("entry.json", 300, [&](json& o) { o["entries"][data.path()] = std::numeric_limits<std::int64_t>::min(); });
    altered("future.json", 400, [](json& o) { o["formatVersion"] = 2; });
    std::map<std::string, std::string> expected{
        {"stray.json", "It is not a regular file."},
        {"link.json", "It is not a regular file."},
        {"dir.json", "It is not a regular file."},
        {"big.json", "It is larger than 64 MB, more than any snapshot needs."},
        {"entries.json", "The size of \"" + data.path() + "\" is not a whole number."},
        {"date.json", "Its date is not between 1970 and 2261."},
        {"total.json", "Its total size is negative or too large."},
        {"entry.json", "The size of \"" + data.path() + "\" is negative or too large."},
    };

    const json listed = json::parse(runBeside(folder + "/stray.json", {"snapshots", "--json", data.path()}).out);
    ASSERT_EQ(listed.at("snapshots").size(), 2u) << "the good one, and one of a newer format: " << listed;
    EXPECT_EQ(listed.at("snapshots")[1].at("path"), good);
    EXPECT_EQ(reasonsByName(listed.at("unreadable")), expected);
    const std::string text = runBeside(folder + "/stray.json", {"snapshots", data.path()}).out;
    EXPECT_NE(text.find("Files that could not be read as snapshots:\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  " + folder + "/stray.json: It is not a regular file.\n"), std::string::npos) << text;

    const json changes = json::parse(runBeside(folder + "/stray.json", {"changes", "--json", data.path()}).out);
    ASSERT_TRUE(changes.at("baseline").is_object()) << changes;
    EXPECT_EQ(changes.at("baseline").at("date"), listed.at("snapshots")[1].at("date")) << "the good one";
    expected["future.json"] = "Snapshot format 2 is newer than this build understands.";
    EXPECT_EQ(reasonsByName(changes.at("unreadable")), expected);

    const std::string told = runBeside(folder + "/stray.json", {"changes", data.path()}).out;
    EXPECT_TRUE(told.starts_with("Since ")) << told;
    EXPECT_NE(told.find("Passed over, as they could not be read:\n"), std::string::npos) << told;
    EXPECT_NE(told.find("future.json: Snapshot format 2 is newer than this build understands.\n"), std::string::npos)
        << told;
    for (const auto& [name, reason] : expected) {
        struct stat info {};
        EXPECT_EQ(lstat((folder + "/" + name).c_str(), &info), 0) << name << " was removed";
    }
}

TEST_F(SnapshotHome, NoSnapshotsYetIsSaidPlainly) {
    const Outcome listed = run({"snapshots", data.path()});
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(listed.out, "No snapshots of " + data.path() + " yet: \"tessel snapshot\" or a scan in the app keeps one.\n");
    expectOneErrorLine(run({"changes", data / "missing"}), 1, data / "missing");
}

} // namespace
} // namespace tessel::cli
