#include "SystemStatsKit/TemperatureSampler.h"

#include <algorithm>

#include "Hwmon.h"
#include "KernelFiles.h"

namespace tessel {

TemperatureSampler::TemperatureSampler(std::string sysRoot) : sysRoot_(std::move(sysRoot)) {}

// The hwmon chips first; a thermal zone only for a place no chip measures,
// since acpitz and the package sensor show in both.
void TemperatureSampler::prepare() {
    prepared_ = true;
    for (const Hwmon::Input& input : Hwmon::inputs(sysRoot_, "temp").value_or(std::vector<Hwmon::Input>{}))
        if (std::optional<std::string_view> place = TemperaturePlaces::ofHwmonChip(input.chip))
            sensors_.emplace_back(*place, input.path);
    const std::string zones = sysRoot_ + "/class/thermal";
    std::vector<std::pair<std::string_view, std::string>> fromZones;
    for (const std::string& zone : KernelFiles::entries(zones).value_or(std::vector<std::string>{})) {
        if (!zone.starts_with("thermal_zone")) continue;
        const std::optional<std::string_view> place =
            TemperaturePlaces::ofThermalZone(KernelFiles::line(zones + "/" + zone + "/type").value_or(""));
        const bool measured = std::any_of(sensors_.begin(), sensors_.end(), [&](const auto& s) { return s.first == place; });
        if (place && !measured) fromZones.emplace_back(*place, zones + "/" + zone + "/temp");
    }
    sensors_.insert(sensors_.end(), fromZones.begin(), fromZones.end());
}

std::vector<TemperatureReading> TemperatureSampler::sample() {
    if (!prepared_) prepare();
    std::vector<std::pair<std::string_view, double>> values;
    for (const auto& [place, path] : sensors_)
        if (const std::optional<std::int64_t> millidegrees = KernelFiles::integer(path))
            values.emplace_back(place, static_cast<double>(*millidegrees) / 1000);
    std::vector<TemperatureReading> readings = TemperaturePlaces::gather(values);
    if (sensors_.empty())
        failure_ = "no sensor of the processor, board, SSD or battery in " + sysRoot_ + "/class/hwmon or " + sysRoot_ +
                   "/class/thermal";
    else if (readings.empty())
        failure_ = "no sensor in " + sysRoot_ + "/class/hwmon or " + sysRoot_ + "/class/thermal gave a believable value";
    else
        failure_.clear();
    return readings;
}

} // namespace tessel
