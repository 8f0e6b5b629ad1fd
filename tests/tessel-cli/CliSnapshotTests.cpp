// tessel snapshot, snapshots and changes, run as the real tool with a home of
// its own, so the snapshots it keeps are the test's.

#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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
};

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
    EXPECT_GT(listed.at("snapshots")[0].at("totalBytes").get<std::int64_t>(),
              listed.at("snapshots")[1].at("totalBytes").get<std::int64_t>())
        << "newest first";
    EXPECT_TRUE(listed.at("snapshots")[0].at("path").get<std::string>().starts_with(home / ".local/share/Tessel/Snapshots/"));
    EXPECT_EQ(second.at("baseline").at("totalBytes"), listed.at("snapshots")[1].at("totalBytes")) << "the first scan";
    EXPECT_EQ(second.at("baseline").at("date"), listed.at("snapshots")[1].at("date"));
    EXPECT_TRUE(second.at("baseline").at("date").get<std::string>().ends_with('Z'));
}

TEST_F(SnapshotHome, ABaselineFromANewerBuildFailsInWords) {
    const Outcome saved = run({"snapshot", data.path()});
    ASSERT_EQ(saved.status, 0) << saved.err;
    const json listed = runJson({"snapshots", "--json", data.path()});
    const std::string path = listed.at("snapshots")[0].at("path");
    const std::string folder = path.substr(0, path.rfind('/'));
    std::ofstream(folder + "/9999-future.json")
        << R"({"date":8e9,"entries":{},"formatVersion":2,"minimumBytes":1,"rootPath":")" << data.path()
        << R"(","totalBytes":1})";

    expectOneErrorLine(run({"changes", data.path()}), 1,
                       "That snapshot could not be read: Snapshot format 2 is newer than this build understands.");
}

TEST_F(SnapshotHome, NoSnapshotsYetIsSaidPlainly) {
    const Outcome listed = run({"snapshots", data.path()});
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(listed.out, "No snapshots of " + data.path() + " yet: \"tessel snapshot\" or a scan in the app keeps one.\n");
    expectOneErrorLine(run({"changes", data / "missing"}), 1, data / "missing");
}

} // namespace
} // namespace tessel::cli
