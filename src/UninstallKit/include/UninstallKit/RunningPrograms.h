#pragma once
// What runs on the machine at one moment, as much as an ordinary user may
// see of it: the programs of every process, the Flatpak apps that have an
// instance, and the apps that systemd scopes and services are named for.
// An app counts as running when its program, its Flatpak ID or its desktop
// ID shows up here. Read from files only; see linux/RunningPrograms.cpp.

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

namespace tessel {

struct RunningPrograms {
    // The real paths of what the processes run (the targets of /proc/PID/exe).
    std::unordered_set<std::string> executables;
    // IDs of the Flatpak apps with an instance in the runtime folder.
    std::unordered_set<std::string> flatpakApps;
    // App IDs (desktop IDs without ".desktop", snap names) of the scopes and
    // services processes run in.
    std::unordered_set<std::string> launchedApps;
    // The names the user's own processes go by: the kernel's (cut to 15
    // bytes), their program's and their first argument's base names, and for
    // an interpreter the script's.
    std::unordered_set<std::string> names;

    bool runs(std::string_view executable) const { return executables.contains(std::string(executable)); }
    bool runsApp(std::string_view appId) const {
        const std::string id(appId);
        return flatpakApps.contains(id) || launchedApps.contains(id);
    }

    bool runsNamed(std::string_view name) const { return names.contains(std::string(name)); }

    // `proc` stands for /proc and `runtimeFolder` for $XDG_RUNTIME_DIR (none: no Flatpak instances are read).
    static RunningPrograms read(const std::string& proc = "/proc", const std::optional<std::string>& runtimeFolder = {});
    // What runs in this session: `proc`, and the runtime folder $XDG_RUNTIME_DIR names.
    static RunningPrograms inThisSession(const std::string& proc = "/proc");
    // The app a cgroup's last part is named for: "app-gnome-org.gnome.Maps-1234.scope" → org.gnome.Maps,
    // "app-flatpak-org.gimp.GIMP-5678.scope" → org.gimp.GIMP, "snap.firefox.firefox-1c2d.scope" → firefox.
    static std::optional<std::string> appOfUnit(std::string_view unit);
    // A program that runs a script named by its next argument: a shell, python3, perl, node...
    static bool isInterpreter(std::string_view programName);
};

} // namespace tessel
