#pragma once
// The battery that powers the machine, from /sys/class/power_supply. See
// BatterySampler.cpp for which supply is read and how each figure is made.

#include <optional>
#include <string>

namespace tessel {

struct BatteryStatus {
    enum class PowerSource { battery, adapter };

    double charge = 0; // 0 to 1
    bool isCharging = false;
    bool isCharged = false;
    PowerSource source = PowerSource::battery;
    std::optional<int> minutesRemaining; // to full while charging, else to empty

    // charge * 100, rounded half away from zero.
    int percentage() const;
    bool operator==(const BatteryStatus&) const = default;
};

struct BatteryHealth {
    std::optional<int> cycleCount;
    std::optional<double> capacity; // what it holds when full over what it held new, at most 1

    // full / design, at most 1; none unless both are above 0.
    static std::optional<double> capacityOf(double full, double design);
    bool operator==(const BatteryHealth&) const = default;
};

class BatterySampler {
public:
    explicit BatterySampler(std::string sysRoot = "/sys");
    // None on a machine without a system battery; failure() says why.
    std::optional<BatteryStatus> sample();
    const std::string& failure() const { return failure_; }

private:
    std::string sysRoot_;
    std::string failure_;
};

class BatteryHealthReader {
public:
    explicit BatteryHealthReader(std::string sysRoot = "/sys");
    // None on a machine without a system battery, or one that tells neither
    // its cycles nor its capacities.
    std::optional<BatteryHealth> read() const;

private:
    std::string sysRoot_;
};

} // namespace tessel
