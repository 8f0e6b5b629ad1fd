// What removing copies really frees: how a file's block sharing is assessed,
// and how hard links and clones are counted when some names go.
#include <gtest/gtest.h>

#include "DiskScanKit/DuplicateGroup.h"

using namespace tessel;
using Kind = Sharing::Kind;
using Names = std::set<std::string>;

namespace {

constexpr std::int64_t allocated = 8192;
constexpr std::uint64_t device = 7;

BlockSharing sharing(std::optional<std::uint64_t> flags, std::optional<std::int64_t> privateBytes = {},
                     std::optional<std::uint64_t> cloneID = {}, std::optional<int> cloneCount = {}) {
    BlockSharing result;
    result.flags = flags;
    result.privateBytes = privateBytes;
    result.cloneID = cloneID;
    result.cloneCount = cloneCount;
    return result;
}

BlockSharing fullClone(std::uint64_t id, std::optional<int> count) {
    return sharing(BlockSharing::sharesAllBlocks, 0, id, count);
}

// A copy as the finder makes it: its sharing assessed from what the file system said.
DuplicateFile copyAt(const std::string& path, std::int64_t bytes, const BlockSharing& blocks = {}, int linkCount = 1,
                     std::vector<std::string> otherNames = {}) {
    DuplicateFile file;
    file.path = path;
    file.logicalSize = bytes;
    file.allocatedBytes = bytes;
    file.privateBytes = blocks.privateBytes;
    file.linkCount = linkCount;
    file.otherNames = std::move(otherNames);
    const BlockSharing::Assessment assessment = blocks.assess(bytes, linkCount, device);
    file.sharing = assessment.sharing;
    file.unsharedBytes = assessment.unsharedBytes;
    file.cloneStream = assessment.cloneStream;
    return file;
}

} // namespace

namespace tessel {
void PrintTo(Sharing::Kind kind, std::ostream* out) { *out << sharingName(kind); }
} // namespace tessel

TEST(SharingAssessment, NothingKnownIsUnsharedAndOwnsItsBlocks) {
    const BlockSharing::Assessment result = BlockSharing{}.assess(allocated, 1, device);
    EXPECT_EQ(result.sharing.kind, Kind::unshared);
    EXPECT_EQ(result.unsharedBytes, allocated);
    EXPECT_FALSE(result.cloneStream);
}

TEST(SharingAssessment, PrivateSizeAloneBelowAllocatedIsPartial) {
    const BlockSharing::Assessment below = sharing(std::nullopt, 4096).assess(allocated, 1, device);
    EXPECT_EQ(below.sharing.kind, Kind::partial);
    EXPECT_EQ(below.unsharedBytes, 4096);
    EXPECT_FALSE(below.cloneStream);
    const BlockSharing::Assessment whole = sharing(std::nullopt, allocated).assess(allocated, 1, device);
    EXPECT_EQ(whole.sharing.kind, Kind::unshared);
    EXPECT_EQ(whole.unsharedBytes, allocated);
}

TEST(SharingAssessment, FullCloneOwnsNothingAndNamesItsStream) {
    const BlockSharing::Assessment result = fullClone(99, 2).assess(allocated, 1, device);
    EXPECT_EQ(result.sharing, (Sharing{Kind::clone, 2}));
    EXPECT_EQ(result.unsharedBytes, 0);
    ASSERT_TRUE(result.cloneStream);
    EXPECT_EQ(result.cloneStream->key, (CloneStream::Key{device, 99}));
    EXPECT_EQ(result.cloneStream->files, 2);
}

TEST(SharingAssessment, FullCloneOfUnknownCountIsStillAClone) {
    const BlockSharing::Assessment result = fullClone(99, std::nullopt).assess(allocated, 1, device);
    EXPECT_EQ(result.sharing, (Sharing{Kind::clone, std::nullopt}));
    EXPECT_EQ(result.unsharedBytes, 0);
    ASSERT_TRUE(result.cloneStream);
    EXPECT_EQ(result.cloneStream->key, (CloneStream::Key{device, 99}));
    EXPECT_EQ(result.cloneStream->files, std::nullopt);
    EXPECT_TRUE(fullClone(99, std::nullopt).isFullClone());
}

TEST(SharingAssessment, CloneCountOfOneIsNoClone) {
    // Every block "shared" with no other file: it owns them all.
    const BlockSharing alone = sharing(BlockSharing::sharesAllBlocks, std::nullopt, 99, 1);
    EXPECT_FALSE(alone.isFullClone());
    const BlockSharing::Assessment result = alone.assess(allocated, 1, device);
    EXPECT_EQ(result.sharing.kind, Kind::unshared);
    EXPECT_EQ(result.unsharedBytes, allocated);
    EXPECT_FALSE(result.cloneStream);
    const BlockSharing::Assessment withPrivate =
        sharing(BlockSharing::sharesAllBlocks, 1000, 99, 1).assess(allocated, 1, device);
    EXPECT_EQ(withPrivate.sharing.kind, Kind::partial);
    EXPECT_EQ(withPrivate.unsharedBytes, 1000);
}

