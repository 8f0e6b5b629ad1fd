#pragma once
// Where in the machine a temperature is taken, from the name of its sensor,
// and a place's reading from its sensors' values. See TemperaturePlaces.cpp.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessel {

struct TemperatureReading {
    std::string place; // "Chip", "Board", "SSD", "Battery"
    double celsius = 0;
    bool operator==(const TemperatureReading&) const = default;
};

namespace TemperaturePlaces {

// The places in the order they are shown.
const std::vector<std::string_view>& order();
// A reading a sensor can really give: above 0 and below 150 °C.
bool believable(double celsius);
// A Mac's sensor, by its product name ("PMU tdie1", "NAND CH0 temp").
std::optional<std::string_view> ofMacSensor(std::string_view name);
// A Linux hwmon chip, by its name file ("k10temp", "nvme", "acpitz", "BAT0").
std::optional<std::string_view> ofHwmonChip(std::string_view name);
// A Linux thermal zone, by its type file ("x86_pkg_temp", "acpitz").
std::optional<std::string_view> ofThermalZone(std::string_view type);
// One reading per place that has a believable value, the plain mean of its
// values, in the order of order().
std::vector<TemperatureReading> gather(const std::vector<std::pair<std::string_view, double>>& values);

} // namespace TemperaturePlaces
} // namespace tessel
