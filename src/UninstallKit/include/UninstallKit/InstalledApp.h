#pragma once
// An app found on this machine: a bundle on the Mac, a desktop entry on Linux.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tessel {

struct InstalledApp {
    // The .app on the Mac; on Linux the program the entry runs when it can be
    // found, else the entry itself.
    std::string bundlePath;
    // CFBundleIdentifier; on Linux the desktop ID without ".desktop"
    // ("org.gnome.Calculator", "firefox").
    std::optional<std::string> bundleIdentifier;
    std::string name;
    std::optional<std::string> version;
    bool isSystemApp = false;
    // Where it comes from: "bundle" on the Mac; "flatpak", "snap", "appimage" or "other" on Linux.
    std::string source = "bundle";

    // What the desktop entry says, on Linux.
    std::string desktopId;
    std::string entryPath;
    std::vector<std::string> exec;
    std::optional<std::string> programPath;
    bool isShown = true; // false for NoDisplay=true: it exists but stays out of menus
    // Its entry's Icon: a name the icon theme knows, or a file's absolute path.
    std::optional<std::string> icon;
    // The Flatpak ID or the snap name of an app those keep, as its entry names it.
    std::optional<std::string> package;
    // On Linux, the names its package carries besides its own desktop ID
    // (D-Bus services, user units, other entries); on the Mac the index reads
    // them out of the bundle.
    std::vector<std::string> carries;

    // The lower-cased vendor of the identifier ("com.foo" of "com.Foo.App"), or none.
    std::optional<std::string> developerPrefix() const;

    bool operator==(const InstalledApp&) const = default;
};

struct InstalledAppHash {
    std::size_t operator()(const InstalledApp& app) const;
};

} // namespace tessel
