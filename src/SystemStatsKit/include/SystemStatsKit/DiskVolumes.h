#pragma once
// The disks a person has: each local disk file system once, however many
// times it is mounted, with its name, its figures, and whether it is the
// startup disk or holds the home folder. What "tessel volumes" lists, and
// what the app offers to scan; see DiskVolumes.cpp.

#include <optional>
#include <string>
#include <vector>

#include "SystemStatsKit/MountTable.h"
#include "SystemStatsKit/VolumeCapacity.h"

namespace tessel {

struct DiskVolume {
    std::string name;
    std::string mountPoint;
    std::string device;     // "/dev/nvme0n1p2", or a ZFS dataset, "rpool/home"
    std::string fileSystem; // as the mount table says: "ext4", "fuseblk"
    std::optional<VolumeCapacity> capacity;
    // Why there is no capacity: "statvfs(/media/usb): Permission denied".
    std::string capacityFailure;
    bool isRoot = false;
    bool holdsHome = false;
};

struct DiskVolumeListing {
    std::vector<DiskVolume> volumes;
    // The mount table could not be read: the list is not known to be empty.
    std::string failure;
};

namespace DiskVolumes {

// The local disks of `table`, "/" first, then by mount point. `home` is a path
// of the machine that `systemRoot` stands for; labels and figures are read
// under `systemRoot` too.
// Unless `measured`, no disk is asked for its figures: a listing made before
// the app's window opens must not wait on a disk that never answers.
std::vector<DiskVolume> fromTable(const std::vector<MountEntry>& table, const std::string& systemRoot,
                                  const std::string& home, bool measured = true);
// The same from the mount table under `systemRoot`.
DiskVolumeListing list(const std::string& systemRoot, const std::string& home, bool measured = true);
// The mount point of the disk that holds the home folder; none when it is on
// no local disk (a home on tmpfs or a network share).
std::optional<std::string> homeDisk(const std::vector<DiskVolume>& volumes);

} // namespace DiskVolumes
} // namespace tessel
