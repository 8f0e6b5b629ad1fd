#pragma once
// The Mac's startup items: launch agents and daemons, privileged helper
// tools and system extensions, read from their property lists only; nothing
// is run and no service is asked. Linux has its own readers
// (LinuxStartupItems.h).

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "UninstallKit/InstalledApp.h"
#include "UninstallKit/StartupItem.h"

namespace tessel {

struct StartupItemLocation {
    std::string path;
    StartupItemKind kind = StartupItemKind::userAgent;
    bool requiresAdministrator = false;

    // ~/Library/LaunchAgents, /Library/LaunchAgents, /Library/LaunchDaemons, /Library/PrivilegedHelperTools.
    static std::vector<StartupItemLocation> standard(const std::string& home);
};

// One extension in the system's database of system extensions.
struct SystemExtensionRecord {
    std::string identifier;
    std::optional<std::string> state;
    std::vector<std::string> categories;
    std::optional<std::string> containerPath;
    std::optional<std::string> originPath;
    std::optional<std::string> stagedPath;
    std::vector<std::string> activatingApps;
    std::optional<std::string> uniqueID;

    // None when the database can't be read; records without an identifier are dropped.
    static std::optional<std::vector<SystemExtensionRecord>> read(const std::string& database);
    // "System extension" and the categories, joined with ", ".
    std::string describe() const;
};

class StartupItemReader {
public:
    static constexpr const char* standardSystemOverrides = "/private/var/db/com.apple.xpc.launchd/disabled.plist";
    static std::string standardUserOverrides(unsigned userId);
    // The pane of System Settings that shows login items: its name differs by system version.
    static std::string standardLoginItemsNote(const std::string& pane = "Login Items & Extensions");
    static constexpr const char* extensionsUnreadable = "System extensions could not be read without administrator rights.";

    StartupItemReader(std::vector<InstalledApp> installedApps, std::vector<StartupItemLocation> locations,
                      std::optional<std::string> systemExtensionsDatabase, std::optional<std::string> userOverrides,
                      std::optional<std::string> systemOverrides, std::function<std::int64_t(const std::string&)> sizeOf,
                      std::string home, std::vector<std::string> searchPath = {"/usr/local/bin", "/usr/bin", "/bin",
                                                                               "/usr/sbin", "/sbin"});

    StartupItemReport read() const;

private:
    std::vector<InstalledApp> apps_;
    std::vector<StartupItemLocation> locations_;
    std::optional<std::string> extensionsDatabase_, userOverrides_, systemOverrides_;
    std::function<std::int64_t(const std::string&)> sizeOf_;
    std::string home_;
    std::vector<std::string> searchPath_;
};

} // namespace tessel
