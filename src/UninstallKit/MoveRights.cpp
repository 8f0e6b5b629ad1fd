#include "UninstallKit/MoveRights.h"

#include <unistd.h>

#include <algorithm>

namespace tessel::MoveRights {

bool needsAdministrator(const std::string& path, const struct stat& info) {
    const std::string parent = path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
    if (::access(parent.c_str(), W_OK) != 0) return true;
    struct stat parentInfo {};
    const bool sticky = ::stat(parent.c_str(), &parentInfo) == 0 && (parentInfo.st_mode & S_ISVTX) != 0;
    if (sticky && info.st_uid != ::geteuid() && ::geteuid() != 0) return true;
    return S_ISDIR(info.st_mode) && ::access(path.c_str(), W_OK) != 0;
}

bool needsAdministrator(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 && needsAdministrator(path, info);
}

} // namespace tessel::MoveRights
