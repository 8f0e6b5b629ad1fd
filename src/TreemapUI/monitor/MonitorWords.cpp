#include "monitor/MonitorWords.h"

#include <algorithm>
#include <cmath>

#include "DiskScanKit/ByteFormat.h"

namespace tessel::MonitorWords {

std::string percent(std::optional<double> share) {
    if (!share || std::isnan(*share)) return dash;
    return std::to_string(static_cast<int>(std::lround(std::clamp(*share, 0.0, 1.0) * 100))) + "%";
}

std::string rate(std::optional<double> bytesPerSecond) {
    if (!bytesPerSecond || std::isnan(*bytesPerSecond)) return dash;
    return ByteFormat::string(static_cast<std::int64_t>(std::llround(std::max(0.0, *bytesPerSecond)))) + "/s";
}

std::string duration(int minutes) {
    if (minutes < 60) return std::to_string(minutes) + " min";
    const std::string hours = std::to_string(minutes / 60) + " h";
    return minutes % 60 == 0 ? hours : hours + " " + std::to_string(minutes % 60) + " min";
}

std::string batteryState(const BatteryStatus& status) {
    if (status.isCharged) return "Charged";
    if (status.isCharging)
        return status.minutesRemaining ? "Charging, " + duration(*status.minutesRemaining) + " to full" : "Charging";
    if (status.source == BatteryStatus::PowerSource::adapter) return "On the power adapter";
    return status.minutesRemaining ? "On battery, " + duration(*status.minutesRemaining) + " left" : "On battery";
}

std::string batteryWear(const std::optional<BatteryHealth>& health) {
    if (!health || (!health->capacity && !health->cycleCount)) return noBatteryWear;
    std::string cycles;
    if (health->cycleCount)
        cycles = std::to_string(*health->cycleCount) + (*health->cycleCount == 1 ? " cycle" : " cycles");
    if (!health->capacity) return "Charged through " + cycles;
    std::string line = "Holds " + percent(health->capacity) + " of its design capacity";
    return cycles.empty() ? line : line + " after " + cycles;
}

std::string pressure(std::optional<MemoryPressure> pressure) {
    return pressure ? std::string(label(*pressure)) : dash;
}

std::string celsius(double value) { return std::to_string(static_cast<int>(std::lround(value))) + "\u00B0C"; }

std::string diskDaysNote(std::size_t days) {
    if (days == 0) return "Tessel keeps a point a day of how full this disk is, and has none yet.";
    if (days == 1) return "Tessel has kept one day of this disk so far. The chart grows by a point a day.";
    return {};
}

} // namespace tessel::MonitorWords
