// Temperatures by place.
//
// A machine has many sensors and a person wants four figures: the chip, the
// board, the SSD and the battery. Each sensor is given a place by its name,
// through a table for each platform, and a sensor with no place is left out.
//
// On a Mac the sensors are named by their product string, and the first rule
// that applies wins: "tcal" or "tdie" is the chip, "tdev" the board, "nand"
// or "ssd" the SSD, "battery" the battery. On Linux each hwmon chip is one
// driver: k10temp (AMD) and coretemp (Intel) measure the processor, nvme the
// SSD, acpitz the board (the firmware's own zone), and BAT0... the battery.
// The thermal zones of /sys/class/thermal say the same for machines whose
// sensors have no hwmon driver: x86_pkg_temp and cpu-thermal are the chip.
//
// A place's reading is the plain mean of its believable values; a value that
// is not above 0 or not below 150 °C is a sensor that is off or broken, not
// a temperature:
//
//     coretemp 54, 58, 150; acpitz 40   ->   Chip 56, Board 40

#include "SystemStatsKit/TemperaturePlaces.h"

#include <algorithm>

#include "Base/AsciiCase.h"

namespace tessel::TemperaturePlaces {

const std::vector<std::string_view>& order() {
    static const std::vector<std::string_view> places{"Chip", "Board", "SSD", "Battery"};
    return places;
}

bool believable(double celsius) { return celsius > 0 && celsius < 150; }

std::optional<std::string_view> ofMacSensor(std::string_view name) {
    const std::string lower = asciiLower(name);
    auto has = [&](std::string_view part) { return lower.find(part) != std::string::npos; };
    if (has("tcal") || has("tdie")) return "Chip";
    if (has("tdev")) return "Board";
    if (has("nand") || has("ssd")) return "SSD";
    if (has("battery")) return "Battery";
    return std::nullopt;
}

std::optional<std::string_view> ofHwmonChip(std::string_view name) {
    if (name == "k10temp" || name == "coretemp" || name == "zenpower" || name == "cpu_thermal") return "Chip";
    if (name == "acpitz") return "Board";
    if (name == "nvme") return "SSD";
    if (name.starts_with("BAT")) return "Battery";
    return std::nullopt;
}

std::optional<std::string_view> ofThermalZone(std::string_view type) {
    if (type == "x86_pkg_temp" || type == "cpu-thermal" || type == "cpu_thermal") return "Chip";
    if (type == "acpitz") return "Board";
    return std::nullopt;
}

std::vector<TemperatureReading> gather(const std::vector<std::pair<std::string_view, double>>& values) {
    std::vector<TemperatureReading> readings;
    for (std::string_view place : order()) {
        double sum = 0;
        int count = 0;
        for (const auto& [where, celsius] : values)
            if (where == place && believable(celsius)) {
                sum += celsius;
                ++count;
            }
        if (count > 0) readings.push_back({std::string(place), sum / count});
    }
    return readings;
}

} // namespace tessel::TemperaturePlaces
