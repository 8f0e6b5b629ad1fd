#pragma once
// The places on disk that are wholly an app's: the folder a Flatpak, a snap
// or an app unpacked by hand lives in, an AppImage's file, and the folders and
// files only a dpkg app's packages list (/usr/lib/chromium, /usr/bin/chromium).
// The map's Apps lens shows each app by them.

#include <set>
#include <string>
#include <vector>

#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/PathOwners.h"

namespace tessel {

struct AppHome {
    std::string name;
    std::vector<std::string> paths;
};

namespace AppHomes {

// The topmost folders among `listed` (the absolute paths of a package's file
// list, as DpkgDatabase::listedPaths gives them) that only packages of
// `family` list, and the files only they list outside those folders, under
// their real names (a merged /usr applied). None lies inside another.
std::vector<std::string> ownPlaces(const std::vector<std::string>& listed, const PathOwners& owners,
                                    const std::set<std::string>& family);
// Every app of `apps` with a home; `owners` may be none.
std::vector<AppHome> of(const std::vector<InstalledApp>& apps, const PathOwners* owners, const DesktopMachine& machine);

} // namespace AppHomes

} // namespace tessel
