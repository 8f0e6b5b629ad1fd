// What the file system says about a file's blocks, read from its extent map.
//
// Clones. On btrfs, and on XFS made with reflink=1, `cp --reflink` (or a
// deduplication tool) makes a new inode whose extents point at the very
// blocks of the original; each physical extent carries a reference count.
// Nothing is copied until one of the files is written: then only the written
// blocks move to new places (copy on write), and the two maps drift apart
// extent by extent. Removing one clone frees only what it alone points at.
//
// What Linux tells. The FIEMAP ioctl lists a file's extents in logical order:
// where each lies in the file, where on the device, how long, and flags, one
// of which (FIEMAP_EXTENT_SHARED) says that something else points at that
// extent too: another file, a snapshot, or the same file twice. It says
// neither what nor how many, and there is no per-file clone identifier or
// clone count to ask for. So:
//
//   no extent shared, no extents, or no FIEMAP at all (ext4 reports nothing
//     shared; tmpfs and network file systems refuse): every field empty, and
//     the file counts as unshared;
//   some extents shared: flags "may share", privateBytes the summed length of
//     the extents nobody else has;
//   every extent shared: flags "shares all", privateBytes 0, and a cloneID.
//     The clone count stays empty: Linux can't say how many files share.
//
// Why the key is the extent map. Two files hold the same bytes on the same
// blocks exactly when their maps agree: the same physical extents at the same
// logical places, the same size. So the cloneID is a digest of the map: the
// file size and, for each run, its logical offset, physical address, length
// and whether it is still unwritten (reads as zeros). Adjacent extents that
// continue each other both in the file and on the device are joined into one
// run first, since a file system may record one stretch as several extents in
// one file and as one in its clone. The digest is the first eight bytes of a
// SHA-256, so unrelated maps meet by chance about never, and 0 is never used.
//
// Extents without a real address count as private, never shared: inline data
// (kept in the inode, reported at offset 0), data not yet written back
// (delayed allocation, whose blocks don't exist yet), and anything whose
// place is unknown. No sync is asked for: writing back somebody else's dirty
// pages is no business of a reader, and such data has no blocks to share.
// btrfs reports a compressed extent with its uncompressed length, so
// privateBytes may exceed what the blocks take; whoever uses it caps it at
// the allocated size.
//
// Example, 4 KiB blocks, a 1 MiB file "a" and "b" made by cp --reflink=always:
//   a: 0 +1 MiB at 96 KiB, shared      b: 0 +1 MiB at 96 KiB, shared
//   both: shares all, same cloneID; one read serves both.
// After 8 KiB of b are rewritten at offset 0:
//   b: 0 +8 KiB at 4 MiB, private; 8 KiB +1016 KiB at 104 KiB, shared
//   b: may share, privateBytes 8192. a is unchanged, still fully shared.

#include "DiskScanKit/AnchoredPath.h"
#include "DiskScanKit/DuplicateGroup.h"

#include <fcntl.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <openssl/evp.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

namespace tessel {

namespace {

constexpr std::uint32_t extentsPerCall = 256;
// Extents that have no blocks of their own on the device yet, or none at all.
constexpr std::uint32_t withoutAddress =
    FIEMAP_EXTENT_UNKNOWN | FIEMAP_EXTENT_DELALLOC | FIEMAP_EXTENT_DATA_INLINE | FIEMAP_EXTENT_NOT_ALIGNED;

class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

struct FreeMap {
    void operator()(fiemap* map) const { std::free(map); }
};

struct Run {
    std::uint64_t logical = 0;
    std::uint64_t physical = 0;
    std::uint64_t length = 0;
    bool unwritten = false;
};

struct Tally {
    bool anyShared = false;
    bool anyPrivate = false;
    std::uint64_t privateBytes = 0;
    // The shared runs, kept only while every extent so far was shared.
    std::vector<Run> runs;

