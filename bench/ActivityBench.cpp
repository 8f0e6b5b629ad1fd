// activity-bench [ROUNDS] [TICKS] [CHILDREN]
//
// The processor time one tick of ProcessSampler costs: a walk of the user's
// processes in /proc (stat, smaps_rollup, io, exe of each, cgroup once per
// process), the families, and the rates. To measure it with a desktop's
// number of processes on a quiet machine, CHILDREN (default 300) sleeping
// children are started first, and reaped at the end.
//
// A round runs TICKS ticks (default 20) back to back and takes the process's
// CPU time per tick, user and system both, as reading /proc is mostly the
// kernel's work; ROUNDS rounds (default 15) give the median, the fastest and
// the slowest. The first tick of a run also reads every cgroup, so it is
// timed alone as well.

#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "SystemStatsKit/ProcessSampler.h"

#include "Clocks.h"

using namespace tessel;

namespace {

using bench::cpuSeconds;
using bench::monotonicSeconds;

std::vector<pid_t> startSleepers(int count) {
    std::vector<pid_t> children;
    for (int i = 0; i < count; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            for (;;) pause();
        }
        if (child > 0) children.push_back(child);
    }
    return children;
}

void reap(const std::vector<pid_t>& children) {
    for (pid_t child : children) kill(child, SIGKILL);
    for (pid_t child : children) waitpid(child, nullptr, 0);
}

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 15;
    const int ticks = argc > 2 ? std::max(1, std::atoi(argv[2])) : 20;
    const int wanted = argc > 3 ? std::max(0, std::atoi(argv[3])) : 300;
    const std::vector<pid_t> children = startSleepers(wanted);

    ProcessSampler sampler;
    const double firstStart = cpuSeconds();
    std::vector<ProcessUsage> rows = sampler.sample({}, monotonicSeconds());
    const double first = (cpuSeconds() - firstStart) * 1e3;
    const std::size_t processes = sampler.processes().size();

    std::vector<double> perTick;
    for (int round = 0; round < rounds; ++round) {
        const double start = cpuSeconds();
        for (int i = 0; i < ticks; ++i) rows = sampler.sample({}, monotonicSeconds());
        perTick.push_back((cpuSeconds() - start) / ticks * 1e3);
    }
    std::sort(perTick.begin(), perTick.end());
    reap(children);

    std::printf("%zu processes of this user (%zu sleeping children started), %zu groups\n", processes, children.size(), rows.size());
    std::printf("first tick (reads every cgroup)  %7.3f ms\n", first);
    std::printf("ProcessSampler tick  median %7.3f ms   min %7.3f   max %7.3f   (%d rounds of %d ticks)\n",
                perTick[perTick.size() / 2], perTick.front(), perTick.back(), rounds, ticks);
    return 0;
}
