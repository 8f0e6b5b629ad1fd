// tessel scan, run as the real tool: its exit status and what it writes on each
// stream, against folders built on disk for each test.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include "Fixture.h"
#include "TerminalText.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

std::set<std::string> paths(const json& items) {
    std::set<std::string> found;
    for (const json& item : items) found.insert(item.at("path").get<std::string>());
    return found;
}

TEST(CliScan, JsonAddsUpAsAnIndependentWalkAndTheOptionsReachTheScan) {
    test::TempFolder tree;
    test::makeFolder(tree / "a");
    test::makeFolder(tree / "b");
    test::writeFile(tree / "a/data", 3 << 20);
    test::writeFile(tree / "a/small", 10000);
    test::makeHardLink(tree / "a/data", tree / "b/link");
    test::makeFolder(tree / ".Trashes");
    test::writeFile(tree / ".Trashes/old", 200000);
    const std::int64_t trashed = test::allocatedOf(tree / ".Trashes/old");

    const json report = runJson({"scan", "--json", tree.path()});
    std::set<std::string> keys;
    for (const auto& item : report.items()) keys.insert(item.key());
    EXPECT_EQ(keys, (std::set<std::string>{"root", "bytes", "files", "directories", "hardLinksSkipped",
                                           "hardLinkBytesSkipped", "unreadableDirectories", "cloudOnlyDirectories",
                                           "stalledPaths", "duration", "largestFolders", "largestFiles"}));
    const test::IndependentCount all = test::independentCount(tree.path());
    EXPECT_EQ(report.at("root"), tree.path());
    EXPECT_EQ(report.at("bytes"), all.bytes - trashed) << "a disk's Trash is left out unless asked for";
    EXPECT_EQ(report.at("files"), all.entries - 1);
    EXPECT_EQ(report.at("directories"), all.folders - 1);
    EXPECT_EQ(report.at("hardLinksSkipped"), 1);
    EXPECT_EQ(report.at("hardLinkBytesSkipped"), test::allocatedOf(tree / "a/data"));
    ASSERT_EQ(report.at("largestFiles").size(), 1u) << "either name of the linked file, never both";
    EXPECT_EQ(paths(report.at("largestFolders")), (std::set<std::string>{tree / "a", tree / "b"}));

    const json tuned = runJson({"scan", "--json", "--workers", "1", "--cross-devices", "--include-trash",
                                "--stall-timeout=2.5", tree.path()});
    EXPECT_EQ(tuned.at("bytes"), all.bytes);
    EXPECT_EQ(tuned.at("files"), all.entries);
}

TEST(CliScan, TextShowsEveryHostileNameEscapedOnOneLine) {
    const std::vector<std::pair<std::string, std::string>> names{
        {"new\nline", "new\\nline"}, {"esc\x1b[2J", "esc\\x1b[2J"}, {"bad\xff", "bad\\xff"},
        {"csi\xc2\x9b" "2J", "csi\\xc2\\x9b2J"}, {"back\\slash", "back\\\\slash"}, {"dir\nx/inside", "dir\\nx/inside"},
    };
    test::TempFolder tree;
    test::makeFolder(tree / "dir\nx");
    for (const auto& [onDisk, shown] : names) test::writeFile(tree / onDisk, 5000);
    const Outcome text = runTessel({"scan", "--threshold", "0", tree.path()});
    ASSERT_EQ(text.status, 0) << text.err;
    const auto raw = std::find_if(text.out.begin(), text.out.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte < 0x20 && byte != '\n') || byte == 0x7f || byte == 0xff;
    });
    EXPECT_EQ(raw, text.out.end()) << "raw byte at " << (raw - text.out.begin()) << " of\n" << text.out;
    EXPECT_EQ(text.out.find("\xc2\x9b"), std::string::npos);
    const Strings shown = linesOf(text.out);
    for (const auto& [onDisk, escaped] : names) {
        const std::string ending = "  " + (tree / escaped);
        EXPECT_EQ(std::count_if(shown.begin(), shown.end(), [&](const std::string& line) { return line.ends_with(ending); }), 1)
            << ending << " in\n" << text.out;
    }
}

