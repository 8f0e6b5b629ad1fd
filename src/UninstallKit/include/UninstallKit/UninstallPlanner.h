#pragma once
// An app and what it left, put into one plan: what goes to the Trash (the
// app itself, when the user put it there: an AppImage, an app unpacked by
// hand; its residue), and what is handed off, as an app a package manager
// owns is never taken apart file by file: the exact command that removes it.

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "TrashKit/DeletionGuard.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/ResidueScanner.h"

namespace tessel {

struct UninstallPlan {
    InstalledApp app;
    // The app's own file or folder, where it goes to the Trash; none for an app a package manager owns.
    std::optional<std::string> bundlePath;
    std::int64_t bundleBytes = 0;
    bool bundleRequiresAdministrator = false;
    // The command that removes an app its package manager owns ("flatpak uninstall --user ID").
    std::optional<std::string> handoff;
    std::vector<ResidueItem> residue;
    bool isRunning = false;

    // The residue that can go to the Trash and may be ticked: not what needs
    // an administrator, nor what may hold the user's documents.
    std::vector<ResidueItem> removable() const;
};

namespace UninstallPlanner {

std::optional<std::string> handoffCommand(const InstalledApp& app, const DesktopMachine& machine);
UninstallPlan plan(const InstalledApp& app, const ResidueScanner& scanner, const DesktopMachine& machine, bool isRunning);
// What goes to the Trash of `plans`, only what is in `selection`, each path once.
std::vector<DeletionCandidate> candidates(const std::vector<UninstallPlan>& plans, const std::set<std::string>& selection);

} // namespace UninstallPlanner

} // namespace tessel
