#include "SystemStatsKit/VolumeSampler.h"

#include <sys/statvfs.h>

#include <cerrno>
#include <cstring>

#include "Base/Platform.h"
#include "SystemStatsKit/MountTable.h"

namespace tessel {

const char* VolumeSampler::unnamedVolume() { return unnamedStartupDisk(); }

std::variant<VolumeCapacity, std::string> VolumeSampler::measure(const std::string& path) {
    struct statvfs info {};
    if (statvfs(path.c_str(), &info) != 0) return "statvfs(" + path + "): " + std::strerror(errno);
    const BlockCounts counts{info.f_frsize != 0 ? info.f_frsize : info.f_bsize, info.f_blocks, info.f_bfree,
                             info.f_bavail};
    if (std::optional<VolumeCapacity> capacity = VolumeCapacity::fromBlocks(counts)) return *capacity;
    return "statvfs(" + path + ") gives no size the file system could have";
}

std::optional<VolumeCapacity> VolumeSampler::sample() const {
    std::variant<VolumeCapacity, std::string> measured = measure(path_);
    VolumeCapacity* capacity = std::get_if<VolumeCapacity>(&measured);
    if (capacity == nullptr) return std::nullopt;
    const std::vector<MountEntry> table = MountTable::current();
    if (std::optional<MountEntry> mount = MountTable::containing(table, path_))
        if (std::optional<MountEntry> preferred = MountTable::preferredMount(table, mount->device))
            capacity->name = MountTable::volumeName(*preferred);
    if (capacity->name.empty()) capacity->name = unnamedVolume();
    return *capacity;
}

} // namespace tessel
