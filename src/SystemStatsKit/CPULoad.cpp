// The load of an interval from two readings of the tick counters.
//
// Each counter's growth is taken on its own, a wrap giving the small number
// it really grew by (see CounterGrowth.h), and each share is its growth over
// the growth of all four:
//
//     previous  user 100  system 50  idle 800  nice 0
//     current   user 130  system 60  idle 860  nice 0     grew by 30, 10, 60, 0
//     load      user 0.3  system 0.1 idle 0.6  nice 0     busy 0.4
//
// When nothing grew, as when two readings fall within one tick, there is no
// load to give; the caller keeps its older reading as the baseline, so that
// the next interval is measured from there and nothing is lost.

#include "SystemStatsKit/CPULoad.h"

#include <algorithm>
#include <cmath>

#include "SystemStatsKit/CounterGrowth.h"

namespace tessel {

double CPULoad::busy() const {
    const double sum = user + system + nice;
    if (std::isnan(sum)) return 0;
    return std::clamp(sum, 0.0, 1.0);
}

std::optional<CPULoad> CPULoad::between(const CPUTicks& previous, const CPUTicks& current) {
    const std::uint64_t user = counterGrowth(previous.user, current.user);
    const std::uint64_t system = counterGrowth(previous.system, current.system);
    const std::uint64_t idle = counterGrowth(previous.idle, current.idle);
    const std::uint64_t nice = counterGrowth(previous.nice, current.nice);
    const double all = static_cast<double>(user) + static_cast<double>(system) + static_cast<double>(idle) +
                       static_cast<double>(nice);
    if (all == 0) return std::nullopt;
    return CPULoad{static_cast<double>(user) / all, static_cast<double>(system) / all, static_cast<double>(nice) / all,
                   static_cast<double>(idle) / all};
}

} // namespace tessel
