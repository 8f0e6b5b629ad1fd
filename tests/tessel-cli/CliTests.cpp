// The real tool, run the way a person or a script runs it: its exit status and
// what it writes on each stream, against folders built on disk for each test.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Fixture.h"
#include "TerminalText.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
using PathSet = std::set<std::string>;

constexpr std::int64_t defaultThreshold = 1048576;

std::string folder(const test::TempFolder& tree, const std::string& name) {
    test::makeFolder(tree / name);
    return tree / name;
}

std::string file(const test::TempFolder& tree, const std::string& name, std::int64_t bytes) {
    test::writeFile(tree / name, bytes);
    return tree / name;
}

json scanJson(std::vector<std::string> words) {
    words.insert(words.begin(), {"scan", "--json"});
    const Outcome run = runTessel(words);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "") << "nothing but failures belongs on a standard error that is a pipe";
    return json::parse(run.out); // throws on anything that is not valid JSON
}

PathSet paths(const json& items) {
    PathSet found;
    for (const json& item : items) found.insert(item.at("path").get<std::string>());
    return found;
}

TEST(CliScan, JsonCountsAllocatedBlocksOfEachInodeOnce) {
    test::TempFolder tree;
    folder(tree, "a");
    folder(tree, "b");
    const std::string data = file(tree, "a/data", 3 << 20);
    const std::string small = file(tree, "a/small", 10000);
    ASSERT_EQ(link(data.c_str(), (tree / "b/link").c_str()), 0);
    {
        std::ofstream sparse((tree / "sparse"), std::ios::binary);
        sparse.seekp((64 << 20) - 1);
        sparse.put('x');
    }
    if (test::allocatedOf((tree / "sparse")) >= defaultThreshold)
        GTEST_SKIP() << "This file system allocates holes, so no sparse file can be made here.";

    const test::IndependentCount expected = test::independentCount(tree.path());
    const json report = scanJson({tree.path()});
    std::set<std::string> keys;
    for (const auto& item : report.items()) keys.insert(item.key());
    EXPECT_EQ(keys, (std::set<std::string>{"root", "bytes", "files", "directories", "hardLinksSkipped",
                             "hardLinkBytesSkipped", "unreadableDirectories", "cloudOnlyDirectories",
                             "stalledPaths", "duration", "largestFolders", "largestFiles"}));
    EXPECT_EQ(report.at("root"), tree.path());
    EXPECT_EQ(report.at("bytes"), expected.bytes);
    EXPECT_EQ(report.at("files"), expected.entries);
    EXPECT_EQ(report.at("directories"), expected.folders);
    EXPECT_EQ(report.at("hardLinksSkipped"), 1);
    EXPECT_EQ(report.at("hardLinkBytesSkipped"), test::allocatedOf(data));
    EXPECT_EQ(report.at("unreadableDirectories"), 0);
    EXPECT_EQ(report.at("cloudOnlyDirectories"), 0);
    EXPECT_EQ(report.at("stalledPaths"), json::array());
    EXPECT_TRUE(report.at("duration").is_number() && report.at("duration") >= 0);

    // Either name of the linked file may be the one counted, never both; the sparse file is
    // far longer than the threshold but holds a single block.
    const json& files = report.at("largestFiles");
    ASSERT_EQ(files.size(), 1u);
    EXPECT_TRUE(files[0].at("path") == data || files[0].at("path") == (tree / "b/link")) << files;
    EXPECT_EQ(files[0].at("bytes"), test::allocatedOf(data));
    const json& folders = report.at("largestFolders");
    ASSERT_EQ(folders.size(), 2u);
    EXPECT_EQ(paths(folders), (PathSet{(tree / "a"), (tree / "b")}));
    EXPECT_GE(folders[0].at("bytes"), folders[1].at("bytes"));
    EXPECT_EQ(folders[0].at("bytes").get<std::int64_t>() + folders[1].at("bytes").get<std::int64_t>(),
              test::allocatedOf(data) + test::allocatedOf(small));

    // These change how a scan runs, not what a plain tree on one device holds.
    const json tuned = scanJson({"--workers", "1", "--cross-devices", "--include-trash",
                                 "--stall-timeout=2.5", tree.path()});
    EXPECT_EQ(tuned.at("bytes"), expected.bytes);
    EXPECT_EQ(tuned.at("files"), expected.entries);
}

