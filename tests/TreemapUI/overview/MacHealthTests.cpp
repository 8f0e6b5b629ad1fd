// The health word: each concern's bounds and words, and which concern wins.
#include <gtest/gtest.h>

#include "overview/MacHealth.h"

using namespace tessel;
using Level = MacHealth::Level;
using Concern = MacHealth::Concern;
using Pressure = MemoryUsage::Pressure;

namespace {

constexpr std::int64_t GB = 1'000'000'000;

std::optional<VolumeCapacity> disk(std::int64_t total, std::int64_t available) {
    VolumeCapacity volume;
    volume.name = "Disk";
    volume.total = total;
    volume.available = available;
    return volume;
}

MacHealth diskOnly(std::int64_t total, std::int64_t available) {
    return MacHealth::assess(disk(total, available), std::nullopt, std::nullopt, std::nullopt);
}

} // namespace

TEST(MacHealthDisk, FiftyGigabyteBoundHoldsBackTheTenthOnALargeDisk) {
    MacHealth health = diskOnly(2000 * GB, 60 * GB);
    EXPECT_EQ(health.level, Level::good);
    EXPECT_FALSE(health.concern);

    health = diskOnly(400 * GB, 39 * GB);
    EXPECT_EQ(health.level, Level::fair);
    EXPECT_EQ(health.word, "Low on space");
    EXPECT_EQ(health.reason, "39 GB is free on the startup disk.");
    EXPECT_EQ(health.concern, Concern::disk);
}

TEST(MacHealthDisk, UnderFifteenGigabytesIsLowAndFifteenOnlyWhenUnderATenth) {
    EXPECT_EQ(diskOnly(100 * GB, 15 * GB).level, Level::good);
    EXPECT_EQ(diskOnly(100 * GB, 15 * GB - 1).level, Level::fair);
    EXPECT_EQ(diskOnly(256 * GB, 15 * GB).level, Level::fair);
}

TEST(MacHealthDisk, ExactlyFiveGigabytesIsFairAndOneByteLessIsPoor) {
    MacHealth health = diskOnly(500 * GB, 5 * GB);
    EXPECT_EQ(health.level, Level::fair);
    EXPECT_EQ(health.reason, "5.0 GB is free on the startup disk.");

    health = diskOnly(500 * GB, 5 * GB - 1);
    EXPECT_EQ(health.level, Level::poor);
    EXPECT_EQ(health.word, "Disk nearly full");
    EXPECT_EQ(health.reason, "Only 5.0 GB is free on the startup disk.");
}

TEST(MacHealthDisk, SizeIsWholeGigabytesFromTenUpAndByteFormatBelow) {
    EXPECT_EQ(diskOnly(500 * GB, 12'400'000'000).reason, "12 GB is free on the startup disk.");
    EXPECT_EQ(diskOnly(500 * GB, 12'500'000'000).reason, "13 GB is free on the startup disk.");
    EXPECT_EQ(diskOnly(500 * GB, 9'500'000'000).reason, "10 GB is free on the startup disk.");
    EXPECT_EQ(diskOnly(500 * GB, 9'400'000'000).reason, "9.4 GB is free on the startup disk.");
    EXPECT_EQ(diskOnly(500 * GB, 0).reason, "Only 0 bytes is free on the startup disk.");
}

TEST(MacHealthReadings, MemoryPressureWords) {
    MacHealth warning = MacHealth::assess(std::nullopt, Pressure::warning, std::nullopt, std::nullopt);
    EXPECT_EQ(warning.level, Level::fair);
    EXPECT_EQ(warning.word, "Memory is tight");
    EXPECT_EQ(warning.reason, "The system is working to find memory for what is open.");
    EXPECT_EQ(warning.concern, Concern::memory);

    MacHealth critical = MacHealth::assess(std::nullopt, Pressure::critical, std::nullopt, std::nullopt);
    EXPECT_EQ(critical.level, Level::poor);
    EXPECT_EQ(critical.word, "Short of memory");
    EXPECT_EQ(critical.reason, "The system is short of memory, and apps may slow down.");

    EXPECT_FALSE(MacHealth::assess(std::nullopt, Pressure::normal, std::nullopt, std::nullopt).concern);
    EXPECT_EQ(label(Pressure::warning), "Warning");
}

TEST(MacHealthReadings, HeatFromNinetyFiveDegrees) {
    MacHealth hot = MacHealth::assess(std::nullopt, std::nullopt, 95.0, std::nullopt);
    EXPECT_EQ(hot.level, Level::fair);
    EXPECT_EQ(hot.word, "Running hot");
    EXPECT_EQ(hot.reason, "The chip is at 95\u00B0");
    EXPECT_EQ(hot.concern, Concern::heat);
    EXPECT_EQ(MacHealth::assess(std::nullopt, std::nullopt, 94.9, std::nullopt).level, Level::good);
    EXPECT_EQ(MacHealth::assess(std::nullopt, std::nullopt, 96.6, std::nullopt).reason,
              "The chip is at 97\u00B0");
}

TEST(MacHealthReadings, BatteryBelowEightyPercent) {
    EXPECT_EQ(MacHealth::assess(std::nullopt, std::nullopt, std::nullopt, 0.8).level, Level::good);
    MacHealth worn = MacHealth::assess(std::nullopt, std::nullopt, std::nullopt, 0.79);
    EXPECT_EQ(worn.level, Level::fair);
    EXPECT_EQ(worn.word, "Battery pace");
    EXPECT_EQ(worn.reason,
              "The battery holds 79% of what it did when new. Batteries are due for service below 80%.");
    EXPECT_EQ(worn.concern, Concern::battery);
}

TEST(MacHealthVerdict, NothingGivenIsGood) {
    MacHealth health = MacHealth::assess(std::nullopt, std::nullopt, std::nullopt, std::nullopt);
    EXPECT_EQ(health.level, Level::good);
    EXPECT_EQ(health.word, "Good");
    EXPECT_FALSE(health.reason);
    EXPECT_FALSE(health.concern);
}

TEST(MacHealthVerdict, HighestLevelWinsWhateverItsPlace) {
    MacHealth health = MacHealth::assess(disk(500 * GB, 10 * GB), Pressure::critical, 99.0, 0.5);
    EXPECT_EQ(health.concern, Concern::memory);
    EXPECT_EQ(health.level, Level::poor);
}

TEST(MacHealthVerdict, OfEqualLevelsTheEarliestConcernStays) {
    EXPECT_EQ(MacHealth::assess(disk(500 * GB, 10 * GB), Pressure::warning, 99.0, 0.5).concern,
              Concern::disk);
    EXPECT_EQ(MacHealth::assess(std::nullopt, std::nullopt, 99.0, 0.5).concern, Concern::heat);
    EXPECT_EQ(MacHealth::assess(disk(500 * GB, GB), Pressure::critical, std::nullopt, std::nullopt).concern,
              Concern::disk);
}
