// tessel launchers: the desktop's pinned launchers whose app is gone (GNOME's
// favourites, KDE Plasma's task manager), and, when asked, their removal.

#include <cstdio>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/AppLaunchers.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/DesktopLaunchers.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> launchersOptions{{"json", false}, {"root", true}, {"remove", false}};

} // namespace

int runLaunchers(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, launchersOptions);
    if (!arguments.positionals.empty())
        throw UsageError("launchers takes no path, not \"" + arguments.positionals.front() + "\"");
    const DesktopMachine machine = DesktopMachine::fromEnvironment(systemRoot(arguments));
    const std::shared_ptr<DesktopLaunchers> launchers =
        DesktopLaunchers::system(Paths::xdgFolder("XDG_CONFIG_HOME", machine.home, ".config"));
    const std::vector<DesktopLaunchers::Orphan> orphans = AppLaunchers::orphans(*launchers, AppCatalog::installedApps(machine));
    const bool remove = arguments.has("remove");
    if (remove) launchers->removeOrphans(orphans);
    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const DesktopLaunchers::Orphan& orphan : orphans) {
            nlohmann::ordered_json item;
            putName(item, "list", orphan.list);
            putName(item, "entry", orphan.entry);
            list.push_back(std::move(item));
        }
        printJson({{"orphans", std::move(list)}, {"removed", remove}});
        return exitSuccess;
    }
    if (orphans.empty()) std::printf("Every pinned launcher opens an installed app.\n");
    for (const DesktopLaunchers::Orphan& orphan : orphans)
        std::printf("%s (in %s)\n", printable(orphan.entry).c_str(), printable(orphan.list).c_str());
    if (!orphans.empty())
        std::printf(remove ? "%zu launchers of apps that are gone were taken off the desktop.\n"
                           : "%zu launchers open apps that are gone; --remove takes them off the desktop.\n",
                    orphans.size());
    return exitSuccess;
}

} // namespace tessel::cli
