// tessel trash, run as the real tool with a home folder of its own: what it moves,
// what it refuses and why, and that a dry run leaves everything where it was.

#include <unistd.h>

#include <fstream>
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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
    const Outcome outcome = run({"trash", "--json", photos, photos + "/a.jpg", notes, "/etc/passwd", home / "gone"});
    EXPECT_EQ(outcome.status, 1) << "something asked for stayed where it was";
    const json report = json::parse(outcome.out);

    ASSERT_EQ(report.at("receipts").size(), 2u) << "the file inside the folder moves with it, once";
    std::set<std::string> moved;
    for (const json& receipt : report.at("receipts")) {
        moved.insert(receipt.at("originalPath").get<std::string>());
        const std::string trashed = receipt.at("trashedPath").get<std::string>();
        EXPECT_TRUE(trashed.starts_with(trash + "/files/")) << trashed;
        EXPECT_EQ(access(trashed.c_str(), F_OK), 0) << trashed;
    }
    EXPECT_EQ(moved, (std::set<std::string>{photos, notes}));
    EXPECT_NE(access(photos.c_str(), F_OK), 0);
    EXPECT_EQ(access((trash + "/info/photos.trashinfo").c_str(), F_OK), 0) << "the Trash knows where to put it back";
    EXPECT_EQ(access("/etc/passwd", F_OK), 0);

    std::set<std::string> reasons;
    for (const json& refusal : report.at("refused")) reasons.insert(refusal.at("reason").get<std::string>());
    EXPECT_EQ(reasons, (std::set<std::string>{"systemPath", "missing"}));
    EXPECT_TRUE(report.at("failures").empty());
}

TEST_F(TrashHome, DryRunListsThePlanAndMovesNothing) {
    const Outcome outcome = run({"trash", "--dry-run", notes});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("Move 1 item to the Trash: "), std::string::npos) << "the app's own title\n" << outcome.out;
    EXPECT_NE(outcome.out.find("Nothing was moved: --dry-run."), std::string::npos) << outcome.out;
    EXPECT_EQ(access(notes.c_str(), F_OK), 0);
    EXPECT_NE(access(trash.c_str(), F_OK), 0) << "not even the Trash folder is made";
}

TEST_F(TrashHome, HomeItselfAndThisProgramStay) {
    const Outcome outcome = run({"trash", home.path(), TESSEL_BINARY});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.out.find("A standard folder."), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("This app."), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("Nothing can be moved\nSKIPPED: 2\n"), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.out.find("Moved "), std::string::npos) << outcome.out;
    EXPECT_EQ(access(TESSEL_BINARY, X_OK), 0);
}

TEST_F(TrashHome, LinksAndDotDotAreJudgedWhereTheyLead) {
    test::makeFolder(home / "Documents");
    test::makeFolder(home / "sub");
    test::makeFolder(home / "sub/dir");
    test::writeFile(home / "victim", 10);
    test::writeFile(home / "sub/victim", 20);
    test::makeSymlink(home.path(), home / "hop");
    test::makeSymlink("sub/dir", home / "lnk");
    const Outcome outcome = run({"trash", "--json", home / "hop/Documents", home / "lnk/../victim"});
    EXPECT_EQ(outcome.status, 1) << "the Documents folder stayed";
    const json report = json::parse(outcome.out);
    ASSERT_EQ(report.at("refused").size(), 1u) << report;
    EXPECT_EQ(report.at("refused")[0].at("path"), home / "hop/Documents") << "named as typed";
    EXPECT_EQ(report.at("refused")[0].at("reason"), "protectedFolder");
    ASSERT_EQ(report.at("receipts").size(), 1u) << report;
    EXPECT_EQ(report.at("receipts")[0].at("originalPath"), home / "lnk/../victim");
    EXPECT_EQ(report.at("receipts")[0].at("realPath"), home / "sub/victim");
    EXPECT_EQ(access((home / "victim").c_str(), F_OK), 0) << "the file the text names stays";
    EXPECT_EQ(access((home / "Documents").c_str(), F_OK), 0);
}

TEST_F(TrashHome, WhatACloudServiceSyncsOrAPackageManagerKeepsStays) {
    const std::string synced = home / "Dropbox (Personal)";
    test::makeFolder(synced);
    test::writeFile(synced + "/plan.odt", 10);
    test::makeFolder(home / ".dropbox");
    std::ofstream(home / ".dropbox/info.json") << json{{"personal", {{"path", synced}}}}.dump();
    test::makeFolder(home / "Dropbox");
    test::writeFile(home / "Dropbox/old.zip", 10);

    const Outcome outcome = run({"trash", "--dry-run", "--json", synced + "/plan.odt", home / "Dropbox/old.zip",
                                 "/var/lib/flatpak/app/x", "/nix/store/x"});
    EXPECT_EQ(outcome.status, 1);
    const json report = json::parse(outcome.out);
    std::map<std::string, std::string> reasons;
    for (const json& refusal : report.at("refused")) {
        reasons[refusal.at("path")] = refusal.at("reason");
        if (refusal.at("reason") == "cloudSynced") {
            EXPECT_EQ(refusal.at("explanation"),
                      "Kept in sync with a cloud service. Deleting it here would remove it from every device.");
        }
    }
    EXPECT_EQ(reasons, (std::map<std::string, std::string>{{synced + "/plan.odt", "cloudSynced"},
                                                           {"/var/lib/flatpak/app/x", "systemPath"},
                                                           {"/nix/store/x", "systemPath"}}));
    ASSERT_EQ(report.at("allowed").size(), 1u) << "Dropbox syncs another folder than ~/Dropbox";
    EXPECT_EQ(report.at("allowed")[0].at("path"), home / "Dropbox/old.zip");
    EXPECT_EQ(access((synced + "/plan.odt").c_str(), F_OK), 0);
}

TEST_F(TrashHome, NoPathIsAUsageMistake) {
    expectOneErrorLine(run({"trash", "--json"}), 2, "trash wants at least one path");
}

} // namespace
} // namespace tessel::cli
