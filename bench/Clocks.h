#pragma once
// The two clocks the samplers' benchmarks read: the processor time this
// process has used, which is what a tick costs whatever else the machine
// does, and the monotonic clock that the samplers' rates are taken against.

#include <time.h>

namespace tessel::bench {

inline double secondsOf(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

inline double cpuSeconds() { return secondsOf(CLOCK_PROCESS_CPUTIME_ID); }
inline double monotonicSeconds() { return secondsOf(CLOCK_MONOTONIC); }

} // namespace tessel::bench
