#pragma once
// Which packages put a path on the disk: one sorted index of every path the
// package database lists, built once and then only read, so any number of
// threads may ask it at once.
//
// Paths are kept as they really lie on this machine. Where "/bin", "/sbin"
// and the "/lib" folders are links into /usr (a merged /usr), a path listed
// under one is kept under /usr, and a path asked under either finds it. A
// diverted file is kept where it was diverted to.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

class PathOwners {
public:
    // Reads the package database of the machine whose "/" is `root`; throws
    // DpkgError when the database cannot be read.
    static PathOwners build(const std::string& root);

    // The index for `root`, from its copy in `cacheFolder` when that was made
    // from the database as it is now; else built, and the copy replaced. A
    // copy that can't be read or written is no failure: the index is built.
    static PathOwners cached(const std::string& root, const std::string& cacheFolder);

    // The packages that own an absolute path, in the order the database lists
    // them, by name, with ":ARCH" after a Multi-Arch "same" package's as the
    // package manager writes it; none when nothing owns the path.
    std::vector<std::string_view> owners(std::string_view path) const;
    // The same path as the index keeps it: under /usr where the machine's
    // /usr is merged.
    std::string canonical(std::string_view path) const;
    // Where a path that `package` lists really lies: under /usr where that is
    // merged, and where a diversion by another package moved it.
    std::string placeOf(std::string_view listed, std::string_view package) const;
    std::size_t pathCount() const { return entries_.size(); }
    // Every path the index keeps, in its order.
    template <typename Visit> void forEachPath(Visit&& visit) const {
        for (const Entry& entry : entries_) visit(pathOf(entry));
    }
    bool cameFromCache() const { return fromCache_; }

    // What a cached copy is checked against: the root, and the times and
    // sizes of status, the info folder and the diversions, plus the merged
    // folders found.
    static std::string stamp(const std::string& root);
    std::string serialized(const std::string& stamp) const;
    static std::optional<PathOwners> deserialized(std::string_view bytes, const std::string& stamp);

private:
    struct Entry {
        std::uint32_t offset;
        std::uint32_t length;
        std::uint32_t firstOwner;
        std::uint32_t ownerCount;
    };
    std::string_view pathOf(const Entry& entry) const { return std::string_view(paths_).substr(entry.offset, entry.length); }

    std::vector<std::string> packages_;
    std::string paths_;          // every path, end to end, in sorted order
    std::vector<Entry> entries_; // sorted by path
    std::vector<std::uint32_t> owners_;
    struct Diversion {
        std::string from; // canonical
        std::string to;   // canonical
        std::string divertedBy;
    };
    const Diversion* diversionAt(std::string_view canonicalPath) const;
    static bool isDivertedBy(const Diversion& diversion, std::string_view package);

    std::vector<Diversion> diversions_; // sorted by `from`
    std::vector<std::string> mergedFolders_; // "bin", "lib64"...: links to usr/ of the same name
    bool fromCache_ = false;
};

// The folders at the machine's top that are links to their namesake in /usr.
std::vector<std::string> mergedUsrFolders(const std::string& root);

} // namespace tessel
