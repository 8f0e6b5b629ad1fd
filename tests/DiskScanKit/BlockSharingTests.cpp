// Block sharing read from real extent maps: clones on a loop-mounted XFS made
// with reflink, and file systems that share nothing or keep no extent map.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <optional>
#include <stdexcept>

#include "ChildProcess.h"
#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/DuplicateGroup.h"
#include "Fixture.h"
#include "LoopVolume.h"

using namespace tessel;
using namespace tessel::test;

namespace {

constexpr std::int64_t mebibyte = 1048576;
constexpr std::chrono::seconds commandDeadline{60};

// mkfs.xfs refuses anything smaller than 300 MB.
LoopRecipe xfsWithReflink() { return {"mkfs.xfs", {"-q", "-m", "reflink=1", "-f"}, "xfsprogs", 320 * mebibyte}; }

bool reflinked(const std::string& from, const std::string& to) {
    return runChild({"cp", "--reflink=always", from, to}, commandDeadline).status == 0;
}

// Writes `bytes` new bytes at `offset` in place, and makes sure they reach the disk.
void overwrite(const std::string& path, std::int64_t offset, std::int64_t bytes) {
    const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) throw std::runtime_error("open(" + path + "): " + std::strerror(errno));
    const std::string text(static_cast<std::size_t>(bytes), 'y');
    const bool written = pwrite(fd, text.data(), text.size(), offset) == static_cast<ssize_t>(text.size());
    const bool synced = fsync(fd) == 0;
    close(fd);
    if (!written || !synced) throw std::runtime_error("pwrite(" + path + "): " + std::strerror(errno));
}

std::int64_t blockSize(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) throw std::runtime_error("stat(" + path + "): " + std::strerror(errno));
    return info.st_blksize;
}

class ClonesOnXfs : public ::testing::Test {
protected:
    void SetUp() override {
        volume_.emplace(folder_, "xfs", xfsWithReflink());
        if (!volume_->failure().empty()) GTEST_SKIP() << volume_->failure();
    }

    std::string at(const std::string& name) const { return *volume_ / name; }

    // Declared first, so the volume is unmounted before the folder goes.
    TempFolder folder_;
    std::optional<LoopVolume> volume_;
};

} // namespace

TEST_F(ClonesOnXfs, ReflinkedCopiesAreFullClonesOfOneId) {
    writeFile(at("a"), mebibyte);
    ASSERT_TRUE(reflinked(at("a"), at("b")));
    const BlockSharing original = BlockSharing::read(at("a"));
    EXPECT_EQ(original.flags, BlockSharing::sharesAllBlocks);
    EXPECT_EQ(original.privateBytes, 0);
    ASSERT_TRUE(original.cloneID);
    EXPECT_NE(*original.cloneID, 0u);
    EXPECT_FALSE(original.cloneCount) << "Linux can't tell how many files share the blocks";
    EXPECT_EQ(BlockSharing::read(at("b")), original);
}

TEST_F(ClonesOnXfs, SameContentsWrittenSeparatelyShareNothing) {
    writeFile(at("a"), mebibyte);
    ASSERT_TRUE(reflinked(at("a"), at("b")));
    writeFile(at("c"), mebibyte);
    EXPECT_EQ(BlockSharing::read(at("c")), BlockSharing{});
}

TEST_F(ClonesOnXfs, EachSetOfClonesHasItsOwnId) {
    writeFile(at("a"), mebibyte);
    writeFile(at("c"), mebibyte);
    ASSERT_TRUE(reflinked(at("a"), at("b")));
    ASSERT_TRUE(reflinked(at("c"), at("d")));
    const BlockSharing first = BlockSharing::read(at("a"));
    const BlockSharing second = BlockSharing::read(at("c"));
    ASSERT_TRUE(first.cloneID);
    ASSERT_TRUE(second.cloneID);
    EXPECT_NE(*first.cloneID, *second.cloneID);
    EXPECT_EQ(BlockSharing::read(at("d")).cloneID, second.cloneID);
}

TEST_F(ClonesOnXfs, FileWithHolesClonesToo) {
    writeSparseFile(at("sparse"), 64 * mebibyte);
    overwrite(at("sparse"), 0, 100000);
    ASSERT_TRUE(reflinked(at("sparse"), at("copy")));
    const BlockSharing original = BlockSharing::read(at("sparse"));
    EXPECT_EQ(original.flags, BlockSharing::sharesAllBlocks);
    EXPECT_TRUE(original.cloneID);
    EXPECT_EQ(BlockSharing::read(at("copy")), original);
}

