// Snapshots: what a tree leaves in one, its JSON, and the store on a real folder.

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/SnapshotStore.h"
#include "Fixture.h"
#include "TreeBuilder.h"

namespace tessel {
namespace {

constexpr std::int64_t MB = 1'000'000;

void writeText(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

TEST(SnapshotOfATree, KeepsThePathsAtTheFloorJoinedFromTheRoot) {
    test::TreeBuilder tree("/");
    FileNode* users = tree.folder(tree.root, "Users");
    FileNode* me = tree.folder(users, "me");
    tree.file(me, "movie.mkv", 30 * MB);
    tree.file(me, "note.txt", 9 * MB);
    tree.folder(tree.root, "small", 9'999'999, 40);
    tree.file(tree.root, "exactly", 10 * MB);

    const ScanSnapshot snapshot = ScanSnapshot::of(*tree.root, 12.5);
    EXPECT_EQ(snapshot.rootPath, "/");
    EXPECT_EQ(snapshot.totalBytes, tree.root->totalBytes());
    EXPECT_EQ(snapshot.minimumBytes, ScanSnapshot::defaultMinimumBytes);
    const std::unordered_map<std::string, std::int64_t> expected{
        {"/", 58'999'999}, {"/Users", 39 * MB}, {"/Users/me", 39 * MB}, {"/Users/me/movie.mkv", 30 * MB}, {"/exactly", 10 * MB}};
    EXPECT_EQ(snapshot.entries, expected);
}

TEST(SnapshotOfATree, ASmallRootStandsAloneUnderItsPath) {
    test::TreeBuilder tree("/home/me/small");
    tree.file(tree.root, "a", 3 * MB);
    const ScanSnapshot snapshot = ScanSnapshot::of(*tree.root, 0);
    EXPECT_EQ(snapshot.entries, (std::unordered_map<std::string, std::int64_t>{{"/home/me/small", 3 * MB}}));
}

TEST(SnapshotJsonForm, SortedKeysPlainSlashesAndAFaithfulRoundTrip) {
    ScanSnapshot snapshot;
    snapshot.rootPath = "/home/me";
    snapshot.date = 785'000'000.125;
    snapshot.totalBytes = 90 * MB;
    snapshot.entries = {{"/home/me", 90 * MB}, {"/home/me/a \"quoted\"", 60 * MB}, {"/home/me/b", 30 * MB}};
    const std::string text = SnapshotJson::encode(snapshot);
    EXPECT_TRUE(text.starts_with("{\"date\":785000000.125,\"entries\":{")) << text;
    EXPECT_NE(text.find("\"formatVersion\":1,\"minimumBytes\":10000000,\"rootPath\":\"/home/me\",\"totalBytes\":90000000}"),
              std::string::npos)
        << text;
    EXPECT_EQ(text.find("\\/"), std::string::npos) << "slashes are written as they are";
    EXPECT_EQ(SnapshotJson::decode(text), snapshot);
}

TEST(SnapshotJsonForm, ANewerFormatAndBrokenFilesAreRefusedInWords) {
    try {
        SnapshotJson::decode(R"({"formatVersion":2,"rootPath":"/","date":1,"totalBytes":1,"minimumBytes":1,"entries":{}})");
        FAIL() << "a newer format was read";
    } catch (const SnapshotError& error) {
        EXPECT_STREQ(error.what(), "Snapshot format 2 is newer than this build understands.");
    }
    for (const char* broken : {"", "[1]", "{\"formatVersion\":1}", R"({"formatVersion":1,"rootPath":"/","date":1,)",
                               R"({"formatVersion":1,"rootPath":"/","date":1,"totalBytes":1,"minimumBytes":1,"entries":{"/":"x"}})"})
        EXPECT_THROW(SnapshotJson::decode(broken), SnapshotError) << broken;
    EXPECT_FALSE(SnapshotJson::decodeHeader(R"({"formatVersion":1,"rootPath":"/","date":"today","totalBytes":1})"));
}

TEST(SnapshotPathsOfEntries, DepthAndParent) {
    EXPECT_EQ(SnapshotPaths::depth("/"), 1);
    EXPECT_EQ(SnapshotPaths::depth("/a/b"), 2);
    EXPECT_EQ(SnapshotPaths::parent("/a/b"), "/a");
    EXPECT_EQ(SnapshotPaths::parent("/a"), "/");
    EXPECT_EQ(SnapshotPaths::parent("/"), std::nullopt);
    EXPECT_EQ(SnapshotPaths::parent("plain"), std::nullopt);
}

TEST(SnapshotNames, FolderByHashAndFileByUtcDateAndTag) {
    EXPECT_EQ(SnapshotStore::folderName("/home/me"), "8a93216f4a4854b0");
    EXPECT_EQ(SnapshotStore::folderName("/home/me/"), "8a93216f4a4854b0") << "hashed in standard form";
    const std::string name = SnapshotStore::fileName(86400 + 3723.456);
    EXPECT_TRUE(name.starts_with("2001-01-02T01-02-03-456Z-")) << name;
    EXPECT_TRUE(name.ends_with(".json")) << name;
    EXPECT_EQ(name.size(), std::string("2001-01-02T01-02-03-456Z-").size() + 8 + 5);
}

struct SnapshotFolder : ::testing::Test {
    test::TempFolder folder;
    LocalFileManager files;
    SnapshotStore store{folder / "Snapshots", files};

    ScanSnapshot at(double date, const std::string& root = "/data") {
        ScanSnapshot snapshot;
        snapshot.rootPath = root;
        snapshot.date = date;
        snapshot.totalBytes = static_cast<std::int64_t>(date) * MB;
        snapshot.entries = {{root, snapshot.totalBytes}};
        return snapshot;
    }
    std::string rootFolder(const std::string& root = "/data") { return store.directory() + "/" + SnapshotStore::folderName(root); }
};

TEST_F(SnapshotFolder, SavedSnapshotsComeBackNewestFirstAndWhole) {
    const SnapshotInfo older = store.save(at(100));
    const SnapshotInfo newer = store.save(at(200));
    EXPECT_EQ(store.snapshots("/data"), (std::vector<SnapshotInfo>{newer, older}));
    EXPECT_EQ(store.load(older), at(100));
    EXPECT_TRUE(store.snapshots("/elsewhere").empty());
}

TEST_F(SnapshotFolder, TwoSavesInOneMillisecondKeepTwoFiles) {
    const SnapshotInfo first = store.save(at(300.0001));
    const SnapshotInfo second = store.save(at(300.0002));
    EXPECT_NE(first.path, second.path);
    EXPECT_EQ(store.snapshots("/data").size(), 2u);
}

TEST_F(SnapshotFolder, StrayFilesAreIgnoredAndANewerFormatIsListedButNotLoaded) {
    store.save(at(100));
    writeText(rootFolder() + "/notes.txt", "not a snapshot");
    writeText(rootFolder() + "/.hidden.json", SnapshotJson::encode(at(500)));
    writeText(rootFolder() + "/broken.json", "{\"formatVersion\":1,");
    std::string future = SnapshotJson::encode(at(400));
    future.replace(future.find("\"formatVersion\":1"), 17, "\"formatVersion\":2");
    writeText(rootFolder() + "/future.json", future);

    const std::vector<SnapshotInfo> listed = store.snapshots("/data");
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(listed[0].path, rootFolder() + "/future.json");
    try {
        store.load(listed[0]);
        FAIL() << "a newer format was loaded";
    } catch (const SnapshotError& error) {
        EXPECT_STREQ(error.what(), "Snapshot format 2 is newer than this build understands.");
    }
    EXPECT_EQ(store.load(listed[1]).date, 100);
}

TEST_F(SnapshotFolder, ARootWhoseHashCollidesIsKeptApartByItsPath) {
    store.save(at(100));
    // Another root's snapshot in this root's folder, as a colliding hash would put it.
    writeText(rootFolder() + "/other.json", SnapshotJson::encode(at(200, "/other")));
    const std::vector<SnapshotInfo> listed = store.snapshots("/data");
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].rootPath, "/data");
}

TEST_F(SnapshotFolder, PruningKeepsTheNewest) {
    for (int day = 1; day <= 21; ++day) store.save(at(day * 86400.0));
    store.prune("/data", SnapshotStore::keptPerRoot);
    const std::vector<SnapshotInfo> left = store.snapshots("/data");
    ASSERT_EQ(left.size(), 20u);
    EXPECT_EQ(left.back().date, 2 * 86400.0) << "the oldest went";
    store.prune("/data", 25);
    EXPECT_EQ(store.snapshots("/data").size(), 20u);
    const auto names = files.contentsOfDirectory(rootFolder());
    ASSERT_TRUE(names);
    EXPECT_EQ(names->size(), 20u) << "no temporary file is left behind";
}

TEST_F(SnapshotFolder, AFolderThatCannotBeMadeIsAnErrorNamingThePath) {
    writeText(folder / "file", "x");
    const SnapshotStore blocked(folder / "file/Snapshots", files);
    try {
        blocked.save(at(1));
        FAIL() << "saved below a file";
    } catch (const SnapshotError& error) {
        EXPECT_NE(std::string(error.what()).find(folder / "file/Snapshots"), std::string::npos) << error.what();
    }
    SnapshotInfo missing{folder / "gone.json", "/data", 1, 1};
    EXPECT_THROW(store.load(missing), SnapshotError);
}

} // namespace
} // namespace tessel
