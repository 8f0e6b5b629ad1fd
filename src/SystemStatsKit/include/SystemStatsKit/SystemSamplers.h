#pragma once
// One of every sampler, read together: what `tessel stats` prints at each
// sample and what a benchmark's tick costs. The monitors keep samplers of
// their own, each only those its audience shows.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "SystemStatsKit/BatterySampler.h"
#include "SystemStatsKit/CPUSampler.h"
#include "SystemStatsKit/DiskActivitySampler.h"
#include "SystemStatsKit/FanReader.h"
#include "SystemStatsKit/MemorySampler.h"
#include "SystemStatsKit/NetworkLink.h"
#include "SystemStatsKit/NetworkSampler.h"
#include "SystemStatsKit/SystemRoots.h"
#include "SystemStatsKit/TemperatureSampler.h"

namespace tessel {

struct SystemReadings {
    std::optional<CPULoad> cpu;
    std::vector<CoreLoad> cores;
    std::optional<MemoryUsage> memory;
    std::optional<NetworkThroughput> network;
    std::optional<NetworkTotals> networkTotals;
    NetworkLink link;
    std::optional<DiskActivity> disk;
    std::vector<DiskRate> disks;
    std::optional<BatteryStatus> battery;
    std::optional<BatteryHealth> batteryHealth;
    std::vector<TemperatureReading> temperatures;
    std::optional<std::vector<FanReader::Fan>> fans;
    // Why a reading is absent or empty, by the name `tessel stats` gives it:
    // "cpu", "memory", "pressure", "network", "disks", "battery",
    // "temperatures", "fans".
    std::map<std::string, std::string> unavailable;
};

class SystemSamplers {
public:
    explicit SystemSamplers(const SystemRoots& roots = {});
    // Every reading, `now` in seconds of a monotonic clock.
    SystemReadings sample(double now);

private:
    SystemRoots roots_;
    CPUSampler cpu_;
    MemorySampler memory_;
    NetworkSampler network_;
    DiskActivitySampler disks_;
    BatterySampler battery_;
    BatteryHealthReader batteryHealth_;
    TemperatureSampler temperatures_;
    FanReader fans_;
};

} // namespace tessel
