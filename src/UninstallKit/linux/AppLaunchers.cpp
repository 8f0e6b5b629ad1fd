// Which launchers belong to what moved.
//
// An app is at a path when its program, its desktop entry or the path it is
// known by is that path or lies inside it: moving ~/Applications/Tool.AppImage,
// ~/.local/share/applications/tool.desktop or a folder in /opt that holds the
// program each takes the app away. A desktop entry that moved is also known
// by its own name, as its ID, even when the app list was last read before it
// was made.
//
// The app list is read before each removal (prepare), so that the entries
// the Trash takes are still known when their launchers must go.

#include "UninstallKit/AppLaunchers.h"

#include <algorithm>
#include <set>

#include "DiskScanKit/Paths.h"

namespace tessel {

AppLaunchers::AppLaunchers(std::shared_ptr<DesktopLaunchers> launchers, std::function<std::vector<InstalledApp>()> apps)
    : launchers_(std::move(launchers)), apps_(std::move(apps)) {}

std::vector<std::string> AppLaunchers::desktopIdsAt(const std::string& path, const std::vector<InstalledApp>& apps) {
    std::set<std::string> ids;
    for (const InstalledApp& app : apps) {
        if (app.desktopId.empty()) continue;
        const bool here = Paths::isWithin(app.entryPath, path) || Paths::isWithin(app.bundlePath, path) ||
                          (app.programPath && Paths::isWithin(*app.programPath, path));
        if (here) ids.insert(app.desktopId);
    }
    if (path.ends_with(".desktop") && path.find("/applications/") != std::string::npos)
        ids.insert(path.substr(path.rfind('/') + 1));
    return {ids.begin(), ids.end()};
}

std::vector<DesktopLaunchers::Orphan> AppLaunchers::orphans(DesktopLaunchers& launchers, const DesktopAppListing& listing) {
    std::set<std::string> installed;
    for (const InstalledApp& app : listing.apps) installed.insert(app.desktopId);
    for (const auto& [entry, reason] : listing.unreadable) installed.insert(std::string(Paths::lastComponent(entry)));
    return launchers.orphans([&](const std::string& desktopId) { return installed.contains(desktopId); });
}

void AppLaunchers::prepare() {
    std::vector<InstalledApp> apps = apps_();
    std::lock_guard guard(lock_);
    known_ = std::move(apps);
}

void AppLaunchers::remove(const std::vector<std::pair<std::string, std::string>>& moved) {
    {
        std::lock_guard guard(lock_);
        std::vector<std::string> ids;
        for (const auto& [original, trashed] : moved) {
            std::vector<std::string> here = desktopIdsAt(original, known_);
            if (here.empty()) continue;
            takenFor_[original] = here;
            ids.insert(ids.end(), here.begin(), here.end());
        }
        if (!ids.empty()) launchers_->removeApps(ids);
    }
}

void AppLaunchers::restore(const std::vector<std::string>& originalPaths) {
    {
        std::lock_guard guard(lock_);
        std::vector<std::string> ids;
        for (const std::string& path : originalPaths)
            if (auto taken = takenFor_.find(path); taken != takenFor_.end()) {
                ids.insert(ids.end(), taken->second.begin(), taken->second.end());
                takenFor_.erase(taken);
            }
        if (!ids.empty()) launchers_->restoreApps(ids);
    }
}

} // namespace tessel
