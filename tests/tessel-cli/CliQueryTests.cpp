// tessel largest, search, report, duplicates and the snapshots' commands, run
// as the real tool: that their options reach the query, the shape of what they
// write, names that are not UTF-8 given to the byte, and snapshots kept in the
// home's data folder. The order of the lists, the report's contents, which copy
// stays and what the snapshot store refuses are the kits' own, tested with them.

#include <filesystem>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/NameBytes.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

// The paths of a list whose items are exactly {"path", "bytes", "isDirectory"}.
Strings itemPaths(const json& items) {
    Strings paths;
    for (const json& item : items) {
        EXPECT_EQ(item.size(), 3u) << item;
        EXPECT_EQ(item.at("isDirectory"), std::filesystem::is_directory(item.at("path").get<std::string>())) << item;
        paths.push_back(item.at("path"));
    }
    return paths;
}

TEST(CliLargest, OptionsReachTheListAndARowIsThePaddedSizeThenThePath) {
    test::TempFolder tree;
    test::makeFolder(tree / "a");
    test::writeFile(tree / "a/big.bin", 3 << 20);
    test::writeFile(tree / "new\nline.bin", 3 << 19);
    const json files = runJson({"largest", "--json", tree.path()});
    EXPECT_EQ(itemPaths(files.at("items")), (Strings{tree / "a/big.bin", tree / "new\nline.bin"}));
    EXPECT_EQ(itemPaths(runJson({"largest", "--json", "--limit", "1", tree.path()}).at("items")), Strings{tree / "a/big.bin"});
    EXPECT_EQ(itemPaths(runJson({"largest", "--folders", "--json", tree.path()}).at("items")), Strings{tree / "a"});
    const std::string row = ByteFormat::padded(test::allocatedOf(tree / "new\nline.bin"), 9) + "  " + (tree / "new\\nline.bin");
    EXPECT_NE(runTessel({"largest", tree.path()}).out.find("\n" + row + "\n"), std::string::npos) << row;
    // An empty list would look like a fault, so it says why, pointing at the option that changes it.
    EXPECT_NE(runTessel({"largest", "--threshold", "100000000", tree.path()}).out.find("--threshold"), std::string::npos);
}

TEST(CliSearch, EachOptionReachesTheQueryAndTheTotalsCountEveryMatch) {
    test::TempFolder tree;
    const std::string folder = tree / "Reports", old = tree / "Reports/old report.txt", pdf = tree / "Report 2023.pdf";
    test::makeFolder(folder);
    test::writeFile(old, 30000);
    test::writeFile(pdf, 20000);
    test::writeFile(tree / "notes.txt", 5000);
    const auto found = [&](Strings options, const std::string& text) {
        options.insert(options.begin(), {"search", "--json", "--threshold", "0", tree.path(), text});
        return runJson(options);
    };
    const std::vector<std::pair<Strings, Strings>> cases{
        {{}, {folder, old, pdf}}, {{"--kind", "files"}, {old, pdf}}, {{"--kind", "folders"}, {folder}},
        {{"--sort", "name"}, {old, pdf, folder}}, {{"--sort", "smallest"}, {pdf, folder, old}},
        {{"--min", std::to_string(test::allocatedOf(pdf)), "--max", std::to_string(test::allocatedOf(pdf))}, {pdf}}};
    for (const auto& [options, expected] : cases)
        EXPECT_EQ(itemPaths(found(options, "report").at("matches")), expected) << testing::PrintToString(options);
    EXPECT_EQ(itemPaths(found({}, "\"old report\"").at("matches")), Strings{old});

    const json one = found({"--limit", "1"}, "report");
    EXPECT_EQ(one.at("totalMatched"), 3);
    EXPECT_EQ(one.at("totalBytes"), 2 * test::allocatedOf(old) + test::allocatedOf(pdf));
    EXPECT_EQ(one.at("truncated"), true);
    const Outcome text = runTessel({"search", "--threshold", "0", "--limit", "1", tree.path(), "report"});
    EXPECT_TRUE(text.out.ends_with("3 matches, " + ByteFormat::string(one.at("totalBytes")) + " in all; showing 1\n")) << text.out;
}

TEST(CliReport, EachFileIsWrittenWholeOrNotAtAllAndOneThatFailsIsNamed) {
    test::TempFolder tree, out;
    test::writeFile(tree / "long.mkv", 3'000'000);
    const Outcome written = runTessel({"report", tree.path(), "--csv", out / "r.csv", "--html", out / "r.html", "--summary"});
    ASSERT_EQ(written.status, 0) << written.err;
    EXPECT_NE(test::readText(out / "r.csv").find(tree / "long.mkv,File,"), std::string::npos);
    EXPECT_TRUE(written.out.starts_with(tree.path() + ": ")) << "the summary";

    const Outcome failed = runTessel({"report", tree.path(), "--csv", out / "r.csv", "--html", out / "none/r.html"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_NE(failed.err.find(out / "none/r.html"), std::string::npos) << failed.err;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(out.path()), {}), 2) << "no temporary file is left";
}

