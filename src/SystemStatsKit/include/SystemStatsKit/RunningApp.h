#pragma once
// An open app as the desktop lists it. On Linux the list is the app units of
// the process table (see AppLaunchUnit.h); whether an app is in front or
// hidden is known only where a window system says so, and none here means
// "not known", never "no".

#include <cstdint>
#include <optional>
#include <string>

namespace tessel {

struct RunningApp {
    std::int32_t pid = 0;
    std::string name;
    std::optional<std::string> bundleIdentifier; // the desktop ID: "org.gnome.Terminal"
    std::optional<std::string> bundlePath;       // its program
    std::optional<double> launchDate;            // seconds since the epoch
    std::optional<bool> isActive;
    std::optional<bool> isHidden;
};

} // namespace tessel
