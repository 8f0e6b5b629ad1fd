// Where each app lives whole.
//
// An app that keeps to a folder of its own is found by AppOwners' rules. A
// dpkg app's files are spread over /usr; what is its alone are the folders
// no other package lists, and of those only the topmost count, so that
// /usr/lib/chromium stands for everything below it. A path is a folder when
// the list holds a path below it (lists name folders before their contents).

#include "UninstallKit/AppHomes.h"

#include <algorithm>
#include <map>

#include "Base/Lines.h"
#include "UninstallKit/AppOwners.h"
#include "UninstallKit/DpkgDatabase.h"

namespace tessel::AppHomes {

std::vector<std::string> ownFolders(const std::vector<std::string>& listed, const PathOwners& owners) {
    std::vector<std::string> paths;
    for (const std::string& path : listed)
        if (path.size() > 1 && path.front() == '/') paths.push_back(owners.canonical(path));
    std::ranges::sort(paths);
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    std::vector<std::string> folders;
    for (std::size_t i = 0; i + 1 < paths.size(); ++i) {
        const std::string& path = paths[i];
        const bool isFolder = paths[i + 1].size() > path.size() && paths[i + 1].starts_with(path) && paths[i + 1][path.size()] == '/';
        if (!isFolder || owners.owners(path).size() != 1) continue;
        if (!folders.empty() && path.starts_with(folders.back()) && path[folders.back().size()] == '/') continue;
        folders.push_back(path);
    }
    return folders;
}

std::vector<AppHome> of(const std::vector<InstalledApp>& apps, const PathOwners* owners, const DesktopMachine& machine) {
    const AppOwners places(apps, owners, machine);
    std::map<std::string, DpkgPackage> packages;
    const std::string admin = dpkgAdminFolder(machine.root);
    if (owners != nullptr) try {
            for (DpkgPackage& package : DpkgDatabase::readStatus(admin)) packages.try_emplace(package.listName(), std::move(package));
        } catch (const DpkgError&) {
            packages.clear();
        }
    std::vector<AppHome> homes;
    for (const InstalledApp& app : apps) {
        AppHome home{app.name, {}};
        if (std::optional<std::string> place = places.homeOf(app)) home.paths.push_back(*place);
        if (app.source == "flatpak" && app.package) home.paths.push_back(machine.dataHome + "/flatpak/app/" + *app.package);
        if (home.paths.empty() && owners != nullptr && app.programPath) {
            const std::vector<std::string_view> listing = owners->owners(*app.programPath);
            const auto package = listing.size() == 1 ? packages.find(std::string(listing.front())) : packages.end();
            if (package != packages.end())
                if (const std::optional<std::string> list = DpkgDatabase::readFileList(admin, package->second)) {
                    std::vector<std::string> listed;
                    forEachLine(*list, [&](std::string_view line) { listed.emplace_back(line); });
                    home.paths = ownFolders(listed, *owners);
                }
        }
        if (!home.paths.empty()) homes.push_back(std::move(home));
    }
    return homes;
}

} // namespace tessel::AppHomes
