#pragma once
// What an app left around the system: the entries of a fixed list of folders
// (settings, caches, data, logs, autostart entries, services) that belong to
// it, each with how sure that is and why. Residue is never taken from an app
// that is still installed: a name another app answers to is no one's here.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Base/Platform.h"
#include "UninstallKit/InstalledApp.h"

namespace tessel {

// How sure a match is, the surest first.
enum class MatchConfidence { exact, strong, likely, possible };

namespace MatchConfidences {
// "Certain", "Likely", "Possible", "Possible"
std::string_view label(MatchConfidence confidence);
std::string_view rawValue(MatchConfidence confidence);
} // namespace MatchConfidences

struct ResidueLocation {
    std::string path;
    std::string label;
    bool requiresAdministrator = false;
    // What an app keeps here may be the user's own work: shown, never ticked.
    bool mayHoldDocuments = false;

    // The Mac's folders under `home` and the system's.
    static std::vector<ResidueLocation> onMac(const std::string& home);
    // A Linux desktop's: the XDG folders of the user (given, as the
    // environment sets them), Flatpak's app folders, autostart, user services,
    // and the system's settings and data under `root`.
    struct LinuxFolders {
        std::string home, configHome, dataHome, cacheHome, stateHome, root = "/";
        // The user's folders as HOME and XDG_* set them.
        static LinuxFolders fromEnvironment(const std::string& home, const std::string& dataHome, const std::string& root);
    };
    static std::vector<ResidueLocation> onLinux(const LinuxFolders& folders);
};

struct ResidueItem {
    std::string path;
    std::int64_t bytes = 0;
    bool isDirectory = false;
    std::string locationLabel;
    bool requiresAdministrator = false;
    bool mayHoldDocuments = false;
    MatchConfidence confidence = MatchConfidence::possible;
    std::string reason;
    bool operator==(const ResidueItem&) const = default;
};

class ResidueScanner {
public:
    using Match = std::pair<MatchConfidence, std::string>;

    ResidueScanner(std::vector<InstalledApp> installedApps, std::vector<ResidueLocation> locations,
                   std::function<std::int64_t(const std::string&)> sizeOf, Platform platform = currentPlatform());

    // Surest first, then largest first.
    std::vector<ResidueItem> residue(const InstalledApp& app) const;
    // Whether the entry `name` of a location is the app's, and why.
    std::optional<Match> match(std::string_view name, const InstalledApp& app) const;
    // Whether an installed app other than `app` answers to `name`.
    bool claimant(std::string_view name, const InstalledApp& app) const;
    // Whether another installed app has the same name, folded.
    bool nameIsAmbiguous(const InstalledApp& app) const;

    // Folders shared by many apps of one vendor, or by the desktop itself: never one app's.
    static bool isSharedFolder(std::string_view foldedName);
    // The name an entry is for, with the ending its location gives it taken off (".plist", ".desktop"...).
    static std::string_view withoutEnding(std::string_view name);
    // The vendors whose names many apps and the system itself share: a name
    // under one of them is never one app's by its vendor alone.
    static const std::set<std::string>& platformPrefixes();

private:
    std::vector<InstalledApp> apps_;
    std::vector<ResidueLocation> locations_;
    std::function<std::int64_t(const std::string&)> sizeOf_;
    Platform platform_;
    std::map<std::string, int> appsPerVendor_;
};

} // namespace tessel