TEST(SharingAssessment, CloneNeedsANonZeroCloneId) {
    for (const BlockSharing& blocks :
         {sharing(BlockSharing::sharesAllBlocks, 0, 0, 2), sharing(BlockSharing::sharesAllBlocks, 0, std::nullopt, 2)}) {
        EXPECT_FALSE(blocks.isFullClone());
        const BlockSharing::Assessment result = blocks.assess(allocated, 1, device);
        EXPECT_FALSE(result.cloneStream);
        EXPECT_NE(result.sharing.kind, Kind::clone);
    }
}

TEST(SharingAssessment, MaySharePartlyIsPartialWithItsPrivateBytes) {
    const BlockSharing::Assessment result =
        sharing(BlockSharing::maySharesBlocks, 3000).assess(allocated, 1, device);
    EXPECT_EQ(result.sharing.kind, Kind::partial);
    EXPECT_EQ(result.unsharedBytes, 3000);
    EXPECT_FALSE(result.cloneStream);
    const BlockSharing::Assessment unknown = sharing(BlockSharing::maySharesBlocks).assess(allocated, 1, device);
    EXPECT_EQ(unknown.sharing.kind, Kind::unshared);
    EXPECT_EQ(unknown.unsharedBytes, allocated);
}

TEST(SharingAssessment, FlagsWithoutSharingBitsOwnEverything) {
    const BlockSharing::Assessment result = sharing(0x02, 100).assess(allocated, 1, device);
    EXPECT_EQ(result.sharing.kind, Kind::unshared);
    EXPECT_EQ(result.unsharedBytes, allocated);
}

TEST(SharingAssessment, PrivateBytesAreClampedToTheAllocatedSize) {
    const BlockSharing::Assessment negative =
        sharing(BlockSharing::maySharesBlocks, -5).assess(allocated, 1, device);
    EXPECT_EQ(negative.unsharedBytes, 0);
    EXPECT_EQ(negative.sharing.kind, Kind::partial);
    const BlockSharing::Assessment beyond =
        sharing(BlockSharing::maySharesBlocks, 1'000'000'000).assess(allocated, 1, device);
    EXPECT_EQ(beyond.unsharedBytes, allocated);
    EXPECT_EQ(beyond.sharing.kind, Kind::unshared);
    EXPECT_EQ(sharing(std::nullopt, -1).assess(allocated, 1, device).unsharedBytes, 0);
}

TEST(SharingAssessment, SeveralLinksMakeItHardLinked) {
    const BlockSharing::Assessment plain = BlockSharing{}.assess(allocated, 3, device);
    EXPECT_EQ(plain.sharing, (Sharing{Kind::hardLinked, 3}));
    EXPECT_EQ(plain.unsharedBytes, allocated);
    const BlockSharing::Assessment clone = fullClone(99, 2).assess(allocated, 2, device);
    EXPECT_EQ(clone.sharing, (Sharing{Kind::hardLinked, 2}));
    EXPECT_EQ(clone.unsharedBytes, 0);
    EXPECT_TRUE(clone.cloneStream);
}

TEST(Reclaimable, NoFilesFreeNothing) {
    EXPECT_EQ(DuplicateGroup::reclaimable({}, {"/a"}), 0);
    EXPECT_EQ(DuplicateGroup("id", 10, {}, "/Users/me").reclaimableBytes, 0);
}

TEST(Reclaimable, TwoClonesAloneOnTheVolumeFreeTheSharedBytesOnlyWhenBothGo) {
    const std::vector<DuplicateFile> files{copyAt("/a", allocated, fullClone(5, 2)),
                                           copyAt("/b", allocated, fullClone(5, 2))};
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a", "/b"}), allocated);
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/b"}), 0);
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {}), 0);
}

TEST(Reclaimable, ClonesWithAPartnerOutsideTheGroupFreeNothing) {
    const std::vector<DuplicateFile> files{copyAt("/a", allocated, fullClone(5, 3)),
                                           copyAt("/b", allocated, fullClone(5, 3))};
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a", "/b"}), 0);
}

TEST(Reclaimable, ClonesOfUnknownCountFreeNothing) {
    const std::vector<DuplicateFile> files{copyAt("/a", allocated, fullClone(5, std::nullopt)),
                                           copyAt("/b", allocated, fullClone(5, std::nullopt))};
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a", "/b"}), 0);
}

TEST(Reclaimable, StreamsOnOtherVolumesOrOfOtherIdsAreCountedApart) {
    std::vector<DuplicateFile> files{copyAt("/a", allocated, fullClone(5, 2)),
                                     copyAt("/b", allocated, fullClone(6, 2))};
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a", "/b"}), 0);
    files[1] = copyAt("/b", allocated, fullClone(5, 2));
    files[1].cloneStream->key.device = device + 1;
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a", "/b"}), 0);
}

TEST(Reclaimable, PartialCloneFreesItsPrivateBytes) {
    const std::vector<DuplicateFile> files{copyAt("/a", allocated, BlockSharing{}),
                                           copyAt("/b", allocated, sharing(BlockSharing::maySharesBlocks, 4096))};
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/b"}), 4096);
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a", "/b"}), allocated + 4096);
}

