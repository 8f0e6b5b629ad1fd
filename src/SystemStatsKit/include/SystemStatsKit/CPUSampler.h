#pragma once
// The processor's load, of the whole machine and of each core, from the tick
// counters of /proc/stat. A rate needs two readings: the sampler keeps the
// previous one, so two calls make one load and the first gives none.
//
// /proc/stat counts ten kinds of tick; the load has four. irq, softirq and
// steal (time a hypervisor gave to another guest) are time the processor was
// not the user's, so they count as system; iowait is a processor with
// nothing to run while a disk answers, so it counts as idle. guest and
// guest_nice are already inside user and nice, and are not added again.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SystemStatsKit/CPULoad.h"

namespace tessel {

struct CoreLoad {
    int core = 0; // the number of "cpuN"
    // None for a core that was not there at the previous reading.
    std::optional<CPULoad> load;
};

// What one reading of /proc/stat holds.
struct ProcessorTicks {
    CPUTicks all;
    std::vector<std::pair<int, CPUTicks>> cores; // by core number, as listed
};

class CPUSampler {
public:
    explicit CPUSampler(std::string procRoot = "/proc");

    // The load since the previous reading. None on the first call; none when
    // no tick has gone by since, and the previous reading stays the baseline;
    // none when /proc/stat can't be read, and the baseline stays too.
    std::optional<CPULoad> sample();
    // Each core's load over the interval of the last sample(), by core number;
    // empty after a sample that gave none.
    const std::vector<CoreLoad>& cores() const { return cores_; }
    // The cores /proc/stat listed at the last reading; 0 before one.
    int coreCount() const { return coreCount_; }
    // Forgets the baseline, so that no load spans a pause such as a sleep.
    void reset();
    // Why the last sample() gave none; empty after one that gave a load.
    const std::string& failure() const { return failure_; }

    static std::optional<ProcessorTicks> parse(std::string_view procStat);

private:
    std::string path_;
    std::optional<ProcessorTicks> previous_;
    std::vector<CoreLoad> cores_;
    int coreCount_ = 0;
    std::string failure_;
};

} // namespace tessel
