// What a package carries, by where its files go.
//
// Each kind of name has one folder the desktop reads it from, and the file's
// name without its suffix is the name:
//   applications/ID.desktop         another desktop ID (a settings panel, a helper)
//   dbus-1/services/NAME.service    a D-Bus name the session starts it for
//   systemd/user/UNIT.service       a user unit (.timer and .socket too)
//   xdg/autostart/ID.desktop        an entry that starts with the session
// A dpkg package lists them under /usr/share, /usr/lib (or /lib) and /etc; a
// Flatpak exports them under its deployment's export/share.

#include "UninstallKit/CarriedNames.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "UninstallKit/DpkgDatabase.h"
#include "UninstallKit/SandboxedApps.h"

namespace tessel::CarriedNames {

namespace {

struct Place {
    std::string_view folder; // ends with '/'
    std::vector<std::string_view> suffixes;
};

const std::vector<Place>& places() {
    static const std::vector<Place> list{
        {"/applications/", {".desktop"}},
        {"/dbus-1/services/", {".service"}},
        {"/systemd/user/", {".service", ".timer", ".socket"}},
        {"/xdg/autostart/", {".desktop"}},
    };
    return list;
}

std::optional<std::string> nameAt(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return std::nullopt;
    const std::string_view folder = path.substr(0, slash + 1), file = path.substr(slash + 1);
    for (const Place& place : places()) {
        if (!folder.ends_with(place.folder)) continue;
        for (std::string_view suffix : place.suffixes)
            if (file.size() > suffix.size() && file.ends_with(suffix)) return std::string(file.substr(0, file.size() - suffix.size()));
    }
    return std::nullopt;
}

std::vector<std::string> exportedPaths(const std::string& exportFolder) {
    std::vector<std::string> paths;
    std::error_code error;
    for (std::filesystem::recursive_directory_iterator entry(exportFolder, error), end; !error && entry != end;
         entry.increment(error))
        paths.push_back(entry->path().string());
    return paths;
}

} // namespace

std::vector<std::string> fromPaths(const std::vector<std::string>& paths, std::string_view ownDesktopId) {
    std::string own(ownDesktopId);
    if (own.ends_with(".desktop")) own.resize(own.size() - 8);
    std::set<std::string> names;
    for (const std::string& path : paths)
        if (std::optional<std::string> name = nameAt(path); name && *name != own) names.insert(std::move(*name));
    return {names.begin(), names.end()};
}

void fill(std::vector<InstalledApp>& apps, const PathOwners* owners, const DesktopMachine& machine) {
    const std::string admin = dpkgAdminFolder(machine.root);
    const std::map<std::string, DpkgPackage> packages =
        owners != nullptr ? DpkgDatabase::packagesOf(machine.root) : std::map<std::string, DpkgPackage>{};
    std::map<std::string, std::string> flatpakDeployments;
    for (const FlatpakApp& flatpak : SandboxedApps::flatpaks(machine.root, machine.dataHome))
        flatpakDeployments.try_emplace(flatpak.id, flatpak.deployPath);

    for (InstalledApp& app : apps) {
        std::vector<std::string> paths;
        if (app.source == "flatpak" && app.package) {
            if (const auto deploy = flatpakDeployments.find(*app.package); deploy != flatpakDeployments.end())
                paths = exportedPaths(deploy->second + "/export/share");
        } else if (owners != nullptr && app.programPath) {
            const std::vector<std::string_view> listing = owners->owners(*app.programPath);
            if (listing.size() != 1) continue;
            const auto package = packages.find(std::string(listing.front()));
            if (package == packages.end()) continue;
            const std::optional<std::string> list = DpkgDatabase::readFileList(admin, package->second);
            if (!list) continue;
            paths = DpkgDatabase::listedPaths(*list);
        }
        app.carries = fromPaths(paths, app.desktopId);
    }
}

} // namespace tessel::CarriedNames
