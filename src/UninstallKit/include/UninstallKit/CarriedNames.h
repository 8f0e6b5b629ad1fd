#pragma once
// The names an app's package puts on the machine besides the app's own
// desktop ID: other desktop entries, D-Bus services, systemd user units,
// autostart entries. A file or folder named for one of them is the app's
// too, as a Mac app's helper is; the installed-app index keeps them as
// carried identifiers.

#include <string>
#include <string_view>
#include <vector>

#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/PathOwners.h"

namespace tessel::CarriedNames {

// Read from the paths a package lists (or a Flatpak exports); `ownDesktopId` is left out.
std::vector<std::string> fromPaths(const std::vector<std::string>& paths, std::string_view ownDesktopId);

// Fills each app's `carries`: a dpkg app's from its package's file list, a
// Flatpak's from what its deployment exports. `owners` may be none.
void fill(std::vector<InstalledApp>& apps, const PathOwners* owners, const DesktopMachine& machine);

} // namespace tessel::CarriedNames
