#include "monitor/DiskDaysChart.h"

#include <algorithm>
#include <iterator>

namespace tessel {

DiskDaysChart DiskDaysChart::of(const std::vector<DiskUsagePoint>& points, std::int64_t from) {
    std::vector<DiskUsagePoint> drawn;
    std::copy_if(points.begin(), points.end(), std::back_inserter(drawn),
                 [from](const DiskUsagePoint& point) { return point.day >= from && point.total > 0; });
    DiskDaysChart chart;
    if (drawn.empty()) return chart;
    chart.firstDay = drawn.front().day;
    chart.lastDay = drawn.back().day;
    for (const DiskUsagePoint& point : drawn) chart.top = std::max(chart.top, point.total);
    const auto span = static_cast<double>(chart.lastDay - chart.firstDay);
    for (const DiskUsagePoint& point : drawn) {
        // One day alone stands at the right edge, where today is drawn.
        chart.xs.push_back(span > 0 ? static_cast<double>(point.day - chart.firstDay) / span : 1.0);
        chart.used.push_back(std::clamp(static_cast<double>(point.used) / static_cast<double>(chart.top), 0.0, 1.0));
    }
    return chart;
}

} // namespace tessel
