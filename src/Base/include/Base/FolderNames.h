#pragma once
// The names in a folder, sorted byte by byte, without "." and "..". A folder
// that can't be listed (missing, not ours, not a folder) has none: the
// readers that use this look for what may be there, and absent is an answer.

#include <dirent.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

inline std::vector<std::string> folderNames(const std::string& folder) {
    std::vector<std::string> names;
    if (DIR* listing = opendir(folder.c_str())) {
        while (const dirent* entry = readdir(listing)) {
            const std::string_view name = entry->d_name;
            if (name != "." && name != "..") names.emplace_back(name);
        }
        closedir(listing);
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace tessel
