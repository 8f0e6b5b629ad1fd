// A scan of a real tree: its totals against an independent walk, hard links,
// names kept as bytes, paths deeper than PATH_MAX, what is left out, and where
// one disk ends and another begins.
#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <limits>

#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"
#include "LoopVolume.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// Two workers, whatever the machine, so that every run exercises the threads the same way.
ScanOptions plainOptions(std::int64_t fileNodeThreshold = ScanOptions().fileNodeThreshold) {
    ScanOptions options;
    options.workerCount = 2;
    options.fileNodeThreshold = fileNodeThreshold;
    return options;
}

std::string filled(std::size_t bytes) { return std::string(bytes, 'x'); }

} // namespace

// A tree with everything that has tripped disk scanners up: hard links across
// folders, sparse files, empty folders, links of every kind, a FIFO, names
// that are not text, and a chain of folders deeper than PATH_MAX.
class HostileTree : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new TempFolder;
        const TempFolder& t = *folder_;
        for (const char* name : {"a", "b", "empty", "with space", "deep"}) makeFolder(t / name);
        writeFile(t / "a/shared", 3 * 1048576);
        makeHardLink(t / "a/shared", t / "b/shared again");
        writeFile(t / "a/small", 5000);
        writeSparseFile(t / "b/sparse", 200 * 1048576);
        writeFile(t / "with space/line\nbreak", 70000);
        writeFile(t / "with space/\xff\xfe not utf8", 1200000);
        writeFile(t / "with space/Con 자백", 100);
        for (const auto& [target, link] :
             {std::pair{"a/shared", "link to file"}, {"nowhere", "dangling"}, {"a", "link to folder"}, {"loop", "loop"}})
            makeSymlink(target, t / link);
        mkfifo((t / "fifo").c_str(), 0644);
        levels_ = makeDeepChain(t / "deep", "dd", 3000);
    }
    static void TearDownTestSuite() { delete folder_; }
    static ScanResult scan(const ScanOptions& options = plainOptions(0)) {
        return DiskScanner::scan(folder_->path(), options);
    }

    static TempFolder* folder_;
    static int levels_;
};
TempFolder* HostileTree::folder_ = nullptr;
int HostileTree::levels_ = 0;

TEST_F(HostileTree, TotalsMatchAnIndependentWalkWithAnyNumberOfWorkers) {
    const IndependentCount truth = independentCount(folder_->path());
    for (int workers : {1, 2, 8}) {
        ScanOptions options = plainOptions();
        options.workerCount = workers;
        const ScanResult result = scan(options);
        EXPECT_EQ(result.bytes, truth.bytes) << workers << " workers";
        EXPECT_EQ(result.files, truth.entries);
        EXPECT_EQ(result.directories, truth.folders);
        EXPECT_TRUE(totalsAddUp(*result.root));
    }
}

TEST_F(HostileTree, NamesAreKeptByteForByteLinksAreNotFollowedAndPathsReachTheBottom) {
    const ScanResult result = scan();
    EXPECT_EQ(result.hardLinksSkipped, 1);
    EXPECT_EQ(result.hardLinkBytesSkipped, allocatedOf(*folder_ / "a/shared"));
    for (const char* path : {"a/shared", "b/shared again", "with space/line\nbreak", "with space/\xff\xfe not utf8"})
        EXPECT_NE(findNode(*result.root, path), nullptr) << path;
    const FileNode* link = findNode(*result.root, "link to folder");
    ASSERT_NE(link, nullptr);
    EXPECT_FALSE(link->isDirectory());
    ASSERT_EQ(levels_, 3000);
    const FileNode* node = findNode(*result.root, "deep");
    int depth = 0;
    for (; node != nullptr && !node->children().empty(); ++depth) node = node->children().front();
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->name(), "bottom");
    EXPECT_EQ(depth, levels_ + 1);
    EXPECT_GT(node->path().size(), 4096u);
}

TEST_F(HostileTree, FilesBelowTheThresholdOrWithoutRetainedNamesLeaveNoNamedNode) {
    for (std::int64_t threshold : {std::numeric_limits<std::int64_t>::max(), std::int64_t{-1}}) {
        const ScanResult result = scan(plainOptions(threshold));
        EXPECT_EQ(findNode(*result.root, "a/shared"), nullptr) << threshold;
        EXPECT_EQ(result.bytes, independentCount(folder_->path()).bytes) << "a hard link counts once without a node too";
    }
    ScanOptions options = plainOptions(0);
    options.retainFileNames = false;
    const ScanResult nameless = scan(options);
    const FileNode* a = findNode(*nameless.root, "a");
    ASSERT_TRUE(a != nullptr && !a->children().empty()) << "folders keep their names";
    for (const FileNode* child : a->children()) EXPECT_EQ(child->name(), "");
}