TEST(CliScan, IncludeTrashCountsWhatADisksTrashHolds) {
    test::TempFolder tree;
    test::makeFolder(tree / ".Trashes");
    test::writeFile(tree / ".Trashes/old", 200000);
    test::writeFile(tree / "kept", 100000);
    EXPECT_EQ(scanJson({tree.path()}).at("bytes"), test::allocatedOf(tree / "kept"));
    EXPECT_EQ(scanJson({"--include-trash", tree.path()}).at("bytes"),
              test::allocatedOf(tree / "kept") + test::allocatedOf(tree / ".Trashes/old"));
}

TEST(CliScan, HostileNamesGiveValidJsonAndOneTextLineEach) {
    struct Name {
        std::string onDisk, inJson, inText;
    };
    const std::vector<Name> names{
        {"new\nline", "new\nline", "new\\nline"},
        {"tab\there", "tab\there", "tab\\there"},
        {"esc\x1b[2J", "esc\x1b[2J", "esc\\x1b[2J"},
        {"bad\xff", "bad\xef\xbf\xbd", "bad\\xff"},
        {"csi\xc2\x9b" "2J", "csi\xc2\x9b" "2J", "csi\\xc2\\x9b2J"},
        {"-rf", "-rf", "-rf"},
        {" with  spaces ", " with  spaces ", " with  spaces "},
        {"back\\slash", "back\\slash", "back\\\\slash"},
        {"dir\nx/inside", "dir\nx/inside", "dir\\nx/inside"},
    };
    test::TempFolder tree;
    folder(tree, "dir\nx");
    PathSet inJson;
    for (const Name& name : names) {
        file(tree, name.onDisk, 5000);
        inJson.insert((tree / name.inJson));
    }
    const json report = scanJson({"--threshold", "0", tree.path()});
    EXPECT_EQ(paths(report.at("largestFiles")), inJson);
    EXPECT_EQ(paths(report.at("largestFolders")), PathSet{(tree / "dir\nx")});

    const Outcome text = runTessel({"scan", "--threshold", "0", tree.path()});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_EQ(text.err, "");
    auto raw = std::find_if(text.out.begin(), text.out.end(), [](char c) {
        auto byte = static_cast<unsigned char>(c);
        return (byte < 0x20 && byte != '\n') || byte == 0x7f || byte == 0xff;
    });
    EXPECT_EQ(raw, text.out.end()) << "raw byte at " << (raw - text.out.begin()) << " of\n" << text.out;
    EXPECT_EQ(text.out.find("\xc2\x9b"), std::string::npos);

    std::vector<std::string> shown;
    std::istringstream stream(text.out);
    for (std::string line; std::getline(stream, line);) shown.push_back(line);
    ASSERT_FALSE(shown.empty());
    EXPECT_EQ(shown[0], tree.path());
    // The rows under the title, up to the blank line that ends the section.
    std::vector<std::string> files;
    auto row = std::find(shown.begin(), shown.end(), "Largest files");
    if (row != shown.end())
        for (++row; row != shown.end() && !row->empty(); ++row) files.push_back(*row);
    EXPECT_EQ(files.size(), names.size()) << text.out;
    for (const Name& name : names) {
        const std::string ending = "  " + (tree / name.inText);
        auto endsSo = [&](const std::string& line) { return line.ends_with(ending); };
        EXPECT_EQ(std::count_if(files.begin(), files.end(), endsSo), 1) << ending << " in\n" << text.out;
    }
    EXPECT_NE(text.out.find("  " + (tree / "dir\\nx") + "\n"), std::string::npos) << text.out;
}

