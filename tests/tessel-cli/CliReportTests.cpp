// tessel report, run as the real tool: the files it writes from one scan,
// whole or not at all. What they hold is the report's own, tested with it.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::size_t entries(const std::string& folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

TEST(CliReport, WritesTheSpreadsheetThePageAndTheSummaryFromOneScan) {
    test::TempFolder tree, out;
    test::writeFile(tree / "long.mkv", 3'000'000);
    const Outcome run = runTessel({"report", tree.path(), "--csv", out / "r.csv", "--html", out / "r.html", "--summary"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(contents(out / "r.csv").find(tree / "long.mkv,File,"), std::string::npos) << contents(out / "r.csv");
    EXPECT_NE(contents(out / "r.html").find("long.mkv"), std::string::npos);
    EXPECT_TRUE(run.out.starts_with(tree.path() + ": ")) << run.out;
    EXPECT_EQ(entries(out.path()), 2u) << "no temporary file is left";
}

TEST(CliReport, AFileThatCannotBeWrittenFailsAloneAndLeavesNothingBehind) {
    test::TempFolder tree, out;
    std::ofstream(out / "r.csv") << "kept";
    const Outcome run = runTessel({"report", tree.path(), "--csv", out / "r.csv", "--html", out / "none/r.html"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find(out / "none/r.html"), std::string::npos) << run.err;
    EXPECT_NE(contents(out / "r.csv"), "kept") << "the one that could be written was";
    EXPECT_EQ(entries(out.path()), 1u);
    expectOneErrorLine(runTessel({"report", tree.path()}), 2, "report");
}

} // namespace
} // namespace tessel::cli
