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

TEST(SharingAssessment, WhatTheFileSystemSaidBecomesTheSharingAndTheBytesOwned) {
    constexpr std::uint64_t all = BlockSharing::sharesAllBlocks;
    constexpr std::uint64_t may = BlockSharing::maySharesBlocks;
    struct Case {
        const char* what;
        BlockSharing blocks;
        int links;
        Kind kind;
        std::optional<int> count; // checked for clones and hard links only
        std::int64_t unshared;
        bool fullClone;
    };
    const Case cases[] = {
        {"nothing known", {}, 1, Kind::unshared, {}, allocated, false},
        {"private size below allocated", sharing(std::nullopt, 4096), 1, Kind::partial, {}, 4096, false},
        {"private size all allocated", sharing(std::nullopt, allocated), 1, Kind::unshared, {}, allocated, false},
        {"full clone", fullClone(99, 2), 1, Kind::clone, 2, 0, true},
        {"full clone, count unknown", fullClone(99, std::nullopt), 1, Kind::clone, std::nullopt, 0, true},
        // Every block "shared" with no other file: it owns them all.
        {"clone count of one", sharing(all, std::nullopt, 99, 1), 1, Kind::unshared, {}, allocated, false},
        {"clone count of one, private size", sharing(all, 1000, 99, 1), 1, Kind::partial, {}, 1000, false},
        {"clone id zero", sharing(all, 0, 0, 2), 1, Kind::partial, {}, 0, false},
        {"clone id unknown", sharing(all, 0, std::nullopt, 2), 1, Kind::partial, {}, 0, false},
        {"may share, private size", sharing(may, 3000), 1, Kind::partial, {}, 3000, false},
        {"may share, private size unknown", sharing(may), 1, Kind::unshared, {}, allocated, false},
        {"flags without sharing bits", sharing(0x02, 100), 1, Kind::unshared, {}, allocated, false},
        {"negative private size", sharing(may, -5), 1, Kind::partial, {}, 0, false},
        {"private size past allocated", sharing(may, 1'000'000'000), 1, Kind::unshared, {}, allocated, false},
        {"negative private size alone", sharing(std::nullopt, -1), 1, Kind::partial, {}, 0, false},
        {"several links", {}, 3, Kind::hardLinked, 3, allocated, false},
        {"several links of a clone", fullClone(99, 2), 2, Kind::hardLinked, 2, 0, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.blocks.isFullClone(), c.fullClone);
        const BlockSharing::Assessment result = c.blocks.assess(allocated, c.links, device);
        EXPECT_EQ(result.sharing.kind, c.kind);
        if (c.kind == Kind::clone || c.kind == Kind::hardLinked) {
            EXPECT_EQ(result.sharing.count, c.count);
        }
        EXPECT_EQ(result.unsharedBytes, c.unshared);
        ASSERT_EQ(result.cloneStream.has_value(), c.fullClone);
        if (c.fullClone) {
            EXPECT_EQ(result.cloneStream->key, (CloneStream::Key{device, 99}));
            EXPECT_EQ(result.cloneStream->files, c.blocks.cloneCount);
        }
    }
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

TEST(Reclaimable, ClonesNotAllInTheGroupOrOfOneStreamFreeNothing) {
    auto bothGo = [](const BlockSharing& a, const BlockSharing& b, std::uint64_t bDevice = device) {
        std::vector<DuplicateFile> files{copyAt("/a", allocated, a), copyAt("/b", allocated, b)};
        files[1].cloneStream->key.device = bDevice;
        return DuplicateGroup::reclaimable(files, {"/a", "/b"});
    };
    EXPECT_EQ(bothGo(fullClone(5, 3), fullClone(5, 3)), 0) << "a partner outside the group";
    EXPECT_EQ(bothGo(fullClone(5, std::nullopt), fullClone(5, std::nullopt)), 0) << "partners unknown";
    EXPECT_EQ(bothGo(fullClone(5, 2), fullClone(6, 2)), 0) << "other ids";
    EXPECT_EQ(bothGo(fullClone(5, 2), fullClone(5, 2), device + 1), 0) << "other volumes";
    EXPECT_EQ(bothGo(fullClone(5, 2), fullClone(5, 2)), allocated) << "the one stream, both in the group";
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
    const DuplicateGroup twice("abc", 5000, {copyAt("/Users/me/Documents/r.pdf", 4096),
                                             copyAt("/Users/me/Documents/r.pdf", 4096)},
                               "/Users/me");
    EXPECT_EQ(twice.reclaimableBytes, 0);
    // Another entry claims a name of the keeper's inode: that name stays, so
    // the other entry, which needs both its names gone, stays too.
    const DuplicateGroup shared(
        "abc", 5000,
        {copyAt("/Users/me/Documents/Work/r.pdf", 4096, {}, 2, {"/Users/me/Desktop/r.pdf"}),
         copyAt("/Users/me/Downloads/r.pdf", allocated, {}, 2, {"/Users/me/Desktop/r.pdf"})},
        "/Users/me");
    EXPECT_EQ(shared.files[0].path, "/Users/me/Documents/Work/r.pdf");
    EXPECT_EQ(shared.reclaimableBytes, 0);
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
