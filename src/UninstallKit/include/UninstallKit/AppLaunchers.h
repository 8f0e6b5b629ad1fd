#pragma once
// The trash service's view of a Linux desktop's launchers: when what moved to
// the Trash is an app (its program, its AppImage, its folder, or its desktop
// entry), its launchers go with it, and come back with it.

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "TrashKit/LauncherTiles.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/DesktopLaunchers.h"
#include "UninstallKit/InstalledApp.h"

namespace tessel {

class AppLaunchers final : public LauncherTiles {
public:
    // `apps` lists the installed apps as they are now.
    AppLaunchers(std::shared_ptr<DesktopLaunchers> launchers, std::function<std::vector<InstalledApp>()> apps);

    // Looks at the apps before anything moves: an app's entry that went to the
    // Trash is no longer there to say which app it was.
    void prepare() override;
    void remove(const std::vector<std::pair<std::string, std::string>>& moved) override;
    void restore(const std::vector<std::string>& originalPaths) override;

    // The desktop IDs of the apps among `apps` that `path` is, or holds.
    static std::vector<std::string> desktopIdsAt(const std::string& path, const std::vector<InstalledApp>& apps);
    // The pinned launchers of apps that `listing` doesn't hold. An entry that
    // could not be read may still be an installed app's: its launcher is no orphan.
    static std::vector<DesktopLaunchers::Orphan> orphans(DesktopLaunchers& launchers, const DesktopAppListing& listing);

private:
    std::shared_ptr<DesktopLaunchers> launchers_;
    std::function<std::vector<InstalledApp>()> apps_;
    std::mutex lock_;
    std::vector<InstalledApp> known_;
    std::map<std::string, std::vector<std::string>> takenFor_; // original path → desktop IDs
};

} // namespace tessel