TEST(ScanThreshold, FileOfExactlyTheThresholdGetsANodeOneByteMoreDoesNot) {
    TempFolder t;
    writeFile(t / "big", 2 * 1048576);
    const std::int64_t size = allocatedOf(t / "big");
    EXPECT_NE(findNode(*DiskScanner::scan(t.path(), plainOptions(size)).root, "big"), nullptr);
    const ScanResult result = DiskScanner::scan(t.path(), plainOptions(size + 1));
    EXPECT_EQ(findNode(*result.root, "big"), nullptr);
    EXPECT_EQ(result.root->aggregatedFileBytes(), size);
    EXPECT_EQ(result.root->aggregatedFileCount(), 1);
}

TEST(ScanRoot, IsNamedByItsWholePathAndMustBeAFolder) {
    TempFolder t;
    writeFile(t / "file", 10);
    makeSymlink(".", t / "link");
    EXPECT_EQ(DiskScanner::scan(t.path()).root->name(), t.path());
    for (const auto& [path, kind] : {std::pair{t / "missing", DiskScanError::Kind::rootNotFound},
                                     {t / "file", DiskScanError::Kind::rootNotADirectory},
                                     {t / "link", DiskScanError::Kind::rootNotADirectory}}) {
        try {
            DiskScanner::scan(path);
            ADD_FAILURE() << "scanned " << path;
        } catch (const DiskScanError& error) {
            EXPECT_EQ(error.kind(), kind);
            EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
        }
    }
}

TEST(ScanSkips, SkippedNamesAndPathsAreLeftOutAndTheVolumeTrashEnteredWhenAskedFor) {
    TempFolder t;
    for (const char* file : {".Spotlight-V100/index", ".Trashes/old", "private/secret", "kept"})
        writeText(t / file, filled(100000));
    ScanOptions options;
    options.skippedPaths = {t / "private"};
    EXPECT_EQ(DiskScanner::scan(t.path(), options).bytes, allocatedOf(t / "kept"));
    EXPECT_EQ(DiskScanner::scan(t.path(), options.includingVolumeTrash()).bytes,
              allocatedOf(t / "kept") + allocatedOf(t / ".Trashes/old"));
}

TEST(AllocatedSize, FileFolderAndMissing) {
    TempFolder t;
    writeText(t / "one", filled(40000));
    writeText(t / "f/two", filled(300000));
    EXPECT_EQ(DiskScanner::allocatedSize(t / "one"), allocatedOf(t / "one"));
    EXPECT_EQ(DiskScanner::allocatedSize(t.path()), allocatedOf(t / "one") + allocatedOf(t / "f/two"));
    EXPECT_EQ(DiskScanner::allocatedSize(t / "gone"), 0);
}

#define SKIP_AS_ROOT() \
    if (geteuid() == 0) GTEST_SKIP() << "root reads every folder; scripts/run-unprivileged runs this as an ordinary user"

TEST(UnprivilegedScan, UnreadableFolderIsCountedAndLeftOut) {
    SKIP_AS_ROOT();
    TempFolder t;
    writeText(t / "open/file", filled(100000));
    writeText(t / "closed/file", filled(200000));
    chmod((t / "closed").c_str(), 0);
    const ScanResult result = DiskScanner::scan(t.path());
    EXPECT_EQ(result.unreadableDirectories, 1);
    EXPECT_EQ(result.bytes, allocatedOf(t / "open/file"));
    EXPECT_EQ(findNode(*result.root, "closed")->reading(), FolderReading::unreadable);
}

TEST(UnprivilegedScan, VolumeTrashIsEnteredThroughTheUsersOwnFolder) {
    SKIP_AS_ROOT();
    TempFolder t;
    const std::string thrown = t / (".Trashes/" + std::to_string(getuid()) + "/thrown away");
    writeText(thrown, filled(150000));
    chmod((t / ".Trashes").c_str(), 0333); // can pass through, can't list: as on a real volume
    EXPECT_EQ(DiskScanner::scan(t.path()).bytes, 0);
    const ScanResult entered = DiskScanner::scan(t.path(), ScanOptions().includingVolumeTrash());
    EXPECT_EQ(entered.unreadableDirectories, 0);
    EXPECT_EQ(entered.bytes, allocatedOf(thrown));
}

