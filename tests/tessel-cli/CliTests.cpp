// tessel scan, run as the real tool: its exit status and what it writes on each
// stream, against folders built on disk for each test; and the failures every
// command shares: a usage mistake is status 2, a path that can't be scanned 1.

#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <system_error>

#include "TerminalText.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

TEST(CliScan, JsonAddsUpAsAnIndependentWalkAndTheOptionsReachTheScan) {
    test::TempFolder tree;
    test::makeFolder(tree / "a");
    test::writeFile(tree / "a/data", 3 << 20);
    test::makeHardLink(tree / "a/data", tree / "a/link");
    test::makeFolder(tree / ".Trashes");
    test::writeFile(tree / ".Trashes/old", 200000);

    const json report = runJson({"scan", "--json", tree.path()});
    std::set<std::string> keys;
    for (const auto& item : report.items()) keys.insert(item.key());
    EXPECT_EQ(keys, (std::set<std::string>{"root", "bytes", "files", "directories", "hardLinksSkipped",
                                           "hardLinkBytesSkipped", "unreadableDirectories", "cloudOnlyDirectories",
                                           "stalledPaths", "duration", "largestFolders", "largestFiles"}));
    const test::IndependentCount all = test::independentCount(tree.path());
    EXPECT_EQ(report.at("bytes"), all.bytes - test::allocatedOf(tree / ".Trashes/old")) << "a disk's Trash is left out";
    const json tuned = runJson({"scan", "--json", "--workers", "1", "--cross-devices", "--include-trash",
                                "--stall-timeout=2.5", tree.path()});
    EXPECT_EQ(tuned.at("bytes"), all.bytes);
    EXPECT_EQ(tuned.at("files"), all.entries);
}

TEST(CliScan, UnreadableFolderIsCountedAndWarnedAbout) {
    test::TempFolder tree;
    test::makeFolder(tree / "locked");
    ASSERT_EQ(chmod((tree / "locked").c_str(), 0) | chmod(tree.path().c_str(), 0755), 0);
    // Root reads any folder whatever its mode, so there the tool runs as nobody.
    const As as = geteuid() == 0 ? As::nobody : As::usual;
    if (as == As::usual && access((tree / "locked").c_str(), R_OK) == 0) GTEST_SKIP() << "a folder of mode 000 is readable here";
    EXPECT_EQ(runJson({"scan", "--json", tree.path()}, as).at("unreadableDirectories"), 1);
    EXPECT_NE(runTessel({"scan", tree.path()}, as).out.find("\nWarnings\n  1 folder could not be read"), std::string::npos);
}

TEST(CliScan, WithNoThreadToSpareTheScanStillEndsAndAddsUp) {
    test::TempFolder tree;
    test::makeFolder(tree / "a");
    test::writeFile(tree / "a/big", 3 << 20);
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0) << "nobody must pass through";
    const json expected = runJson({"scan", "--json", tree.path()});
    const json got = runJson({"scan", "--json", "--workers", "4", tree.path()}, As::withoutThreads);
    for (const char* key : {"bytes", "files", "directories"}) EXPECT_EQ(got.at(key), expected.at(key)) << key;
}

TEST(CliScan, ProgressOnATerminalIsWipedBeforeTheReport) {
    test::TempFolder tree;
    Outcome shown;
    try {
        shown = runTessel({"scan", tree.path()}, As::terminal);
    } catch (const std::system_error& error) {
        GTEST_SKIP() << "No pseudo-terminal can be opened here (" << error.what() << ").";
    }
    EXPECT_TRUE(shown.out.starts_with(tree.path() + "\n")) << shown.out;
    EXPECT_NE(shown.err.find("\rScanning: "), std::string::npos) << printable(shown.err);
    EXPECT_TRUE(shown.err.ends_with("\r\x1b[K")) << printable(shown.err);
}

struct CliErrors : WithHome {};

TEST_F(CliErrors, APathThatCannotBeScannedIsStatusOneNamedOnOneLine) {
    test::writeFile(home / "file", 100);
    test::makeSymlink(home.path(), home / "link");
    const std::string missing = home / "no\nsuch\x1b[2J", shown = home / "no\\nsuch\\x1b[2J";
    const std::vector<std::pair<Strings, std::string>> failures{
        {{"scan", home / "file"}, home / "file"}, {{"scan", "--json", home / "link"}, home / "link"},
        {{"scan", missing}, shown}, {{"largest", missing}, shown}, {{"search", "--json", missing, "x"}, shown},
        {{"duplicates", missing}, shown}, {{"changes", missing}, shown}, {{"scan", "--", "--help"}, "--help"}};
    for (const auto& [words, mention] : failures) {
        SCOPED_TRACE(printable(testing::PrintToString(words)));
        expectOneErrorLine(run(words), 1, mention);
    }
}

TEST_F(CliErrors, UsageMistakesOfEveryCommandAreStatusTwo) {
    const std::string root = home.path(), missing = home / "missing";
    // An option is matched by its whole name, never by a prefix; a number is all digits and in range.
    const std::vector<Strings> mistakes{
        {"scan"}, {"scan", root, root}, {"scan", root, "--workers"}, {"scan", "--work", "2", root}, {"scan", "--json=yes", root},
        {"scan", "--workers", "65", root}, {"scan", "--workers", "3x", root}, {"scan", "--workers=99999999999999999999", root},
        {"scan", "--stall-timeout", "-1", root}, {"scan", "--stall-timeout=nan", root}, {"scan", "--bad\noption", root}, {"frob\nnicate"},
        {"largest"}, {"largest", "--limit", "-1", missing}, {"largest", "--kind", "files", root}, {"search", root},
        {"search", "--kind", "links", missing, "a"}, {"search", "--sort", "size", missing, "a"},
        {"search", "--max", "1", "--min", "2", missing, "a"}, {"duplicates"}, {"duplicates", "--min-size", "lots", root},
        {"report", root}, {"trash", "--json"}, {"volumes", root}, {"volumes", "--root="}, {"apps", "/usr"}};
    for (const Strings& words : mistakes) {
        SCOPED_TRACE(printable(testing::PrintToString(words)));
        expectOneErrorLine(run(words), 2, "");
    }
}

} // namespace
} // namespace tessel::cli