TEST(CliScan, UnreadableFolderIsCountedAndWarnedAbout) {
    test::TempFolder tree;
    test::writeFile(tree / "kept", 5000);
    test::makeFolder(tree / "locked");
    test::writeFile(tree / "locked/hidden", 2 << 20);
    ASSERT_EQ(chmod((tree / "locked").c_str(), 0), 0);
    // Root reads any folder whatever its mode, so there the tool runs as nobody.
    const As as = geteuid() == 0 ? As::nobody : As::usual;
    if (as == As::nobody)
        ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    else if (access((tree / "locked").c_str(), R_OK) == 0)
        GTEST_SKIP() << "This process may read a folder of mode 000, so none can be unreadable to it.";

    const json report = runJson({"scan", "--json", tree.path()}, as);
    EXPECT_EQ(report.at("unreadableDirectories"), 1);
    EXPECT_EQ(report.at("bytes"), test::allocatedOf(tree / "kept"));
    const Outcome text = runTessel({"scan", tree.path()}, as);
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_NE(text.out.find("\nWarnings\n  1 folder could not be read"), std::string::npos) << text.out;
}

TEST(CliScan, WithNoThreadToSpareTheScanStillEndsAndAddsUp) {
    test::TempFolder tree;
    test::makeFolder(tree / "a");
    test::makeFolder(tree / "a/b");
    test::writeFile(tree / "a/b/big", 3 << 20);
    test::writeFile(tree / "a/small", 5000);
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0) << "nobody must pass through";
    const json expected = runJson({"scan", "--json", tree.path()});
    const json got = runJson({"scan", "--json", "--workers", "4", tree.path()}, As::withoutThreads);
    for (const char* key : {"bytes", "files", "directories", "largestFiles"}) EXPECT_EQ(got.at(key), expected.at(key)) << key;
}

TEST(CliScan, ProgressOnATerminalIsWipedBeforeTheReport) {
    test::TempFolder tree;
    test::writeFile(tree / "f", 5000);
    Outcome shown;
    try {
        shown = runTessel({"scan", tree.path()}, As::terminal);
    } catch (const std::system_error& error) {
        GTEST_SKIP() << "No pseudo-terminal can be opened here (" << error.what() << ").";
    }
    EXPECT_EQ(shown.status, 0);
    EXPECT_TRUE(shown.out.starts_with(tree.path() + "\n")) << shown.out;
    EXPECT_NE(shown.err.find("\rScanning: "), std::string::npos) << printable(shown.err);
    EXPECT_TRUE(shown.err.ends_with("\r\x1b[K")) << printable(shown.err);
}

TEST(CliErrors, RootThatIsNotAFolderFailsWithStatusOne) {
    test::TempFolder tree;
    test::writeFile(tree / "file", 100);
    test::makeSymlink(tree.path(), tree / "link");
    const std::vector<std::pair<std::string, std::string>> roots{
        {tree / "missing", tree / "missing"},
        {tree / "file", tree / "file"},
        {tree / "link", tree / "link"},
        {tree / "no\nsuch\x1b[2J", tree / "no\\nsuch\\x1b[2J"},
    };
    for (const auto& [root, shown] : roots) {
        SCOPED_TRACE(shown);
        expectOneErrorLine(runTessel({"scan", root}), 1, shown);
        expectOneErrorLine(runTessel({"scan", "--json", root}), 1, shown);
    }
}

TEST(CliErrors, UsageMistakesFailWithStatusTwo) {
    test::TempFolder tree;
    const std::string root = tree.path();
    const std::vector<Strings> mistakes{
        {"scan"}, {"scan", root, root}, {"scan", "--bogus", root}, {"scan", "--workers", "65", root},
        {"scan", "--stall-timeout", "-1", root}, {"scan", "--bad\noption", root}, {"frobnicate", root}, {"frob\nnicate"},
    };
    for (const Strings& words : mistakes) {
        SCOPED_TRACE(printable(words.back()));
        expectOneErrorLine(runTessel(words), 2, "");
    }
}

TEST(CliHelp, HelpGoesToStandardOutputWithStatusZero) {
    const Outcome general = runTessel({"--help"});
    EXPECT_EQ(general.status, 0);
    EXPECT_EQ(general.err, "");
    EXPECT_NE(general.out.find("scan"), std::string::npos) << general.out;
    const Outcome scan = runTessel({"scan", "--help"});
    EXPECT_EQ(scan.status, 0);
    EXPECT_NE(scan.out, general.out) << "the command's own help";
    // After "--" it is the name of a folder, here one that does not exist.
    expectOneErrorLine(runTessel({"scan", "--", "--help"}), 1, "--help");
}

} // namespace
} // namespace tessel::cli
