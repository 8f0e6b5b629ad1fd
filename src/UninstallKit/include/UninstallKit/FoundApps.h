#pragma once
// The apps of a Linux machine with all that is known of each: the desktop
// entries' apps, completed by what Flatpak, snapd and the AppImages
// themselves say (version, size on disk), AppImages that have no entry, and
// which of them run now.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/PackageReceipts.h"
#include "UninstallKit/RunningPrograms.h"

namespace tessel {

struct FoundApp {
    InstalledApp app;
    // What it takes on disk, where its files are known to be its own.
    std::optional<std::int64_t> bytes;
    bool isRunning = false;
};

struct FoundAppListing {
    std::vector<FoundApp> apps; // sorted by name
    std::vector<std::pair<std::string, std::string>> unreadable;
};

namespace FoundApps {

// What the package database knows: who owns a path, and each package's record.
struct Packages {
    const PathOwners* owners = nullptr;
    std::vector<PackageReceipt> receipts;
};

// The package database of the machine whose "/" is `root`, its index of paths
// kept in `cacheFolder`; empty where it has none (another distribution, a
// described machine without one).
struct MachinePackages {
    std::optional<PathOwners> owners;
    std::vector<PackageReceipt> receipts;
    static MachinePackages read(const std::string& root, const std::string& cacheFolder);
    Packages view() const { return {owners ? &*owners : nullptr, receipts}; }
};

// `unsquashfs` reads AppImages (none: they are listed undescribed); `running` says what runs;
// `packages` gives the apps the package manager installed their package's version, size and standing.
FoundAppListing gather(const DesktopMachine& machine, const std::optional<std::string>& unsquashfs,
                       const RunningPrograms& running, const Packages& packages = {});

// Every app of `machine` as the app and the tool list them: described by this
// machine's unsquashfs, completed by its package database where it has one.
FoundAppListing onMachine(const DesktopMachine& machine, const MachinePackages& packages, const RunningPrograms& running);
FoundAppListing onMachine(const DesktopMachine& machine, const std::string& cacheFolder, const RunningPrograms& running);

// Whether `app` runs: its program, its Flatpak sandbox, or a unit named for it.
bool runs(const InstalledApp& app, const DesktopMachine& machine, const RunningPrograms& running);

} // namespace FoundApps

} // namespace tessel
