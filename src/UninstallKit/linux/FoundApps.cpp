// Putting together what each source knows of an app.
//
// The desktop entries say which apps there are, as the desktop shows them.
// An entry names its Flatpak (X-Flatpak) or its snap (X-SnapInstanceName),
// and those give the version and the folder that holds the whole app; an
// entry that runs an AppImage is given what the image itself says. An
// AppImage in the usual folders that no entry runs is an app too, named by
// the entry inside it, else by its file name.
//
// An entry whose program a package of the package database (dpkg) lists is
// that package's app: it takes the package's version, and is the system's
// own when the package is (Priority required or important, or Essential).
//
// Sizes are those of what is the app's alone: a Flatpak's deployment, a
// snap's image in /var/lib/snapd/snaps (its mounted folder where the image
// is missing), an AppImage's file, the files a package lists that no other
// package lists too. The runtimes and libraries apps share are nobody's.
//
// An app runs when a process runs its program (compared as real paths, as
// /proc gives them), when a Flatpak sandbox of its ID is alive, or when a
// unit is named for its desktop ID or its snap.

#include "UninstallKit/FoundApps.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "DiskScanKit/DiskScanner.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/AppImages.h"
#include "UninstallKit/DpkgDatabase.h"
#include "UninstallKit/SandboxedApps.h"