// Reports on folders in a home of the test's own, where the snapshots and the Trash are.
struct InHome : WithHome {};

TEST_F(InHome, DuplicatesTakeAFloorBelowTheListingSizeAndShowEveryNameOfACopy) {
    test::writeFile(home / "plan.pdf", 1'500'000); // files of one size hold the same bytes
    test::writeFile(home / "plan (1).pdf", 1'500'000);
    test::makeHardLink(home / "plan (1).pdf", home / "plan link.pdf");
    test::writeFile(home / "small-a.bin", 600'000);
    test::writeFile(home / "small-b.bin", 600'000);
    const json report = runJson({"duplicates", "--json", home.path()});
    ASSERT_EQ(report.at("groups").size(), 1u) << report;
    const json& files = report.at("groups")[0].at("files");
    const json& copy = files.at(0).at("sharing") == "hardLinked" ? files.at(0) : files.at(1);
    EXPECT_EQ(copy.at("sharing"), "hardLinked") << files;
    EXPECT_EQ(copy.at("otherNames").size(), 1u) << copy;
    EXPECT_EQ(runJson({"duplicates", "--json", "--min-size", "500000", home.path()}).at("groups").size(), 2u);
    const Outcome text = run({"duplicates", home.path()});
    for (const char* name : {"plan (1).pdf", "plan link.pdf"}) EXPECT_NE(text.out.find(home / name), std::string::npos) << text.out;
}

TEST_F(InHome, SnapshotsAreKeptInTheDataFolderAndChangesTellWhatAppearedAndWhatWasPassedOver) {
    const test::TempFolder data;
    const json first = runJson({"changes", "--json", data.path()});
    EXPECT_TRUE(first.at("baseline").is_null());
    const json listed = runJson({"snapshots", "--json", data.path()});
    ASSERT_EQ(listed.at("snapshots").size(), 1u) << listed;
    const std::string kept = listed.at("snapshots")[0].at("path");
    EXPECT_TRUE(kept.starts_with(home / ".local/share/Tessel/Snapshots/")) << kept;
    test::writeText(kept.substr(0, kept.rfind('/')) + "/stray.json", "not a snapshot");

    test::writeFile(data / "new.bin", 60'000'000); // the smallest change told is 50 MB
    const json second = runJson({"changes", "--json", data.path()});
    EXPECT_EQ(second.at("changes"), json::array({json{{"path", data / "new.bin"}, {"oldBytes", 0},
                                                      {"newBytes", test::allocatedOf(data / "new.bin")}, {"kind", "appeared"}}}));
    EXPECT_EQ(second.at("baseline").at("date"), listed.at("snapshots")[0].at("date"));
    ASSERT_EQ(second.at("unreadable").size(), 1u) << second;
    EXPECT_TRUE(second.at("unreadable")[0].at("file").get<std::string>().ends_with("/stray.json"));
    EXPECT_NE(run({"changes", data.path()}).out.find("stray.json: "), std::string::npos);
}

bool holdsBytesOf(const json& report, const std::string& name) {
    return report.dump().find('"' + Base64::encode(name) + '"') != std::string::npos;
}

TEST_F(InHome, EveryReportGivesTheExactBytesOfEachNameThatIsNotUtf8) {
    const std::string folder = home / "caf\xe9", first = folder + "/bad\xff.bin", second = folder + "/bad\xfe.bin";
    test::makeFolder(folder);
    // One size, so the same bytes: a pair of copies for the duplicate finder too.
    test::writeFile(first, 1'500'000);
    test::writeFile(second, 1'500'000);
    for (const Strings& words : std::vector<Strings>{{"scan", "--json", folder}, {"largest", "--json", folder},
                                                     {"search", "--json", folder, "bad"}, {"duplicates", "--json", folder}}) {
        const json report = runJson(words);
        EXPECT_TRUE(holdsBytesOf(report, first) && holdsBytesOf(report, second)) << words.front() << ": " << report;
    }
    EXPECT_TRUE(holdsBytesOf(runJson({"changes", "--json", folder}), folder));
    // Last, as it takes them away: the trash takes the bytes it was given and says where they went.
    const json trashed = runJson({"trash", "--json", first, second});
    const std::string trash = home / ".local/share/Trash/files/";
    for (const std::string& name : {first, second, trash + "bad\xff.bin", trash + "bad\xfe.bin"})
        EXPECT_TRUE(holdsBytesOf(trashed, name)) << name << " in " << trashed;
}

} // namespace
} // namespace tessel::cli
