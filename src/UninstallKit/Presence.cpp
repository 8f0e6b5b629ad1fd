#include "UninstallKit/Presence.h"

#include <sys/stat.h>

#include <cerrno>
#include <string_view>
#include <utility>

namespace tessel {

namespace {

// "/media/ann/Backup" of "/media/ann/Backup/x/y": the folder a removable disk is mounted on, or none.
std::string volumeOf(const std::string& path) {
    for (auto [prefix, depth] : {std::pair<std::string_view, int>{"/Volumes/", 1}, {"/run/media/", 2}, {"/media/", 2}, {"/mnt/", 1}}) {
        if (!path.starts_with(prefix)) continue;
        std::size_t end = prefix.size();
        for (int part = 0; part < depth && end != std::string::npos; ++part) end = path.find('/', end + 1);
        return path.substr(0, end == std::string::npos ? path.size() : end);
    }
    return {};
}

bool isMounted(const std::string& folder) {
    struct stat own {};
    struct stat parent {};
    return lstat(folder.c_str(), &own) == 0 && lstat((folder + "/..").c_str(), &parent) == 0 && own.st_dev != parent.st_dev;
}

} // namespace

Presence presenceOf(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0) return Presence::present;
    if (errno != ENOENT && errno != ENOTDIR) return Presence::unknown;
    const std::string volume = volumeOf(path);
    return volume.empty() || isMounted(volume) ? Presence::missing : Presence::unknown;
}

} // namespace tessel
