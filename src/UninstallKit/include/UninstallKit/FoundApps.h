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

// `unsquashfs` reads AppImages (none: they are listed undescribed); `running` says what runs.
FoundAppListing gather(const DesktopMachine& machine, const std::optional<std::string>& unsquashfs,
                       const RunningPrograms& running);

} // namespace FoundApps

} // namespace tessel
