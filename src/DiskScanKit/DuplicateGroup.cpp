// What removing copies frees.
//
// A copy's own bytes are what the file system keeps for it alone: all of its
// allocation for a plain file, the private part of a partly shared one, and
// nothing for a full clone, whose blocks belong to its whole clone set. Those
// shared blocks come free once, and only when every clone on the volume goes;
// so a set is counted only when the group holds all of its clones (the volume
// must say how many there are) and every one of them is going. A hard-linked
// file is one inode under several names, and frees nothing until the last of
// its names goes.
#include "DiskScanKit/DuplicateGroup.h"

#include <algorithm>
#include <map>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/CheckedSize.h"

namespace tessel {

std::string_view sharingName(Sharing::Kind kind) {
    switch (kind) {
    case Sharing::Kind::hardLinked: return "hardLinked";
    case Sharing::Kind::clone: return "clone";
    case Sharing::Kind::unshared: return "unshared";
    case Sharing::Kind::partial: return "partial";
    }
    return "unshared";
}

std::string sharingWords(const DuplicateFile& file) {
    const Sharing& sharing = file.sharing;
    switch (sharing.kind) {
    case Sharing::Kind::hardLinked:
        return "Hard link: one file under " + std::to_string(sharing.count.value_or(file.linkCount)) + " names";
    case Sharing::Kind::clone:
        if (sharing.count && *sharing.count > 2)
            return "Clone: shares all its blocks with " + std::to_string(*sharing.count - 1) + " other files";
        // Without a count the sharers may be several files, or a snapshot of the volume.
        return sharing.count ? "Clone: shares all its blocks with another file" : "Clone: shares all its blocks with other files";
    case Sharing::Kind::partial: return "Partly shared: " + ByteFormat::string(file.unsharedBytes) + " of its own";
    case Sharing::Kind::unshared: return {};
    }
    return {};
}

std::string hardLinkRemovalWords(const DuplicateFile& file) {
    if (file.linkCount < 2) return {};
    std::string words = "Its space comes free only when all " + std::to_string(file.linkCount) + " names go";
    const auto outside = static_cast<std::int64_t>(file.linkCount) - 1 - static_cast<std::int64_t>(file.otherNames.size());
    if (outside == 1) words += "; 1 of them lies outside the folder compared";
    if (outside > 1) words += "; " + std::to_string(outside) + " of them lie outside the folder compared";
    return words + ".";
}

bool BlockSharing::isFullClone() const {
    return flags && (*flags & sharesAllBlocks) != 0 && cloneID && *cloneID != 0 && (!cloneCount || *cloneCount >= 2);
}

BlockSharing::Assessment BlockSharing::assess(std::int64_t allocated, int linkCount, std::uint64_t device) const {
    Assessment result;
    const std::int64_t own = std::clamp<std::int64_t>(privateBytes.value_or(allocated), 0, std::max<std::int64_t>(allocated, 0));
    const auto ownBytes = [&](std::int64_t bytes) {
        result.unsharedBytes = bytes;
        result.sharing.kind = bytes < allocated ? Sharing::Kind::partial : Sharing::Kind::unshared;
    };
    if (!flags) {
        ownBytes(privateBytes ? own : allocated);
    } else if (isFullClone()) {
        result.cloneStream = CloneStream{{device, *cloneID}, cloneCount};
        result.sharing = {Sharing::Kind::clone, cloneCount};
        result.unsharedBytes = 0;
    } else if ((*flags & (sharesAllBlocks | maySharesBlocks)) != 0) {
        ownBytes(privateBytes ? own : allocated);
    } else {
        result.unsharedBytes = allocated;
        result.sharing.kind = Sharing::Kind::unshared;
    }
    if (linkCount >= 2) result.sharing = {Sharing::Kind::hardLinked, linkCount};
    return result;
}

std::int64_t DuplicateGroup::reclaimable(const std::vector<DuplicateFile>& files, const std::set<std::string>& removing) {
    struct StreamTally {
        std::optional<int> filesOnVolume;
        std::int64_t bytes = 0;
        int inGroup = 0;
        int going = 0;
    };
    std::int64_t total = 0;
    std::map<CloneStream::Key, StreamTally> tallies;
    for (const DuplicateFile& file : files) {
        int named = removing.contains(file.path) ? 1 : 0;
        for (const std::string& name : file.otherNames) named += removing.contains(name) ? 1 : 0;
        const bool going = named > 0 && named >= file.linkCount;
        if (going) total = checkedAdd(total, file.unsharedBytes);
        if (file.cloneStream) {
            auto [tally, created] = tallies.try_emplace(file.cloneStream->key);
            if (created) {
                tally->second.filesOnVolume = file.cloneStream->files;
                tally->second.bytes = file.allocatedBytes;
            }
            tally->second.inGroup += 1;
            if (going) tally->second.going += 1;
        }
    }
    for (const auto& [key, tally] : tallies)
        if (tally.filesOnVolume && *tally.filesOnVolume == tally.inGroup && tally.going == tally.inGroup)
            total = checkedAdd(total, tally.bytes);
    return total;
}

DuplicateGroup::DuplicateGroup(std::string digest, std::int64_t size, std::vector<DuplicateFile> copies,
                               const std::string& home)
    : id(std::move(digest)), logicalSize(size), files(KeeperRule::ordered(std::move(copies), home)) {
    if (files.empty()) return;
    std::set<std::string> removing;
    for (std::size_t index = 1; index < files.size(); ++index) {
        removing.insert(files[index].path);
        removing.insert(files[index].otherNames.begin(), files[index].otherNames.end());
    }
    const DuplicateFile& keeper = files.front();
    removing.erase(keeper.path);
    for (const std::string& name : keeper.otherNames) removing.erase(name);
    reclaimableBytes = reclaimable(files, removing);
}

} // namespace tessel