TEST_F(ClonesOnXfs, RewrittenPartOfACloneIsPrivateToEach) {
    writeFile(at("a"), mebibyte);
    ASSERT_TRUE(reflinked(at("a"), at("b")));
    constexpr std::int64_t offset = 8192;
    constexpr std::int64_t rewritten = 10000;
    overwrite(at("b"), offset, rewritten);
    const std::int64_t block = blockSize(at("b"));
    const std::int64_t firstBlock = offset / block * block;
    const std::int64_t pastLastBlock = (offset + rewritten + block - 1) / block * block;

    const BlockSharing changed = BlockSharing::read(at("b"));
    EXPECT_EQ(changed.flags, BlockSharing::maySharesBlocks);
    EXPECT_EQ(changed.privateBytes, pastLastBlock - firstBlock);
    EXPECT_FALSE(changed.cloneID);
    // The original's old blocks there are its alone now.
    const BlockSharing original = BlockSharing::read(at("a"));
    EXPECT_EQ(original.flags, BlockSharing::maySharesBlocks);
    EXPECT_EQ(original.privateBytes, pastLastBlock - firstBlock);
}

TEST_F(ClonesOnXfs, PlainFilesSayNothing) {
    writeFile(at("plain"), mebibyte);
    writeFile(at("empty"), 0);
    makeHardLink(at("plain"), at("second name"));
    EXPECT_EQ(BlockSharing::read(at("plain")), BlockSharing{});
    EXPECT_EQ(BlockSharing::read(at("empty")), BlockSharing{});
    EXPECT_EQ(BlockSharing::read(at("second name")), BlockSharing{}) << "a hard link is no clone";
}

TEST_F(ClonesOnXfs, LinkToACloneAndFoldersSayNothing) {
    writeFile(at("a"), mebibyte);
    ASSERT_TRUE(reflinked(at("a"), at("b")));
    makeSymlink(at("a"), at("link"));
    ASSERT_TRUE(BlockSharing::read(at("a")).cloneID);
    EXPECT_EQ(BlockSharing::read(at("link")), BlockSharing{});
    makeFolder(at("folder"));
    EXPECT_EQ(BlockSharing::read(at("folder")), BlockSharing{});
}

TEST_F(ClonesOnXfs, FinderReadsASetOfClonesOnceAndCountsNoBytesForThem) {
    const std::int64_t size = 2 * mebibyte;
    for (const char* folder : {"Documents", "Documents/Projects", "Downloads", "Desktop"}) makeFolder(at(folder));
    const std::string original = at("Documents/Projects/talk.mov");
    writeFile(original, size);
    ASSERT_TRUE(reflinked(original, at("Downloads/talk.mov")));
    ASSERT_TRUE(reflinked(original, at("Desktop/talk copy.mov")));
    const std::string plain = at("Documents/talk.mov");
    writeFile(plain, size);

    std::mutex lock;
    std::vector<std::int64_t> bytesToHash;
    const auto progress = [&](const DuplicateScanProgress& report) {
        std::lock_guard guard(lock);
        if (report.phase == DuplicateScanProgress::Phase::hashing) bytesToHash.push_back(report.bytesToHash);
    };
    const DuplicateReport report = DuplicateFinder(1000000, 16384, 2, volume_->path())
                                       .find({original, at("Downloads/talk.mov"), at("Desktop/talk copy.mov"), plain},
                                             progress);

    ASSERT_EQ(report.groups.size(), 1u);
    const DuplicateGroup& group = report.groups.front();
    ASSERT_EQ(group.files.size(), 4u);
    EXPECT_EQ(group.files[0].path, original);
    ASSERT_FALSE(bytesToHash.empty());
    // The three clones are one read and the plain copy another.
    EXPECT_EQ(*std::max_element(bytesToHash.begin(), bytesToHash.end()), 2 * size);
    for (const DuplicateFile& file : group.files) {
        const Sharing::Kind expected = file.path == plain ? Sharing::Kind::unshared : Sharing::Kind::clone;
        EXPECT_EQ(sharingName(file.sharing.kind), sharingName(expected)) << file.path;
    }
    // Removing the reflinked copies frees nothing: the keeper still holds their blocks.
    EXPECT_EQ(group.reclaimableBytes, allocatedOf(plain));
    EXPECT_EQ(report.totalReclaimableBytes, allocatedOf(plain));
}

TEST(BlockSharingWithoutClones, Ext4SaysNothing) {
    TempFolder t;
    struct statfs info {};
    if (statfs(t.path().c_str(), &info) != 0 || info.f_type != EXT4_SUPER_MAGIC)
        GTEST_SKIP() << "the temporary folder " << t.path() << " is not on ext4";
    writeFile(t / "a", mebibyte);
    ASSERT_EQ(runChild({"cp", "--reflink=auto", t / "a", t / "b"}, commandDeadline).status, 0);
    makeHardLink(t / "a", t / "c");
    for (const char* name : {"a", "b", "c"}) EXPECT_EQ(BlockSharing::read(t / name), BlockSharing{}) << name;
}

TEST(BlockSharingWithoutClones, NoExtentMapOrNoFileSaysNothing) {
    TempFolder t;
    EXPECT_EQ(BlockSharing::read("/proc/self/status"), BlockSharing{}); // no extent map at all
    EXPECT_EQ(BlockSharing::read("/dev/null"), BlockSharing{});
    EXPECT_EQ(BlockSharing::read(t / "missing"), BlockSharing{});
}
