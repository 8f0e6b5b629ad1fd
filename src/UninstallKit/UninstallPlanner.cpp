// Planning an uninstall.
//
// Who put an app on the machine decides how it leaves. A package manager's
// app (dpkg, Flatpak, snap) is its package: moving its files would leave the
// package database claiming them, so the plan hands it off with the command
// that removes it, which asks for a password where it must (Tessel never
// does). An app the user put there (an AppImage, a folder unpacked by hand
// under the home's data folder or /opt) goes to the Trash like any file,
// past the guard, and its residue with it, so Put Back returns them together.

#include "UninstallKit/UninstallPlanner.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/AppOwners.h"

namespace tessel {

std::vector<ResidueItem> UninstallPlan::removable() const {
    std::vector<ResidueItem> items;
    std::ranges::copy_if(residue, std::back_inserter(items),
                         [](const ResidueItem& item) { return !item.requiresAdministrator && !item.mayHoldDocuments; });
    return items;
}

namespace UninstallPlanner {

ResidueScanner scannerOf(std::vector<InstalledApp> apps, const DesktopMachine& machine) {
    const auto folders = ResidueLocation::LinuxFolders::fromEnvironment(machine.home, machine.dataHome, machine.root);
    return ResidueScanner(std::move(apps), ResidueLocation::onLinux(folders),
                          [](const std::string& path) { return DiskScanner::allocatedSize(path); });
}

std::optional<std::string> handoffCommand(const InstalledApp& app, const DesktopMachine& machine) {
    if (!app.package) return std::nullopt;
    if (app.source == "dpkg") return "sudo apt remove " + *app.package;
    if (app.source == "snap") return "sudo snap remove " + *app.package;
    if (app.source == "flatpak") {
        // The user's own installation is removed without a password; the system's asks for one itself.
        const bool perUser = Paths::isWithin(app.entryPath, machine.dataHome) || Paths::isWithin(app.bundlePath, machine.dataHome);
        return "flatpak uninstall " + std::string(perUser ? "--user " : "") + *app.package;
    }
    return std::nullopt;
}

UninstallPlan plan(const InstalledApp& app, const ResidueScanner& scanner, const DesktopMachine& machine, bool isRunning) {
    UninstallPlan plan;
    plan.app = app;
    plan.isRunning = isRunning;
    plan.handoff = handoffCommand(app, machine);
    if (!plan.handoff) {
        const AppOwners owners({app}, nullptr, machine);
        if (std::optional<std::string> home = owners.homeOf(app)) {
            struct stat info {};
            const std::string onDisk = machine.onDisk(*home);
            if (::lstat(onDisk.c_str(), &info) == 0) {
                plan.bundlePath = onDisk;
                plan.bundleBytes = S_ISDIR(info.st_mode) ? DiskScanner::allocatedSize(onDisk)
                                                         : static_cast<std::int64_t>(info.st_blocks) * 512;
                const std::string parent = onDisk.substr(0, std::max<std::size_t>(onDisk.rfind('/'), 1));
                plan.bundleRequiresAdministrator = ::access(parent.c_str(), W_OK) != 0;
            }
        }
    }
    plan.residue = scanner.residue(app);
    return plan;
}

std::set<std::string> selectable(const std::vector<UninstallPlan>& plans) {
    std::set<std::string> ticked;
    for (const UninstallPlan& plan : plans) {
        if (plan.bundlePath && !plan.bundleRequiresAdministrator) ticked.insert(*plan.bundlePath);
        for (const ResidueItem& item : plan.removable()) ticked.insert(item.path);
    }
    return ticked;
}

std::vector<DeletionCandidate> candidates(const std::vector<UninstallPlan>& plans, const std::set<std::string>& selection) {
    std::vector<DeletionCandidate> found;
    std::set<std::string> taken;
    auto add = [&](const std::string& path, std::int64_t bytes, bool isDirectory) {
        if (selection.contains(path) && taken.insert(path).second) found.push_back({path, bytes, isDirectory});
    };
    for (const UninstallPlan& plan : plans) {
        if (plan.bundlePath && !plan.bundleRequiresAdministrator) {
            struct stat info {};
            add(*plan.bundlePath, plan.bundleBytes, ::lstat(plan.bundlePath->c_str(), &info) == 0 && S_ISDIR(info.st_mode));
        }
        for (const ResidueItem& item : plan.removable()) add(item.path, item.bytes, item.isDirectory);
    }
    return found;
}

} // namespace UninstallPlanner

} // namespace tessel
