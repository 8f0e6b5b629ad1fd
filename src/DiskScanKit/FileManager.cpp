#include "DiskScanKit/FileManager.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

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
    // The file may sit in a folder someone else can write to. lstat first, so a
    // device is never even opened; then open without following a link and
    // without waiting, since opening a FIFO for reading blocks until a writer
    // comes, and check again on the descriptor, as the entry may have been
    // swapped in between. Only then is O_NONBLOCK cleared and the size, known
    // to be within `limit`, read.
    struct stat seen {};
    if (lstat(path.c_str(), &seen) != 0 || !S_ISREG(seen.st_mode) || seen.st_size > limit) return std::nullopt;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    struct stat info {};
    std::optional<std::string> text;
    const int flags = fcntl(fd, F_GETFL);
    if (fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size <= limit && flags >= 0 &&
        fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) == 0) {
        std::string bytes(static_cast<std::size_t>(info.st_size), '\0');
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t got = read(fd, bytes.data() + done, bytes.size() - done);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;
            done += static_cast<std::size_t>(got);
        }
        if (done == bytes.size()) text = std::move(bytes);
    }
    close(fd);
    return text;
}

} // namespace tessel
