#pragma once
// One app as the tool's JSON reports show it, in tessel apps and tessel uninstall alike.

#include <nlohmann/json.hpp>

#include "UninstallKit/FoundApps.h"

namespace tessel::cli {

nlohmann::ordered_json appJson(const FoundApp& found);
// [{"file", "reason"}]: the files passed over because they could not be read.
nlohmann::ordered_json unreadableItems(const std::vector<std::pair<std::string, std::string>>& entries);

} // namespace tessel::cli
