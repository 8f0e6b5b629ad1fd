#pragma once
// One app as the tool's JSON reports show it, in tessel apps and tessel uninstall alike.

#include <nlohmann/json.hpp>

#include "UninstallKit/FoundApps.h"

namespace tessel::cli {

nlohmann::ordered_json appJson(const FoundApp& found);

} // namespace tessel::cli
