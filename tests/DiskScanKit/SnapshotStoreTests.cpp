// Snapshots: what a tree leaves in one, and the store on a real folder,
// including a folder where someone has left things that are not snapshots.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/SnapshotStore.h"
#include "FifoRelease.h"
#include "Fixture.h"
#include "TreeBuilder.h"

namespace tessel {
namespace {

constexpr std::int64_t MB = 1'000'000;
using Entries = std::unordered_map<std::string, std::int64_t>;

bool present(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

TEST(SnapshotOfATree, KeepsThePathsAtTheFloorJoinedFromTheRoot) {
    test::TreeBuilder tree("/");
    FileNode* me = tree.folder(tree.folder(tree.root, "Users"), "me");
    tree.file(me, "movie.mkv", 30 * MB);
    tree.file(me, "note.txt", 9 * MB);
    tree.folder(tree.root, "small", 9'999'999, 40);
    tree.file(tree.root, "exactly", 10 * MB);
    EXPECT_EQ(ScanSnapshot::of(*tree.root, 12.5).entries, (Entries{{"/", 58'999'999}, {"/Users", 39 * MB},
              {"/Users/me", 39 * MB}, {"/Users/me/movie.mkv", 30 * MB}, {"/exactly", 10 * MB}}));
    test::TreeBuilder small("/home/me/small");
    small.file(small.root, "a", 3 * MB);
    EXPECT_EQ(ScanSnapshot::of(*small.root, 0).entries, (Entries{{"/home/me/small", 3 * MB}})) << "a root below the floor";
}

TEST(SnapshotNames, FolderByHashOfTheStandardPathAndFileByUtcDate) {
    EXPECT_EQ(SnapshotStore::folderName("/home/me/"), "8a93216f4a4854b0");
    const std::string name = SnapshotStore::fileName(86400 + 3723.456);
    EXPECT_TRUE(name.starts_with("2001-01-02T01-02-03-456Z-") && name.ends_with(".json")) << name;
}

struct SnapshotFolder : ::testing::Test {
    test::TempFolder folder;
    LocalFileManager files;
    SnapshotStore store{folder / "Snapshots", files};

    static ScanSnapshot at(double date, const std::string& root = "/data") {
        const auto bytes = static_cast<std::int64_t>(date) * MB;
        return {.rootPath = root, .date = date, .totalBytes = bytes, .entries = {{root, bytes}}};
    }
    std::string here(const std::string& root = "/data") { return store.directory() + "/" + SnapshotStore::folderName(root); }
};

TEST_F(SnapshotFolder, TwoSavesInOneMillisecondKeepTwoFilesNewestFirst) {
    const SnapshotInfo first = store.save(at(300.0001));
    const SnapshotInfo second = store.save(at(300.0002));
    EXPECT_EQ(store.snapshots("/data"), (std::vector<SnapshotInfo>{second, first}));
}

TEST_F(SnapshotFolder, ARootThatIsNotUtf8IsListedLoadedAndPrunedByItsBytes) {
    const std::string root = "/data/caf\xe9";
    for (int day = 1; day <= 3; ++day) store.save(at(day * 86400.0, root));
    // What a build that repaired names wrote: the root with U+FFFD, no bytes beside it.
    test::writeText(here(root) + "/lossy.json", SnapshotJson::encode(at(10, "/data/caf\xef\xbf\xbd")));
    const SnapshotListing listed = store.listing(root);
    ASSERT_EQ(listed.readable.size(), 3u) << "a lossy copy can't be compared by its names, nor is it unreadable";
    EXPECT_TRUE(listed.unreadable.empty());
    EXPECT_EQ(store.load(listed.readable.front()), at(3 * 86400.0, root));
    EXPECT_TRUE(store.snapshots("/data/caf\xef\xbf\xbd").empty()) << "its repaired name is another root";

    store.prune(root, 3);
    EXPECT_FALSE(present(here(root) + "/lossy.json")) << "the oldest of four";
    store.prune(root, 2);
    EXPECT_EQ(store.snapshots(root).back().date, 2 * 86400.0);
    EXPECT_EQ(files.contentsOfDirectory(here(root))->size(), 2u) << "no temporary file is left behind";
}

TEST_F(SnapshotFolder, FilesThatAreNotSnapshotsAreToldWithTheirReasonNeverWaitedOnNorRemoved) {
    const SnapshotInfo good = store.save(at(100));
    const std::string dir = here();
    ASSERT_EQ(mkfifo((dir + "/stray.json").c_str(), 0644), 0);
    const test::FifoRelease guard(dir + "/stray.json");
    test::makeSymlink(good.path, dir + "/link.json");
    test::writeSparseFile(dir + "/big.json", SnapshotStore::largestFile + 1);
    test::writeText(dir + "/broken.json", "{\"formatVersion\":1,");
    // Not ours to list in either part: another root's file, and a name that doesn't look like a snapshot.
    test::writeText(dir + "/other.json", SnapshotJson::encode(at(600, "/other")));
    test::writeText(dir + "/.hidden.json", "{");

    const SnapshotListing listed = store.listing("/data");
    EXPECT_EQ(listed.readable, std::vector<SnapshotInfo>{good});
    std::map<std::string, std::string> reasons;
    for (const UnreadableSnapshot& file : listed.unreadable) reasons[file.path.substr(dir.size() + 1)] = file.reason;
    const std::map<std::string, std::string> expected{
        {"stray.json", "It is not a regular file."}, {"link.json", "It is not a regular file."},
        {"big.json", "It is larger than 64 MB, more than any snapshot needs."}, {"broken.json", "It is not valid JSON."}};
    EXPECT_EQ(reasons, expected);

    store.prune("/data", 0);
    for (const auto& [name, reason] : expected) EXPECT_TRUE(present(dir + "/" + name)) << name << " is not ours to remove";
    EXPECT_TRUE(present(dir + "/other.json"));
    EXPECT_FALSE(guard.hadToRelease()) << "listing or pruning waited on a FIFO";
}

TEST_F(SnapshotFolder, TheBaselineIsTheNewestEarlierSnapshotThatLoadsWhole) {
    const SnapshotInfo good = store.save(at(100));
    std::string future = SnapshotJson::encode(at(400));
    future.replace(future.find("\"formatVersion\":1"), 17, "\"formatVersion\":2");
    test::writeText(here() + "/future.json", future);
    const SnapshotInfo justSaved = store.save(at(500));
    const std::vector<SnapshotInfo> readable = store.snapshots("/data");
    ASSERT_EQ(readable.size(), 3u) << "a newer format is listed: its header reads";

    const SnapshotBaseline found = store.baseline(readable, justSaved.path);
    EXPECT_EQ(found.snapshot, at(100));
    EXPECT_EQ(found.passedOver, (std::vector<UnreadableSnapshot>{
                                    {here() + "/future.json", "Snapshot format 2 is newer than this build understands."}}));
    EXPECT_EQ(store.baseline(readable, "").info, justSaved) << "nothing excepted";

    // The good one turns into a FIFO between listing and loading.
    ASSERT_EQ(unlink(good.path.c_str()), 0);
    ASSERT_EQ(mkfifo(good.path.c_str(), 0644), 0);
    const test::FifoRelease guard(good.path);
    EXPECT_FALSE(store.baseline(readable, justSaved.path).snapshot);
    EXPECT_FALSE(guard.hadToRelease()) << "loading waited on a FIFO";
}

TEST_F(SnapshotFolder, FailuresNameThePathAndLeaveNothingBehind) {
    ScanSnapshot unreadable = at(100);
    unreadable.date = 1e308;
    EXPECT_THROW(store.save(unreadable), SnapshotError);
    EXPECT_FALSE(present(here())) << "a snapshot that could not be read back is not saved";
    test::writeText(folder / "file", "x");
    try {
        SnapshotStore(folder / "file/Snapshots", files).save(at(1));
        FAIL() << "saved below a file";
    } catch (const SnapshotError& error) {
        EXPECT_NE(std::string(error.what()).find(folder / "file/Snapshots"), std::string::npos) << error.what();
    }
}

} // namespace
} // namespace tessel
