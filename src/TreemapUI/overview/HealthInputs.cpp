#include "overview/HealthInputs.h"

#include "SystemStatsKit/BatterySampler.h"
#include "SystemStatsKit/MemorySampler.h"
#include "SystemStatsKit/TemperatureSampler.h"
#include "SystemStatsKit/VolumeSampler.h"

namespace tessel {

HealthInputs HealthInputs::read(const SystemRoots& roots, const std::string& volumePath) {
    HealthInputs inputs;
    inputs.disk = VolumeSampler(volumePath).sample();
    inputs.pressure = MemorySampler(roots).readPressure();
    inputs.chipCelsius = processorCelsius(TemperatureSampler(roots.sys).sample());
    if (std::optional<BatteryHealth> battery = BatteryHealthReader(roots.sys).read())
        inputs.batteryCapacity = battery->capacity;
    return inputs;
}

std::optional<double> HealthInputs::processorCelsius(const std::vector<TemperatureReading>& readings) {
    for (const TemperatureReading& reading : readings)
        if (reading.place == "Chip") return reading.celsius;
    return std::nullopt;
}

} // namespace tessel
