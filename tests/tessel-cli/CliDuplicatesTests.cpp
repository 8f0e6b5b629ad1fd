// tessel duplicates, run as the real tool: the groups with the copy that
// stays first, the size floor reaching below the scan's listing size, the
// JSON a script reads, and the failures.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;

struct DuplicateHome : ::testing::Test {
    test::TempFolder home;
    void SetUp() override {
        for (const char* folder : {"Documents", "Documents/Plans", "Downloads", "misc"}) test::makeFolder(home / folder);
        // Files of one size hold the same bytes: the pairs below are copies, the odd sizes are not.
        test::writeFile(home / "Documents/Plans/plan.pdf", 1'500'000);
        test::writeFile(home / "Downloads/plan (1).pdf", 1'500'000);
        test::writeFile(home / "misc/alone.bin", 1'700'000);
        test::writeFile(home / "misc/small-a.bin", 600'000);
        test::writeFile(home / "Downloads/small-b.bin", 600'000);
    }
    Outcome run(std::vector<std::string> words) { return runTessel(std::move(words), As::usual, home.path()); }
};

TEST_F(DuplicateHome, JsonListsEachGroupWithTheKeeperFirst) {
    const Outcome outcome = run({"duplicates", "--json", home.path()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json report = json::parse(outcome.out);
    ASSERT_EQ(report.at("groups").size(), 1u) << report;
    const json& group = report.at("groups")[0];
    EXPECT_EQ(group.at("logicalSize"), 1'500'000);
    ASSERT_EQ(group.at("files").size(), 2u);
    EXPECT_EQ(group.at("files")[0].at("path"), home / "Documents/Plans/plan.pdf") << "filed away beats a download";
    EXPECT_EQ(group.at("files")[1].at("path"), home / "Downloads/plan (1).pdf");
    EXPECT_EQ(group.at("files")[1].at("sharing"), "unshared");
    EXPECT_TRUE(group.at("files")[1].at("otherNames").empty());
    const std::int64_t copyBytes = test::allocatedOf(home / "Downloads/plan (1).pdf");
    EXPECT_EQ(group.at("files")[1].at("allocatedBytes"), copyBytes);
    EXPECT_EQ(group.at("reclaimableBytes"), copyBytes);
    EXPECT_EQ(report.at("totalReclaimableBytes"), copyBytes);
    EXPECT_EQ(report.at("filesExamined"), 3) << "three files of 1 MB or more";
    EXPECT_EQ(report.at("unreadable"), 0);
    EXPECT_EQ(report.at("wasCancelled"), false);
    EXPECT_EQ(group.at("id").get<std::string>().size(), 64u) << "the contents' SHA-256";
}

TEST_F(DuplicateHome, ALowerFloorFindsFilesTheScanWouldNotList) {
    const Outcome outcome = run({"duplicates", "--json", "--min-size", "500000", home.path()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json report = json::parse(outcome.out);
    ASSERT_EQ(report.at("groups").size(), 2u) << report;
    EXPECT_EQ(report.at("filesExamined"), 5);
}

TEST_F(DuplicateHome, TextShowsWhatStaysAndWhatWouldBeFreed) {
    const Outcome outcome = run({"duplicates", home.path()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("2 copies of 1.5 MB"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("keep    1.5 MB  " + (home / "Documents/Plans/plan.pdf")), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("Kept: it is filed in a folder inside Documents."), std::string::npos)
        << "why the copy stays, in the words the app uses\n" << outcome.out;
    EXPECT_NE(outcome.out.find("1 group of identical files. Removing the extra copies would free 1.5 MB."), std::string::npos)
        << outcome.out;
    EXPECT_TRUE(outcome.err.empty()) << "no progress line off a terminal: " << outcome.err;
}

TEST_F(DuplicateHome, EveryNameOfAHardLinkedCopyIsShownWithWhatItsRemovalTakes) {
    test::makeHardLink(home / "Downloads/plan (1).pdf", home / "misc/plan link.pdf");
    test::makeHardLink(home / "Downloads/plan (1).pdf", home / "plan again.pdf");
    const Outcome text = run({"duplicates", home.path()});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_NE(text.out.find("Hard link: one file under 3 names"), std::string::npos) << text.out;
    for (const std::string name : {"Downloads/plan (1).pdf", "misc/plan link.pdf", "plan again.pdf"})
        EXPECT_NE(text.out.find(home / name), std::string::npos) << name << " in\n" << text.out;
    EXPECT_NE(text.out.find("Its space comes free only when all 3 names go."), std::string::npos) << text.out;

    const json report = json::parse(run({"duplicates", "--json", home.path()}).out);
    ASSERT_EQ(report.at("groups").size(), 1u) << report;
    const json& linked = report.at("groups")[0].at("files")[1];
    EXPECT_EQ(linked.at("sharing"), "hardLinked");
    EXPECT_EQ(linked.at("otherNames").size(), 2u) << linked;
    EXPECT_EQ(report.at("groups")[0].at("reclaimableBytes"), test::allocatedOf(home / "plan again.pdf"))
        << "every name of the copy goes, so its bytes come free";
}

TEST_F(DuplicateHome, FailuresAreOneLine) {
    expectOneErrorLine(run({"duplicates", home / "missing"}), 1, home / "missing");
    expectOneErrorLine(run({"duplicates"}), 2, "duplicates");
    expectOneErrorLine(run({"duplicates", "--min-size", "lots", home.path()}), 2, "min-size");
}

} // namespace
} // namespace tessel::cli
