#include <algorithm>
#include <cmath>

#include "SystemStatsKit/BatterySampler.h"

namespace tessel {

int BatteryStatus::percentage() const { return static_cast<int>(std::round(charge * 100)); }

std::optional<double> BatteryHealth::capacityOf(double full, double design) {
    if (!(full > 0) || !(design > 0)) return std::nullopt;
    return std::min(full / design, 1.0);
}

} // namespace tessel
