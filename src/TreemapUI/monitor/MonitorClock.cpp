#include "monitor/MonitorClock.h"

#include <time.h>

namespace tessel {

namespace {
double seconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}
} // namespace

MonitorClock MonitorClock::system() {
    return {[] { return seconds(CLOCK_MONOTONIC); },
            [] { return seconds(CLOCK_BOOTTIME) - seconds(CLOCK_MONOTONIC); }};
}

} // namespace tessel
