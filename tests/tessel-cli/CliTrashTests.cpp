// tessel trash, run as the real tool with a home folder of its own: that what
// it is given reaches the guard as typed, with the home, its sync clients and
// this very program known, and that a dry run leaves everything where it was.
// The guard's own judgements are tested with the guard.

#include <unistd.h>

#include <fstream>
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;

struct TrashHome : ::testing::Test {
    test::TempFolder home;
    std::string trash = home / ".local/share/Trash";
    std::string photos = home / "photos", notes = home / "notes with spaces.txt";
    void SetUp() override {
        test::makeFolder(photos);
        test::writeFile(photos + "/a.jpg", 5000);
        test::writeFile(notes, 8);
    }
    Outcome run(std::vector<std::string> words) { return runTessel(std::move(words), As::usual, home.path()); }
};

TEST_F(TrashHome, MovesWhatTheGuardAllowsAndRefusesTheRestWithItsReason) {
    test::makeFolder(home / "sub");
    test::makeFolder(home / "sub/dir");
    test::writeFile(home / "victim", 10);
    test::writeFile(home / "sub/victim", 20);
    test::makeSymlink("sub/dir", home / "lnk");
    const std::string synced = home / "Box";
    test::makeFolder(synced);
    test::writeFile(synced + "/plan.odt", 10);
    test::makeFolder(home / ".dropbox");
    std::ofstream(home / ".dropbox/info.json") << json{{"personal", {{"path", synced}}}}.dump();

    const Outcome outcome = run({"trash", "--json", photos, photos + "/a.jpg", notes, home / "lnk/../victim", "/etc/passwd",
                                 home / "gone", synced + "/plan.odt"});
    EXPECT_EQ(outcome.status, 1) << "something asked for stayed where it was";
    const json report = json::parse(outcome.out);
    std::map<std::string, std::string> moved;
    for (const json& receipt : report.at("receipts")) {
        moved[receipt.at("originalPath")] = receipt.at("realPath");
        const std::string trashed = receipt.at("trashedPath");
        EXPECT_TRUE(trashed.starts_with(trash + "/files/")) << trashed;
        EXPECT_EQ(access(trashed.c_str(), F_OK), 0) << trashed;
    }
    EXPECT_EQ(moved, (std::map<std::string, std::string>{
                         {photos, photos}, {notes, notes}, {home / "lnk/../victim", home / "sub/victim"}}))
        << "the file inside the folder moves with it, once; \"..\" is taken where the kernel takes it";
    EXPECT_EQ(access((home / "victim").c_str(), F_OK), 0) << "the file the text seems to name stays";
    EXPECT_EQ(access((trash + "/info/photos.trashinfo").c_str(), F_OK), 0) << "the Trash knows where to put it back";

    std::map<std::string, std::string> reasons;
    for (const json& refusal : report.at("refused")) reasons[refusal.at("path")] = refusal.at("reason");
    EXPECT_EQ(reasons, (std::map<std::string, std::string>{{"/etc/passwd", "systemPath"},
                                                           {home / "gone", "missing"},
                                                           {synced + "/plan.odt", "cloudSynced"}}));
    EXPECT_EQ(report.at("failures"), json::array());
    EXPECT_EQ(access((synced + "/plan.odt").c_str(), F_OK), 0);
}

TEST_F(TrashHome, DryRunMovesNothingAndTheHomeAndThisProgramStay) {
    const json report = runJson({"trash", "--dry-run", "--json", notes}, As::usual, home.path());
    ASSERT_EQ(report.at("allowed").size(), 1u) << report;
    EXPECT_EQ(report.at("allowed")[0].at("path"), notes);
    EXPECT_EQ(report.at("receipts"), json::array());
    const Outcome text = run({"trash", "--dry-run", notes});
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_NE(text.out.find(notes), std::string::npos) << text.out;
    EXPECT_EQ(access(notes.c_str(), F_OK), 0);
    EXPECT_NE(access(trash.c_str(), F_OK), 0) << "not even the Trash folder is made";

    // A folder takes what is inside it, so the home, which holds the rest, is asked about alone.
    const Outcome kept = run({"trash", "--json", home.path(), TESSEL_BINARY});
    EXPECT_EQ(kept.status, 1);
    const json refused = json::parse(kept.out).at("refused");
    std::map<std::string, std::string> reasons;
    for (const json& refusal : refused) reasons[refusal.at("path")] = refusal.at("reason");
    EXPECT_EQ(reasons, (std::map<std::string, std::string>{{home.path(), "protectedFolder"}, {TESSEL_BINARY, "ownApplication"}}));
    EXPECT_EQ(access(TESSEL_BINARY, X_OK), 0);
    expectOneErrorLine(run({"trash", "--json"}), 2, "trash wants at least one path");
}

} // namespace
} // namespace tessel::cli
