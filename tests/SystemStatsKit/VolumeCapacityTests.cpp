// A disk's figures from raw statvfs counts: the system's reserve kept apart
// from used space, when it is worth showing, and counts no disk could have.
#include <gtest/gtest.h>

#include "SystemStatsKit/VolumeCapacity.h"

using namespace tessel;

TEST(VolumeCapacityFromBlocks, TheReserveIsNeitherUsedNorAvailableAndShowsWhenOverOnePercent) {
    struct Case { BlockCounts counts; std::int64_t used, available, reserved; bool showsReserved; };
    const std::vector<Case> cases{
        {{4096, 100'000, 60'000, 55'000}, 40'000 * 4096, 55'000 * 4096, 5'000 * 4096, true}, // ext4's 5%
        {{4096, 100'000, 60'000, 59'000}, 40'000 * 4096, 59'000 * 4096, 1'000 * 4096, false}, // 1% is not over 1%
        {{4096, 100'000, 60'000, 58'999}, 40'000 * 4096, 58'999 * 4096, 1'001 * 4096, true},
        {{1024, 1000, 500, 450}, 512'000, 460'800, 51'200, true},                             // the fragment is the unit
        {{4096, 1000, 300, 900}, 700 * 4096, 300 * 4096, 0, false}, // more free to the user than free at all
        {{4096, 1000, 5000, 5000}, 0, 1000 * 4096, 0, false},       // more free than there is
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.counts.availableBlocks);
        const std::optional<VolumeCapacity> capacity = VolumeCapacity::fromBlocks(each.counts);
        ASSERT_TRUE(capacity);
        EXPECT_EQ(capacity->used(), each.used);
        EXPECT_EQ(capacity->available, each.available);
        EXPECT_EQ(capacity->reserved, each.reserved);
        EXPECT_EQ(capacity->showsReserved(), each.showsReserved);
        // A reserve too small to show is counted with the used space, so that the bar is full.
        EXPECT_EQ(capacity->usedAsShown() + (each.showsReserved ? each.reserved : 0) + each.available, capacity->total);
    }
}

TEST(VolumeCapacityFromBlocks, NoBlocksOrMoreBytesThanSixtyFourBitsHoldIsNoReading) {
    const std::uint64_t huge = ~std::uint64_t{0};
    for (const BlockCounts& counts : std::vector<BlockCounts>{
             {4096, 0, 0, 0}, {0, 1000, 10, 10}, {4096, huge, 0, 0}, {huge, 2, 1, 1}, {4096, std::uint64_t{1} << 52, 0, 0}})
        EXPECT_FALSE(VolumeCapacity::fromBlocks(counts)) << counts.blockSize << " " << counts.blocks;
    EXPECT_TRUE(VolumeCapacity::fromBlocks({4096, std::uint64_t{1} << 50, 0, 0}));
}
