#pragma once
// One value of a key file (the INI-like files Flatpak and the desktop keep):
// `key=value` in the group `[group]`, the first one found; none when absent.
// Desktop entries, which need escapes and locales, have DesktopEntry.

#include <optional>
#include <string>
#include <string_view>

#include "Base/Lines.h"

namespace tessel {

inline std::optional<std::string> keyFileValue(std::string_view text, std::string_view group, std::string_view key) {
    bool inGroup = false;
    std::optional<std::string> value;
    forEachLine(text, [&](std::string_view line) {
        if (line.starts_with('[')) inGroup = line.size() == group.size() + 2 && line.substr(1, group.size()) == group && line.back() == ']';
        else if (inGroup && !value && line.size() > key.size() && line.starts_with(key) && line[key.size()] == '=')
            value = std::string(line.substr(key.size() + 1));
    });
    return value;
}

} // namespace tessel
