// tessel report, run as the real tool: the files it writes, whole or not at all.

#include <dirent.h>

#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

int entries(const std::string& folder) {
    int count = 0;
    DIR* dir = opendir(folder.c_str());
    while (dir != nullptr && readdir(dir) != nullptr) ++count;
    if (dir != nullptr) closedir(dir);
    return count - 2;
}

TEST(CliReport, WritesTheSpreadsheetThePageAndTheSummaryFromOneScan) {
    test::TempFolder tree, out;
    test::makeFolder(tree / "Films");
    test::writeFile(tree / "Films/long.mkv", 3'000'000);
    const Outcome run = runTessel({"report", tree.path(), "--csv", out / "r.csv", "--html", out / "r.html", "--summary"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string csv = contents(out / "r.csv");
    EXPECT_TRUE(csv.starts_with("Path,Kind,Allocated bytes,Size,Share of scan,Scanned\r\n" + tree.path() + ",Folder,"))
        << csv;
    EXPECT_NE(csv.find(tree / "Films/long.mkv" + ",File,"), std::string::npos) << csv;
    const std::string page = contents(out / "r.html");
    EXPECT_TRUE(page.starts_with("<!DOCTYPE html>")) << page.substr(0, 80);
    EXPECT_NE(page.find("long.mkv"), std::string::npos);
    EXPECT_TRUE(run.out.starts_with(tree.path() + ": ")) << run.out;
    EXPECT_NE(run.out.find("Largest files:\n"), std::string::npos) << run.out;
    EXPECT_EQ(entries(out.path()), 2) << "no temporary file is left";
}

TEST(CliReport, AFileThatCannotBeWrittenFailsAloneAndLeavesNothingBehind) {
    test::TempFolder tree, out;
    std::ofstream(out / "r.csv") << "kept";
    const Outcome run = runTessel({"report", tree.path(), "--csv", out / "r.csv", "--html", out / "none/r.html"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("could not write " + out / "none/r.html"), std::string::npos) << run.err;
    EXPECT_NE(contents(out / "r.csv"), "kept") << "the one that could be written was";
    EXPECT_EQ(entries(out.path()), 1);
    expectOneErrorLine(runTessel({"report", tree.path()}), 2, "report wants --csv FILE, --html FILE or --summary");
}

} // namespace
} // namespace tessel::cli
