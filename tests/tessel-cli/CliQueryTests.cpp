// tessel largest and tessel search, run as the real tool against folders built
// on disk: what they list, in what shape, and how they fail.

#include <cstdint>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "DiskScanKit/ByteFormat.h"
#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

json runJson(const Strings& words) {
    const Outcome run = runTessel(words);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "") << "nothing but failures belongs on a standard error that is a pipe";
    return json::parse(run.out); // throws on anything that is not valid JSON
}

std::set<std::string> keysOf(const json& object) {
    std::set<std::string> keys;
    for (const auto& item : object.items()) keys.insert(item.key());
    return keys;
}

// Every item is exactly {"path", "bytes", "isDirectory"}; gives the paths in order.
Strings itemPaths(const json& items) {
    Strings paths;
    for (const json& item : items) {
        EXPECT_EQ(keysOf(item), (std::set<std::string>{"path", "bytes", "isDirectory"})) << item;
        paths.push_back(item.at("path").get<std::string>());
    }
    return paths;
}

Strings lines(const std::string& text) {
    Strings all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) all.push_back(line);
    return all;
}

// Three files above the listing size, one below it, in two folders.
struct LargeTree {
    test::TempFolder tree;
    std::string a = tree / "a", b = tree / "b";
    std::string big = tree / "a/big", mid = tree / "b/mid", top = tree / "top", small = tree / "a/small";
    LargeTree() {
        test::makeFolder(a);
        test::makeFolder(b);
        test::writeFile(big, 3 << 20);
        test::writeFile(mid, 2 << 20);
        test::writeFile(top, 3 << 19);
        test::writeFile(small, 10000);
    }
};

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
};

TEST(CliLargest, JsonListsTheLargestFilesOrFoldersFirst) {
    LargeTree t;
    const json files = runJson({"largest", "--json", t.tree.path()});
    EXPECT_EQ(keysOf(files), std::set<std::string>{"items"});
    EXPECT_EQ(itemPaths(files.at("items")), (Strings{t.big, t.mid, t.top})) << "the small file has no entry";
    for (const json& item : files.at("items")) {
        EXPECT_EQ(item.at("isDirectory"), false);
        EXPECT_EQ(item.at("bytes"), test::allocatedOf(item.at("path").get<std::string>()));
    }

    EXPECT_EQ(itemPaths(runJson({"largest", "--json", "--limit", "2", t.tree.path()}).at("items")),
              (Strings{t.big, t.mid}));

    const json folders = runJson({"largest", "--folders", "--json", t.tree.path()});
    EXPECT_EQ(itemPaths(folders.at("items")), (Strings{t.a, t.b})) << "the root is not one of its descendants";
    ASSERT_EQ(folders.at("items").size(), 2u);
    EXPECT_EQ(folders.at("items")[0].at("isDirectory"), true);
    EXPECT_EQ(folders.at("items")[0].at("bytes"), test::allocatedOf(t.big) + test::allocatedOf(t.small));
}

TEST(CliLargest, TextRowsAreThePaddedSizeThenThePrintablePath) {
    test::TempFolder tree;
    test::writeFile(tree / "new\nline", 2 << 20);
    test::writeFile(tree / "plain", 3 << 20);
    const Outcome run = runTessel({"largest", tree.path()});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(lines(run.out),
              (Strings{ByteFormat::padded(test::allocatedOf(tree / "plain"), 9) + "  " + (tree / "plain"),
                       ByteFormat::padded(test::allocatedOf(tree / "new\nline"), 9) + "  " + (tree / "new\\nline")}));

    // An empty list would look like a fault, so it says why, pointing at the option that changes it.
    const Outcome none = runTessel({"largest", "--threshold", "100000000", tree.path()});
    EXPECT_EQ(lines(none.out).size(), 1u) << none.out;
    EXPECT_NE(none.out.find("--threshold"), std::string::npos) << none.out;
}

TEST(CliSearch, JsonCountsEveryMatchAndListsUpToTheLimit) {
    ReportTree t;
    const json all = t.search({});
    EXPECT_EQ(keysOf(all), (std::set<std::string>{"totalMatched", "totalBytes", "truncated", "matches"}));
    EXPECT_EQ(itemPaths(all.at("matches")), (Strings{t.folder, t.old, t.pdf}))
        << "largest first; the folder ties with its file and is shallower";
    EXPECT_EQ(all.at("totalMatched"), 3);
    EXPECT_EQ(all.at("totalBytes"), 2 * test::allocatedOf(t.old) + test::allocatedOf(t.pdf))
        << "the folder and the file inside it both count";
    EXPECT_EQ(all.at("truncated"), false);
    EXPECT_EQ(all.at("matches")[0].at("isDirectory"), true);

    const json one = t.search({"--limit", "1"});
    EXPECT_EQ(itemPaths(one.at("matches")), Strings{t.folder});
    EXPECT_EQ(one.at("totalMatched"), 3);
    EXPECT_EQ(one.at("totalBytes"), all.at("totalBytes"));
    EXPECT_EQ(one.at("truncated"), true);
}