TEST(Reclaimable, HardLinkedFileFreesItsBytesOnlyWithItsLastName) {
    const std::vector<DuplicateFile> files{copyAt("/a", allocated, {}, 2, {"/a2"}), copyAt("/b", 4096)};
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a"}), 0);
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a2"}), 0);
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a", "/a2"}), allocated);
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a", "/a2", "/b"}), allocated + 4096);
}

TEST(Reclaimable, HardLinkWithANameOutsideTheGroupFreesNothing) {
    const std::vector<DuplicateFile> files{copyAt("/a", allocated, {}, 3, {"/a2"})};
    EXPECT_EQ(DuplicateGroup::reclaimable(files, {"/a", "/a2"}), 0);
}

TEST(GroupReclaimable, PlainCopiesFreeEverythingButTheKeeper) {
    const DuplicateGroup group("abc", 5000,
                               {copyAt("/Users/me/Downloads/r.pdf", 12288), copyAt("/Users/me/Documents/r.pdf", 8192),
                                copyAt("/Users/me/Documents/Work/r.pdf", 4096)},
                               "/Users/me");
    EXPECT_EQ(group.id, "abc");
    EXPECT_EQ(group.logicalSize, 5000);
    ASSERT_EQ(group.files.size(), 3u);
    EXPECT_EQ(group.files[0].path, "/Users/me/Documents/Work/r.pdf");
    EXPECT_EQ(group.reclaimableBytes, 12288 + 8192);
}

TEST(GroupReclaimable, HardLinkedCopyGoesWithAllItsNames) {
    const DuplicateGroup group(
        "abc", 5000,
        {copyAt("/Users/me/Documents/Work/r.pdf", 4096),
         copyAt("/Users/me/Downloads/r.pdf", allocated, {}, 2, {"/Users/me/Downloads/again/r.pdf"})},
        "/Users/me");
    EXPECT_EQ(group.reclaimableBytes, allocated);
}

TEST(GroupReclaimable, KeepersNamesAreNeverRemoved) {
    // The same name listed twice: removing "the other copy" would remove the keeper.
    const DuplicateGroup group("abc", 5000, {copyAt("/Users/me/Documents/r.pdf", 4096),
                                             copyAt("/Users/me/Documents/r.pdf", 4096)},
                               "/Users/me");
    EXPECT_EQ(group.reclaimableBytes, 0);
}

TEST(GroupReclaimable, KeepersOtherNamesAreNeverRemoved) {
    // Another entry claims a name of the keeper's inode: that name stays, so
    // the other entry, which needs both its names gone, stays too.
    const DuplicateGroup group(
        "abc", 5000,
        {copyAt("/Users/me/Documents/Work/r.pdf", 4096, {}, 2, {"/Users/me/Desktop/r.pdf"}),
         copyAt("/Users/me/Downloads/r.pdf", allocated, {}, 2, {"/Users/me/Desktop/r.pdf"})},
        "/Users/me");
    EXPECT_EQ(group.files[0].path, "/Users/me/Documents/Work/r.pdf");
    EXPECT_EQ(group.reclaimableBytes, 0);
}

TEST(GroupReclaimable, ClonesOfTheKeeperFreeNothingAndPlainCopiesTheirBytes) {
    const DuplicateGroup group("abc", 5000,
                               {copyAt("/Users/me/Downloads/r.pdf", allocated, fullClone(5, 2)),
                                copyAt("/Users/me/Desktop/r.pdf", 4096),
                                copyAt("/Users/me/Documents/Work/r.pdf", allocated, fullClone(5, 2))},
                               "/Users/me");
    EXPECT_EQ(group.files[0].path, "/Users/me/Documents/Work/r.pdf");
    EXPECT_EQ(group.reclaimableBytes, 4096);
}

TEST(GroupReclaimable, CopyWithANameOutsideTheGroupIsKeptAndTheOthersFreeTheirBytes) {
    // The Downloads copy has a second name in a folder that wasn't compared:
    // removing it would free nothing, so it stays and the better-placed copy goes.
    const DuplicateGroup group("abc", 5000,
                               {copyAt("/Users/me/Documents/Work/r.pdf", 4096),
                                copyAt("/Users/me/Downloads/r.pdf", allocated, {}, 2)},
                               "/Users/me");
    EXPECT_EQ(group.files[0].path, "/Users/me/Downloads/r.pdf");
    EXPECT_EQ(group.reclaimableBytes, 4096);
}

TEST(GroupReclaimable, CloneOfFilesOutsideTheGroupIsKept) {
    const DuplicateGroup group("abc", 5000,
                               {copyAt("/Users/me/Documents/Work/r.pdf", 4096),
                                copyAt("/Users/me/Downloads/r.pdf", allocated, fullClone(5, std::nullopt)),
                                copyAt("/Users/me/Desktop/r.pdf", 4096)},
                               "/Users/me");
    EXPECT_EQ(group.files[0].path, "/Users/me/Downloads/r.pdf");
    EXPECT_EQ(group.reclaimableBytes, 2 * 4096);
}