    void add(const fiemap_extent& extent) {
        const bool shared = (extent.fe_flags & FIEMAP_EXTENT_SHARED) != 0 && (extent.fe_flags & withoutAddress) == 0;
        if (!shared) {
            anyPrivate = true;
            runs.clear();
            privateBytes += extent.fe_length;
            return;
        }
        anyShared = true;
        if (anyPrivate) return;
        const Run run{extent.fe_logical, extent.fe_physical, extent.fe_length,
                      (extent.fe_flags & FIEMAP_EXTENT_UNWRITTEN) != 0};
        if (!runs.empty()) {
            Run& last = runs.back();
            if (last.unwritten == run.unwritten && last.logical + last.length == run.logical &&
                last.physical + last.length == run.physical) {
                last.length += run.length;
                return;
            }
        }
        runs.push_back(run);
    }
};

// Walks the whole map, `extentsPerCall` at a time. False when the file
// system has no extent map to give.
bool readExtents(int fd, Tally& tally) {
    const std::size_t bytes = sizeof(fiemap) + extentsPerCall * sizeof(fiemap_extent);
    std::unique_ptr<fiemap, FreeMap> map(static_cast<fiemap*>(std::calloc(1, bytes)));
    if (!map) return false;
    std::uint64_t start = 0;
    for (;;) {
        map->fm_start = start;
        map->fm_length = FIEMAP_MAX_OFFSET - start;
        map->fm_flags = 0;
        map->fm_extent_count = extentsPerCall;
        map->fm_mapped_extents = 0;
        int result = 0;
        do {
            result = ioctl(fd, FS_IOC_FIEMAP, map.get());
        } while (result != 0 && errno == EINTR);
        if (result != 0) return false;

        const std::uint32_t mapped = map->fm_mapped_extents;
        if (mapped == 0) return true;
        for (std::uint32_t i = 0; i < mapped; ++i) tally.add(map->fm_extents[i]);
        const fiemap_extent& last = map->fm_extents[mapped - 1];
        if ((last.fe_flags & FIEMAP_EXTENT_LAST) != 0) return true;
        const std::uint64_t next = last.fe_logical + last.fe_length;
        // A map that doesn't move on (a file changing under us) is read no further.
        if (next <= start || next >= FIEMAP_MAX_OFFSET) return true;
        start = next;
    }
}

void appendNumber(std::vector<unsigned char>& bytes, std::uint64_t value) {
    for (int shift = 0; shift < 64; shift += 8) bytes.push_back(static_cast<unsigned char>(value >> shift));
}

// The first eight bytes of a SHA-256 of the size and the runs; never 0.
std::optional<std::uint64_t> digestOf(const std::vector<Run>& runs, std::int64_t size) {
    std::vector<unsigned char> bytes;
    bytes.reserve(8 + runs.size() * 32);
    appendNumber(bytes, static_cast<std::uint64_t>(size));
    for (const Run& run : runs) {
        appendNumber(bytes, run.logical);
        appendNumber(bytes, run.physical);
        appendNumber(bytes, run.length);
        appendNumber(bytes, run.unwritten ? 1 : 0);
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, EVP_sha256(), nullptr) != 1 || length < 8)
        return std::nullopt;
    std::uint64_t id = 0;
    for (std::size_t i = 0; i < 8; ++i) id = (id << 8) | digest[i];
    return id != 0 ? id : 1;
}

} // namespace

BlockSharing BlockSharing::read(const std::string& path) {
    // Only regular files: opening a device node can have effects of its own.
    struct stat info {};
    if (AnchoredPath::lstatAnyLength(path, info) != 0 || !S_ISREG(info.st_mode)) return {};
    // O_PATH would do for fstat but not for the ioctl; O_NONBLOCK keeps a file
    // swapped for a FIFO since the lstat from holding us up.
    const Descriptor file(AnchoredPath::openAnyLength(path, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (file.get() < 0 || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) return {};

    Tally tally;
    if (!readExtents(file.get(), tally) || !tally.anyShared) return {};

    BlockSharing sharing;
    if (tally.anyPrivate) {
        sharing.flags = maySharesBlocks;
        constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        sharing.privateBytes = static_cast<std::int64_t>(std::min(tally.privateBytes, largest));
        return sharing;
    }
    const std::optional<std::uint64_t> id = digestOf(tally.runs, info.st_size);
    if (!id) return {};
    sharing.flags = sharesAllBlocks;
    sharing.privateBytes = 0;
    sharing.cloneID = id;
    return sharing;
}

} // namespace tessel
