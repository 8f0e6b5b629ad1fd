#include "DiskScanKit/DuplicateWords.h"

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/ScanWords.h"
#include "DiskScanKit/TextFormat.h"

namespace tessel::DuplicateWords {

std::size_t keeperIndex(const DuplicateGroup& group, Keeping keeping) {
    if (keeping == Keeping::original || group.files.empty()) return 0;
    // The first of the oldest: among equal dates the keeper rule's order decides.
    std::size_t oldest = 0;
    for (std::size_t index = 1; index < group.files.size(); ++index)
        if (group.files[index].modified < group.files[oldest].modified) oldest = index;
    return oldest;
}

std::string keeperReason(const DuplicateGroup& group, std::size_t keeper, Keeping keeping, const std::string& home) {
    if (keeper >= group.files.size()) return {};
    const DuplicateFile& kept = group.files[keeper];
    if (keeping == Keeping::oldest) return "Kept as the oldest copy, last changed " + TextFormat::day(kept.modified) + ".";
    if (group.files.size() < 2) return "Kept: the only copy left.";
    const std::size_t next = keeper == 0 ? 1 : 0;
    const std::vector<bool> held = KeeperRule::heldElsewhere(group.files);
    if (held[keeper] && !held[next]) {
        if (kept.linkCount > static_cast<int>(kept.otherNames.size()) + 1)
            return "Kept: it has another name outside the folder compared, so removing it would free nothing.";
        return "Kept: it shares all its blocks with clones outside this group, so removing it would free nothing.";
    }
    const std::vector<std::string> homeFolders = KeeperRule::folders(home);
    const KeeperRule::Rank best = KeeperRule::rank(kept.path, homeFolders);
    const KeeperRule::Rank other = KeeperRule::rank(group.files[next].path, homeFolders);
    if (best.place != other.place) {
        switch (best.place) {
        case KeeperRule::Place::organised:
            return "Kept: it is filed in a folder inside " + KeeperRule::ownFolder(kept.path, homeFolders) + ".";
        case KeeperRule::Place::standardFolder: return "Kept: it sits in " + KeeperRule::ownFolder(kept.path, homeFolders) + ".";
        case KeeperRule::Place::elsewhere:
        case KeeperRule::Place::downloads: return "Kept: the other copies came in through Downloads.";
        }
    }
    if (best.nameLooksCopied != other.nameLooksCopied) return "Kept: its name doesn't look like a copy.";
    if (best.copiedFolders != other.copiedFolders) return "Kept: its folders don't look like copies or backups.";
    return "Kept: the first by name, since nothing else tells the copies apart.";
}

std::string summary(const std::vector<DuplicateGroup>& groups, const DuplicateReport& report, std::int64_t minimumBytes) {
    std::string text;
    if (groups.empty()) {
        text = report.wasCancelled ? "Stopped before any identical files were settled."
                                   : "No identical files of " + ByteFormat::string(minimumBytes) + " or more among the " +
                                         TextFormat::counted(report.filesExamined, "file", "files") + " compared.";
    } else {
        std::int64_t reclaimable = 0;
        for (const DuplicateGroup& group : groups) reclaimable += group.reclaimableBytes;
        text = TextFormat::counted(static_cast<std::int64_t>(groups.size()), "group", "groups") +
               " of identical files. Removing the extra copies would free " + ByteFormat::string(reclaimable) + ".";
        if (report.wasCancelled) text = "Stopped early. " + text;
    }
    if (report.unreadable > 0)
        text += " " + TextFormat::counted(report.unreadable, "file", "files") +
                (report.unreadable == 1 ? " could not be read, or changed while being compared, and was left out."
                                        : " could not be read, or changed while being compared, and were left out.");
    if (const auto stalled = static_cast<std::int64_t>(report.stalledPaths.size()); stalled > 0)
        text += " Of those, " + TextFormat::grouped(stalled) + " stopped answering while being read.";
    return text;
}

std::string stalledFile(std::string_view path, const std::optional<MountEntry>& mount) {
    const std::string where = mount ? ": it is on " + ScanWords::fileSystemPhrase(*mount) + "," : ",";
    return std::string(path) + " stopped answering while it was read" + where + " and it is left out of the comparison.";
}

} // namespace tessel::DuplicateWords
