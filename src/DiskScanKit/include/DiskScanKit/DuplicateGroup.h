#pragma once
// A set of identical files, and what removing some of them really frees.
// Copies may be hard links (one inode, several names: nothing comes free
// until the last name goes) or copy-on-write clones (separate inodes over the
// same blocks: the shared blocks come free only when every clone goes). The
// keeper rule picks the copy that stays by default: first one whose blocks
// something outside the group holds anyway, then the one in the most
// deliberate place, with the least copied-looking name.

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

// One set of clones on one volume: files whose blocks are all the same blocks.
struct CloneStream {
    struct Key {
        std::uint64_t device = 0;
        std::uint64_t id = 0;
        auto operator<=>(const Key&) const = default;
    };
    Key key;
    // How many clones the volume holds, when the file system says.
    std::optional<int> files;
    bool operator==(const CloneStream&) const = default;
};

// How a copy shares its blocks, in the words the views use.
struct Sharing {
    enum class Kind { hardLinked, clone, unshared, partial };
    Kind kind = Kind::unshared;
    // hardLinked: the link count; clone: the clones on the volume, when known.
    std::optional<int> count;
    bool operator==(const Sharing&) const = default;
};
// "hardLinked", "clone", "unshared", "partial": the tool's JSON and the tests.
std::string_view sharingName(Sharing::Kind kind);

struct DuplicateFile {
    std::string path;
    std::int64_t logicalSize = 0;
    std::int64_t allocatedBytes = 0;
    std::optional<std::int64_t> privateBytes;
    std::chrono::system_clock::time_point modified;
    Sharing sharing;
    // Further hard-linked names of the same inode.
    std::vector<std::string> otherNames;
    int linkCount = 1;
    // What removing this file alone would free, clones' shared blocks aside.
    std::int64_t unsharedBytes = 0;
    std::optional<CloneStream> cloneStream;
};

// How a copy shares its blocks, as a person reads it: "Hard link: one file
// under 2 names", "Clone: shares all its blocks with other files", "Partly
// shared: 1.2 MB of its own"; empty for a copy that owns all its blocks.
std::string sharingWords(const DuplicateFile& file);
// What removing a hard-linked file takes before any of its space comes free:
// "Its space comes free only when all 3 names go." and how many of them lie
// outside the folder that was compared; empty for a file with one name.
std::string hardLinkRemovalWords(const DuplicateFile& file);

// What the file system says about a file's blocks; every field may be missing.
struct BlockSharing {
    // Bit values as the flags word carries them.
    static constexpr std::uint64_t maySharesBlocks = 0x01;
    static constexpr std::uint64_t sharesAllBlocks = 0x40;

    std::optional<std::int64_t> privateBytes;
    std::optional<std::uint64_t> cloneID;
    std::optional<std::uint64_t> flags;
    std::optional<int> cloneCount;

    // Reads the file's block map without following a final symbolic link.
    // Where the file system can't tell, every field stays empty.
    static BlockSharing read(const std::string& path);

    struct Assessment {
        Sharing sharing;
        std::int64_t unsharedBytes = 0;
        std::optional<CloneStream> cloneStream;
    };
    Assessment assess(std::int64_t allocated, int linkCount, std::uint64_t device) const;

    bool isFullClone() const;
    bool operator==(const BlockSharing&) const = default;
};

struct DuplicateGroup {
    // Unique and stable for a group: the hex digest of the contents.
    std::string id;
    std::int64_t logicalSize = 0;
    // The keeper first.
    std::vector<DuplicateFile> files;
    std::int64_t reclaimableBytes = 0;

    DuplicateGroup() = default;
    // Orders the files by the keeper rule and counts what removing all but the keeper frees.
    DuplicateGroup(std::string id, std::int64_t logicalSize, std::vector<DuplicateFile> files, const std::string& home);

    // The bytes that come free when the names in `removing` go.
    static std::int64_t reclaimable(const std::vector<DuplicateFile>& files, const std::set<std::string>& removing);
};

struct DuplicateReport {
    std::vector<DuplicateGroup> groups;
    std::int64_t totalReclaimableBytes = 0;
    // Regular files of at least the minimum size that were looked at, each inode once.
    std::int64_t filesExamined = 0;
    std::int64_t unreadable = 0;
    // Files whose reading stopped answering for the stall timeout, so were
    // given up on; each also counts in `unreadable`.
    std::vector<std::string> stalledPaths;
    bool wasCancelled = false;
    double duration = 0;
};

// Which copy stays by default.
namespace KeeperRule {

// Best first.
enum class Place { organised, standardFolder, elsewhere, downloads };

struct Rank {
    // Removing the copy would free none of its blocks, since a name or a
    // clone outside the group keeps them: such a copy is the one to keep.
    bool heldElsewhere = false;
    Place place = Place::elsewhere;
    bool nameLooksCopied = false;
    int copiedFolders = 0;
    std::string path;
};

// Held elsewhere first, then place, then a name that doesn't look copied,
// then fewer copied-looking folders, then the path in natural order, then the
// path byte by byte.
bool precedes(const Rank& a, const Rank& b);

// The home folder's components, lower case.
std::vector<std::string> folders(std::string_view home);
// Where the user's own part of a path's components begins: past the home
// folder, or past "users" and a name (so "users" "shared" too), "home" and a
// name; on another disk past "volumes" and a name, "mnt" and a name, "media"
// (or "run" "media") with a user and a name, and then past a home on that disk.
// 0 when none applies. Components are compared in lower case.
std::size_t startingPoint(const std::vector<std::string>& lowerComponents,
                          const std::vector<std::string>& homeFolders);
// The rank a path alone gives, `heldElsewhere` false.
Rank rank(std::string_view path, const std::vector<std::string>& homeFolders);
// For each of a group's files, whether its blocks stay held when it goes: it
// has names the group doesn't list (more links than names here), or it is a
// full clone whose set the group doesn't hold whole.
std::vector<bool> heldElsewhere(const std::vector<DuplicateFile>& files);
// The folder a path lies in where the user's own part begins, as it is
// spelled on disk ("Documents" for ~/Documents/Taxes/a.pdf); empty when the
// path has no folder there.
std::string ownFolder(std::string_view path, const std::vector<std::string>& homeFolders);
// "report (2)": a closing ")" after digits after "(".
bool endsWithCounter(std::string_view name);
// A copy word ("copy", "conflicted", ...) as a word of the name; with
// `includingBackupWords`, also "old", "backup", "backups".
bool hasCopyMarker(std::string_view name, bool includingBackupWords);
// Digits compared as numbers, letters without regard to case: "file 9" before "File 10".
int naturalCompare(std::string_view a, std::string_view b);
// `files` sorted, best keeper first; each ranked once.
std::vector<DuplicateFile> ordered(std::vector<DuplicateFile> files, const std::string& home);

} // namespace KeeperRule

} // namespace tessel
