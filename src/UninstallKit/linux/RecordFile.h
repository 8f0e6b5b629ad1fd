#pragma once
// A file another program keeps about the user's doings (the desktop's lists
// of recent files and of apps in use): read whole, up to a limit, as any file
// of a folder we don't own. A file that is not there is no failure: most
// desktops keep only some of these.

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "Base/SmallFile.h"

namespace tessel {

// No text and no failure when `path` is not there.
inline SmallFileRead readRecordFile(const std::string& path, std::int64_t limit) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0 && (errno == ENOENT || errno == ENOTDIR)) return {};
    return readSmallFile(path, limit);
}

} // namespace tessel
