// The disk list.
//
// The mount table has a line per mount, and one file system can be mounted
// many times: a bind mount shows a folder of it a second time, and a btrfs
// file system is usually mounted once per subvolume (@ at "/", @home at
// "/home"). Every mount of one file system carries the same device number,
// so the list keeps one entry per device number, at the mount that best
// stands for it: "/" where it is one of them, else a mount of the whole file
// system rather than of one of its folders, else the shortest mount point.
//
//     27 1 8:2 /@     /          - btrfs /dev/sda2   -> one entry, "/"
//     31 27 8:2 /@home /home     - btrfs /dev/sda2      (same 8:2)
//     40 27 8:17 /    /srv/data  - ext4  /dev/sdb1   -> a second entry, "/srv/data"
//     41 27 8:17 /www /var/www   - ext4  /dev/sdb1      (a bind mount of one folder of it)
//     50 27 0:45 /    /tmp       - tmpfs tmpfs       -> not a disk
//
// The home folder is held by the file system of the mount that contains it,
// found from its real path, so that a home reached through a link is found
// where it really is: with the table above, /home/me is on 8:2, the startup
// disk, and the app's first scan of "/" walks into /home as well.

#include "SystemStatsKit/DiskVolumes.h"

#include <algorithm>
#include <map>
#include <variant>

#include "SystemStatsKit/VolumeSampler.h"

namespace tessel::DiskVolumes {

namespace {

// The home as a path of the described machine, its links followed where they lead within it.
std::string realHome(const std::string& systemRoot, const std::string& home) {
    const std::optional<std::string> real = MountTable::realPath(MountTable::onSystem(systemRoot, home));
    if (!real) return home;
    if (systemRoot.empty() || systemRoot == "/") return *real;
    const std::optional<std::string> top = MountTable::realPath(systemRoot);
    if (!top || !real->starts_with(*top)) return home;
    const std::string within = real->substr(top->size());
    if (within.empty()) return "/";
    return within.front() == '/' ? within : home;
}

} // namespace

std::vector<DiskVolume> fromTable(const std::vector<MountEntry>& table, const std::string& systemRoot,
                                  const std::string& home, bool measured) {
    std::optional<std::uint64_t> homeDevice;
    if (!home.empty())
        if (std::optional<MountEntry> holder = MountTable::containing(table, realHome(systemRoot, home)))
            homeDevice = holder->device;

    std::map<std::uint64_t, MountEntry> preferred;
    for (const MountEntry& entry : table)
        if (MountTable::isLocalDisk(entry) && !preferred.contains(entry.device))
            preferred.emplace(entry.device, *MountTable::preferredMount(table, entry.device));

    std::vector<DiskVolume> volumes;
    for (const auto& [device, mount] : preferred) {
        DiskVolume volume;
        volume.name = MountTable::volumeName(mount, systemRoot);
        volume.mountPoint = mount.mountPoint;
        volume.device = mount.source;
        volume.fileSystem = mount.fileSystem;
        if (measured) {
            std::variant<VolumeCapacity, std::string> figures =
                VolumeSampler::measure(MountTable::onSystem(systemRoot, mount.mountPoint));
            if (VolumeCapacity* capacity = std::get_if<VolumeCapacity>(&figures)) {
                capacity->name = volume.name;
                volume.capacity = *capacity;
            } else {
                volume.capacityFailure = std::get<std::string>(figures);
            }
        }
        volume.isRoot = mount.mountPoint == "/";
        volume.holdsHome = homeDevice == device;
        volumes.push_back(std::move(volume));
    }
    std::sort(volumes.begin(), volumes.end(), [](const DiskVolume& a, const DiskVolume& b) {
        if (a.isRoot != b.isRoot) return a.isRoot;
        return a.mountPoint < b.mountPoint;
    });
    return volumes;
}

DiskVolumeListing list(const std::string& systemRoot, const std::string& home, bool measured) {
    MountTableReading table = MountTable::read(systemRoot);
    if (!table.failure.empty()) return {{}, std::move(table.failure)};
    return {fromTable(table.entries, systemRoot, home, measured), {}};
}

std::optional<std::string> homeDisk(const std::vector<DiskVolume>& volumes) {
    for (const DiskVolume& volume : volumes)
        if (volume.holdsHome) return volume.mountPoint;
    return std::nullopt;
}

} // namespace tessel::DiskVolumes
