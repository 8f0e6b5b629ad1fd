#pragma once
// Which installed app a path belongs to on Linux: the app whose package
// lists it, or the app whose own folder holds it (a Flatpak's, a snap's, an
// AppImage, an app unpacked in /opt or the home's data folder). Built once,
// then only read.

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/PathOwners.h"

namespace tessel {

class AppOwners {
public:
    // `owners` may be none where there is no package database.
    AppOwners(std::vector<InstalledApp> apps, const PathOwners* owners, const DesktopMachine& machine);

    std::optional<InstalledApp> appContaining(std::string_view path) const;
    // The folder that is wholly the app's, if it has one.
    std::optional<std::string> homeOf(const InstalledApp& app) const;

private:
    std::vector<InstalledApp> apps_;
    const PathOwners* owners_;
    std::string dataHome_;
    std::map<std::string, std::size_t> byPackage_; // dpkg package → index in apps_
    std::vector<std::pair<std::string, std::size_t>> homes_; // folder or file → index, longest first
};

} // namespace tessel
