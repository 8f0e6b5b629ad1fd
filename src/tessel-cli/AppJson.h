#pragma once
// The apps as the tool finds them, and one app as its JSON reports show it,
// in tessel apps and tessel uninstall alike.

#include <nlohmann/json.hpp>

#include "UninstallKit/FoundApps.h"

namespace tessel::cli {

nlohmann::ordered_json appJson(const FoundApp& found);
// [{"file", "reason"}]: the files passed over because they could not be read.
nlohmann::ordered_json unreadableItems(const std::vector<std::pair<std::string, std::string>>& entries);
// Every app of the machine whose "/" is `root`, with where it came from as its package database says.
FoundAppListing gatheredApps(const DesktopMachine& machine, const std::string& root, const RunningPrograms& running);

} // namespace tessel::cli
