// tessel largest and tessel search, run as the real tool: how their options
// reach the query, the shape of what they list, and how they fail. The order
// and the counting of matches are the search's own, tested with it.

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DiskScanKit/ByteFormat.h"
#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

// Every item is exactly {"path", "bytes", "isDirectory"}, true to the disk; gives the paths in order.
Strings itemPaths(const json& items) {
    Strings paths;
    for (const json& item : items) {
        EXPECT_EQ(item.size(), 3u) << item;
        const std::string path = item.at("path");
        EXPECT_EQ(item.at("isDirectory"), std::filesystem::is_directory(path)) << item;
        paths.push_back(path);
    }
    return paths;
}

// Names that "report" finds, a folder among them, and one it does not.
struct ReportTree {
    test::TempFolder tree;
    std::string folder = tree / "Reports", old = tree / "Reports/old report.txt", pdf = tree / "Report 2023.pdf";
    ReportTree() {
        test::makeFolder(folder);
        test::writeFile(old, 30000);
        test::writeFile(pdf, 20000);
        test::writeFile(tree / "notes.txt", 5000);
    }
    json search(Strings options, const std::string& text = "report") const {
        options.insert(options.begin(), {"search", "--json", "--threshold", "0", tree.path(), text});
        return runJson(options);
    }
    Strings found(const Strings& options, const std::string& text = "report") const {
        return itemPaths(search(options, text).at("matches"));
    }
};

TEST(CliLargest, ListsTheLargestFilesOrFoldersFirst) {
    test::TempFolder tree;
    test::makeFolder(tree / "a");
    test::makeFolder(tree / "b");
    test::writeFile(tree / "a/big.bin", 3 << 20);
    test::writeFile(tree / "b/mid.bin", 2 << 20);
    test::writeFile(tree / "new\nline.bin", 3 << 19);
    test::writeFile(tree / "a/small.bin", 10000);
    const json files = runJson({"largest", "--json", tree.path()});
    EXPECT_EQ(files.size(), 1u) << files;
    EXPECT_EQ(itemPaths(files.at("items")), (Strings{tree / "a/big.bin", tree / "b/mid.bin", tree / "new\nline.bin"}));
    EXPECT_EQ(files.at("items")[0].at("bytes"), test::allocatedOf(tree / "a/big.bin"));
    EXPECT_EQ(itemPaths(runJson({"largest", "--json", "--limit", "1", tree.path()}).at("items")), Strings{tree / "a/big.bin"});
    EXPECT_EQ(itemPaths(runJson({"largest", "--folders", "--json", tree.path()}).at("items")), (Strings{tree / "a", tree / "b"}))
        << "the root is not one of its descendants";

    // Text rows are the padded size, then the printable path.
    const Outcome text = runTessel({"largest", "--limit", "3", tree.path()});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(linesOf(text.out).at(2), ByteFormat::padded(test::allocatedOf(tree / "new\nline.bin"), 9) + "  " +
                                           (tree / "new\\nline.bin"));
    // An empty list would look like a fault, so it says why, pointing at the option that changes it.
    const Outcome none = runTessel({"largest", "--threshold", "100000000", tree.path()});
    EXPECT_EQ(linesOf(none.out).size(), 1u) << none.out;
    EXPECT_NE(none.out.find("--threshold"), std::string::npos) << none.out;
}

TEST(CliSearch, JsonCountsEveryMatchAndListsUpToTheLimit) {
    ReportTree t;
    const json all = t.search({});
    EXPECT_EQ(all.size(), 4u) << all;
    EXPECT_EQ(itemPaths(all.at("matches")), (Strings{t.folder, t.old, t.pdf}));
    EXPECT_EQ(all.at("totalBytes"), 2 * test::allocatedOf(t.old) + test::allocatedOf(t.pdf));
    EXPECT_EQ(all.at("truncated"), false);
    const json one = t.search({"--limit", "1"});
    EXPECT_EQ(itemPaths(one.at("matches")), Strings{t.folder});
    EXPECT_EQ(one.at("totalMatched"), 3);
    EXPECT_EQ(one.at("totalBytes"), all.at("totalBytes"));
    EXPECT_EQ(one.at("truncated"), true);

    const Outcome text = runTessel({"search", "--threshold", "0", "--limit", "1", t.tree.path(), "report"});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(linesOf(text.out).size(), 2u) << text.out;
    EXPECT_TRUE(text.out.ends_with("3 matches, " + ByteFormat::string(all.at("totalBytes")) + " in all; showing 1\n"))
        << text.out;
}

TEST(CliSearch, EachOptionReachesTheQuery) {
    ReportTree t;
    const std::string pdfBytes = std::to_string(test::allocatedOf(t.pdf));
    EXPECT_EQ(t.found({"--kind", "files"}), (Strings{t.old, t.pdf}));
    EXPECT_EQ(t.found({"--kind", "folders"}), Strings{t.folder});
    EXPECT_EQ(t.found({"--sort", "name"}), (Strings{t.old, t.pdf, t.folder}));
    EXPECT_EQ(t.found({"--sort", "smallest"}), (Strings{t.pdf, t.folder, t.old}));
    EXPECT_EQ(t.found({"--min", pdfBytes, "--max", pdfBytes}), Strings{t.pdf});
    EXPECT_EQ(t.found({}, "\"old report\""), Strings{t.old});
    EXPECT_EQ(runJson({"search", "--json", t.tree.path(), "report"}).at("totalMatched"), 1)
        << "without --threshold only the folder is large enough to be listed";
}

TEST(CliQueryErrors, AFailedScanIsStatusOneAndAMistakeStatusTwoBeforeScanning) {
    test::TempFolder tree;
    const std::string missing = tree / "missing\nhere";
    for (const Strings& words : {Strings{"largest", missing}, Strings{"search", "--json", missing, "x"}}) {
        SCOPED_TRACE(words.front());
        expectOneErrorLine(runTessel(words), 1, tree / "missing\\nhere");
    }
    const std::string root = tree.path();
    const std::vector<Strings> mistakes{
        {"largest"}, {"largest", root, root}, {"largest", "--limit", "-1", missing}, {"largest", "--kind", "files", root},
        {"search", root}, {"search", "--kind", "links", missing, "a"}, {"search", "--sort", "size", missing, "a"},
        {"search", "--max", "1", "--min", "2", missing, "a"},
    };
    for (const Strings& words : mistakes) {
        SCOPED_TRACE(testing::PrintToString(words));
        expectOneErrorLine(runTessel(words), 2, "");
    }
}

} // namespace
} // namespace tessel::cli
