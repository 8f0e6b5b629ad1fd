// A scan of a real tree: its totals against an independent walk, hard links,
// names kept as bytes, paths deeper than PATH_MAX, and what is left out.
#include <gtest/gtest.h>

#include <sys/stat.h>

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
        for (const char* name : {"a", "b", "empty", "with space", "deep"}) makeFolder(t / name);
        writeFile(t / "a/shared", 3 * 1048576);
        makeHardLink(t / "a/shared", t / "b/shared again");
        writeFile(t / "a/small", 5000);
        writeSparseFile(t / "b/sparse", 200 * 1048576);
        writeFile(t / "with space/line\nbreak", 70000);
        writeFile(t / "with space/\xff\xfe not utf8", 1200000);
        writeFile(t / "with space/Con 자백", 100);
        makeSymlink("a/shared", t / "link to file");
        makeSymlink("nowhere", t / "dangling");
        makeSymlink("a", t / "link to folder");
        makeSymlink("loop", t / "loop");
        mkfifo((t / "fifo").c_str(), 0644);
        levels_ = makeDeepChain(t / "deep", "dd", 3000);
    }
    static void TearDownTestSuite() { delete folder_; }
    static ScanResult scan(const ScanOptions& options = plainOptions(0)) { return DiskScanner::scan(folder_->path(), options); }

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

TEST_F(HostileTree, AHardLinkCountsOnceAndIsReported) {
    const ScanResult result = scan();
    const std::int64_t shared = allocatedOf(*folder_ / "a/shared");
    EXPECT_EQ(result.hardLinksSkipped, 1);
    EXPECT_EQ(result.hardLinkBytesSkipped, shared);
    const FileNode* first = findNode(*result.root, "a/shared");
    const FileNode* second = findNode(*result.root, "b/shared again");
    ASSERT_TRUE(first != nullptr && second != nullptr) << "every name of a listed file can be found";
    EXPECT_EQ(first->totalBytes() + second->totalBytes(), shared) << "whichever name was met first carries the bytes";
}

TEST_F(HostileTree, NamesAreKeptByteForByteLinksAreNotFollowedAndPathsReachTheBottom) {
    const ScanResult result = scan();
    EXPECT_NE(findNode(*result.root, "with space/line\nbreak"), nullptr);
    EXPECT_NE(findNode(*result.root, "with space/\xff\xfe not utf8"), nullptr);
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

TEST_F(HostileTree, WithoutRetainedNamesOnlyFoldersKeepTheirNames) {
    ScanOptions options = plainOptions(0);
    options.retainFileNames = false;
    const ScanResult result = scan(options);
    const FileNode* a = findNode(*result.root, "a");
    ASSERT_TRUE(a != nullptr && !a->children().empty());
    for (const FileNode* child : a->children()) EXPECT_EQ(child->name(), "");
    EXPECT_NE(findNode(*result.root, "with space"), nullptr);
}

TEST_F(HostileTree, FoldersOnlyWhenNoFileReachesTheThreshold) {
    for (std::int64_t threshold : {std::numeric_limits<std::int64_t>::max(), std::int64_t{-1}}) {
        const ScanResult result = scan(plainOptions(threshold));
        std::vector<const FileNode*> stack{result.root.get()};
        while (!stack.empty()) {
            const FileNode* node = stack.back();
            stack.pop_back();
            EXPECT_TRUE(node->isDirectory()) << node->path();
            stack.insert(stack.end(), node->children().begin(), node->children().end());
        }
        EXPECT_EQ(result.bytes, independentCount(folder_->path()).bytes) << "a hard link counts once without a node too";
    }
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
    EXPECT_EQ(DiskScanner::scan(t.path(), plainOptions()).root->name(), t.path());
    const auto kindOf = [](const std::string& path) {
        try {
            DiskScanner::scan(path, plainOptions());
        } catch (const DiskScanError& error) {
            EXPECT_NE(std::string(error.what()).find(path), std::string::npos) << error.what();
            return error.kind();
        }
        return DiskScanError::Kind::cancelled;
    };
    EXPECT_EQ(kindOf(t / "missing"), DiskScanError::Kind::rootNotFound);
    EXPECT_EQ(kindOf(t / "file"), DiskScanError::Kind::rootNotADirectory);
    EXPECT_EQ(kindOf(t / "link"), DiskScanError::Kind::rootNotADirectory);
}

TEST(ScanSkips, SkippedNamesAndPathsAreLeftOutAndTheVolumeTrashEnteredWhenAskedFor) {
    TempFolder t;
    for (const char* file : {".Spotlight-V100/index", ".Trashes/old", "private/secret", "kept"})
        writeText(t / file, std::string(100000, 'x'));
    ScanOptions options = plainOptions();
    options.skippedPaths = {t / "private"};
    const ScanResult result = DiskScanner::scan(t.path(), options);
    EXPECT_EQ(result.bytes, allocatedOf(t / "kept"));
    EXPECT_EQ(result.directories, 1);
    EXPECT_EQ(DiskScanner::scan(t.path(), options.includingVolumeTrash()).bytes,
              allocatedOf(t / "kept") + allocatedOf(t / ".Trashes/old"));
}

TEST(AllocatedSize, FileFolderAndMissing) {
    TempFolder t;
    writeFile(t / "one", 40000);
    makeFolder(t / "f");
    writeFile(t / "f/two", 3 * 1048576);
    EXPECT_EQ(DiskScanner::allocatedSize(t / "one"), allocatedOf(t / "one"));
    EXPECT_EQ(DiskScanner::allocatedSize(t.path()), allocatedOf(t / "one") + allocatedOf(t / "f/two"));
    EXPECT_EQ(DiskScanner::allocatedSize(t / "gone"), 0);
}
