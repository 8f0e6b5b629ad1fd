#pragma once
// What the health word reads, gathered in one place: the startup disk, the
// memory pressure, the processor's temperature and the battery's wear. Each
// is optional on purpose: a machine that measures no pressure, has no sensor
// or no battery gives no input, and an absent input is neither fine nor bad;
// the judgement simply leaves it out.

#include <optional>
#include <string>
#include <vector>

#include "SystemStatsKit/MemoryUsage.h"
#include "SystemStatsKit/SystemRoots.h"
#include "SystemStatsKit/TemperaturePlaces.h"
#include "SystemStatsKit/VolumeCapacity.h"
#include "overview/MacHealth.h"

namespace tessel {

struct HealthInputs {
    std::optional<VolumeCapacity> disk;
    std::optional<MemoryPressure> pressure;
    std::optional<double> chipCelsius;
    std::optional<double> batteryCapacity;

    MacHealth assess() const { return MacHealth::assess(disk, pressure, chipCelsius, batteryCapacity); }

    // The machine as it is now; a blocking read of a few small kernel files.
    static HealthInputs read(const SystemRoots& roots, const std::string& volumePath);
    // The processor's reading among the temperatures: the "Chip" place only,
    // since a warm board or disk is not what the heat concern speaks of.
    static std::optional<double> processorCelsius(const std::vector<TemperatureReading>& readings);
};

} // namespace tessel
