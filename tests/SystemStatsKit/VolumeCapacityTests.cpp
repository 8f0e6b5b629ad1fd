// A disk's figures from raw statvfs counts: the system's reserve kept apart
// from used space, when it is worth showing, and counts no disk could have.
#include <gtest/gtest.h>

#include <limits>

#include "SystemStatsKit/VolumeCapacity.h"

using namespace tessel;

namespace {

constexpr std::uint64_t block = 4096;

// A disk of `blocks` 4 KiB blocks with `freeBlocks` free, `reservedBlocks` of them kept for root.
VolumeCapacity disk(std::uint64_t blocks, std::uint64_t freeBlocks, std::uint64_t reservedBlocks) {
    std::optional<VolumeCapacity> capacity =
        VolumeCapacity::fromBlocks({block, blocks, freeBlocks, freeBlocks - reservedBlocks});
    EXPECT_TRUE(capacity);
    return capacity.value_or(VolumeCapacity{});
}

} // namespace

TEST(VolumeCapacityFromBlocks, Ext4ReserveIsNeitherUsedNorAvailable) {
    // 100,000 blocks, 40,000 in use, 5,000 of the free ones kept for root.
    const VolumeCapacity capacity = disk(100'000, 60'000, 5'000);
    EXPECT_EQ(capacity.total, 100'000 * 4096);
    EXPECT_EQ(capacity.used(), 40'000 * 4096);
    EXPECT_EQ(capacity.available, 55'000 * 4096);
    EXPECT_EQ(capacity.reserved, 5'000 * 4096);
    EXPECT_TRUE(capacity.showsReserved());
    EXPECT_EQ(capacity.usedAsShown(), capacity.used());
    EXPECT_EQ(capacity.usedAsShown() + capacity.reserved + capacity.available, capacity.total);
}

TEST(VolumeCapacityFromBlocks, ReserveOfOnePercentOrLessGoesWithUsedSpace) {
    const VolumeCapacity small = disk(100'000, 60'000, 400);
    EXPECT_EQ(small.reserved, 400 * 4096);
    EXPECT_FALSE(small.showsReserved());
    EXPECT_EQ(small.used(), 40'000 * 4096);
    EXPECT_EQ(small.usedAsShown(), 40'400 * 4096);
    EXPECT_EQ(small.usedAsShown() + small.available, small.total);

    EXPECT_FALSE(disk(100'000, 60'000, 1'000).showsReserved()) << "exactly 1% is not more than 1%";
    EXPECT_TRUE(disk(100'000, 60'000, 1'001).showsReserved());
    EXPECT_FALSE(disk(100'000, 60'000, 0).showsReserved());
}

TEST(VolumeCapacityFromBlocks, FragmentSizeIsTheUnit) {
    std::optional<VolumeCapacity> capacity = VolumeCapacity::fromBlocks({1024, 1000, 500, 450});
    ASSERT_TRUE(capacity);
    EXPECT_EQ(capacity->total, 1'024'000);
    EXPECT_EQ(capacity->used(), 512'000);
    EXPECT_EQ(capacity->available, 460'800);
    EXPECT_EQ(capacity->reserved, 51'200);
}

TEST(VolumeCapacityFromBlocks, CountsThatContradictThemselvesAreCapped) {
    // More free to the user than free at all: no reserve, and available is what is free.
    std::optional<VolumeCapacity> generous = VolumeCapacity::fromBlocks({block, 1000, 300, 900});
    ASSERT_TRUE(generous);
    EXPECT_EQ(generous->reserved, 0);
    EXPECT_EQ(generous->available, 300 * 4096);
    EXPECT_EQ(generous->used(), 700 * 4096);

    // More free than there is: nothing is used.
    std::optional<VolumeCapacity> overfull = VolumeCapacity::fromBlocks({block, 1000, 5000, 5000});
    ASSERT_TRUE(overfull);
    EXPECT_EQ(overfull->available, overfull->total);
    EXPECT_EQ(overfull->used(), 0);
}

TEST(VolumeCapacityFromBlocks, NoBlocksOrMoreBytesThanSixtyFourBitsHoldIsNoReading) {
    EXPECT_FALSE(VolumeCapacity::fromBlocks({block, 0, 0, 0}));
    EXPECT_FALSE(VolumeCapacity::fromBlocks({0, 1000, 10, 10}));
    const std::uint64_t huge = std::numeric_limits<std::uint64_t>::max();
    EXPECT_FALSE(VolumeCapacity::fromBlocks({block, huge, 0, 0}));
    EXPECT_FALSE(VolumeCapacity::fromBlocks({huge, 2, 1, 1}));
    EXPECT_FALSE(VolumeCapacity::fromBlocks({block, std::uint64_t{1} << 52, 0, 0}));
    EXPECT_TRUE(VolumeCapacity::fromBlocks({block, std::uint64_t{1} << 50, 0, 0}));
}

TEST(VolumeCapacityByHand, WithoutAReserveUsedIsAllButAvailable) {
    VolumeCapacity capacity;
    capacity.total = 1000;
    capacity.available = 350;
    EXPECT_EQ(capacity.used(), 650);
    EXPECT_EQ(capacity.usedAsShown(), 650);
    EXPECT_FALSE(capacity.showsReserved());
}
