// Block sharing read from real extent maps: clones on a loop-mounted XFS made
// with reflink, and files that keep no extent map.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <optional>
#include <tuple>

#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/DuplicateGroup.h"
#include "Fixture.h"
#include "LoopVolume.h"

using namespace tessel;
using namespace tessel::test;

namespace {

constexpr std::int64_t mebibyte = 1048576;

// What cp said against the copy; empty when it was made.
std::string copied(const std::string& from, const std::string& to, const char* reflink = "--reflink=always") {
    return LoopVolume::run({"cp", reflink, from, to});
}

class ClonesOnXfs : public ::testing::Test {
protected:
    void SetUp() override {
        // mkfs.xfs refuses anything smaller than 300 MB.
        volume.emplace(folder, "xfs", LoopRecipe{"mkfs.xfs", {"-q", "-m", "reflink=1", "-f"}, "xfsprogs", 320 * mebibyte});
        if (!volume->failure().empty()) GTEST_SKIP() << volume->failure();
    }

    std::string at(const std::string& name) const { return *volume / name; }

    // Declared first, so the volume is unmounted before the folder goes.
    TempFolder folder;
    std::optional<LoopVolume> volume;
};

} // namespace

TEST_F(ClonesOnXfs, EachSetOfClonesHasAnIdOfItsOwnAndNothingElseSharesAnything) {
    writeSparseFile(at("a"), 64 * mebibyte); // a file with holes clones too
    writeFile(at("c"), mebibyte);
    ASSERT_EQ(copied(at("a"), at("b")), "");
    ASSERT_EQ(copied(at("c"), at("d")), "");
    const BlockSharing first = BlockSharing::read(at("a"));
    // Linux can't tell how many files share the blocks.
    EXPECT_EQ(std::tuple(first.flags, first.privateBytes, first.cloneCount),
              std::tuple(BlockSharing::sharesAllBlocks, 0, std::nullopt));
    ASSERT_NE(first.cloneID.value_or(0), 0u);
    EXPECT_EQ(BlockSharing::read(at("b")), first);
    const std::optional<std::uint64_t> second = BlockSharing::read(at("d")).cloneID;
    EXPECT_NE(second.value_or(*first.cloneID), *first.cloneID);
    EXPECT_EQ(BlockSharing::read(at("c")).cloneID, second);

    writeFile(at("c's bytes written apart"), mebibyte);
    writeFile(at("empty"), 0);
    makeHardLink(at("c's bytes written apart"), at("second name"));
    makeSymlink(at("a"), at("link to a clone"));
    makeFolder(at("folder"));
    for (const char* name : {"c's bytes written apart", "empty", "second name", "link to a clone", "folder"})
        EXPECT_EQ(BlockSharing::read(at(name)), BlockSharing{}) << name;
}

TEST_F(ClonesOnXfs, RewrittenPartOfACloneIsPrivateToEach) {
    writeFile(at("a"), mebibyte);
    ASSERT_EQ(copied(at("a"), at("b")), "");
    const int fd = open(at("b").c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_TRUE(pwrite(fd, std::string(8192, 'y').data(), 8192, 8192) == 8192 && fsync(fd) == 0);
    close(fd);
    BlockSharing partly;
    partly.flags = BlockSharing::maySharesBlocks;
    partly.privateBytes = 8192;
    for (const char* name : {"a", "b"}) EXPECT_EQ(BlockSharing::read(at(name)), partly) << name;
}

TEST_F(ClonesOnXfs, FinderReadsASetOfClonesOnceKeepsOneAndCountsNoBytesForTheOthers) {
    const std::int64_t size = 2 * mebibyte;
    const std::vector<std::string> paths{at("talk.mov"), at("talk (1).mov"), at("talk copy.mov"), at("plain.mov")};
    writeFile(paths[0], size);
    writeFile(paths[3], size);
    for (const std::string& clone : {paths[1], paths[2]}) ASSERT_EQ(copied(paths[0], clone), "");
    std::int64_t bytesToHash = 0;
    const DuplicateReport report = DuplicateFinder(1000000, 16384, 2, volume->path()).find(paths, [&](const auto& now) {
        if (now.phase == DuplicateScanProgress::Phase::hashing) bytesToHash = now.bytesToHash;
    });
    ASSERT_EQ(report.groups.size(), 1u);
    const std::vector<DuplicateFile>& files = report.groups[0].files;
    ASSERT_EQ(files.size(), 4u);
    EXPECT_EQ(bytesToHash, 2 * size) << "the three clones are one read and the plain copy another";
    for (const DuplicateFile& file : files)
        EXPECT_EQ(file.sharing.kind == Sharing::Kind::clone, file.path != paths[3]) << file.path;
    // A clone is kept: removing the others frees nothing while it holds their blocks, and the plain copy frees its own.
    EXPECT_EQ(files[0].path, paths[0]);
    EXPECT_EQ(report.groups[0].reclaimableBytes, allocatedOf(paths[3]));
}

TEST(BlockSharingWithoutClones, NoExtentMapOrNoFileSaysNothing) {
    TempFolder folder;
    for (const std::string& path : {std::string("/proc/self/status"), std::string("/dev/null"), folder / "missing"})
        EXPECT_EQ(BlockSharing::read(path), BlockSharing{}) << path;
}
