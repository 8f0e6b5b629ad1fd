#pragma once
// How a disk's space divides: what is used, what an ordinary user may still
// write, and what the file system keeps back for the system; see
// VolumeCapacity.cpp for where each figure comes from.

#include <cstdint>
#include <optional>
#include <string>

namespace tessel {

// The raw counts statvfs gives, in blocks of `blockSize` bytes.
struct BlockCounts {
    std::uint64_t blockSize = 0;       // f_frsize, or f_bsize where that is 0
    std::uint64_t blocks = 0;          // f_blocks: the whole file system
    std::uint64_t freeBlocks = 0;      // f_bfree: free, the system's reserve included
    std::uint64_t availableBlocks = 0; // f_bavail: free to an ordinary user
};

struct VolumeCapacity {
    std::string name;
    std::int64_t total = 0;
    // What an ordinary user may still write.
    std::int64_t available = 0;
    // Free, but kept for the system (ext4 keeps 5% for root by default).
    std::int64_t reserved = 0;
    std::int64_t purgeable = 0;
    bool includesPurgeable = false;

    // Blocks that hold something: neither available nor reserved.
    std::int64_t used() const;
    // Reserved space is worth a segment of its own on a disk bar only when it
    // is more than 1% of the disk; less would be a sliver nobody can read.
    bool showsReserved() const;
    // Used space as a disk bar shows it: reserved space too small to show is
    // counted with it, so that used, shown reserve and available fill the bar.
    std::int64_t usedAsShown() const;

    // None when the counts say nothing (no blocks) or could not be real bytes.
    static std::optional<VolumeCapacity> fromBlocks(const BlockCounts& counts);

    bool operator==(const VolumeCapacity&) const = default;
};

} // namespace tessel
