#pragma once
// The file of an app's icon, as its desktop entry names it: an absolute path,
// or a name looked for where apps install their icons, the hicolor theme of
// each data folder (the user's first) and the old pixmaps folder. Read from
// the folders only, under the machine's root.

#include <optional>
#include <string>

#include "UninstallKit/DesktopApps.h"

namespace tessel::AppIcons {

// The icon `icon` names on `machine`, as a path of this one: a scalable icon
// first, then the pictures from the sizes that draw best at a list's scale;
// none where no regular file answers.
std::optional<std::string> find(const std::string& icon, const DesktopMachine& machine);

} // namespace tessel::AppIcons
