#pragma once
// The systemd unit a desktop started an app in, read from /proc/PID/cgroup.
// Desktops and Flatpak launch each app in a unit of its own, named by the
// freedesktop convention:
//
//     app-gnome-org.gnome.Terminal-4021.scope    launcher "gnome", a random tail
//     app-flatpak-org.mozilla.firefox-88.scope   a Flatpak
//     app-org.kde.konsole@a1b2.service           no launcher, an instance
//     app-org.gnome.Terminal.slice               a slice that holds the app's
//                                                units (the terminal's tabs)
//
// so that every process in it, whoever its parent, is the app's. The deepest
// path component that starts "app-" counts (the "app.slice" that holds the
// user's services is not one). In a name "-" separates the parts, so a "-"
// inside the app's ID is written "\x2d" and read back here.
//
// A readable name: the last part of a reverse-domain ID ("Terminal" of
// "org.gnome.Terminal"), else the ID itself.

#include <optional>
#include <string>
#include <string_view>

namespace tessel {

struct AppLaunchUnit {
    std::string unit;     // "app-gnome-org.gnome.Terminal-4021.scope"
    std::string appID;    // "org.gnome.Terminal", the desktop ID without ".desktop"
    std::string launcher; // "gnome", "flatpak"; empty when the name has none
    std::string name;     // "Terminal"
    bool operator==(const AppLaunchUnit&) const = default;
};

namespace AppLaunchUnits {

std::optional<AppLaunchUnit> fromUnitName(std::string_view unit);
// The app unit among the lines of /proc/PID/cgroup, of the unified hierarchy
// ("0::/user.slice/…") or the old one's "name=systemd" line.
std::optional<AppLaunchUnit> fromCgroup(std::string_view cgroup);

} // namespace AppLaunchUnits
} // namespace tessel
