#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <limits>

#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"
#include "ScanOptionsFixture.h"

using namespace tessel;
using namespace tessel::test;

// A tree with everything that has tripped disk scanners up: hard links across
// folders, sparse files, empty folders, links of every kind, a FIFO, names
// that are not text, and a chain of folders deeper than PATH_MAX.
class HostileTree : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new TempFolder;
        const TempFolder& t = *folder_;
        makeFolder(t / "a");
        makeFolder(t / "b");
        makeFolder(t / "empty");
        makeFolder(t / "with space");
        writeFile(t / "a/shared", 3 * 1048576);
        makeHardLink(t / "a/shared", t / "b/shared again");
        writeFile(t / "a/small", 5000);
        writeSparseFile(t / "b/sparse", 200 * 1048576);
        writeFile(t / "with space/line\nbreak", 70000);
        writeFile(t / "with space/\xff\xfe not utf8", 1200000);
        writeFile(t / "with space/-leading dash", 100);
        makeSymlink("a/shared", t / "link to file");
        makeSymlink("nowhere", t / "dangling");
        makeSymlink("a", t / "link to folder");
        makeSymlink("loop", t / "loop");
        mkfifo((t / "fifo").c_str(), 0644);
        makeFolder(t / "deep");
        levels_ = makeDeepChain(t / "deep", "dd", 3000);
    }
    static void TearDownTestSuite() { delete folder_; }

    static TempFolder* folder_;
    static int levels_;
};
TempFolder* HostileTree::folder_ = nullptr;
int HostileTree::levels_ = 0;

TEST_F(HostileTree, TotalsMatchAnIndependentWalk) {
    ASSERT_EQ(levels_, 3000);
    IndependentCount truth = independentCount(folder_->path());
    for (int workers : {1, 2, 8}) {
        ScanOptions options = plainOptions();
        options.workerCount = workers;
        ScanResult result = DiskScanner::scan(folder_->path(), options);
        EXPECT_EQ(result.bytes, truth.bytes) << workers << " workers";
        EXPECT_EQ(result.files, truth.entries);
        EXPECT_EQ(result.directories, truth.folders);
        EXPECT_EQ(result.unreadableDirectories, 0);
        EXPECT_TRUE(totalsAddUp(*result.root));
    }
}

TEST_F(HostileTree, HardLinkCountsOnceAndIsReported) {
    ScanResult result = DiskScanner::scan(folder_->path(), plainOptions());
    const std::int64_t shared = allocatedOf(*folder_ / "a/shared");
    EXPECT_EQ(result.hardLinksSkipped, 1);
    EXPECT_EQ(result.hardLinkBytesSkipped, shared);
    FileNode* first = findNode(*result.root, "a/shared");
    FileNode* second = findNode(*result.root, "b/shared again");
    ASSERT_TRUE(first != nullptr && second != nullptr) << "every name of a listed file can be found";
    // Whichever link was met first carries the bytes; the other one shows none.
    EXPECT_EQ(first->totalBytes() + second->totalBytes(), shared);
    EXPECT_TRUE(first->totalBytes() == 0 || second->totalBytes() == 0);
    EXPECT_TRUE(totalsAddUp(*result.root));
}

TEST_F(HostileTree, SparseFileCountsWhatItOccupies) {
    ScanOptions options = plainOptions(0);
    ScanResult result = DiskScanner::scan(folder_->path(), options);
    FileNode* sparse = findNode(*result.root, "b/sparse");
    ASSERT_NE(sparse, nullptr);
    EXPECT_EQ(sparse->totalBytes(), allocatedOf(*folder_ / "b/sparse"));
    EXPECT_LT(sparse->totalBytes(), 1048576);
}

TEST_F(HostileTree, NamesAreKeptByteForByteAndPathsReachTheBottom) {
    ScanOptions options = plainOptions(0);
    ScanResult result = DiskScanner::scan(folder_->path(), options);
    EXPECT_NE(findNode(*result.root, "with space/line\nbreak"), nullptr);
    EXPECT_NE(findNode(*result.root, "with space/\xff\xfe not utf8"), nullptr);
    EXPECT_NE(findNode(*result.root, "link to folder"), nullptr);
    FileNode* link = findNode(*result.root, "link to folder");
    EXPECT_FALSE(link->isDirectory()) << "a link to a folder is not followed";
    FileNode* node = findNode(*result.root, "deep");
    int depth = 0;
    while (node != nullptr && !node->children().empty()) {
        node = node->children().front();
        ++depth;
    }
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->name(), "bottom");
    EXPECT_EQ(depth, levels_ + 1);
    EXPECT_GT(node->path().size(), 4096u);
}

TEST_F(HostileTree, WithoutRetainedNamesOnlyFoldersKeepTheirNames) {
    ScanOptions options = plainOptions(0);
    options.retainFileNames = false;
    ScanResult result = DiskScanner::scan(folder_->path(), options);
    FileNode* a = findNode(*result.root, "a");
    ASSERT_NE(a, nullptr);
    ASSERT_FALSE(a->children().empty());
    for (FileNode* child : a->children()) EXPECT_EQ(child->name(), "");
    EXPECT_NE(findNode(*result.root, "with space"), nullptr);
}

