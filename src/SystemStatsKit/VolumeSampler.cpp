#include "SystemStatsKit/VolumeSampler.h"

#include <sys/statvfs.h>

#include "Base/Platform.h"
#include "SystemStatsKit/MountTable.h"

namespace tessel {

const char* VolumeSampler::unnamedVolume() { return unnamedStartupDisk(); }

std::optional<VolumeCapacity> VolumeSampler::sample() const {
    struct statvfs info {};
    if (statvfs(path_.c_str(), &info) != 0 || info.f_blocks == 0) return std::nullopt;
    const auto unit = static_cast<std::int64_t>(info.f_frsize != 0 ? info.f_frsize : info.f_bsize);
    VolumeCapacity capacity;
    capacity.total = static_cast<std::int64_t>(info.f_blocks) * unit;
    capacity.available = static_cast<std::int64_t>(info.f_bavail) * unit;
    if (std::optional<MountEntry> mount = MountTable::containing(MountTable::current(), path_))
        capacity.name = MountTable::volumeName(*mount);
    if (capacity.name.empty()) capacity.name = unnamedVolume();
    return capacity;
}

} // namespace tessel
