// What removing copies really frees: how a file's block sharing is assessed,
// and how hard links and clones are counted when some names go.
#include <gtest/gtest.h>

#include <tuple>

#include "DiskScanKit/DuplicateGroup.h"

using namespace tessel;
using Kind = Sharing::Kind;

namespace {

constexpr std::int64_t allocated = 8192;
constexpr std::uint64_t device = 7;
constexpr std::uint64_t all = BlockSharing::sharesAllBlocks;
constexpr std::uint64_t may = BlockSharing::maySharesBlocks;

BlockSharing sharing(std::optional<std::uint64_t> flags, std::optional<std::int64_t> privateBytes = {},
                     std::optional<std::uint64_t> cloneID = {}, std::optional<int> cloneCount = {}) {
    return {privateBytes, cloneID, flags, cloneCount};
}

BlockSharing fullClone(std::uint64_t id, std::optional<int> count) { return sharing(all, 0, id, count); }

// A copy as the finder makes it: its sharing assessed from what the file system said.
DuplicateFile copyAt(const std::string& path, std::int64_t bytes, const BlockSharing& blocks = {}, int linkCount = 1,
                     std::vector<std::string> otherNames = {}) {
    DuplicateFile file;
    file.path = path;
    file.allocatedBytes = bytes;
    file.linkCount = linkCount;
    file.otherNames = std::move(otherNames);
    const auto [kind, unshared, clone] = blocks.assess(bytes, linkCount, device);
    std::tie(file.sharing, file.unsharedBytes, file.cloneStream) = std::tie(kind, unshared, clone);
    return file;
}

} // namespace

TEST(SharingAssessment, WhatTheFileSystemSaidBecomesTheSharingAndTheBytesOwned) {
    struct Case { const char* what; BlockSharing blocks; int links; Kind kind; std::int64_t unshared; bool fullClone = false; };
    const Case cases[] = {
        {"nothing known", {}, 1, Kind::unshared, allocated},
        {"private size below allocated", sharing(std::nullopt, 4096), 1, Kind::partial, 4096},
        {"full clone", fullClone(99, 2), 1, Kind::clone, 0, true},
        // Every block "shared" with no other file: it owns them all.
        {"clone count of one", sharing(all, std::nullopt, 99, 1), 1, Kind::unshared, allocated},
        {"clone id zero", sharing(all, 0, 0, 2), 1, Kind::partial, 0},
        {"may share, private size", sharing(may, 3000), 1, Kind::partial, 3000},
        {"flags without sharing bits", sharing(0x02, 100), 1, Kind::unshared, allocated},
        {"negative private size", sharing(may, -5), 1, Kind::partial, 0},
        {"private size past allocated", sharing(may, 1'000'000'000), 1, Kind::unshared, allocated},
        {"several links", {}, 3, Kind::hardLinked, allocated},
        {"several links of a clone", fullClone(99, 2), 2, Kind::hardLinked, 0, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const BlockSharing::Assessment result = c.blocks.assess(allocated, c.links, device);
        EXPECT_EQ(result.sharing.kind, c.kind);
        EXPECT_EQ(result.unsharedBytes, c.unshared);
        EXPECT_EQ(result.cloneStream, c.fullClone ? std::optional(CloneStream{{device, 99}, 2}) : std::nullopt);
    }
}

TEST(Reclaimable, ClonesFreeTheirSharedBlocksOnlyWhenTheGroupHoldsAndRemovesTheirWholeSet) {
    // A full clone in a set of `count` on the volume.
    const auto clone = [](const char* path, std::optional<int> count, std::uint64_t id = 5) {
        return copyAt(path, allocated, fullClone(id, count));
    };
    DuplicateFile onOtherVolume = clone("/b", 2);
    onOtherVolume.cloneStream->key.device = device + 1;
    struct Case { const char* what; std::vector<DuplicateFile> files; std::set<std::string> removing; std::int64_t freed; };
    const Case cases[] = {
        {"both clones of a set of two", {clone("/a", 2), clone("/b", 2)}, {"/a", "/b"}, allocated},
        {"a partner outside", {clone("/a", 3), clone("/b", 3)}, {"/a", "/b"}, 0},
        {"partners unknown", {clone("/a", {}), clone("/b", {})}, {"/a", "/b"}, 0},
        {"other ids", {clone("/a", 2), clone("/b", 2, 6)}, {"/a", "/b"}, 0},
        {"other volumes", {clone("/a", 2), onOtherVolume}, {"/a", "/b"}, 0},
        {"partial clone", {copyAt("/a", allocated), copyAt("/b", allocated, sharing(may, 4096))}, {"/a", "/b"}, allocated + 4096},
    };
    for (const Case& c : cases) EXPECT_EQ(DuplicateGroup::reclaimable(c.files, c.removing), c.freed) << c.what;
}

TEST(GroupReclaimable, EverythingButTheKeeperAndItsNamesGoes) {
    const std::string work = "/Users/me/Documents/Work/r.pdf";
    const std::string downloads = "/Users/me/Downloads/r.pdf";
    const std::string desktop = "/Users/me/Desktop/r.pdf";
    struct Case { const char* what; std::vector<DuplicateFile> files; std::string keeper; std::int64_t freed; };
    const Case cases[] = {
        {"plain copies", {copyAt(downloads, 12288), copyAt(desktop, 8192), copyAt(work, 4096)}, work, 12288 + 8192},
        {"a hard-linked copy with all its names", {copyAt(work, 4096), copyAt(downloads, 8192, {}, 2, {desktop})}, work, 8192},
        // Removing "the other copy" would remove the keeper.
        {"one name listed twice", {copyAt(work, 4096), copyAt(work, 4096)}, work, 0},
        // That name stays with the keeper, so the other entry, which needs both its names gone, stays too.
        {"a keeper's name claimed by another", {copyAt(work, 4096, {}, 2, {desktop}), copyAt(downloads, 8192, {}, 2, {desktop})},
         work, 0},
        {"clones of the keeper",
         {copyAt(downloads, 8192, fullClone(5, 2)), copyAt(desktop, 4096), copyAt(work, 8192, fullClone(5, 2))}, work, 4096},
        // Removing it would free nothing: it stays, and the better-placed copy goes.
        {"a copy with a name outside the group", {copyAt(work, 4096), copyAt(downloads, 8192, {}, 2)}, downloads, 4096},
        {"a clone of files outside", {copyAt(work, 4096), copyAt(downloads, 8192, fullClone(5, {})), copyAt(desktop, 4096)},
         downloads, 8192},
    };
    for (const Case& c : cases) {
        const DuplicateGroup group("id", 5000, c.files, "/Users/me");
        EXPECT_EQ(std::pair(group.files.front().path, group.reclaimableBytes), std::pair(c.keeper, c.freed)) << c.what;
    }
}
