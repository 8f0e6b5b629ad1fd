#pragma once
// Which app a file is for, by its name alone: "Firefox Setup 120.0.exe",
// "viewer-2.4.1-x86_64.AppImage".

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "UninstallKit/InstalledApp.h"

namespace tessel {

class AppMatcher {
public:
    static AppMatcher apps(const std::vector<InstalledApp>& apps);
    // The app whose name the file's name is, or starts with, extensions and
    // version numbers aside; none when no app's name fits.
    std::optional<InstalledApp> app(std::string_view fileName) const;

    // The words of a name, lower-cased, version numbers dropped: "Viewer 2 Pro v3.1" is viewer, pro.
    static std::vector<std::string> words(std::string_view name);

private:
    std::vector<std::pair<std::vector<std::string>, InstalledApp>> named_;
};

} // namespace tessel
