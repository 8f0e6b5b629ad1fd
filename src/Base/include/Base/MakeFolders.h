#pragma once
// mkdir -p for a folder of the user's own (a cache, a settings folder): each
// folder made on the way is the user's alone. Folders already there are left
// as they are, and a failure shows when the folder is used.

#include <sys/stat.h>

#include <string>

namespace tessel {

inline void makeFolders(const std::string& folder) {
    for (std::size_t at = 1; at <= folder.size(); ++at)
        if (at == folder.size() || folder[at] == '/') mkdir(folder.substr(0, at).c_str(), 0700);
}

} // namespace tessel
