// Snapshots: what a tree leaves in one, and the store on a real folder,
// including a folder where someone has left things that are not snapshots.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <nlohmann/json.hpp>

#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/NameBytes.h"
#include "DiskScanKit/SnapshotStore.h"
#include "FifoRelease.h"
#include "Fixture.h"
#include "TreeBuilder.h"

namespace tessel {
namespace {

constexpr std::int64_t MB = 1'000'000;

bool present(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

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
    // The JSON of a snapshot at `date`, with `change` made to it.
    template <typename Change>
    std::string alteredText(double date, Change change) {
        nlohmann::json object = nlohmann::json::parse(SnapshotJson::encode(at(date)));
        change(object);
        return object.dump();
    }
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

TEST_F(SnapshotFolder, ARootThatIsNotUtf8IsListedLoadedAndPrunedByItsBytes) {
    const std::string root = "/data/caf\xe9";
    for (int day = 1; day <= 21; ++day) store.save(at(day * 86400.0, root));
    const SnapshotListing listed = store.listing(root);
    ASSERT_EQ(listed.readable.size(), 21u);
    EXPECT_TRUE(listed.unreadable.empty());
    EXPECT_EQ(listed.readable.front().rootPath, root);
    EXPECT_EQ(store.load(listed.readable.front()), at(21 * 86400.0, root));
    EXPECT_TRUE(store.snapshots("/data/caf\xef\xbf\xbd").empty()) << "its repaired name is another root";

    store.prune(root);
    const std::vector<SnapshotInfo> left = store.snapshots(root);
    ASSERT_EQ(left.size(), 20u);
    EXPECT_EQ(left.back().date, 2 * 86400.0) << "the oldest went";
    store.prune(root, 25);
    EXPECT_EQ(store.snapshots(root).size(), 20u);
    EXPECT_EQ(files.contentsOfDirectory(rootFolder(root))->size(), 20u) << "no temporary file is left behind";
}

TEST_F(SnapshotFolder, LossyCopiesAnOlderBuildWroteOfARootNotUtf8ArePrunedFirst) {
    const std::string root = "/data/caf\xe9";
    for (int day = 1; day <= 3; ++day) store.save(at(day * 86400.0, root));
    // What a build that repaired names wrote: the root with U+FFFD, no bytes beside it.
    test::writeText(rootFolder(root) + "/lossy-1.json", SnapshotJson::encode(at(10, "/data/caf\xef\xbf\xbd")));
    test::writeText(rootFolder(root) + "/lossy-2.json", SnapshotJson::encode(at(20, "/data/caf\xef\xbf\xbd")));
    ASSERT_TRUE(present(rootFolder(root) + "/lossy-1.json"));
    const SnapshotListing listed = store.listing(root);
    EXPECT_EQ(listed.readable.size(), 3u) << "a lossy copy can't be compared by its names";
    EXPECT_TRUE(listed.unreadable.empty()) << "nor is it unreadable";

    store.prune(root, 4);
    EXPECT_TRUE(present(rootFolder(root) + "/lossy-2.json")) << "the newer lossy copy is still among the newest 4";
    EXPECT_FALSE(present(rootFolder(root) + "/lossy-1.json"));
    store.prune(root, 3);
    EXPECT_FALSE(present(rootFolder(root) + "/lossy-2.json"));
    EXPECT_EQ(store.snapshots(root).size(), 3u);
}

TEST_F(SnapshotFolder, FilesThatAreNotSnapshotsAreToldWithTheirReasonNeverWaitedOn) {
    const SnapshotInfo good = store.save(at(100));
    const std::string here = rootFolder();
    ASSERT_EQ(mkfifo((here + "/stray.json").c_str(), 0644), 0);
    const test::FifoRelease guard(here + "/stray.json");
    test::makeSymlink(good.path, here + "/link.json");
    test::makeFolder(here + "/dir.json");
    test::writeSparseFile(here + "/big.json", SnapshotStore::largestFile + 1);
    test::writeText(here + "/broken.json", "{\"formatVersion\":1,");
    test::writeText(here + "/date.json", alteredText(200, [](nlohmann::json& o) { o["date"] = 1e308; }));
    // Each value out of range is a reason of its own; the JSON tests go through them all.
    test::writeText(here + "/entry.json", alteredText(400, [](nlohmann::json& o) {
                  o["entries"]["/data"] = std::numeric_limits<std::int64_t>::min();
              }));
    // Not ours to list in either part: another root's file, and names that don't look like snapshots.
    test::writeText(here + "/other.json", SnapshotJson::encode(at(600, "/other")));
    test::writeText(here + "/notes.txt", "{");
    test::writeText(here + "/.hidden.json", "{");

    const SnapshotListing listed = store.listing("/data");
    EXPECT_EQ(listed.readable, std::vector<SnapshotInfo>{good});
    std::map<std::string, std::string> reasons;
    for (const UnreadableSnapshot& file : listed.unreadable) reasons[file.path.substr(here.size() + 1)] = file.reason;
    const std::map<std::string, std::string> expected{
        {"stray.json", "It is not a regular file."},
        {"link.json", "It is not a regular file."},
        {"dir.json", "It is not a regular file."},
        {"big.json", "It is larger than 64 MB, more than any snapshot needs."},
        {"broken.json", "It is not valid JSON."},
        {"date.json", "Its date is not between 1970 and 2261."},
        {"entry.json", "The size of \"/data\" is negative or too large."},
    };
    EXPECT_EQ(reasons, expected);
    EXPECT_TRUE(std::is_sorted(listed.unreadable.begin(), listed.unreadable.end(),
                               [](const UnreadableSnapshot& a, const UnreadableSnapshot& b) { return a.path > b.path; }));

    store.prune("/data", 0);
    EXPECT_TRUE(store.snapshots("/data").empty());
    for (const auto& [name, reason] : expected) EXPECT_TRUE(present(here + "/" + name)) << name << " is not ours to remove";
    EXPECT_TRUE(present(here + "/other.json"));
    EXPECT_FALSE(guard.hadToRelease()) << "listing or pruning waited on a FIFO";
}

TEST_F(SnapshotFolder, AFileAtTheSizeBoundIsReadAndOneByteMoreIsNot) {
    std::string text = SnapshotJson::encode(at(100));
    text.resize(static_cast<std::size_t>(SnapshotStore::largestFile), ' ');
    store.save(at(50)); // makes the folder
    test::writeText(rootFolder() + "/padded.json", text);
    const std::vector<SnapshotInfo> readable = store.snapshots("/data");
    ASSERT_EQ(readable.size(), 2u);
    EXPECT_EQ(readable.front().date, 100);

    test::writeText(rootFolder() + "/padded.json", text + " ");
    const SnapshotListing listed = store.listing("/data");
    EXPECT_EQ(listed.readable.size(), 1u);
    EXPECT_EQ(listed.unreadable, (std::vector<UnreadableSnapshot>{
                                     {rootFolder() + "/padded.json", "It is larger than 64 MB, more than any snapshot needs."}}));
}

TEST_F(SnapshotFolder, TheBaselineIsTheNewestEarlierSnapshotThatLoadsWhole) {
    const SnapshotInfo good = store.save(at(100));
    std::string future = SnapshotJson::encode(at(400));
    future.replace(future.find("\"formatVersion\":1"), 17, "\"formatVersion\":2");
    test::writeText(rootFolder() + "/future.json", future);
    const SnapshotInfo justSaved = store.save(at(500));

    const std::vector<SnapshotInfo> readable = store.snapshots("/data");
    ASSERT_EQ(readable.size(), 3u) << "a newer format is listed: its header reads";
    SnapshotBaseline found = store.baseline(readable, justSaved.path);
    EXPECT_EQ(found.info, good);
    EXPECT_EQ(found.snapshot, at(100));
    EXPECT_EQ(found.passedOver, (std::vector<UnreadableSnapshot>{
                                    {rootFolder() + "/future.json", "Snapshot format 2 is newer than this build understands."}}));
    EXPECT_EQ(store.baseline(readable, "").info, justSaved) << "nothing excepted";

    // The good one turns into a FIFO between listing and loading.
    ASSERT_EQ(unlink(good.path.c_str()), 0);
    ASSERT_EQ(mkfifo(good.path.c_str(), 0644), 0);
    {
        const test::FifoRelease guard(good.path);
        found = store.baseline(readable, justSaved.path);
        EXPECT_FALSE(guard.hadToRelease()) << "loading waited on a FIFO";
    }
    EXPECT_FALSE(found.info);
    EXPECT_FALSE(found.snapshot);
    ASSERT_EQ(found.passedOver.size(), 2u);
    EXPECT_EQ(found.passedOver[1], (UnreadableSnapshot{good.path, "It is not a regular file."}));
}

TEST_F(SnapshotFolder, ASnapshotThatCouldNotBeReadBackIsNotSaved) {
    ScanSnapshot snapshot = at(100);
    snapshot.date = 1e308;
    try {
        store.save(snapshot);
        FAIL() << "saved a date that can't be read back";
    } catch (const SnapshotError& error) {
        EXPECT_STREQ(error.what(), "Could not save a snapshot of /data: Its date is not between 1970 and 2261.");
    }
    EXPECT_FALSE(present(rootFolder())) << "nothing was written";
}

TEST_F(SnapshotFolder, AFolderThatCannotBeMadeIsAnErrorNamingThePath) {
    test::writeText(folder / "file", "x");
    const SnapshotStore blocked(folder / "file/Snapshots", files);
    try {
        blocked.save(at(1));
        FAIL() << "saved below a file";
    } catch (const SnapshotError& error) {
        EXPECT_NE(std::string(error.what()).find(folder / "file/Snapshots"), std::string::npos) << error.what();
    }
    SnapshotInfo missing{folder / "gone.json", "/data", 1, 1};
    try {
        store.load(missing);
        FAIL() << "loaded a missing file";
    } catch (const SnapshotError& error) {
        EXPECT_STREQ(error.what(), "It could not be read: No such file or directory.");
    }
}

} // namespace
} // namespace tessel
