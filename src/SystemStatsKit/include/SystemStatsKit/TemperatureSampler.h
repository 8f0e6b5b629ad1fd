#pragma once
// The machine's temperatures by place, from /sys/class/hwmon and
// /sys/class/thermal; see TemperaturePlaces.h for which sensor stands for
// which place. The sensors are found once, at the first sample, as the
// machine's sensors do not change while it runs; each sample then reads only
// their values.

#include <optional>
#include <string>
#include <vector>

#include "SystemStatsKit/TemperaturePlaces.h"

namespace tessel {

class TemperatureSampler {
public:
    explicit TemperatureSampler(std::string sysRoot = "/sys");
    // At most one reading per place, in the order of TemperaturePlaces::order();
    // empty where no sensor has a place or a believable value (failure() says so).
    std::vector<TemperatureReading> sample();
    const std::string& failure() const { return failure_; }

private:
    void prepare();

    std::string sysRoot_;
    bool prepared_ = false;
    std::vector<std::pair<std::string_view, std::string>> sensors_; // place, file of its value
    std::string failure_;
};

} // namespace tessel
