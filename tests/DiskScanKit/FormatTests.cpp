// ByteFormat, TextFormat, Paths, the names of a disk's Trash, and thread names.
#include <gtest/gtest.h>

#include <limits>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/DiskWords.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ScanOptions.h"
#include "DiskScanKit/TextFormat.h"
#include "DiskScanKit/Threads.h"

using namespace tessel;

TEST(ByteFormat, SwitchesToUnitsAtOneThousand) {
    EXPECT_EQ(ByteFormat::string(0), "0 bytes");
    EXPECT_EQ(ByteFormat::string(999), "999 bytes");
    EXPECT_EQ(ByteFormat::string(1000), "1.0 KB");
    EXPECT_EQ(ByteFormat::string(1500000), "1.5 MB");
    EXPECT_EQ(ByteFormat::string(99949), "99.9 KB");
    EXPECT_EQ(ByteFormat::string(100000), "100 KB");
    EXPECT_EQ(ByteFormat::string(-5000), "-5000 bytes");
}

TEST(ByteFormat, StopsAtPetabytesAndPadsOnTheLeftOnly) {
    EXPECT_EQ(ByteFormat::string(1'000'000'000'000'000), "1.0 PB");
    EXPECT_EQ(ByteFormat::string(9'000'000'000'000'000'000), "9000 PB");
    EXPECT_EQ(ByteFormat::padded(1000, 8), "  1.0 KB");
    EXPECT_EQ(ByteFormat::padded(999, 3), "999 bytes");
}

TEST(TextFormat, GroupsDigitsInThreesAndCountsWithTheRightWord) {
    EXPECT_EQ(TextFormat::grouped(0), "0");
    EXPECT_EQ(TextFormat::grouped(999), "999");
    EXPECT_EQ(TextFormat::grouped(1000), "1,000");
    EXPECT_EQ(TextFormat::grouped(1234567), "1,234,567");
    EXPECT_EQ(TextFormat::grouped(-1000), "-1,000");
    EXPECT_EQ(TextFormat::grouped(std::numeric_limits<std::int64_t>::max()), "9,223,372,036,854,775,807");
    EXPECT_EQ(TextFormat::grouped(std::numeric_limits<std::int64_t>::min()), "-9,223,372,036,854,775,808");
    EXPECT_EQ(TextFormat::counted(1, "file", "files"), "1 file");
    EXPECT_EQ(TextFormat::counted(2003, "file", "files"), "2,003 files");
    EXPECT_EQ(TextFormat::counted(0, "file", "files"), "0 files");
}

TEST(TextFormat, SharesReadTinySlicesAsLessThanATenth) {
    EXPECT_EQ(TextFormat::share(0.0), "0.0%");
    EXPECT_EQ(TextFormat::share(0.0001), "<0.1%");
    EXPECT_EQ(TextFormat::share(0.0999), "<0.1%");
    EXPECT_EQ(TextFormat::share(0.1), "0.1%");
    EXPECT_EQ(TextFormat::share(12.345), "12.3%");
    EXPECT_EQ(TextFormat::share(100.0), "100.0%");
    EXPECT_EQ(TextFormat::share(std::int64_t{1}, std::int64_t{3}), "33.3%");
    EXPECT_EQ(TextFormat::share(std::int64_t{5}, std::int64_t{0}), "") << "no share of nothing";
    EXPECT_EQ(TextFormat::seconds(0.4249), "0.42 s");
    EXPECT_EQ(TextFormat::seconds(12.46), "12.5 s");
}

TEST(Paths, StandardizedRemovesDotsSlashesAndExpandsTilde) {
    EXPECT_EQ(Paths::standardized("/a//b/./c/", "/h"), "/a/b/c");
    EXPECT_EQ(Paths::standardized("/a/b/../c", "/h"), "/a/c");
    EXPECT_EQ(Paths::standardized("/..", "/h"), "/");
    EXPECT_EQ(Paths::standardized("~/Music", "/home/me"), "/home/me/Music");
    EXPECT_EQ(Paths::standardized("~other", "/home/me"), "~other");
    EXPECT_EQ(Paths::standardized("/", "/h"), "/");
}

TEST(Paths, WithinMeansAtAComponentBoundary) {
    EXPECT_TRUE(Paths::isWithin("/a/b", "/a"));
    EXPECT_TRUE(Paths::isWithin("/a", "/a"));
    EXPECT_FALSE(Paths::isWithin("/ab", "/a"));
    EXPECT_TRUE(Paths::isWithin("/x", "/"));
    EXPECT_EQ(Paths::lastComponent("/a/b"), "b");
    EXPECT_EQ(Paths::lastComponent("/"), "/");
}

TEST(ScanOptions, VolumeTrashIsSkippedUnlessAskedForAndKnownByItsNames) {
    ScanOptions withTrash = ScanOptions().includingVolumeTrash();
    EXPECT_FALSE(withTrash.skippedNames.contains(".Trashes"));
    EXPECT_TRUE(withTrash.skippedNames.contains(".Spotlight-V100")) << "only the Trash is let in";
    for (std::string_view name : {".Trash", ".Trash-0", ".Trash-1000", ".Trash-4294967294"})
        EXPECT_TRUE(ScanOptions::isTopTrashName(name)) << name;
    using namespace std::string_view_literals;
    for (std::string_view name : {".Trash-"sv, ".Trash-me"sv, ".Trash-1000x"sv, ".Trash-10 00"sv, ".trash-1000"sv,
                                  "Trash-1000"sv, ".Trash1000"sv, ".Trashes"sv, ".Trash/1000"sv, ".Trash-1\0"sv})
        EXPECT_FALSE(ScanOptions::isTopTrashName(name)) << name;
    EXPECT_FALSE(ScanOptions().entersVolumeTrash);
    EXPECT_TRUE(ScanOptions().includingVolumeTrash().entersVolumeTrash);
}

TEST(ThreadNames, KernelNameKeepsTheNumberWithinFifteenCharacters) {
    EXPECT_EQ(threadName("DiskScanner.worker.", 3), "DiskScanner.worker.3");
    EXPECT_EQ(kernelThreadName("DiskScanner.worker.", 3), "DiskScanner.wo3");
    EXPECT_EQ(kernelThreadName("DiskScanner.worker.", 12345), "DiskScanne12345");
    EXPECT_EQ(kernelThreadName("short.", 7), "short.7");
}

TEST(DiskWords, TheReserveIsNamedOnlyWhenThereIsOneToName) {
    EXPECT_EQ(DiskWords::usage(34'100'000'000, 271'000'000'000, 68'700'000'000, 168'000'000'000),
              "34.1 GB used of 271 GB, 68.7 GB free, 168 GB reserved for the system");
    EXPECT_EQ(DiskWords::usage(40'000'000'000, 100'000'000'000, 60'000'000'000, 0), "40.0 GB used of 100 GB, 60.0 GB free");
    EXPECT_EQ(DiskWords::freeOf(68'700'000'000, 271'000'000'000), "68.7 GB free of 271 GB");
}
