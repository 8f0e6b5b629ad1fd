#pragma once
// The places of a Linux machine that say what starts by itself: the desktop
// machine's (its root, home, programs) and the user's configuration folders,
// runtime folder, desktop and account, as the environment gives them.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Base/SmallFile.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/StartupItem.h"

namespace tessel {

struct StartupMachine : DesktopMachine {
    std::string configHome;              // $XDG_CONFIG_HOME, else ~/.config
    std::vector<std::string> configDirs; // $XDG_CONFIG_DIRS, else /etc/xdg
    std::string runtimeDir;              // $XDG_RUNTIME_DIR, else /run/user/UID
    std::vector<std::string> desktops;   // $XDG_CURRENT_DESKTOP, split at ":"; none outside a desktop session
    std::string userName;                // $USER, else $LOGNAME, else the account's
    unsigned userId = 0;

    static StartupMachine fromEnvironment(const std::string& root);

    // The data folders other than the user's own: $XDG_DATA_DIRS.
    std::vector<std::string> systemDataFolders() const;

    // A file of the machine read whole through its links, as a foreign file
    // is read: at most `limit` bytes, never a pipe or a device.
    SmallFileRead read(const std::string& path, long long limit) const;
    // What the file at the end of a path's links takes on disk; 0 when it can't be looked at.
    std::int64_t allocatedBytes(const std::string& path) const;
    // Where a link at `path` that leads nowhere pointed; none for anything else.
    std::optional<std::string> danglingDestination(const std::string& path) const;

    // The program a command's first word names: an absolute path as it
    // stands, "~/" in the home, a bare name in the first of `folders` that
    // holds it, and kept as named when none does.
    struct Located {
        std::string path;
        Presence presence = Presence::unknown;
        std::optional<std::string> danglingDestination;
    };
    Located locate(const std::string& command, const std::vector<std::string>& folders) const;

    // Sets what `item` runs from its command's words: the program (or the
    // script an interpreter runs, or what env starts) located in `folders`,
    // the words after the first as its arguments, the app a `flatpak run`
    // declares, and a sentence after its detail when the program is missing.
    void describeCommand(StartupItem& item, const std::vector<std::string>& words,
                         const std::vector<std::string>& folders) const;
};

} // namespace tessel
