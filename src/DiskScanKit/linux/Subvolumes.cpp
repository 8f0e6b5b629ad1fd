// Subvolumes on Linux.
//
// A scan stays on its file system, and the device number is how it knows: a
// folder whose device differs from its parent's is another file system
// mounted there. But btrfs gives every subvolume a device number of its own,
// mounted or not, so the default layout of many distributions (subvolume @
// mounted at "/", @home at /home) would be scanned without /home, and a
// snapshot or a nested subvolume would be left out as if it were another disk.
//
// So where the device changes, and only there, the scan asks whether the
// folder is still on the same btrfs: BTRFS_IOC_FS_INFO gives the file
// system's UUID to anyone who can open a folder of it, no privilege needed.
// The common case pays nothing: a device number is compared, as before.
//
// The folder is first opened with O_PATH and without O_DIRECTORY, which
// reads nothing and never sets off an automount (an autofs mount point has a
// device of its own too, and opening it would mount a network share). Only
// when fstatfs says btrfs is it opened for the ioctl; a subvolume whose top
// the user may not read can't be asked, and is left out as another disk is.
//
//     /            device 0:31  (subvolume @)
//     /home        device 0:35  (subvolume @home, same UUID: entered)
//     /home/me/ram device 0:40  (tmpfs: not btrfs, not entered)

#include "../Subvolumes.h"

#include <fcntl.h>
#include <linux/btrfs.h>
#include <linux/magic.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

#include <algorithm>

#include "DiskScanKit/UniqueFd.h"

namespace tessel::Subvolumes {

std::optional<FileSystemID> btrfsIdentity(int folderFd, const char* name) {
    const UniqueFd place(openat(folderFd, name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct statfs kind {};
    if (!place || fstatfs(place.get(), &kind) != 0 || kind.f_type != BTRFS_SUPER_MAGIC) return std::nullopt;
    const UniqueFd folder(openat(place.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct btrfs_ioctl_fs_info_args info {};
    if (!folder || ioctl(folder.get(), BTRFS_IOC_FS_INFO, &info) != 0) return std::nullopt;
    FileSystemID id{};
    std::copy(std::begin(info.fsid), std::begin(info.fsid) + id.size(), id.begin());
    return id;
}

bool isTop(const std::string& path) {
    struct statx self {};
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_INO, &self) != 0) return false;
    if ((self.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) return true;
    struct stat parent {};
    if (stat((path == "/" ? path : path + "/..").c_str(), &parent) != 0) return false;
    return parent.st_dev != makedev(self.stx_dev_major, self.stx_dev_minor);
}

} // namespace tessel::Subvolumes
