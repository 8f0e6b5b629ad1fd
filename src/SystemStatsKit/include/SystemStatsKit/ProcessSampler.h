#pragma once
// The grouped process table of the Monitor room and of `tessel activity`:
// the user's processes gathered into apps (ProcessFamilies.h), each row with
// its processor share, memory and disk rate.
//
// Rates need two walks. The sampler keeps, by pid, the start time, CPU time
// and disk bytes of the previous walk; a process adds to a rate only when
// the same pid with the same start time was there before. So the first
// sample has no rates at all; a process started between two walks adds its
// memory and nothing to the rates; and a pid the kernel gave again to a new
// process between two walks is a new process, its CPU time not taken as the
// old one's growth.
//
//     walk at t=10 s: pid 700 started at tick 5000, 2.0 s of CPU
//     walk at t=12 s: pid 700 started at tick 5000, 3.0 s of CPU   cpu 0.5
//                     pid 700 started at tick 9000, 0.1 s of CPU   cpu 0, a new process
//
// An app's unit is read from /proc/PID/cgroup once for each process (pid and
// start time), kept in `owners`, and let go with the process.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "SystemStatsKit/AppLaunchUnit.h"
#include "SystemStatsKit/ProcessFamilies.h"
#include "SystemStatsKit/ProcessTable.h"
#include "SystemStatsKit/RunningApp.h"

namespace tessel {

struct ProcessUsage {
    std::optional<std::string> bundlePath; // the program of the family's head
    std::string name;
    std::optional<std::string> appID;      // the desktop ID of its app unit
    std::int32_t appPID = 0;
    std::vector<std::int32_t> pids;        // ascending
    std::optional<double> cpu;             // 1.0 is one core for the whole interval; none on a first sample
    std::uint64_t memory = 0;              // bytes, proportional set size
    std::optional<double> disk;            // bytes per second; none on a first sample or when no io was readable
};

class ProcessSampler {
public:
    struct Owner {
        std::optional<AppLaunchUnit> unit;
    };

    // `uid` is whose processes count; `ticksPerSecond` the clock of stat.
    explicit ProcessSampler(std::string procRoot = "/proc");
    ProcessSampler(std::string procRoot, std::uint32_t uid, long ticksPerSecond);

    // The rows, the busiest first (by CPU, then memory), `now` in seconds of
    // a monotonic clock. A listed app names the family that holds its pid.
    std::vector<ProcessUsage> sample(const std::vector<RunningApp>& apps, double now);
    // A walk that only sets the baseline of the rates, without reading
    // memory: what a caller that shows only the second sample needs first.
    void baseline(double now);
    // The last walk, and its families, as sample() made them.
    const std::vector<ProcessRecord>& processes() const { return processes_; }
    const std::vector<ProcessFamily>& families() const { return families_; }
    // Forgets the previous walk, so that no rate spans a pause.
    void reset();

    // A walk that reads every Pss anew.
    std::vector<ProcessRecord> allProcesses() const;
    // The owner of a record of sample() or allProcesses(), which read its
    // cgroup if no owner was known for it.
    const Owner& owner(const ProcessRecord& process);

private:
    WalkReads sampleReads() const;

    struct Earlier {
        std::uint64_t startTicks = 0;
        std::uint64_t cpu = 0;
        std::optional<std::uint64_t> disk;
    };

    std::string procRoot_;
    std::uint32_t uid_;
    long timebase_;
    std::unordered_map<std::int32_t, Earlier> previous_;
    std::optional<double> previousTime_;
    std::map<std::pair<std::int32_t, std::uint64_t>, Owner> owners_;
    PssCache sizes_;
    std::vector<ProcessRecord> processes_;
    std::vector<ProcessFamily> families_;

    void keepAsPrevious(double now);
};

} // namespace tessel
