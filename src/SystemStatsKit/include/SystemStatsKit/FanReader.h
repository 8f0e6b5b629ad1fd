#pragma once
// The machine's fans and their speeds, from the fanN_input files of
// /sys/class/hwmon. Few machines show their fans to Linux: a desktop board's
// sensor chip, a laptop's firmware driver (thinkpad, dell_smm), a graphics
// card.

#include <optional>
#include <string>
#include <vector>

namespace tessel {

class FanReader {
public:
    struct Fan {
        int index = 0; // the row's identity: the fans in the order they are found
        double rpm = 0;
        std::string name; // the driver's label, else "<chip> fan N"
        bool operator==(const Fan&) const = default;
    };

    explicit FanReader(std::string sysRoot = "/sys");
    // None when /sys/class/hwmon can't be listed; empty on a machine whose
    // fans are not shown. A reading outside 0 up to 12,000 rpm is left out.
    std::optional<std::vector<Fan>> read();
    // Why the last read() gave no fan; empty after one that gave some.
    const std::string& failure() const { return failure_; }

    static bool believable(double rpm) { return rpm >= 0 && rpm < 12000; }

private:
    std::string sysRoot_;
    std::string failure_;
};

} // namespace tessel
