// ByteFormat, TextFormat, Paths, the names of a disk's Trash, and the words for a disk.
#include <gtest/gtest.h>

#include <limits>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/DiskWords.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ScanOptions.h"
#include "DiskScanKit/TextFormat.h"

using namespace tessel;

TEST(ByteFormat, UnitsFromOneThousandUpToPetabytes) {
    const std::pair<std::int64_t, const char*> cases[] = {{999, "999 bytes"}, {1000, "1.0 KB"}, {99949, "99.9 KB"},
        {100000, "100 KB"}, {1500000, "1.5 MB"}, {9'000'000'000'000'000'000, "9000 PB"}, {-5000, "-5000 bytes"}};
    for (const auto& [bytes, text] : cases) EXPECT_EQ(ByteFormat::string(bytes), text);
    EXPECT_EQ(ByteFormat::padded(1000, 8), "  1.0 KB");
}

TEST(TextFormat, GroupsCountsSharesAndSeconds) {
    EXPECT_EQ(TextFormat::grouped(-1000), "-1,000");
    EXPECT_EQ(TextFormat::grouped(std::numeric_limits<std::int64_t>::min()), "-9,223,372,036,854,775,808");
    EXPECT_EQ(TextFormat::counted(1, "file", "files"), "1 file");
    EXPECT_EQ(TextFormat::counted(2003, "file", "files"), "2,003 files");
    EXPECT_EQ(TextFormat::share(0.0999), "<0.1%");
    EXPECT_EQ(TextFormat::share(0.1), "0.1%");
    EXPECT_EQ(TextFormat::share(std::int64_t{1}, std::int64_t{3}), "33.3%");
    EXPECT_EQ(TextFormat::share(std::int64_t{5}, std::int64_t{0}), "") << "no share of nothing";
    EXPECT_EQ(TextFormat::seconds(12.46), "12.5 s");
}

TEST(Paths, StandardizedAndWithinAtAComponentBoundary) {
    EXPECT_EQ(Paths::standardized("/a//b/./c/../d/", "/h"), "/a/b/d");
    EXPECT_EQ(Paths::standardized("/..", "/h"), "/");
    EXPECT_EQ(Paths::standardized("~/Music", "/home/me"), "/home/me/Music");
    EXPECT_EQ(Paths::standardized("~other", "/home/me"), "~other");
    EXPECT_TRUE(Paths::isWithin("/a", "/a"));
    EXPECT_FALSE(Paths::isWithin("/ab", "/a"));
    EXPECT_TRUE(Paths::isWithin("/x", "/"));
}

TEST(ScanOptions, TopTrashNames) {
    for (std::string_view name : {".Trash", ".Trash-0", ".Trash-4294967294"})
        EXPECT_TRUE(ScanOptions::isTopTrashName(name)) << name;
    using namespace std::string_view_literals;
    for (std::string_view name : {".Trash-"sv, ".Trash-1000x"sv, ".trash-1000"sv, ".Trashes"sv, ".Trash-1\0"sv})
        EXPECT_FALSE(ScanOptions::isTopTrashName(name)) << name;
}

TEST(DiskWords, TheReserveIsNamedOnlyWhenThereIsOneToName) {
    EXPECT_EQ(DiskWords::usage(34'100'000'000, 271'000'000'000, 68'700'000'000, 168'000'000'000),
              "34.1 GB used of 271 GB, 68.7 GB free, 168 GB reserved for the system");
    EXPECT_EQ(DiskWords::usage(40'000'000'000, 100'000'000'000, 60'000'000'000, 0), "40.0 GB used of 100 GB, 60.0 GB free");
}
