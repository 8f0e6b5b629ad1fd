#include "Hwmon.h"

#include <algorithm>

#include "KernelFiles.h"

namespace tessel::Hwmon {

std::optional<std::vector<Input>> inputs(const std::string& sysRoot, std::string_view kind) {
    const std::string folder = sysRoot + "/class/hwmon";
    const std::optional<std::vector<std::string>> chips = KernelFiles::entries(folder);
    if (!chips) return std::nullopt;
    std::vector<Input> found;
    for (const std::string& chip : *chips) {
        const std::string chipFolder = folder + "/" + chip;
        const std::string name = KernelFiles::line(chipFolder + "/name").value_or("");
        std::vector<Input> ofChip;
        for (const std::string& file : KernelFiles::entries(chipFolder).value_or(std::vector<std::string>{})) {
            if (!file.starts_with(kind) || !file.ends_with("_input")) continue;
            const std::optional<std::int64_t> number =
                KernelFiles::parseInteger(std::string_view(file).substr(kind.size(), file.size() - kind.size() - 6));
            if (!number || *number < 0 || *number > 1000) continue;
            const std::string stem = chipFolder + "/" + file.substr(0, file.size() - 6);
            ofChip.push_back({name, KernelFiles::line(stem + "_label").value_or(""), stem + "_input", static_cast<int>(*number)});
        }
        std::sort(ofChip.begin(), ofChip.end(), [](const Input& a, const Input& b) { return a.number < b.number; });
        found.insert(found.end(), ofChip.begin(), ofChip.end());
    }
    return found;
}

} // namespace tessel::Hwmon
