#pragma once
// One launchd job, as its property list says it: what it is called, what it
// runs, when, and whether it is switched off; and the override databases in
// which launchctl keeps the switches it was asked to flip.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "UninstallKit/InstalledAppIndex.h"
#include "UninstallKit/StartupItem.h"

namespace tessel {

struct LaunchdJob {
    std::string path;
    std::string label; // the declared label, else the file name less ".plist"
    std::optional<std::string> declaredLabel;
    bool isReadable = false;
    std::optional<std::string> programKey;    // "Program"
    std::optional<std::string> bundleProgram; // "BundleProgram", relative to the app that declares it
    std::vector<std::string> arguments;       // "ProgramArguments"
    std::vector<std::string> associatedBundleIdentifiers;
    bool runsAtLoad = false;
    bool keepAlive = false; // true, or a dictionary of conditions under which it is kept running
    bool disabled = false;
    std::optional<std::string> danglingDestination; // where a link that leads nowhere points

    struct Program {
        std::optional<std::string> path;
        Presence presence = Presence::unknown;
    };

    // Larger than any job file: they hold a few keys.
    static constexpr long long maxFileBytes = 1 << 20;

    // Never fails: a file that can't be read is a job that says so.
    static LaunchdJob read(const std::string& path);
    // What the job runs, resolved: an interpreter's script, a bare name found
    // in `searchPath`, "~" made `home`.
    Program program(const InstalledAppIndex& index, const std::vector<std::string>& searchPath,
                    const std::string& home) const;
    static std::optional<std::string> target(const std::vector<std::string>& arguments);
    static bool isInterpreter(const std::string& path);
};

namespace LaunchdOverrides {
// Label → disabled, from one of launchd's override databases; empty when it can't be read.
std::map<std::string, bool> read(const std::string& path);
} // namespace LaunchdOverrides

} // namespace tessel