TEST(CliSearch, OptionsShapeTheQuery) {
    ReportTree t;
    const std::string pdfBytes = std::to_string(test::allocatedOf(t.pdf));
    EXPECT_EQ(itemPaths(t.search({"--kind", "files"}).at("matches")), (Strings{t.old, t.pdf}));
    EXPECT_EQ(itemPaths(t.search({"--kind", "folders"}).at("matches")), Strings{t.folder});
    EXPECT_EQ(itemPaths(t.search({"--sort", "name"}).at("matches")), (Strings{t.old, t.pdf, t.folder}));
    EXPECT_EQ(itemPaths(t.search({"--sort", "smallest"}).at("matches")), (Strings{t.pdf, t.folder, t.old}));
    EXPECT_EQ(itemPaths(t.search({"--min", pdfBytes, "--max", pdfBytes}).at("matches")), Strings{t.pdf})
        << "both bounds include the size itself";
    EXPECT_EQ(itemPaths(t.search({}, "2023 REPORT").at("matches")), Strings{t.pdf});
    EXPECT_EQ(itemPaths(t.search({}, "\"old report\"").at("matches")), Strings{t.old});
    EXPECT_EQ(t.search({}, "").at("totalMatched"), 4) << "no words: every item below the root";
}

TEST(CliSearch, TextListsTheRowsThenTheTotalLine) {
    ReportTree t;
    const std::int64_t total = 2 * test::allocatedOf(t.old) + test::allocatedOf(t.pdf);
    const Outcome all = runTessel({"search", "--threshold", "0", t.tree.path(), "report"});
    ASSERT_EQ(all.status, 0) << all.err;
    EXPECT_EQ(all.err, "");
    const Strings shown = lines(all.out);
    ASSERT_EQ(shown.size(), 4u) << all.out;
    EXPECT_EQ(shown[2], ByteFormat::padded(test::allocatedOf(t.pdf), 9) + "  " + t.pdf);
    EXPECT_EQ(shown[3], "3 matches, " + ByteFormat::string(total) + " in all");

    const Outcome one = runTessel({"search", "--threshold", "0", "--limit", "1", t.tree.path(), "report"});
    ASSERT_EQ(one.status, 0) << one.err;
    EXPECT_EQ(lines(one.out).size(), 2u) << one.out;
    EXPECT_TRUE(one.out.ends_with("3 matches, " + ByteFormat::string(total) + " in all; showing 1\n")) << one.out;
}

TEST(CliSearch, FilesBelowTheListingSizeAreFoundOnlyWithALowerThreshold) {
    test::TempFolder tree;
    test::writeFile(tree / "needle.txt", 10000);
    EXPECT_EQ(runJson({"search", "--json", tree.path(), "needle"}).at("totalMatched"), 0);
    EXPECT_EQ(runJson({"search", "--json", "--threshold", "0", tree.path(), "needle"}).at("totalMatched"), 1);
}

TEST(CliQueryErrors, AFailedScanIsOneLineWithStatusOne) {
    test::TempFolder tree;
    const std::string missing = tree / "missing\nhere";
    for (const Strings& words : {Strings{"largest", missing}, Strings{"largest", "--json", "--folders", missing},
                                 Strings{"search", missing, "x"}, Strings{"search", "--json", missing, "x"}}) {
        SCOPED_TRACE(words.front() + " " + words[1]);
        expectOneErrorLine(runTessel(words), 1, tree / "missing\\nhere");
    }
}

TEST(CliQueryErrors, UsageMistakesAreStatusTwoAndCaughtBeforeScanning) {
    test::TempFolder tree;
    const std::string root = tree.path();
    const std::string missing = tree / "missing"; // a scan would fail with 1; the mistake must win
    const std::vector<Strings> mistakes{
        {"largest"},
        {"largest", root, root},
        {"largest", "--limit", "-1", root},
        {"largest", "--limit", "ten", missing},
        {"largest", "--kind", "files", root},
        {"largest", "--folders=yes", root},
        {"search", root},
        {"search", root, "a", "b"},
        {"search", "--kind", "links", missing, "a"},
        {"search", "--sort", "size", missing, "a"},
        {"search", "--min", "-5", missing, "a"},
        {"search", "--max", "1", "--min", "2", missing, "a"},
        {"search", "--folders", root, "a"},
        {"search", root, "a", "--limit"},
    };
    for (const Strings& words : mistakes) {
        std::string joined;
        for (const std::string& word : words) joined += word + " ";
        SCOPED_TRACE(joined);
        expectOneErrorLine(runTessel(words), 2, "");
    }
}

} // namespace
} // namespace tessel::cli
