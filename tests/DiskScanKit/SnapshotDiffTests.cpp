// Comparing snapshots: what counts as a change, and that each change is told once.

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "DiskScanKit/SnapshotDiff.h"

namespace tessel {

void PrintTo(const SnapshotChange& change, std::ostream* out) {
    *out << SnapshotDiff::kindName(change.kind) << ' ' << change.path << ' ' << change.oldBytes << "->" << change.newBytes;
}

namespace {

constexpr std::int64_t MB = 1'000'000;
using Kind = SnapshotChange::Kind;
using Entries = std::unordered_map<std::string, std::int64_t>;

ScanSnapshot snapshot(Entries entries) {
    ScanSnapshot made;
    made.rootPath = "/";
    made.entries = std::move(entries);
    made.totalBytes = made.entries.count("/") ? made.entries.at("/") : 0;
    return made;
}

std::vector<SnapshotChange> diff(const Entries& before, const Entries& after, int limit = 200) {
    return SnapshotDiff::changes(snapshot(before), snapshot(after), SnapshotDiff::standardMinimumDelta, limit);
}

TEST(SnapshotChanges, FiftyMegabytesIsTheSmallestChangeTold) {
    const auto changes = diff({{"/", 500 * MB}, {"/a", 100 * MB}, {"/b", 100 * MB}, {"/c", 100 * MB}},
                              {{"/", 500 * MB}, {"/a", 150 * MB}, {"/b", 100 * MB + 49'999'999}, {"/c", 50 * MB}});
    EXPECT_EQ(changes, (std::vector<SnapshotChange>{{"/a", 100 * MB, 150 * MB, Kind::grew},
                                                    {"/c", 100 * MB, 50 * MB, Kind::shrank}}));
}

TEST(SnapshotChanges, GrowthDeepInsideIsToldOnlyWhereItHappened) {
    const auto changes = diff({{"/", 300 * MB}, {"/a", 200 * MB}, {"/a/b", 150 * MB}, {"/a/b/c", 100 * MB}},
                              {{"/", 380 * MB}, {"/a", 280 * MB}, {"/a/b", 230 * MB}, {"/a/b/c", 180 * MB}});
    EXPECT_EQ(changes, (std::vector<SnapshotChange>{{"/a/b/c", 100 * MB, 180 * MB, Kind::grew}}));
}

TEST(SnapshotChanges, GrowthSpreadOverSiblingsIsToldByTheirFolder) {
    const auto changes = diff({{"/", 300 * MB}, {"/a", 200 * MB}, {"/a/x", 100 * MB}, {"/a/y", 100 * MB}},
                              {{"/", 360 * MB}, {"/a", 260 * MB}, {"/a/x", 130 * MB}, {"/a/y", 130 * MB}});
    EXPECT_EQ(changes, (std::vector<SnapshotChange>{{"/a", 200 * MB, 260 * MB, Kind::grew}}));
}

TEST(SnapshotChanges, AFolderKeepsItsRowOnlyForWhatNoRowBeneathTells) {
    Entries before{{"/", 400 * MB}, {"/a", 300 * MB}, {"/a/b", 100 * MB}, {"/a/c", 100 * MB}};
    Entries after{{"/", 510 * MB}, {"/a", 410 * MB}, {"/a/b", 180 * MB}, {"/a/c", 130 * MB}};
    EXPECT_EQ(diff(before, after), (std::vector<SnapshotChange>{{"/a/b", 100 * MB, 180 * MB, Kind::grew}}))
        << "the 30 MB left to /a is below the floor";

    // Five more siblings grow by 20 MB each: 100 MB of /a's growth is told by no row beneath it.
    for (const char* sibling : {"/a/d", "/a/e", "/a/f", "/a/g", "/a/h"}) {
        before[sibling] = 20 * MB;
        after[sibling] = 40 * MB;
    }
    before["/a"] = 400 * MB;
    after["/a"] = 610 * MB;
    before["/"] = 500 * MB;
    after["/"] = 710 * MB;
    EXPECT_EQ(diff(before, after), (std::vector<SnapshotChange>{{"/a", 400 * MB, 610 * MB, Kind::grew},
                                                                {"/a/b", 100 * MB, 180 * MB, Kind::grew}}));
}

TEST(SnapshotChanges, ANewFolderInANewParentIsToldOnceByTheParent) {
    const auto changes = diff({{"/", 100 * MB}}, {{"/", 200 * MB}, {"/new", 100 * MB}, {"/new/inner", 100 * MB}});
    EXPECT_EQ(changes, (std::vector<SnapshotChange>{{"/new", 0, 100 * MB, Kind::appeared}}));
}

TEST(SnapshotChanges, AMovedFolderIsGoneFromOnePlaceAndNewInTheOther) {
    const auto changes = diff({{"/", 300 * MB}, {"/old", 150 * MB}, {"/old/Trip", 90 * MB}, {"/new", 150 * MB}},
                              {{"/", 300 * MB}, {"/old", 60 * MB}, {"/new", 240 * MB}, {"/new/Trip", 90 * MB}});
    EXPECT_EQ(changes, (std::vector<SnapshotChange>{{"/new/Trip", 0, 90 * MB, Kind::appeared},
                                                    {"/old/Trip", 90 * MB, 0, Kind::disappeared}}));
}

TEST(SnapshotChanges, TheLargestTwoHundredAreKept) {
    Entries before{{"/", 0}}, after{{"/", 0}};
    for (int index = 0; index < 201; ++index) {
        const std::int64_t bytes = (60 + index) * MB;
        after["/f" + std::to_string(index)] = bytes;
        after["/"] += bytes;
    }
    const auto changes = diff(before, after);
    ASSERT_EQ(changes.size(), 200u);
    EXPECT_EQ(changes.front().path, "/f200");
    EXPECT_EQ(changes.back().path, "/f1") << "/f0, the smallest, is the 201st";
    EXPECT_TRUE(diff(before, after, 0).empty());
}

TEST(SnapshotChanges, InsideAParentOfTheSameKindNeedsTheParentToHaveChangedEnough) {
    const SnapshotDiff::SizeTable sizes{{"/p", {std::nullopt, 80 * MB}}, {"/q", {10 * MB, 70 * MB}},
                                        {"/small", {std::nullopt, 20 * MB}}};
    const auto inside = [&](const std::string& path, Kind kind) {
        return SnapshotDiff::isInsideParentOfSameKind({path, 0, 0, kind}, sizes, 50 * MB);
    };
    EXPECT_TRUE(inside("/p/x", Kind::appeared));
    EXPECT_FALSE(inside("/p/x", Kind::grew));
    EXPECT_FALSE(inside("/q/x", Kind::appeared)) << "the parent was there before";
    EXPECT_FALSE(inside("/small/x", Kind::appeared)) << "the parent changed by less than the floor";
    EXPECT_FALSE(inside("/p/x", Kind::disappeared));
    EXPECT_FALSE(inside("/elsewhere/x", Kind::appeared));
}

} // namespace
} // namespace tessel
