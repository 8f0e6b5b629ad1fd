// A disk's figures from statvfs.
//
// statvfs counts blocks three ways: all of them (f_blocks), the free ones
// (f_bfree), and the free ones an ordinary user may write to (f_bavail). The
// difference between the last two is kept back for the system: ext2/3/4 keep
// 5% for root unless told otherwise, so that a full disk still lets root log
// in and clean up; btrfs keeps room for its own metadata. That space is free
// in the sense that nothing is stored there, and used in the sense that the
// user can't have it, so it is a figure of its own:
//
//     used      = (f_blocks - f_bfree)  * frsize
//     available =  f_bavail             * frsize
//     reserved  = (f_bfree  - f_bavail) * frsize
//
// Example, a 100 GB ext4 with 40 GB of files and the default 5% reserve:
// used 40 GB, available 55 GB, reserved 5 GB. Taking "used" as "all but
// available" would have said 45 GB, and blamed 5 GB on files that don't exist.
//
// Counts come from a file system driver, some of them in user space, so they
// are not trusted: free is capped at the total and available at free (a
// driver that says more is free to the user than is free at all has no
// reserve), and counts that make more bytes than 64 bits hold are no reading.

#include "SystemStatsKit/VolumeCapacity.h"

#include <algorithm>
#include <limits>

namespace tessel {

namespace {

constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());

std::optional<std::int64_t> bytes(std::uint64_t blocks, std::uint64_t blockSize) {
    std::int64_t product = 0;
    if (blocks > largest ||
        __builtin_mul_overflow(static_cast<std::int64_t>(blocks), static_cast<std::int64_t>(blockSize), &product))
        return std::nullopt;
    return product;
}

} // namespace

std::int64_t VolumeCapacity::used() const { return std::max<std::int64_t>(total - available - reserved, 0); }

bool VolumeCapacity::showsReserved() const { return reserved > total / 100; }

std::int64_t VolumeCapacity::usedAsShown() const { return showsReserved() ? used() : used() + reserved; }

std::optional<VolumeCapacity> VolumeCapacity::fromBlocks(const BlockCounts& counts) {
    if (counts.blocks == 0 || counts.blockSize == 0 || counts.blockSize > largest)
        return std::nullopt;
    const std::uint64_t free = std::min(counts.freeBlocks, counts.blocks);
    const std::uint64_t available = std::min(counts.availableBlocks, free);
    const std::optional<std::int64_t> total = bytes(counts.blocks, counts.blockSize);
    if (!total) return std::nullopt;
    // Both are at most the total, which fits.
    VolumeCapacity capacity;
    capacity.total = *total;
    capacity.available = *bytes(available, counts.blockSize);
    capacity.reserved = *bytes(free - available, counts.blockSize);
    return capacity;
}

} // namespace tessel
