// Comparing snapshots: what counts as a change, and that each change is told once.

#include <gtest/gtest.h>

#include <ostream>

#include "DiskScanKit/SnapshotDiff.h"

namespace tessel {

void PrintTo(const SnapshotChange& change, std::ostream* out) {
    *out << SnapshotDiff::kindName(change.kind) << ' ' << change.path << ' ' << change.oldBytes << "->" << change.newBytes;
}

namespace {

constexpr std::int64_t MB = 1'000'000;
using Kind = SnapshotChange::Kind;
using Entries = std::unordered_map<std::string, std::int64_t>;
using Changes = std::vector<SnapshotChange>;

Changes diff(const Entries& before, const Entries& after, int limit = 200) {
    const auto snapshot = [](const Entries& entries) {
        ScanSnapshot made;
        made.rootPath = "/";
        made.entries = entries;
        return made;
    };
    return SnapshotDiff::changes(snapshot(before), snapshot(after), SnapshotDiff::standardMinimumDelta, limit);
}

TEST(SnapshotChanges, EachChangeIsToldOnceWhereItHappened) {
    struct Case {
        const char* what;
        Entries before, after;
        Changes told;
    };
    const Case cases[] = {
        {"50 MB is the smallest change told", {{"/", 500 * MB}, {"/a", 100 * MB}, {"/b", 100 * MB}, {"/c", 100 * MB}},
         {{"/", 500 * MB}, {"/a", 150 * MB}, {"/b", 100 * MB + 49'999'999}, {"/c", 50 * MB}},
         {{"/a", 100 * MB, 150 * MB, Kind::grew}, {"/c", 100 * MB, 50 * MB, Kind::shrank}}},
        {"growth deep inside, the 20 MB left above it below the floor",
         {{"/", 300 * MB}, {"/a", 200 * MB}, {"/a/b", 150 * MB}, {"/a/b/c", 100 * MB}},
         {{"/", 400 * MB}, {"/a", 300 * MB}, {"/a/b", 250 * MB}, {"/a/b/c", 180 * MB}},
         {{"/a/b/c", 100 * MB, 180 * MB, Kind::grew}}},
        {"growth spread over siblings", {{"/", 300 * MB}, {"/a", 200 * MB}, {"/a/x", 100 * MB}, {"/a/y", 100 * MB}},
         {{"/", 360 * MB}, {"/a", 260 * MB}, {"/a/x", 130 * MB}, {"/a/y", 130 * MB}},
         {{"/a", 200 * MB, 260 * MB, Kind::grew}}},
        {"what is left to the folder is told by it", {{"/", 400 * MB}, {"/a", 300 * MB}, {"/a/b", 100 * MB}},
         {{"/", 540 * MB}, {"/a", 440 * MB}, {"/a/b", 180 * MB}},
         {{"/a", 300 * MB, 440 * MB, Kind::grew}, {"/a/b", 100 * MB, 180 * MB, Kind::grew}}},
        {"a new folder in a new parent", {{"/", 100 * MB}}, {{"/", 200 * MB}, {"/new", 100 * MB}, {"/new/inner", 100 * MB}},
         {{"/new", 0, 100 * MB, Kind::appeared}}},
        {"a new folder in a parent that was there", {{"/", 100 * MB}, {"/q", 10 * MB}},
         {{"/", 160 * MB}, {"/q", 70 * MB}, {"/q/x", 60 * MB}}, {{"/q/x", 0, 60 * MB, Kind::appeared}}},
        {"a moved folder", {{"/", 300 * MB}, {"/old", 150 * MB}, {"/old/Trip", 90 * MB}, {"/new", 150 * MB}},
         {{"/", 300 * MB}, {"/old", 60 * MB}, {"/new", 240 * MB}, {"/new/Trip", 90 * MB}},
         {{"/new/Trip", 0, 90 * MB, Kind::appeared}, {"/old/Trip", 90 * MB, 0, Kind::disappeared}}},
    };
    for (const Case& c : cases) EXPECT_EQ(diff(c.before, c.after), c.told) << c.what;
}

TEST(SnapshotChanges, TheLimitKeepsTheLargest) {
    const Changes changes = diff({{"/", 0}}, {{"/", 210 * MB}, {"/f0", 60 * MB}, {"/f2", 80 * MB}, {"/f1", 70 * MB}}, 2);
    EXPECT_EQ(changes, (Changes{{"/f2", 0, 80 * MB, Kind::appeared}, {"/f1", 0, 70 * MB, Kind::appeared}}));
    EXPECT_TRUE(diff({{"/", 0}}, {{"/", 60 * MB}, {"/f0", 60 * MB}}, 0).empty());
}

} // namespace
} // namespace tessel
