// tessel duplicates, run as the real tool: the JSON a script reads, the size
// floor reaching below the scan's listing size, what a person reads of a
// hard-linked copy, and the failures. Which copy stays and what removing the
// others frees are the finder's own, tested with it.

#include <gtest/gtest.h>

#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;

struct DuplicateHome : ::testing::Test {
    test::TempFolder home;
    void SetUp() override {
        for (const char* folder : {"Documents", "Downloads", "misc"}) test::makeFolder(home / folder);
        // Files of one size hold the same bytes: the pairs below are copies, the odd sizes are not.
        test::writeFile(home / "Documents/plan.pdf", 1'500'000);
        test::writeFile(home / "Downloads/plan (1).pdf", 1'500'000);
        test::writeFile(home / "misc/alone.bin", 1'700'000);
        test::writeFile(home / "misc/small-a.bin", 600'000);
        test::writeFile(home / "Downloads/small-b.bin", 600'000);
    }
    Outcome run(std::vector<std::string> words) { return runTessel(std::move(words), As::usual, home.path()); }
    json runJson(std::vector<std::string> words) { return cli::runJson(std::move(words), As::usual, home.path()); }
};

TEST_F(DuplicateHome, JsonListsEachGroupWithTheKeeperFirst) {
    const json report = runJson({"duplicates", "--json", home.path()});
    ASSERT_EQ(report.at("groups").size(), 1u) << report;
    const json& group = report.at("groups")[0];
    EXPECT_EQ(group.at("logicalSize"), 1'500'000);
    EXPECT_EQ(group.at("id").get<std::string>().size(), 64u) << "the contents' SHA-256";
    ASSERT_EQ(group.at("files").size(), 2u);
    EXPECT_EQ(group.at("files")[0].at("path"), home / "Documents/plan.pdf");
    const json& copy = group.at("files")[1];
    const std::int64_t copyBytes = test::allocatedOf(home / "Downloads/plan (1).pdf");
    EXPECT_EQ(copy.at("path"), home / "Downloads/plan (1).pdf");
    EXPECT_EQ(copy.at("sharing"), "unshared");
    EXPECT_EQ(copy.at("otherNames"), json::array());
    EXPECT_EQ(copy.at("allocatedBytes"), copyBytes);
    EXPECT_EQ(group.at("reclaimableBytes"), copyBytes);
    EXPECT_EQ(report.at("totalReclaimableBytes"), copyBytes);
    EXPECT_EQ(report.at("filesExamined"), 3) << "three files of 1 MB or more";
    EXPECT_EQ(report.at("unreadable"), 0);
    EXPECT_EQ(report.at("wasCancelled"), false);

    const json lower = runJson({"duplicates", "--json", "--min-size", "500000", home.path()});
    EXPECT_EQ(lower.at("groups").size(), 2u) << lower;
    EXPECT_EQ(lower.at("filesExamined"), 5);
}

TEST_F(DuplicateHome, EveryNameOfAHardLinkedCopyIsShownWithWhatItsRemovalTakes) {
    test::makeHardLink(home / "Downloads/plan (1).pdf", home / "misc/plan link.pdf");
    const Outcome text = run({"duplicates", home.path()});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_TRUE(text.err.empty()) << "no progress line off a terminal: " << text.err;
    EXPECT_NE(text.out.find("keep    1.5 MB  " + (home / "Documents/plan.pdf")), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("one file under 2 names"), std::string::npos) << text.out;
    for (const std::string name : {"Downloads/plan (1).pdf", "misc/plan link.pdf"})
        EXPECT_NE(text.out.find(home / name), std::string::npos) << name << " in\n" << text.out;

    const json linked = runJson({"duplicates", "--json", home.path()}).at("groups")[0].at("files")[1];
    EXPECT_EQ(linked.at("sharing"), "hardLinked");
    EXPECT_EQ(linked.at("otherNames").size(), 1u) << linked;
}

TEST_F(DuplicateHome, FailuresAreOneLine) {
    expectOneErrorLine(run({"duplicates", home / "missing"}), 1, home / "missing");
    expectOneErrorLine(run({"duplicates"}), 2, "duplicates");
    expectOneErrorLine(run({"duplicates", "--min-size", "lots", home.path()}), 2, "min-size");
}

} // namespace
} // namespace tessel::cli
