#pragma once
// The startup disk's used space, a point a day, as the monitor's disk card
// draws it. Only the days from `from` on are drawn (the caller's calendar
// picks the first day, about a month back), and they span the chart: the
// first drawn day at its left edge, the last at its right, each day between
// at its place in time, so a week the app did not run is a longer stretch of
// line rather than a squeezed one. The top of the chart is the disk's size,
// the largest total among the days drawn, so the line sits as high as the
// disk is full and a disk that grew or shrank is never drawn above its top.
//
// Days Nov 1, Nov 2 and Nov 5 with 40, 50 and 60 GB used of 100 GB give xs
// 0, 0.25 and 1 and shares 0.4, 0.5 and 0.6.

#include <cstdint>
#include <vector>

#include "SystemStatsKit/DiskUsagePoints.h"

namespace tessel {

struct DiskDaysChart {
    static constexpr int shownDays = 30;

    std::vector<double> xs; // 0 to 1 from the first day drawn to the last
    std::vector<double> used; // shares of `top`, 0 to 1
    std::int64_t top = 0; // bytes at the top edge
    std::int64_t firstDay = 0; // starts of local days, seconds since the epoch
    std::int64_t lastDay = 0;

    // `points` sorted by day, as the history keeps them; a point without a size can't be placed and is left out.
    static DiskDaysChart of(const std::vector<DiskUsagePoint>& points, std::int64_t from);
};

} // namespace tessel
