// ByteFormat, Paths, ScanOptions tables and thread names.
#include <gtest/gtest.h>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ScanOptions.h"
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

TEST(ByteFormat, StopsAtPetabytes) {
    EXPECT_EQ(ByteFormat::string(1'000'000'000'000'000), "1.0 PB");
    EXPECT_EQ(ByteFormat::string(9'000'000'000'000'000'000), "9000 PB");
}

TEST(ByteFormat, PaddedFillsOnTheLeftOnly) {
    EXPECT_EQ(ByteFormat::padded(1000, 8), "  1.0 KB");
    EXPECT_EQ(ByteFormat::padded(999, 3), "999 bytes");
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

TEST(ScanOptions, SkippedPathsFollowThePlatform) {
    EXPECT_TRUE(ScanOptions::skippedPathsOn(Platform::macOS).contains("/home"));
    EXPECT_TRUE(ScanOptions::skippedPathsOn(Platform::macOS).contains("/System/Volumes/Data"));
    EXPECT_EQ(ScanOptions::skippedPathsOn(Platform::linuxOS), (NameSet{"/proc", "/sys", "/dev", "/run"}));
    EXPECT_FALSE(ScanOptions::defaultSkippedPaths().contains("/home"));
}

TEST(ScanOptions, VolumeTrashIsSkippedUnlessAskedFor) {
    ScanOptions options;
    EXPECT_TRUE(options.skippedNames.contains(".Trashes"));
    ScanOptions withTrash = options.includingVolumeTrash();
    EXPECT_FALSE(withTrash.skippedNames.contains(".Trashes"));
    EXPECT_TRUE(withTrash.skippedNames.contains(".Spotlight-V100"));
    EXPECT_GE(ScanOptions::defaultWorkerCount(), 2);
    EXPECT_LE(ScanOptions::defaultWorkerCount(), 8);
}

TEST(ThreadNames, KernelNameKeepsTheNumberWithinFifteenCharacters) {
    EXPECT_EQ(threadName("DiskScanner.worker.", 3), "DiskScanner.worker.3");
    EXPECT_EQ(kernelThreadName("DiskScanner.worker.", 3), "DiskScanner.wo3");
    EXPECT_EQ(kernelThreadName("DiskScanner.worker.", 12345), "DiskScanne12345");
    EXPECT_EQ(kernelThreadName("short.", 7), "short.7");
}