// A machine's btrfs as many distributions lay it out: subvolume @ mounted as
// the system, @home on /home, and a nested subvolume for containers. @home is
// mounted a second time and the whole file
// system is mounted too; a tmpfs and a second btrfs sit inside. Needs root.
TEST(DefaultBtrfsLayout, EverySubvolumeIsScannedOnceAndNothingElse) {
    const LoopRecipe btrfs{"mkfs.btrfs", {"-q", "-f"}, "btrfs-progs", 128 * 1048576}; // it refuses less than about 110 MB
    TempFolder folder; // declared first, so that everything is unmounted before it goes
    LoopVolume disk(folder, "disk", btrfs);
    if (!disk.failure().empty()) GTEST_SKIP() << disk.failure();
    const std::string system = disk / "@", homes = disk / "@home", root = folder / "root";
    for (const std::string& subvolume : {system, homes, system + "/var/lib/machines"}) {
        std::filesystem::create_directories(std::filesystem::path(subvolume).parent_path());
        ASSERT_EQ(LoopVolume::run({"btrfs", "-q", "subvolume", "create", subvolume}), "");
    }
    for (const char* name : {"home", "srv/home-again", "mnt/whole", "media/other", "tmp"})
        std::filesystem::create_directories(system + "/" + name);
    writeText(system + "/etc/config", filled(300000));
    writeText(system + "/var/lib/machines/image", filled(200000));
    writeText(homes + "/me/photo", filled(500000));
    makeFolder(root);
    ASSERT_EQ(disk.mountImageAgain("subvol=@", root), "");
    ASSERT_EQ(disk.mountImageAgain("subvol=@home", root + "/home"), "");
    ASSERT_EQ(disk.mountImageAgain("subvol=@home", root + "/srv/home-again"), "");
    ASSERT_EQ(disk.mountImageAgain("subvolid=5", root + "/mnt/whole"), "");
    ASSERT_EQ(disk.mountTmpfs(root + "/tmp"), "");
    writeText(root + "/tmp/scratch", "x");
    LoopVolume other(folder, "other", btrfs); // goes first: it is mounted inside the first
    ASSERT_EQ(other.failure(), "");
    writeText(other / "elsewhere", "x");
    ASSERT_EQ(other.bind(other.path(), root + "/media/other"), "");

    const std::int64_t photo = allocatedOf(root + "/home/me/photo"), image = allocatedOf(root + "/var/lib/machines/image");
    const ScanResult result = DiskScanner::scan(root, plainOptions(0));
    EXPECT_EQ(result.bytes, allocatedOf(root + "/etc/config") + image + photo);
    EXPECT_EQ(result.files, 3);
    // @home is met three times, at its top twice, and entered at one of them.
    int photos = 0;
    for (const char* place : {"home/me/photo", "srv/home-again/me/photo", "mnt/whole/@home/me/photo"})
        photos += findNode(*result.root, place) != nullptr;
    EXPECT_EQ(photos, 1);
    // A subvolume scanned alone holds its own and its nested ones.
    EXPECT_EQ(DiskScanner::scan(root + "/home", plainOptions(0)).bytes, photo);
    EXPECT_EQ(DiskScanner::scan(root + "/var", plainOptions(0)).bytes, image);
}

TEST(DiskTopTrash, PerUserTrashesAtADisksTopAreLeftOutUnlessAskedFor) {
    TempFolder t;
    const std::string disk = t / "disk";
    makeFolder(disk);
    if (geteuid() != 0 || mount("tessel-test", disk.c_str(), "tmpfs", 0, "size=4m") != 0)
        GTEST_SKIP() << "mounting a tmpfs needs root";
    struct Unmount {
        std::string path;
        ~Unmount() { umount2(path.c_str(), MNT_DETACH); }
    } unmount{disk};
    const auto put = [&](const std::string& file) {
        writeText(disk + "/" + file, filled(100000));
        return allocatedOf(disk + "/" + file);
    };
    const std::int64_t trashed = put(".Trash-1000/files/a") + put(".Trash/1000/b");
    const std::int64_t kept = put(".Trash-1000x/c") + put("docs/.Trash-1000/d") + put("kept"); // a folder's is no disk's trash
    ScanOptions options = plainOptions(0);
    EXPECT_EQ(DiskScanner::scan(disk, options).bytes, kept);
    EXPECT_EQ(DiskScanner::scan(disk, options.includingVolumeTrash()).bytes, kept + trashed);
    EXPECT_EQ(DiskScanner::scan(t.path(), options).bytes, 0) << "another file system is not entered unless asked";
    // Met inside another disk's scan, the tmpfs's top is a top too.
    options.crossDeviceBoundaries = true;
    EXPECT_EQ(DiskScanner::scan(t.path(), options).bytes, kept);
    EXPECT_EQ(DiskScanner::scan(t.path(), options.includingVolumeTrash()).bytes, kept + trashed);
}