TEST(CliScan, UnreadableFolderIsCountedAndWarnedAbout) {
    test::TempFolder tree;
    const std::string kept = file(tree, "kept", 5000);
    const std::string locked = folder(tree, "locked");
    file(tree, "locked/hidden", 2 << 20);
    ASSERT_EQ(chmod(locked.c_str(), 0), 0);
    // Root reads any folder whatever its mode, so there the tool runs as nobody.
    const As as = geteuid() == 0 ? As::nobody : As::usual;
    if (as == As::nobody)
        ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0);
    else if (access(locked.c_str(), R_OK) == 0)
        GTEST_SKIP() << "This process may read a folder of mode 000, so none can be unreadable to it.";

    const Outcome run = runTessel({"scan", "--json", tree.path()}, as);
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const json report = json::parse(run.out);
    EXPECT_EQ(report.at("unreadableDirectories"), 1);
    EXPECT_EQ(report.at("bytes"), test::allocatedOf(kept));

    const Outcome text = runTessel({"scan", tree.path()}, as);
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_NE(text.out.find("\nWarnings\n  1 folder could not be read"), std::string::npos) << text.out;
}

TEST(CliScan, WithNoThreadToSpareTheScanStillEndsAndAddsUp) {
    test::TempFolder tree;
    folder(tree, "a");
    folder(tree, "a/b");
    file(tree, "a/b/big", 3 << 20);
    file(tree, "a/small", 5000);
    ASSERT_EQ(chmod(tree.path().c_str(), 0755), 0) << "nobody must pass through";
    const Outcome plain = runTessel({"scan", "--json", tree.path()});
    const Outcome limited = runTessel({"scan", "--json", "--workers", "4", tree.path()}, As::withoutThreads);
    ASSERT_EQ(limited.status, 0) << limited.err;
    EXPECT_EQ(limited.err, "");
    const json expected = json::parse(plain.out);
    const json got = json::parse(limited.out);
    for (const char* key : {"bytes", "files", "directories", "largestFiles"}) EXPECT_EQ(got.at(key), expected.at(key)) << key;
}

TEST(CliScan, ProgressOnATerminalIsWipedBeforeTheReport) {
    test::TempFolder tree;
    folder(tree, "a");
    file(tree, "a/f", 5000);
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
    folder(tree, "real");
    const std::string plain = file(tree, "file", 100);
    ASSERT_EQ(symlink((tree / "real").c_str(), (tree / "link").c_str()), 0);
    const std::vector<std::pair<std::string, std::string>> roots{
        {(tree / "missing"), (tree / "missing")},
        {plain, plain},
        {(tree / "link"), (tree / "link")},
        {(tree / "no\nsuch\x1b[2J"), (tree / "no\\nsuch\\x1b[2J")},
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
    const std::vector<std::vector<std::string>> mistakes{
        {"scan"}, {"scan", root, root}, {"scan", "--bogus", root}, {"scan", "--workers", "0", root},
        {"scan", "--workers", "abc", root}, {"scan", "--workers", "65", root}, {"scan", "--stall-timeout", "-1", root},
        {"scan", "--json=yes", root}, {"scan", root, "--threshold"}, {"scan", "--bad\noption", root},
        {"frobnicate", root}, {"frob\nnicate"},
    };
    for (const std::vector<std::string>& words : mistakes) {
        std::string joined;
        for (const std::string& word : words) joined += word + " ";
        SCOPED_TRACE(printable(joined));
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
    EXPECT_EQ(scan.err, "");
    EXPECT_NE(scan.out, general.out) << "the command's own help";

    // After "--" it is the name of a folder, here one that does not exist.
    expectOneErrorLine(runTessel({"scan", "--", "--help"}), 1, "--help");
}

} // namespace
} // namespace tessel::cli
