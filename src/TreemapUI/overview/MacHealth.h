#pragma once
// One word for how the machine is doing, from the few readings that a person
// can do something about: free space, memory, heat and the battery's wear.

#include <optional>
#include <string>

#include "SystemStatsKit/MemoryUsage.h"
#include "SystemStatsKit/VolumeCapacity.h"

namespace tessel {

struct MacHealth {
    // In rising order of worry.
    enum class Level { good, fair, poor };
    enum class Concern { disk, memory, heat, battery };

    Level level = Level::good;
    std::string word = "Good";
    std::optional<std::string> reason;
    std::optional<Concern> concern;

    // A reading that is absent gives no concern. `batteryCapacity` is the
    // fraction of the design capacity that the battery still holds.
    static MacHealth assess(const std::optional<VolumeCapacity>& volume,
                            std::optional<MemoryUsage::Pressure> pressure, std::optional<double> chipCelsius,
                            std::optional<double> batteryCapacity);
};

} // namespace tessel
