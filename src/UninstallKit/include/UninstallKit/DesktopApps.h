#pragma once
// The apps of a Linux machine: the desktop entries of its applications
// folders, the user's own first.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "UninstallKit/DesktopEntry.h"
#include "UninstallKit/InstalledApp.h"

namespace tessel {

// Where a machine keeps its desktop entries and programs. Paths are the
// machine's own; a system path is read under `root` (a test or --root
// describes a whole machine in a folder), the home's paths as they are.
struct DesktopMachine {
    std::string root = "/";
    std::string home;
    std::string dataHome; // $XDG_DATA_HOME, else ~/.local/share
    // Each holds an "applications" folder: the data home, then $XDG_DATA_DIRS in order.
    std::vector<std::string> dataFolders;
    std::vector<std::string> programFolders; // $PATH
    MessagesLocale locale;

    // From HOME, XDG_DATA_HOME, XDG_DATA_DIRS, PATH and the locale variables.
    static DesktopMachine fromEnvironment(const std::string& root);
    // The absolute folders of a colon-separated list ($PATH, $XDG_DATA_DIRS),
    // standardised, in order; a relative one is passed over, as the standards say.
    static std::vector<std::string> absoluteFolders(std::string_view list);

    // Where a path of the machine is read on this one.
    std::string onDisk(const std::string& path) const;
    // The path a chain of links at `path` ends at, a link's absolute target
    // taken on the machine; none for a dangling link or a loop.
    std::optional<std::string> followLinks(const std::string& path) const;
    // The executable file a command names: an absolute path, or a name looked
    // for in the program folders. None when there is no such executable.
    std::optional<std::string> program(const std::string& command) const;
};

struct DesktopAppListing {
    std::vector<InstalledApp> apps;
    // Entries and folders passed over as unreadable: the path and why.
    std::vector<std::pair<std::string, std::string>> unreadable;
};

namespace AppCatalog {

// Every app the machine's desktop entries show or keep: entries of type
// Application, neither hidden nor missing their TryExec program, the first
// file of each desktop ID winning; sorted by name.
DesktopAppListing installedApps(const DesktopMachine& machine);
// The program a command line runs: "env A=1 viewer" runs viewer.
std::string programOf(const std::vector<std::string>& exec);

// The desktop ID of the first of `apps` whose entry says it opens links of
// `scheme` (MimeType x-scheme-handler/SCHEME, as the desktop's own lookup
// reads it): "appstream" finds a software centre. None where no app does.
std::optional<std::string> schemeHandler(const std::vector<InstalledApp>& apps, const DesktopMachine& machine,
                                         std::string_view scheme);

} // namespace AppCatalog
} // namespace tessel
