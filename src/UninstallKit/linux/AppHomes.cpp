// Where each app lives whole.
//
// An app that keeps to a folder of its own is found by AppOwners' rules. A
// dpkg app's files are spread over /usr, and often over several packages
// built from one source (chromium and chromium-common share
// /usr/lib/chromium). What is the app's alone are the folders that only
// packages of that source list, found in all of their lists, and of those
// only the topmost count, so that /usr/lib/chromium stands for everything
// below it; beside them, the files only that source lists that lie in shared
// folders (/usr/bin/chromium), so that the app's places sum to its size with
// nothing counted twice and no shared folder counted at all. A path is a
// folder when the list holds a path below it (lists name folders before their
// contents).

#include "UninstallKit/AppHomes.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "UninstallKit/AppOwners.h"
#include "UninstallKit/DpkgDatabase.h"

namespace tessel::AppHomes {

std::vector<std::string> ownPlaces(const std::vector<std::string>& listed, const PathOwners& owners,
                                    const std::set<std::string>& family) {
    std::vector<std::string> paths;
    for (const std::string& path : listed) paths.push_back(owners.canonical(path));
    std::ranges::sort(paths);
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    std::vector<std::string> places;
    std::set<std::string> taken;
    // Sorted, a folder comes before what is in it, but "x-y" may come between "x" and "x/z".
    auto holdsSomething = [&](const std::string& path) {
        const auto next = std::ranges::lower_bound(paths, path + "/");
        return next != paths.end() && next->starts_with(path + "/");
    };
    auto insideTaken = [&](std::string_view path) {
        for (std::size_t slash = path.rfind('/'); slash != std::string_view::npos && slash > 0; slash = path.rfind('/', slash - 1))
            if (taken.contains(std::string(path.substr(0, slash)))) return true;
        return false;
    };
    for (const std::string& path : paths) {
        if (insideTaken(path)) continue;
        const std::vector<std::string_view> listedBy = owners.owners(path);
        if (listedBy.empty() ||
            !std::ranges::all_of(listedBy, [&](std::string_view package) { return family.contains(std::string(package)); }))
            continue;
        if (holdsSomething(path)) taken.insert(path);
        places.push_back(path);
    }
    return places;
}

std::vector<AppHome> of(const std::vector<InstalledApp>& apps, const PathOwners* owners, const DesktopMachine& machine) {
    const AppOwners places(apps, owners, machine);
    const std::string admin = dpkgAdminFolder(machine.root);
    const std::map<std::string, DpkgPackage> packages =
        owners != nullptr ? DpkgDatabase::packagesOf(machine.root) : std::map<std::string, DpkgPackage>{};
    std::map<std::string, std::set<std::string>> bySource; // source → the packages built from it
    for (const auto& [name, package] : packages) bySource[package.sourceName()].insert(name);
    std::vector<AppHome> homes;
    for (const InstalledApp& app : apps) {
        AppHome home{app.name, {}};
        if (std::optional<std::string> place = places.homeOf(app)) home.paths.push_back(*place);
        if (app.source == "flatpak" && app.package) home.paths.push_back(machine.dataHome + "/flatpak/app/" + *app.package);
        if (home.paths.empty() && owners != nullptr && app.programPath) {
            const std::vector<std::string_view> listing = owners->owners(*app.programPath);
            const auto package = listing.size() == 1 ? packages.find(std::string(listing.front())) : packages.end();
            if (package != packages.end()) {
                // What every package of its source lists: vim's program is in vim, its runtime in vim-runtime.
                const std::set<std::string>& family = bySource[package->second.sourceName()];
                std::vector<std::string> listed;
                for (const std::string& member : family)
                    if (const auto found = packages.find(member); found != packages.end())
                        if (const std::optional<std::string> list = DpkgDatabase::readFileList(admin, found->second))
                            std::ranges::move(DpkgDatabase::listedPaths(*list), std::back_inserter(listed));
                home.paths = ownPlaces(listed, *owners, family);
            }
        }
        if (!home.paths.empty()) homes.push_back(std::move(home));
    }
    return homes;
}

} // namespace tessel::AppHomes
