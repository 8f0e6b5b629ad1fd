#pragma once
// The sensor chips of /sys/class/hwmon: hwmonN folders, each with its driver's
// name and input files such as temp1_input (millidegrees) and fan1_input (rpm),
// some with a label (temp1_label, "Package id 0").

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel::Hwmon {

struct Input {
    std::string chip;  // the driver's name: "coretemp"
    std::string label; // "Core 0", or empty
    std::string path;  // the file that holds the value
    int number = 0;    // N of tempN_input
};

// The inputs of `kind` ("temp", "fan") of every chip, chip by chip and each
// chip's by number; none when the folder can't be listed.
std::optional<std::vector<Input>> inputs(const std::string& sysRoot, std::string_view kind);

} // namespace tessel::Hwmon
