#pragma once
// The systemd units that start by themselves, read from their files only:
// nothing is run and no manager is asked. A unit is on when a link to it
// sits in a ".wants" or ".requires" folder (or an alias names it), off when
// it could be switched on but isn't, and masked when its file is a link to
// /dev/null. Services, and the timers, sockets and paths that start them.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "UninstallKit/StartupItem.h"
#include "UninstallKit/StartupMachine.h"
#include "UninstallKit/SystemdUnitFile.h"

namespace tessel::SystemdUnits {

enum class Scope { system, user };

// Where systemd looks for units of the scope, the most important first: for
// the system /etc, /run and /usr/lib; for the user also ~/.config/systemd/user,
// the XDG folders and the runtime folder.
std::vector<std::string> searchPaths(const StartupMachine& machine, Scope scope);

// The folders programs of ExecStart= are looked for in when named bare.
const std::vector<std::string>& programFolders();

using Unreadable = std::vector<std::pair<std::string, std::string>>;

// Every unit of the scope that is on, could be switched on, or is masked;
// files that could not be read are added to `unreadable`.
std::vector<StartupItem> read(const StartupMachine& machine, Scope scope, Unreadable& unreadable);

// One unit as systemd would load it: its file with the drop-ins applied.
struct LoadedUnit {
    std::string path; // the file, as the search path holds it
    SystemdUnitFile file;
};
// None when no search path holds it (an instance falls back on its template).
std::optional<LoadedUnit> load(const StartupMachine& machine, Scope scope, const std::string& name,
                               Unreadable* unreadable = nullptr);

// The links in `folder` and in its ".wants" and ".requires" folders that
// switch `name` on: those named for it, and aliases leading to its file.
std::vector<std::string> enablingLinks(const StartupMachine& machine, const std::string& folder, const std::string& name);

} // namespace tessel::SystemdUnits
