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

// What looks for residue on `machine`: its home's folders as the XDG variables
// name them, the system's under its root; `apps` are all the installed ones,
// whose names are theirs and no one else's residue.
ResidueScanner scannerOf(std::vector<InstalledApp> apps, const DesktopMachine& machine);
std::optional<std::string> handoffCommand(const InstalledApp& app, const DesktopMachine& machine);
UninstallPlan plan(const InstalledApp& app, const ResidueScanner& scanner, const DesktopMachine& machine, bool isRunning);
// What starts ticked, and all that may be: each plan's removable residue, and
// its own file or folder unless only an administrator can move it.
std::set<std::string> selectable(const std::vector<UninstallPlan>& plans);
// What goes to the Trash of `plans`, only what is in `selection`, each path once.
std::vector<DeletionCandidate> candidates(const std::vector<UninstallPlan>& plans, const std::set<std::string>& selection);

} // namespace UninstallPlanner

} // namespace tessel
