#include "SystemStatsKit/FanReader.h"

#include "Hwmon.h"
#include "KernelFiles.h"

namespace tessel {

FanReader::FanReader(std::string sysRoot) : sysRoot_(std::move(sysRoot)) {}

std::optional<std::vector<FanReader::Fan>> FanReader::read() {
    const std::string folder = sysRoot_ + "/class/hwmon";
    const std::optional<std::vector<Hwmon::Input>> inputs = Hwmon::inputs(sysRoot_, "fan");
    if (!inputs) {
        failure_ = KernelFiles::exists(folder) ? folder + " can't be listed" : "there is no " + folder + ": no sensor driver is loaded";
        return std::nullopt;
    }
    std::vector<Fan> fans;
    int index = 0;
    for (const Hwmon::Input& input : *inputs) {
        const std::optional<std::int64_t> rpm = KernelFiles::integer(input.path);
        const int at = index++;
        if (!rpm || !believable(static_cast<double>(*rpm))) continue;
        std::string name = input.label.empty() ? input.chip + " fan " + std::to_string(input.number) : input.label;
        fans.push_back({at, static_cast<double>(*rpm), std::move(name)});
    }
    if (fans.empty()) failure_ = "no fan shows its speed in " + folder;
    else failure_.clear();
    return fans;
}

} // namespace tessel
