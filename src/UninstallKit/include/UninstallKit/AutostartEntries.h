#pragma once
// The desktop session's login items: the autostart entries of
// ~/.config/autostart and of each $XDG_CONFIG_DIRS/autostart (/etc/xdg/autostart),
// a user's file replacing the system's of the same name.

#include <string>
#include <utility>
#include <vector>

#include "UninstallKit/StartupItem.h"
#include "UninstallKit/StartupMachine.h"

namespace tessel::AutostartEntries {

// The autostart folders, the user's first.
std::vector<std::string> folders(const StartupMachine& machine);
// Every file of a desktop ID ("foo.desktop"), in the order of the folders: the first is the one that counts.
std::vector<std::string> filesOf(const StartupMachine& machine, const std::string& desktopId);

// One item per desktop ID; files that could not be read are added to `unreadable`.
std::vector<StartupItem> read(const StartupMachine& machine, std::vector<std::pair<std::string, std::string>>& unreadable);

} // namespace tessel::AutostartEntries
