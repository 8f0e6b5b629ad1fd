#pragma once
// The time the monitors go by: a monotonic clock for rates and histories,
// which wall-clock changes don't move, and how long the machine has slept
// since boot, so that a monitor can tell a suspend happened between two of
// its beats. Tests hand in clocks they move by hand, and never sleep.

#include <functional>

namespace tessel {

struct MonitorClock {
    // Seconds of a monotonic clock that stands still while the machine sleeps.
    std::function<double()> now;
    // Seconds the machine has spent suspended since boot; grows only across a sleep.
    std::function<double()> asleep;

    // CLOCK_MONOTONIC, and CLOCK_BOOTTIME less CLOCK_MONOTONIC.
    static MonitorClock system();
};

} // namespace tessel