TEST_F(HostileTree, FoldersOnlyWhenNoFileReachesTheThreshold) {
    for (std::int64_t threshold : {std::numeric_limits<std::int64_t>::max(), std::int64_t{-1}}) {
        ScanOptions options = plainOptions();
        options.fileNodeThreshold = threshold;
        ScanResult result = DiskScanner::scan(folder_->path(), options);
        std::vector<FileNode*> stack{result.root.get()};
        while (!stack.empty()) {
            FileNode* node = stack.back();
            stack.pop_back();
            EXPECT_TRUE(node->isDirectory()) << node->path();
            for (FileNode* child : node->children()) stack.push_back(child);
        }
        EXPECT_EQ(result.bytes, independentCount(folder_->path()).bytes);
        EXPECT_TRUE(totalsAddUp(*result.root));
    }
}

TEST(ScanThreshold, FileOfExactlyTheThresholdGetsANodeOneByteMoreDoesNot) {
    TempFolder t;
    writeFile(t / "big", 2 * 1048576);
    const std::int64_t size = allocatedOf(t / "big");
    ScanOptions options = plainOptions();
    options.fileNodeThreshold = size;
    EXPECT_NE(findNode(*DiskScanner::scan(t.path(), options).root, "big"), nullptr);
    options.fileNodeThreshold = size + 1;
    ScanResult result = DiskScanner::scan(t.path(), options);
    EXPECT_EQ(findNode(*result.root, "big"), nullptr);
    EXPECT_EQ(result.root->aggregatedFileBytes(), size);
    EXPECT_EQ(result.root->aggregatedFileCount(), 1);
}

TEST(ScanRoot, EmptyRootIsOneFolderOfNothing) {
    TempFolder t;
    ScanResult result = DiskScanner::scan(t.path(), plainOptions());
    EXPECT_EQ(result.directories, 1);
    EXPECT_EQ(result.files, 0);
    EXPECT_EQ(result.bytes, 0);
    EXPECT_EQ(result.root->name(), t.path()) << "the root is named by its whole path";
    EXPECT_EQ(result.root->path(), t.path());
}

TEST(ScanRoot, MissingFileAndLinkAreRefused) {
    TempFolder t;
    writeFile(t / "file", 10);
    makeFolder(t / "folder");
    makeSymlink("folder", t / "link");
    auto kindOf = [](const std::string& path) {
        try {
            DiskScanner::scan(path, plainOptions());
        } catch (const DiskScanError& error) {
            EXPECT_NE(std::string(error.what()).find(error.path()), std::string::npos);
            return error.kind();
        }
        return DiskScanError::Kind::cancelled;
    };
    EXPECT_EQ(kindOf(t / "missing"), DiskScanError::Kind::rootNotFound);
    EXPECT_EQ(kindOf(t / "file"), DiskScanError::Kind::rootNotADirectory);
    EXPECT_EQ(kindOf(t / "link"), DiskScanError::Kind::rootNotADirectory);
    EXPECT_EQ(kindOf(t / "folder/../file"), DiskScanError::Kind::rootNotADirectory);
}

TEST(ScanSkips, SkippedNamesAndPathsAreLeftOut) {
    TempFolder t;
    makeFolder(t / ".Spotlight-V100");
    writeFile(t / ".Spotlight-V100/index", 100000);
    makeFolder(t / ".Trashes");
    writeFile(t / ".Trashes/old", 100000);
    makeFolder(t / "private");
    writeFile(t / "private/secret", 100000);
    writeFile(t / "kept", 100000);
    ScanOptions options = plainOptions();
    options.skippedPaths = {t / "private"};
    ScanResult result = DiskScanner::scan(t.path(), options);
    EXPECT_EQ(result.bytes, allocatedOf(t / "kept"));
    EXPECT_EQ(result.directories, 1);
    ScanResult withTrash = DiskScanner::scan(t.path(), options.includingVolumeTrash());
    EXPECT_EQ(withTrash.bytes, allocatedOf(t / "kept") + allocatedOf(t / ".Trashes/old"));
}

TEST(ScanDevices, MountedFileSystemIsEnteredOnlyWhenAskedFor) {
    TempFolder t;
    makeFolder(t / "mnt");
    writeFile(t / "here", 50000);
    if (mount("tessel-test", (t / "mnt").c_str(), "tmpfs", 0, "size=4m") != 0)
        GTEST_SKIP() << "mounting a tmpfs needs root (mount: " << std::strerror(errno) << ")";
    struct Unmount {
        std::string path;
        ~Unmount() { umount2(path.c_str(), MNT_DETACH); }
    } unmount{t / "mnt"};
    writeFile(t / "mnt/there", 300000);

    ScanOptions options = plainOptions();
    ScanResult same = DiskScanner::scan(t.path(), options);
    EXPECT_EQ(same.bytes, allocatedOf(t / "here"));
    EXPECT_EQ(same.bytes, independentCount(t.path()).bytes);

    options.crossDeviceBoundaries = true;
    ScanResult crossing = DiskScanner::scan(t.path(), options);
    EXPECT_EQ(crossing.bytes, allocatedOf(t / "here") + allocatedOf(t / "mnt/there"));

    options.skippedPaths = {t / "mnt"};
    EXPECT_EQ(DiskScanner::scan(t.path(), options).bytes, allocatedOf(t / "here"));
}

TEST(AllocatedSize, FileFolderAndMissing) {
    TempFolder t;
    makeFolder(t / "f");
    writeFile(t / "f/one", 40000);
    writeFile(t / "f/two", 3 * 1048576);
    EXPECT_EQ(DiskScanner::allocatedSize(t / "f/one"), allocatedOf(t / "f/one"));
    EXPECT_EQ(DiskScanner::allocatedSize(t / "f"), allocatedOf(t / "f/one") + allocatedOf(t / "f/two"));
    EXPECT_EQ(DiskScanner::allocatedSize(t / "gone"), 0);
}
