// windows-bench [ROUNDS] [QUERIES] [WINDOWS]
//
// What one question to the window manager costs: DesktopWindows::read() on
// an Xvfb of the benchmark's own, where it plays the window manager with
// WINDOWS windows (default 50) of a dozen pids, a few minimised, one in
// front. A read is two round trips: the root's three hints, then the check
// window's and three hints of every window.
//
// A round runs QUERIES reads (default 20) back to back; ROUNDS rounds
// (default 15) give the median, the fastest and the slowest of the time per
// read: this process's processor time (user and system) and the wall clock;
// the X server's processor time, read from its /proc/PID/stat in ticks of
// 10 ms, is given as the mean over all reads. The first read, which connects
// and interns the atoms, is timed alone.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "SystemStatsKit/DesktopWindows.h"
#include "X11Stage.h"

#include "Clocks.h"

using namespace tessel;

namespace {

using bench::cpuSeconds;
using bench::monotonicSeconds;

// The processor time `pid` has used, in seconds: utime and stime of its stat.
double cpuSecondsOf(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const std::size_t close = text.rfind(')');
    if (close == std::string::npos) return 0;
    std::istringstream fields(text.substr(close + 2));
    std::string field;
    double ticks = 0;
    for (int i = 3; fields >> field && i <= 15; ++i)
        if (i == 14 || i == 15) ticks += std::stod(field);
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

struct Summary {
    std::vector<double> values;
    void print(const char* what) {
        std::sort(values.begin(), values.end());
        std::printf("%-26s median %8.3f ms   min %8.3f   max %8.3f\n", what, values[values.size() / 2], values.front(), values.back());
    }
};

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 15;
    const int queries = argc > 2 ? std::max(1, std::atoi(argv[2])) : 20;
    const int count = argc > 3 ? std::max(1, std::atoi(argv[3])) : 50;

    const std::unique_ptr<test::XvfbServer> server = test::XvfbServer::start();
    if (!server) {
        std::fprintf(stderr, "windows-bench: Xvfb did not start (apt-get install xvfb)\n");
        return 1;
    }
    test::FakeWindowManager wm(server->display());
    wm.manage();
    std::vector<test::FakeWindowManager::Window> clients;
    for (int i = 0; i < count; ++i)
        clients.push_back(wm.window(static_cast<std::uint32_t>(4000 + i % 12), i % 7 == 3, i == count - 1 && count > 1));
    wm.list(clients);
    wm.activate(clients.front());
    wm.sync();

    DesktopWindows::Settings settings;
    settings.display = server->display();
    DesktopWindows desktop(settings);
    const double firstCpu = cpuSeconds(), firstWall = monotonicSeconds();
    WindowsReading reading = desktop.read();
    const double first = (cpuSeconds() - firstCpu) * 1e3, firstWallMs = (monotonicSeconds() - firstWall) * 1e3;
    if (!reading.byPid) {
        std::fprintf(stderr, "windows-bench: the reader did not see the stand-in window manager\n");
        return 1;
    }

    Summary cpu, wall;
    const double serverStart = cpuSecondsOf(server->pid());
    for (int round = 0; round < rounds; ++round) {
        const double cpuStart = cpuSeconds(), wallStart = monotonicSeconds();
        for (int i = 0; i < queries; ++i) reading = desktop.read();
        cpu.values.push_back((cpuSeconds() - cpuStart) / queries * 1e3);
        wall.values.push_back((monotonicSeconds() - wallStart) / queries * 1e3);
    }
    // The server's clock counts in ticks of 10 ms, so only the whole run's sum says anything.
    const double serverCpu = (cpuSecondsOf(server->pid()) - serverStart) / (rounds * queries) * 1e3;

    std::printf("%d windows of %zu pids on Xvfb %s, %d connection(s)\n", count, reading.byPid->size(), server->display().c_str(),
                desktop.connections());
    std::printf("first read (connects, interns the atoms)  cpu %.3f ms, wall %.3f ms\n", first, firstWallMs);
    cpu.print("read, this process's cpu");
    wall.print("read, wall clock");
    std::printf("read, the X server's cpu   mean   %8.3f ms   over all %d reads (%d rounds of %d)\n", serverCpu, rounds * queries, rounds,
                queries);
    return 0;
}
