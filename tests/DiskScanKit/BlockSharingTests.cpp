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

using namespace tessel;
using namespace tessel::test;

namespace {

constexpr std::int64_t mebibyte = 1048576;
// mkfs.xfs refuses anything smaller than 300 MB; the image is sparse.
constexpr off_t imageBytes = 320 * mebibyte;
constexpr std::chrono::seconds commandDeadline{60};

// Also where root's tools live when PATH doesn't say.
std::string systemProgram(const std::string& name) {
    for (const std::string& candidate : {findProgram(name), "/usr/sbin/" + name, "/sbin/" + name})
        if (!candidate.empty() && access(candidate.c_str(), X_OK) == 0) return candidate;
    return "";
}

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

// An XFS with reflink, made in an image file inside `folder` and loop-mounted
// beside it. Whatever happens in the test, it is unmounted and its loop device
// let go when this goes.
class XfsVolume {
public:
    explicit XfsVolume(const TempFolder& folder) : image_(folder / "xfs.img"), path_(folder / "xfs") {
        failure_ = make();
    }
    ~XfsVolume() {
        if (mounted_ && umount2(path_.c_str(), 0) != 0) umount2(path_.c_str(), MNT_DETACH);
        // mount asks the loop device to let go on unmount; this is for when it didn't.
        const std::string losetup = systemProgram("losetup");
        if (losetup.empty()) return;
        try {
            const ChildOutcome attached = runChild({losetup, "-j", image_}, commandDeadline);
            for (std::size_t start = 0; start < attached.out.size();) {
                std::size_t end = attached.out.find('\n', start);
                if (end == std::string::npos) end = attached.out.size();
                const std::string line = attached.out.substr(start, end - start);
                if (const std::size_t colon = line.find(':'); colon != std::string::npos)
                    runChild({losetup, "-d", line.substr(0, colon)}, commandDeadline);
                start = end + 1;
            }
        } catch (const std::exception& error) {
            std::fprintf(stderr, "could not let go of the loop device of %s: %s\n", image_.c_str(), error.what());
        }
    }
    XfsVolume(const XfsVolume&) = delete;
    XfsVolume& operator=(const XfsVolume&) = delete;

    // Why there is no volume; empty when it is mounted.
    const std::string& failure() const { return failure_; }
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string make() {
        const std::string mkfs = systemProgram("mkfs.xfs");
        if (mkfs.empty()) return "mkfs.xfs is not installed (xfsprogs), so no XFS can be made";
        const int fd = open(image_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0 || ftruncate(fd, imageBytes) != 0)
            return "could not make the image " + image_ + ": " + std::strerror(errno);
        close(fd);
        const ChildOutcome made = runChild({mkfs, "-q", "-m", "reflink=1", "-f", image_}, commandDeadline);
        if (made.status != 0) return "mkfs.xfs failed: " + firstLine(made.err);
        makeFolder(path_);
        const std::string mount = systemProgram("mount");
        if (mount.empty()) return "mount is not installed";
        const ChildOutcome mounted = runChild({mount, "-o", "loop", image_, path_}, commandDeadline);
        if (mounted.status != 0)
            return "the XFS image could not be loop-mounted here (" + firstLine(mounted.err) + ")";
        mounted_ = true;
        return "";
    }

    std::string image_;
    std::string path_;
    bool mounted_ = false;
    std::string failure_;
};

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
        if (geteuid() != 0) GTEST_SKIP() << "making and loop-mounting an XFS image needs root";
        volume_.emplace(folder_);
        if (!volume_->failure().empty()) GTEST_SKIP() << volume_->failure();
    }

    std::string at(const std::string& name) const { return *volume_ / name; }

    // Declared first, so the volume is unmounted before the folder goes.
    TempFolder folder_;
    std::optional<XfsVolume> volume_;
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
