#include "DiskScanKit/FileManager.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Base/SmallFile.h"
#include "DiskScanKit/AnchoredPath.h"

namespace tessel {

bool FileManager::isFolder(const std::string& path) const {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool FileManager::canList(const std::string& path) const {
    DIR* folder = opendir(path.c_str());
    if (folder == nullptr) return false;
    closedir(folder);
    return true;
}

bool FileManager::exists(const std::string& path) const {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

bool FileManager::isDeletable(const AnchoredPath& item) const {
    if (item.name().empty()) return false; // "/" has no folder to leave
    if (faccessat(item.folder(), ".", W_OK | X_OK, 0) != 0) return false;
    struct stat folderInfo {};
    const std::optional<struct stat> itemInfo = item.status();
    if (fstat(item.folder(), &folderInfo) != 0 || !itemInfo) return false;
    if ((folderInfo.st_mode & S_ISVTX) == 0) return true;
    const uid_t user = geteuid();
    return user == 0 || itemInfo->st_uid == user || folderInfo.st_uid == user;
}

bool FileManager::isWritable(const AnchoredPath& item) const {
    if (item.name().empty()) return faccessat(item.folder(), ".", W_OK, 0) == 0;
    return faccessat(item.folder(), item.name().c_str(), W_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

std::optional<std::vector<std::string>> FileManager::contentsOfDirectory(const std::string& path) const {
    DIR* folder = opendir(path.c_str());
    if (folder == nullptr) return std::nullopt;
    std::vector<std::string> names;
    while (dirent* entry = readdir(folder)) {
        const char* name = entry->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
        names.emplace_back(name);
    }
    closedir(folder);
    return names;
}

std::optional<std::string> FileManager::contents(const std::string& path, std::int64_t limit) const {
    return readSmallFile(path, limit).text;
}

} // namespace tessel
