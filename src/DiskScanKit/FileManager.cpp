#include "DiskScanKit/FileManager.h"

#include <dirent.h>
#include <sys/stat.h>

namespace tessel {

bool LocalFileManager::isFolder(const std::string& path) const {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool LocalFileManager::canList(const std::string& path) const {
    DIR* folder = opendir(path.c_str());
    if (folder == nullptr) return false;
    closedir(folder);
    return true;
}

} // namespace tessel
