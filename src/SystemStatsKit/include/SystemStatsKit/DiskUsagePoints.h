#pragma once
// The startup disk's use, one point a day, kept across launches so that the
// overview can say what changed since yesterday. A day is named by the
// instant its local day began, in seconds since the epoch; the caller knows
// the calendar, this code only keeps one point per day. A second reading on
// the same day replaces the first, so a day's point is its latest figures.

#include <cstdint>
#include <optional>
#include <vector>

namespace tessel {

struct DiskUsagePoint {
    std::int64_t day = 0; // the start of the local day, seconds since the epoch
    std::int64_t used = 0;
    std::int64_t total = 0;
    bool operator==(const DiskUsagePoint&) const = default;
};

namespace DiskUsagePoints {

// Days kept: a year and a little, enough for a trend over a year.
inline constexpr std::size_t keptDays = 400;

// `points` with `point` recorded: replacing that day's point or added, sorted
// by day, and no more than `keptDays`, the oldest dropped. True when anything changed.
bool record(std::vector<DiskUsagePoint>& points, const DiskUsagePoint& point);
// The latest point from before `today`; none without one.
std::optional<DiskUsagePoint> before(const std::vector<DiskUsagePoint>& points, std::int64_t today);

} // namespace DiskUsagePoints
} // namespace tessel
