// Tracing a path to its app.
//
// A package manager's file list is the surest owner: the app whose program a
// dpkg package lists owns every path that package alone lists (a folder
// many packages list, such as /usr, is nobody's app). Apps that live whole
// in a folder of their own own what is in it: a Flatpak in
// INSTALLATION/app/ID, a snap in /snap/NAME, an AppImage its one file, and an
// app unpacked by hand, known by a program below /opt/NAME or the home's
// data folder (~/.local/share/NAME), that folder. The deepest folder that
// holds the path wins, so an app in /opt/suite/tool is not /opt/suite's.

#include "UninstallKit/AppOwners.h"

#include <algorithm>

#include "DiskScanKit/Paths.h"

namespace tessel {

namespace {

// The first folder below `top` on the way to `path`: /opt/tool of /opt/tool/bin/tool.
std::optional<std::string> folderBelow(std::string_view path, std::string_view top) {
    if (!Paths::isWithin(path, top) || path.size() <= top.size() + 1) return std::nullopt;
    const std::size_t end = path.find('/', top.size() + 1);
    if (end == std::string_view::npos) return std::nullopt; // a program right in /opt is no app folder
    return std::string(path.substr(0, end));
}

} // namespace

AppOwners::AppOwners(std::vector<InstalledApp> apps, const PathOwners* owners, const DesktopMachine& machine)
    : apps_(std::move(apps)), owners_(owners), dataHome_(machine.dataHome) {
    for (std::size_t i = 0; i < apps_.size(); ++i) {
        const InstalledApp& app = apps_[i];
        if (owners_ != nullptr && app.programPath)
            for (std::string_view package : owners_->owners(*app.programPath)) byPackage_.try_emplace(std::string(package), i);
        if (std::optional<std::string> home = homeOf(app)) homes_.emplace_back(std::move(*home), i);
        if (app.source == "flatpak" && app.package)
            homes_.emplace_back(Paths::join(machine.dataHome, "flatpak/app/" + *app.package), i);
    }
    std::ranges::stable_sort(homes_, [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
}

std::optional<std::string> AppOwners::homeOf(const InstalledApp& app) const {
    if (app.source == "flatpak" && app.package) return "/var/lib/flatpak/app/" + *app.package;
    if (app.source == "snap" && app.package) return "/snap/" + *app.package;
    if (app.source == "appimage") return app.bundlePath;
    if (!app.programPath) return std::nullopt;
    if (std::optional<std::string> folder = folderBelow(*app.programPath, "/opt")) return folder;
    return folderBelow(*app.programPath, dataHome_);
}

std::optional<InstalledApp> AppOwners::appContaining(std::string_view path) const {
    const std::string standard = Paths::standardized(path);
    if (owners_ != nullptr) {
        // A path several packages list (/usr, /usr/share/icons) is none of theirs alone.
        const std::vector<std::string_view> packages = owners_->owners(standard);
        if (packages.size() == 1)
            if (const auto app = byPackage_.find(std::string(packages.front())); app != byPackage_.end()) return apps_[app->second];
        if (!packages.empty()) return std::nullopt;
    }
    for (const auto& [home, index] : homes_)
        if (Paths::isWithin(standard, home)) return apps_[index];
    return std::nullopt;
}

} // namespace tessel
