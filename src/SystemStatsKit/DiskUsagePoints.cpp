#include "SystemStatsKit/DiskUsagePoints.h"

#include <algorithm>

namespace tessel::DiskUsagePoints {

bool record(std::vector<DiskUsagePoint>& points, const DiskUsagePoint& point) {
    const std::vector<DiskUsagePoint> before = points;
    auto same = std::ranges::find(points, point.day, &DiskUsagePoint::day);
    if (same != points.end()) *same = point;
    else points.push_back(point);
    std::ranges::stable_sort(points, {}, &DiskUsagePoint::day);
    if (points.size() > keptDays)
        points.erase(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(points.size() - keptDays));
    return points != before;
}

std::optional<DiskUsagePoint> before(const std::vector<DiskUsagePoint>& points, std::int64_t today) {
    std::optional<DiskUsagePoint> latest;
    for (const DiskUsagePoint& point : points)
        if (point.day < today && (!latest || point.day > latest->day)) latest = point;
    return latest;
}

} // namespace tessel::DiskUsagePoints
