#pragma once
// What a Linux machine says about its software, gathered for the orphan
// hunter: what is installed besides the desktop's apps, and what is known to
// have been removed. Read from files only, under the machine's root.

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/PackageReceipts.h"
#include "UninstallKit/OrphanHunter.h"
#include "UninstallKit/PathOwners.h"

namespace tessel::OrphanEvidence {

// The packages a dpkg log's text says were removed or purged, without their ":ARCH".
std::set<std::string> removedInLog(std::string_view logText);

// `apps` are the machine's apps as found; `owners` and `packages` its package
// database (none and empty where it has none).
OrphanHunter::Knowledge ofLinux(const DesktopMachine& machine, const std::vector<InstalledApp>& apps, const PathOwners* owners,
                                const std::vector<PackageReceipt>& packages, RunningPrograms running);

// Every orphan of the machine: its apps, its package database (the index
// kept in `cacheFolder`), what runs in this session, and the residue
// folders of its user, as the tool and the app both look.
std::vector<OrphanItem> findOnLinux(const DesktopMachine& machine, const std::string& cacheFolder, std::int64_t now,
                                    const std::function<void(std::size_t done, std::size_t total)>& progress = {},
                                    const std::function<bool()>& isCancelled = {});

// The program a startup entry starts: an autostart entry's Exec, a user
// service's first ExecStart; none when it can't be read or is not there.
std::optional<std::string> startupProgram(const DesktopMachine& machine, const std::string& path);

} // namespace tessel::OrphanEvidence
