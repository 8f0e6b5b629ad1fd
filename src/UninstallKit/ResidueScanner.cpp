// Deciding which entries of the residue folders are an app's.
//
// An entry's name is compared with what the app answers to, surest first:
// its identifier (the Mac's bundle identifier, Linux's desktop ID), the
// package it came from and the names that package carries (other desktop
// entries, D-Bus services, user units, autostart entries), then its program's
// name, then its display name folded to letters and digits, then its
// vendor's prefix. A name is only ever one app's: folders a vendor's apps
// share ("google", "mozilla") or the desktop keeps for everyone ("autostart",
// "icons") belong to none, and a name that another installed app answers to
// is not residue of this one, however well it fits. A display name two apps
// share is never strong evidence, and one of three letters never even
// possible: "Vim" would find "vimrc-backup" and "sevim".

#include "UninstallKit/ResidueScanner.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <set>

#include "Base/AsciiCase.h"
#include "Base/FolderNames.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/ReverseDns.h"

namespace tessel {

namespace MatchConfidences {

std::string_view label(MatchConfidence confidence) {
    switch (confidence) {
    case MatchConfidence::exact: return "Certain";
    case MatchConfidence::strong: return "Likely";
    case MatchConfidence::likely: return "Possible";
    case MatchConfidence::possible: return "Possible";
    }
    return "Possible";
}

std::string_view rawValue(MatchConfidence confidence) {
    switch (confidence) {
    case MatchConfidence::exact: return "exact";
    case MatchConfidence::strong: return "strong";
    case MatchConfidence::likely: return "likely";
    case MatchConfidence::possible: return "possible";
    }
    return "possible";
}

} // namespace MatchConfidences

namespace {

// The endings a location's entries carry beside the name they are for.
constexpr std::array<std::string_view, 11> endings{".plist", ".savedState", ".binarycookies", ".log", ".desktop", ".service",
                                                   ".timer", ".json", ".png", ".svg", ".xpm"};

// The entries of a location, as paths below it. An icon theme keeps an app's
// icon three folders down, THEME/SIZE/CONTEXT/NAME.png: its entries are those.
std::vector<std::string> entriesOf(const ResidueLocation& location) {
    if (location.label != "Icons") return folderNames(location.path);
    std::vector<std::string> icons;
    for (const std::string& theme : folderNames(location.path))
        for (const std::string& size : folderNames(location.path + "/" + theme))
            for (const std::string& context : folderNames(location.path + "/" + theme + "/" + size))
                for (const std::string& icon : folderNames(location.path + "/" + theme + "/" + size + "/" + context))
                    icons.push_back(theme + "/" + size + "/" + context + "/" + icon);
    return icons;
}

} // namespace

const std::set<std::string>& ResidueScanner::platformPrefixes() {
    static const std::set<std::string> prefixes{"com.apple", "apple.com", "com.microsoft.office", "org.swift", "org.gnome",
                                                "org.kde", "org.freedesktop"};
    return prefixes;
}

std::vector<ResidueLocation> ResidueLocation::onMac(const std::string& home) {
    const std::string library = home + "/Library/";
    return {
        {library + "Application Support", "Application Support", false, false},
        {library + "Caches", "Caches", false, false},
        {library + "Preferences", "Preferences", false, false},
        {library + "Containers", "Container", false, false},
        {library + "Group Containers", "Group Container", false, false},
        {library + "Saved Application State", "Saved State", false, false},
        {library + "HTTPStorages", "HTTP Storage", false, false},
        {library + "WebKit", "WebKit Data", false, false},
        {library + "Logs", "Logs", false, false},
        {library + "Cookies", "Cookies", false, false},
        {library + "LaunchAgents", "Launch Agent", false, false},
        {library + "Internet Plug-Ins", "Plug-in", false, false},
        {library + "Application Scripts", "App Script", false, false},
        {"/Library/Application Support", "Application Support (shared)", true, false},
        {"/Library/Preferences", "Preferences (shared)", true, false},
        {"/Library/LaunchAgents", "Launch Agent (shared)", true, false},
        {"/Library/LaunchDaemons", "Launch Daemon", true, false},
        {"/Library/PrivilegedHelperTools", "Helper Tool", true, false},
    };
}

ResidueLocation::LinuxFolders ResidueLocation::LinuxFolders::fromEnvironment(const std::string& home, const std::string& dataHome,
                                                                           const std::string& root) {
    return {home, Paths::xdgFolder("XDG_CONFIG_HOME", home, ".config"), dataHome, Paths::xdgFolder("XDG_CACHE_HOME", home, ".cache"),
            Paths::xdgFolder("XDG_STATE_HOME", home, ".local/state"), root};
}

std::vector<ResidueLocation> ResidueLocation::onLinux(const LinuxFolders& folders) {
    const std::string root = folders.root == "/" ? std::string() : folders.root;
    return {
        {folders.configHome, "Settings", false, false},
        {folders.dataHome, "App Data", false, false},
        {folders.cacheHome, "Caches", false, false},
        {folders.stateHome, "State", false, false},
        // A sandboxed app keeps everything of its own here, documents too.
        {folders.home + "/.var/app", "Sandboxed App Data", false, true},
        {folders.configHome + "/autostart", "Autostart Entry", false, false},
        {folders.configHome + "/systemd/user", "User Service", false, false},
        {folders.dataHome + "/applications", "Desktop Entry", false, false},
        {folders.dataHome + "/icons", "Icons", false, false},
        {folders.home + "/.mozilla/native-messaging-hosts", "Browser Helper", false, false},
        {root + "/etc", "System Settings", true, false},
        {root + "/var/lib", "System Data", true, false},
        {root + "/var/log", "System Logs", true, false},
        {root + "/opt", "Installed Software", true, false},
    };
}

std::string_view ResidueScanner::withoutEnding(std::string_view name) {
    for (std::string_view ending : endings)
        if (name.size() > ending.size() && name.ends_with(ending)) return name.substr(0, name.size() - ending.size());
    return name;
}

bool ResidueScanner::isSharedFolder(std::string_view foldedName) {
    static const std::set<std::string, std::less<>> shared{
        // Vendors with many apps, and the Mac's own.
        "adobe", "apple", "google", "microsoft", "mozilla", "steam", "epicgames", "crashreporter", "mobilesync",
        "addressbook", "syncservices", "ubiquity", "icloud", "comappletcc", "coresimulator", "jetbrains", "unity",
        // What a Linux desktop keeps for every app.
        "autostart", "systemd", "applications", "icons", "mime", "trash", "keyrings", "dconf", "pulse", "fontconfig",
        "fonts", "themes", "sounds", "flatpak", "gvfsmetadata", "recentlyusedxbel", "userdirsdirs", "mimeappslist",
        "gtk30", "gtk40", "xdgdesktopportal", "nativemessaginghosts", "tessel"};
    return shared.contains(foldedName);
}

ResidueScanner::ResidueScanner(std::vector<InstalledApp> installedApps, std::vector<ResidueLocation> locations,
                               std::function<std::int64_t(const std::string&)> sizeOf, Platform platform)
    : apps_(std::move(installedApps)), locations_(std::move(locations)), sizeOf_(std::move(sizeOf)), platform_(platform) {
    for (const InstalledApp& app : apps_)
        if (const std::optional<std::string> vendor = app.developerPrefix()) ++appsPerVendor_[*vendor];
}

bool ResidueScanner::nameIsAmbiguous(const InstalledApp& app) const {
    const std::string folded = ReverseDns::fold(app.name);
    return std::ranges::any_of(apps_, [&](const InstalledApp& other) {
        return !(other == app) && other.bundlePath != app.bundlePath && ReverseDns::fold(other.name) == folded;
    });
}

bool ResidueScanner::claimant(std::string_view name, const InstalledApp& app) const {
    const std::string lower = asciiLower(name);
    const std::string folded = ReverseDns::fold(name);
    return std::ranges::any_of(apps_, [&](const InstalledApp& other) {
        if (other.bundlePath == app.bundlePath && other.name == app.name) return false;
        if (other.bundleIdentifier && asciiLower(*other.bundleIdentifier) == lower) return true;
        if (other.package && asciiLower(*other.package) == lower) return true;
        return std::ranges::any_of(other.carries, [&](const std::string& carried) { return asciiLower(carried) == lower; }) ||
               ReverseDns::fold(other.name) == folded;
    });
}

std::optional<ResidueScanner::Match> ResidueScanner::match(std::string_view entry, const InstalledApp& app) const {
    const std::string_view name = withoutEnding(entry);
    const std::string folded = ReverseDns::fold(name);
    if (folded.empty() || isSharedFolder(folded) || claimant(name, app)) return std::nullopt;
    const std::string lower = asciiLower(name);
    const bool onMac = platform_ == Platform::macOS;

    if (app.bundleIdentifier) {
        const std::string identifier = asciiLower(*app.bundleIdentifier);
        const std::string kind = onMac ? "bundle identifier" : "identifier";
        if (lower == identifier) return Match{MatchConfidence::exact, "Named for the app's " + kind};
        if (lower.starts_with(identifier + ".")) return Match{MatchConfidence::exact, "Part of the app's " + kind};
        // Only a reverse-DNS identifier is distinct enough to be found inside a longer name: a
        // desktop ID such as "vim" is in "vimfiles" and "sevim" alike.
        if (identifier.find('.') != std::string::npos && lower.find(identifier) != std::string::npos)
            return Match{MatchConfidence::strong, "Contains the app's " + kind};
    }
    if (app.package && lower == asciiLower(*app.package)) return Match{MatchConfidence::exact, "Named for the app's package"};
    for (const std::string& carried : app.carries)
        if (lower == asciiLower(carried))
            return Match{MatchConfidence::exact, "Named for something the app's package carries (" + carried + ")"};
    if (app.programPath && lower == asciiLower(Paths::lastComponent(*app.programPath)) && lower.size() >= 3)
        return Match{MatchConfidence::strong, "Named for the app's program"};

    const std::string appFolded = ReverseDns::fold(app.name);
    if (folded == appFolded && !nameIsAmbiguous(app)) return Match{MatchConfidence::strong, "Named for the app"};
    if (appFolded.size() >= 4 && (folded.starts_with(appFolded) || folded.ends_with(appFolded)))
        return Match{MatchConfidence::possible, "Name resembles the app"};

    if (const std::optional<std::string> vendor = app.developerPrefix();
        vendor && !platformPrefixes().contains(*vendor) && lower.starts_with(*vendor + ".")) {
        const auto count = appsPerVendor_.find(*vendor);
        if (count != appsPerVendor_.end() && count->second == 1)
            return Match{MatchConfidence::likely, "Uses the same vendor prefix (" + *vendor + ")"};
    }
    return std::nullopt;
}

std::vector<ResidueItem> ResidueScanner::residue(const InstalledApp& app) const {
    std::vector<ResidueItem> items;
    for (const ResidueLocation& location : locations_) {
        for (const std::string& entry : entriesOf(location)) {
            const std::optional<Match> found = match(entry.substr(entry.rfind('/') + 1), app);
            if (!found) continue;
            const std::string path = location.path + "/" + entry;
            const bool locationWritable = ::access(path.substr(0, path.rfind('/')).c_str(), W_OK) == 0;
            struct stat info {};
            if (::lstat(path.c_str(), &info) != 0) continue;
            ResidueItem item;
            item.path = path;
            item.isDirectory = S_ISDIR(info.st_mode);
            item.bytes = item.isDirectory ? sizeOf_(path) : static_cast<std::int64_t>(info.st_blocks) * 512;
            item.locationLabel = location.label;
            item.mayHoldDocuments = location.mayHoldDocuments;
            item.requiresAdministrator = location.requiresAdministrator || !locationWritable ||
                                         (item.isDirectory && ::access(path.c_str(), W_OK) != 0);
            item.confidence = found->first;
            item.reason = found->second;
            items.push_back(std::move(item));
        }
    }
    std::ranges::stable_sort(items, [](const ResidueItem& a, const ResidueItem& b) {
        if (a.confidence != b.confidence) return a.confidence < b.confidence;
        return a.bytes > b.bytes;
    });
    return items;
}

} // namespace tessel