namespace tessel::FoundApps {

namespace {

namespace fs = std::filesystem;

std::string realPath(const std::string& path) {
    std::error_code error;
    const fs::path real = fs::canonical(path, error);
    return error ? path : real.string();
}

std::int64_t snapBytes(const std::string& root, const SnapApp& snap) {
    const std::string revision = snap.path.substr(snap.path.rfind('/') + 1);
    const std::string image = root + "/var/lib/snapd/snaps/" + snap.name + "_" + revision + ".snap";
    std::error_code error;
    if (fs::is_regular_file(image, error)) return DiskScanner::allocatedSize(image);
    return DiskScanner::allocatedSize(snap.path);
}

InstalledApp appOfImage(const AppImage& image, const DesktopMachine& machine) {
    InstalledApp app;
    app.bundlePath = image.path;
    app.entryPath = image.path;
    app.source = "appimage";
    app.version = image.version;
    const std::string fileName = image.path.substr(image.path.rfind('/') + 1);
    app.name = fileName.ends_with(".AppImage") ? fileName.substr(0, fileName.size() - 9) : fileName;
    if (image.desktopId) {
        app.desktopId = *image.desktopId;
        app.bundleIdentifier = image.desktopId->ends_with(".desktop") ? image.desktopId->substr(0, image.desktopId->size() - 8)
                                                                       : *image.desktopId;
    }
    if (image.desktopEntry)
        if (const DesktopEntry::Parse parsed = DesktopEntry::parse(*image.desktopEntry); parsed.entry) {
            app.name = parsed.entry->name(machine.locale).value_or(app.name);
            app.icon = parsed.entry->icon();
        }
    return app;
}

// The files `package` alone lists that are on the disk, in allocated bytes.
std::int64_t packageBytes(const std::string& root, const DpkgPackage& package, const PathOwners& owners) {
    const PackageContents contents = PackageReceipts::contents(root, package, owners);
    std::int64_t bytes = 0;
    for (const std::string& path : contents.existing) {
        struct stat info {};
        if (::lstat((root == "/" ? path : root + path).c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
        bytes += static_cast<std::int64_t>(info.st_blocks) * 512;
    }
    return bytes;
}

// Gives `entry` what the package that lists its program says of it.
void completeFromPackage(FoundApp& entry, const DesktopMachine& machine, const Packages& packages,
                         const std::map<std::string, DpkgPackage>& dpkg) {
    if (packages.owners == nullptr || !entry.app.programPath || entry.app.source != "other") return;
    std::vector<std::string_view> owners = packages.owners->owners(*entry.app.programPath);
    if (owners.empty()) {
        // A program reached through links the packages don't list (alternatives) is the file it leads to.
        if (const std::optional<std::string> real = machine.followLinks(*entry.app.programPath))
            owners = packages.owners->owners(*real);
    }
    if (owners.empty()) return;
    const std::string package(owners.front());
    const auto receipt = std::ranges::find(packages.receipts, package, &PackageReceipt::package);
    if (receipt == packages.receipts.end()) return;
    entry.app.source = "dpkg";
    entry.app.package = package;
    entry.app.isSystemApp = receipt->isSystem;
    if (!entry.app.version) entry.app.version = receipt->version;
    // A package whose record can't be read has no size we can tell.
    if (const auto record = dpkg.find(package); record != dpkg.end())
        entry.bytes = packageBytes(machine.root, record->second, *packages.owners);
}

} // namespace

FoundAppListing gather(const DesktopMachine& machine, const std::optional<std::string>& unsquashfs,
                       const RunningPrograms& running, const Packages& packages) {
    DesktopAppListing listing = AppCatalog::installedApps(machine);
    std::map<std::string, FlatpakApp> flatpaks;
    for (FlatpakApp& app : SandboxedApps::flatpaks(machine.root, machine.dataHome)) flatpaks.try_emplace(app.id, std::move(app));
    std::map<std::string, SnapApp> snaps;
    for (SnapApp& snap : SandboxedApps::snaps(machine.root)) snaps.try_emplace(snap.name, std::move(snap));
    std::vector<AppImage> images = AppImages::find(AppImages::usualFolders(machine.home), unsquashfs);
    std::vector<bool> imageHasEntry(images.size(), false);
    std::vector<std::string> imagePaths;
    for (const AppImage& image : images) imagePaths.push_back(realPath(image.path));
    // The package database's records, read once for every app it installed.
    const std::map<std::string, DpkgPackage> dpkg =
        packages.owners != nullptr ? DpkgDatabase::packagesOf(machine.root) : std::map<std::string, DpkgPackage>{};

    FoundAppListing found;
    found.unreadable = std::move(listing.unreadable);
    for (InstalledApp& app : listing.apps) {
        FoundApp entry;
        if (app.source == "flatpak" && app.package)
            if (const auto flatpak = flatpaks.find(*app.package); flatpak != flatpaks.end()) {
                if (!app.version) app.version = flatpak->second.version;
                entry.bytes = DiskScanner::allocatedSize(flatpak->second.deployPath);
            }
        if (app.source == "snap" && app.package)
            if (const auto snap = snaps.find(*app.package); snap != snaps.end()) {
                if (!app.version) app.version = snap->second.version;
                entry.bytes = snapBytes(machine.root, snap->second);
            }
        if (app.programPath) {
            const std::string program = realPath(machine.onDisk(*app.programPath));
            for (std::size_t i = 0; i < images.size(); ++i)
                if (imagePaths[i] == program) {
                    imageHasEntry[i] = true;
                    app.source = "appimage";
                    if (!app.version) app.version = images[i].version;
                    entry.bytes = images[i].bytes;
                }
        }
        entry.isRunning = runs(app, machine, running);
        entry.app = std::move(app);
        completeFromPackage(entry, machine, packages, dpkg);
        found.apps.push_back(std::move(entry));
    }
    for (std::size_t i = 0; i < images.size(); ++i) {
        if (imageHasEntry[i]) continue;
        FoundApp entry{appOfImage(images[i], machine), images[i].bytes, running.runs(imagePaths[i])};
        found.apps.push_back(std::move(entry));
    }
    std::ranges::stable_sort(found.apps, [](const FoundApp& a, const FoundApp& b) { return AppCatalog::nameOrder(a.app, b.app); });
    return found;
}

bool runs(const InstalledApp& app, const DesktopMachine& machine, const RunningPrograms& running) {
    if (app.programPath && running.runs(realPath(machine.onDisk(*app.programPath)))) return true;
    if (app.source == "appimage" && running.runs(realPath(app.bundlePath))) return true;
    return (app.package && running.runsApp(*app.package)) || (app.bundleIdentifier && running.runsApp(*app.bundleIdentifier));
}

MachinePackages MachinePackages::read(const std::string& root, const std::string& cacheFolder) {
    MachinePackages packages;
    try {
        packages.owners = PathOwners::cached(root, cacheFolder);
        packages.receipts = PackageReceipts::list(root);
    } catch (const DpkgError&) {
        packages = {};
    }
    return packages;
}

FoundAppListing onMachine(const DesktopMachine& machine, const MachinePackages& packages, const RunningPrograms& running) {
    return gather(machine, AppImages::systemUnsquashfs(), running, packages.view());
}

FoundAppListing onMachine(const DesktopMachine& machine, const std::string& cacheFolder, const RunningPrograms& running) {
    return onMachine(machine, MachinePackages::read(machine.root, cacheFolder), running);
}

} // namespace tessel::FoundApps
