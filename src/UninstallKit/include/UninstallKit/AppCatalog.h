#pragma once
// The apps of this machine. On the Mac, the .app bundles of the app folders,
// read from their Info.plist; on Linux, the desktop entries of the
// applications folders (see DesktopApps.h).

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "UninstallKit/InstalledApp.h"

namespace tessel::AppCatalog {

// /Applications, /Applications/Utilities and the home's Applications.
std::vector<std::string> userSearchPaths(std::string_view home);
// The system's own app folders.
std::vector<std::string> systemSearchPaths();

// The bundle's app, or none when it has no readable Contents/Info.plist: a
// folder named ".app" with no plist is no app.
std::optional<InstalledApp> read(const std::string& bundlePath, bool isSystem);
// The bundles ("*.app") directly in `folder`, in name order; none when it can't be listed.
std::vector<InstalledApp> applications(const std::string& folder, bool isSystem);
// Every folder's apps, user folders first, each bundle once, sorted by name.
std::vector<InstalledApp> installedApps(const std::vector<std::string>& userPaths,
                                        const std::vector<std::string>& systemPaths);

// The CFBundleIdentifier of the bundle at `bundlePath` (Contents/Info.plist,
// or Resources/Info.plist as a framework keeps it).
std::optional<std::string> bundleIdentifier(const std::string& bundlePath);

// Sorting by name as a person reads a list: case aside, then as written.
bool nameOrder(const InstalledApp& left, const InstalledApp& right);

} // namespace tessel::AppCatalog
