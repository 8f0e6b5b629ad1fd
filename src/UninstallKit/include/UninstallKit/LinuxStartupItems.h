#pragma once
// Everything that starts by itself on a Linux machine, and who owns it:
// systemd's units, the system's and the user's, the session's autostart
// entries and cron's jobs, each judged by the startup owner matcher against
// the installed apps and the package that installed its file.

#include <set>
#include <string>
#include <vector>

#include "UninstallKit/InstalledApp.h"
#include "UninstallKit/PathOwners.h"
#include "UninstallKit/StartupItem.h"
#include "UninstallKit/StartupMachine.h"

namespace tessel {

struct StartupOwnership {
    std::vector<InstalledApp> apps; // with what each carries (CarriedNames::fill)
    const PathOwners* owners = nullptr; // none where there is no package database
    // The packages of the base system and of the installed desktop: what they install is the platform's own.
    std::set<std::string> platformPackages;
};

namespace LinuxStartupItems {

// Read and judged, sorted by kind, then label.
StartupItemReport read(const StartupMachine& machine, const StartupOwnership& ownership);
// Read and judged by what the machine itself records: its installed apps with
// what each carries and, where a package database lies under its root, the
// package of each file (its index of paths kept in `cacheFolder`) and the
// packages of the base system. Without a database the items are still judged.
StartupItemReport readJudgedByMachine(const StartupMachine& machine, const std::string& cacheFolder);

// Sets each item's owner, confidence and reason, its package and whether it is the platform's own.
void judge(std::vector<StartupItem>& items, const StartupMachine& machine, const StartupOwnership& ownership);

// The name an app's identifier would be compared with: a unit's without its
// type and instance ("foo" of "foo@1.service"), an entry's ID, a cron file's name.
std::string ownerName(const StartupItem& item);

} // namespace LinuxStartupItems
} // namespace tessel
