#pragma once
// What starts by itself: one launchd job, system extension, systemd unit,
// autostart entry or cron job, with what it runs, whether that is still
// there, whether it is on, and which installed app owns it and why.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "UninstallKit/InstalledApp.h"
#include "UninstallKit/Presence.h"
#include "UninstallKit/ResidueScanner.h"

namespace tessel {

// The Mac's five kinds first, then the four a Linux machine groups its items by.
enum class StartupItemKind {
    userAgent,
    globalAgent,
    daemon,
    helperTool,
    systemExtension,
    loginItem,         // an autostart entry of the desktop session
    backgroundService, // a user unit of systemd: a service, or the socket or path that starts one
    scheduledJob,      // a timer of systemd, a cron job
    systemService,     // a system unit of systemd
};

namespace StartupItemKinds {
// "Launch agent (your account)", ..., "Login item", "Background service", "Scheduled job", "System service".
std::string_view label(StartupItemKind kind);
// A group of them, as a list heads it: "Launch agents (your account)", "Login items"...
std::string_view title(StartupItemKind kind);
// The case's name, as a report gives it: "userAgent", "loginItem"...
std::string_view rawValue(StartupItemKind kind);
} // namespace StartupItemKinds

// Where a startup item was read from.
namespace StartupSources {
inline constexpr std::string_view launchd = "launchd", systemExtension = "systemExtension", systemd = "systemd",
                                  autostart = "autostart", cron = "cron";
}

struct StartupItem {
    std::string path; // the file that makes it start
    StartupItemKind kind = StartupItemKind::userAgent;
    std::string label;
    std::optional<std::string> program; // resolved; the script an interpreter runs, where it names one
    bool programExists = true;          // false only when the program is known to be missing
    bool runsAtLoad = false;
    bool keepAlive = false;
    bool disabled = false;
    std::optional<InstalledApp> owner;
    std::optional<MatchConfidence> ownerConfidence;
    std::string ownerReason;
    // Part of the operating system or of its desktop: Apple's own on the Mac,
    // on Linux systemd's, the desktop's or a base-system package's.
    bool isPlatform = false;
    bool requiresAdministrator = false;
    std::int64_t bytes = 0;
    bool isReadable = true;
    std::optional<std::string> pairedPath; // the job that starts a helper tool
    std::optional<std::string> detail;     // a sentence on what it does or why it can't

    std::string source;                  // one of StartupSources
    std::vector<std::string> arguments;  // what the program is given, the program itself left out
    // The apps it names as its own: a launchd job's AssociatedBundleIdentifiers,
    // an entry's X-Flatpak, the app `flatpak run` starts.
    std::vector<std::string> declaredApps;
    std::optional<std::string> package;  // the package that installed its file
    // The command that switches it off or on where Tessel doesn't: an
    // administrator's for a system item ("sudo systemctl disable cron.service"),
    // the user's own where only a tool of theirs can ("crontab -e").
    std::optional<std::string> changeCommand;
};

struct StartupItemReport {
    std::vector<StartupItem> items;
    bool systemExtensionsReadable = true;
    std::string loginItemsNote;
    // Files and folders passed over as unreadable: the path and why.
    std::vector<std::pair<std::string, std::string>> unreadable;
};

} // namespace tessel
