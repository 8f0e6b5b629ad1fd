// stats-bench [ROUNDS] [TICKS] [PROC SYS]
//
// The processor time one tick of the samplers costs, on this machine (or on
// the /proc and /sys under PROC and SYS), then again with a laptop's battery
// and sensors in place of this machine's: a folder standing for /sys with
// two batteries, an adapter, a mouse, five hwmon chips with sixteen
// temperatures and three fans, and six thermal zones, its network and block
// folders those of this machine (a tmpfs answers faster than a real
// battery's firmware, so the battery's figure there is a floor).
//
// Two ticks are timed: the tray's, which reads what its label may show
// (processor, memory, network, and the battery at every 15th tick), and the
// Monitor room's, which reads every sampler at once; each sampler is timed
// alone too. A round runs TICKS
// ticks (default 200) back to back and takes the process's CPU time per
// tick; ROUNDS rounds (default 15) give the median, the fastest and the
// slowest, so that the spread shows the noise of a busy machine.

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "SystemStatsKit/SystemSamplers.h"
#include "SystemStatsKit/VolumeSampler.h"

#include "Clocks.h"

using namespace tessel;

namespace {

using bench::cpuSeconds;
using bench::monotonicSeconds;

void measure(const char* what, int rounds, int ticks, const std::function<void(int tick)>& tick) {
    std::vector<double> perTick;
    for (int round = 0; round < rounds; ++round) {
        const double start = cpuSeconds();
        for (int i = 0; i < ticks; ++i) tick(round * ticks + i);
        perTick.push_back((cpuSeconds() - start) / ticks * 1e3);
    }
    std::sort(perTick.begin(), perTick.end());
    std::printf("%-26s median %7.3f ms   min %7.3f   max %7.3f   (%d rounds of %d ticks)\n", what, perTick[perTick.size() / 2],
                perTick.front(), perTick.back(), rounds, ticks);
}

void write(const std::string& path, const std::string& text) {
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1))
        mkdir(path.substr(0, slash).c_str(), 0755);
    std::ofstream(path) << text << "\n";
}

std::string laptopSys(const std::string& folder) {
    const std::string sys = folder + "/sys";
    for (const char* battery : {"BAT0", "BAT1"})
        for (const auto& [file, value] : std::vector<std::pair<const char*, const char*>>{
                 {"type", "Battery"}, {"scope", "System"}, {"present", "1"}, {"status", "Discharging"},
                 {"energy_now", "30000000"}, {"energy_full", "50000000"}, {"energy_full_design", "57000000"},
                 {"power_now", "9000000"}, {"cycle_count", "212"}, {"capacity", "60"}})
            write(sys + "/class/power_supply/" + battery + "/" + file, value);
    write(sys + "/class/power_supply/AC/type", "Mains");
    write(sys + "/class/power_supply/AC/online", "0");
    write(sys + "/class/power_supply/hidpp_battery_0/type", "Battery");
    write(sys + "/class/power_supply/hidpp_battery_0/scope", "Device");
    const std::vector<std::pair<const char*, int>> chips{{"k10temp", 3}, {"nvme", 3}, {"acpitz", 1}, {"thinkpad", 8}, {"amdgpu", 1}};
    for (std::size_t chip = 0; chip < chips.size(); ++chip) {
        const std::string hwmon = sys + "/class/hwmon/hwmon" + std::to_string(chip);
        write(hwmon + "/name", chips[chip].first);
        for (int i = 1; i <= chips[chip].second; ++i) write(hwmon + "/temp" + std::to_string(i) + "_input", "45000");
    }
    for (const char* fan : {"/class/hwmon/hwmon3/fan1_input", "/class/hwmon/hwmon3/fan2_input", "/class/hwmon/hwmon4/fan1_input"})
        write(sys + fan, "2400");
    const char* zones[] = {"acpitz", "x86_pkg_temp", "iwlwifi_1", "INT3400 Thermal", "B0D4", "TCPU"};
    for (int zone = 0; zone < 6; ++zone) {
        write(sys + "/class/thermal/thermal_zone" + std::to_string(zone) + "/type", zones[zone]);
        write(sys + "/class/thermal/thermal_zone" + std::to_string(zone) + "/temp", "47000");
    }
    symlink("/sys/class/net", (sys + "/class/net").c_str());
    symlink("/sys/block", (sys + "/block").c_str());
    return sys;
}

void measureAll(const SystemRoots& roots, int rounds, int ticks) {
    CPUSampler cpu(roots.proc);
    MemorySampler memory(roots);
    NetworkSampler network(roots);
    BatterySampler battery(roots.sys);
    measure("tray tick", rounds, ticks, [&](int tick) {
        (void)cpu.sample();
        (void)memory.sample();
        (void)network.sample(monotonicSeconds());
        if (tick % 15 == 0) (void)battery.sample();
    });
    SystemSamplers all(roots);
    measure("Monitor room tick", rounds, ticks, [&](int) { (void)all.sample(monotonicSeconds()); });

    measure("  processor", rounds, ticks, [&](int) { (void)cpu.sample(); });
    measure("  memory", rounds, ticks, [&](int) { (void)memory.sample(); });
    measure("  network", rounds, ticks, [&](int) { (void)network.sample(monotonicSeconds()); });
    measure("  network link", rounds, ticks, [&](int) { (void)NetworkLink::current(roots); });
    DiskActivitySampler disks(roots);
    measure("  disks", rounds, ticks, [&](int) { (void)disks.sample(monotonicSeconds()); });
    measure("  battery", rounds, ticks, [&](int) { (void)battery.sample(); });
    TemperatureSampler temperatures(roots.sys);
    measure("  temperatures", rounds, ticks, [&](int) { (void)temperatures.sample(); });
    FanReader fans(roots.sys);
    measure("  fans", rounds, ticks, [&](int) { (void)fans.read(); });
    measure("  free space of /", rounds, ticks, [&](int) { (void)VolumeSampler("/").sample(); });
}

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 15;
    const int ticks = argc > 2 ? std::max(1, std::atoi(argv[2])) : 200;
    const SystemRoots roots = argc > 4 ? SystemRoots{argv[3], argv[4]} : SystemRoots{};
    std::printf("/proc %s, /sys %s\n", roots.proc.c_str(), roots.sys.c_str());
    measureAll(roots, rounds, ticks);
    char folder[] = "/tmp/stats-bench-XXXXXX";
    if (!mkdtemp(folder)) {
        std::perror("mkdtemp");
        return 1;
    }
    const SystemRoots laptop{roots.proc, laptopSys(folder)};
    std::printf("\n/proc %s, /sys %s (a laptop's battery and sensors)\n", laptop.proc.c_str(), laptop.sys.c_str());
    measureAll(laptop, rounds, ticks);
    std::system(("rm -rf '" + std::string(folder) + "'").c_str());
    return 0;
}
