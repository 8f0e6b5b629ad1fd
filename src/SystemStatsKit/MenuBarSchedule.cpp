#include "SystemStatsKit/MenuBarSchedule.h"

namespace tessel::MenuBarSchedule {

namespace {
constexpr double fastInterval = 2.0;
constexpr double batteryInterval = 30.0;
constexpr int batteryEvery = static_cast<int>(batteryInterval / fastInterval);
} // namespace

std::optional<MonitorBeat> beat(MenuBarWants wants) {
    if (wants.empty()) return std::nullopt;
    const bool fast = wants.has(MenuBarWants::cpu) || wants.has(MenuBarWants::memory) || wants.has(MenuBarWants::network);
    const double interval = fast ? fastInterval : batteryInterval;
    return MonitorBeat{interval, interval / 4};
}

bool readsBattery(MenuBarWants wants, int tick) {
    if (!wants.has(MenuBarWants::battery)) return false;
    const std::optional<MonitorBeat> chosen = beat(wants);
    if (chosen && chosen->interval >= batteryInterval) return true;
    return tick % batteryEvery == 0;
}

} // namespace tessel::MenuBarSchedule
