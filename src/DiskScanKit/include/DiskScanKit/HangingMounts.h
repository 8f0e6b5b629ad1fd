#pragma once
// Which file systems may stop answering, so that their folders and files are
// read by a reader process (ReaderHelper) rather than by a thread of this one.
// See linux/HangingMounts.cpp.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/MountInfo.h"

namespace tessel::HangingMounts {

// A file system whose reads wait on something other than this machine's
// disks, without a time limit: FUSE (a remote such as sshfs or rclone, the
// desktop's gvfs, and ntfs-3g or exfat-fuse on a disk too, whose daemon can
// stop answering like any other), NFS, SMB and 9p.
bool mayHang(std::string_view fileSystem);
// Whether the file system of `device` may hang, or has already stalled in
// this process. Asks the mount table at most every few seconds.
bool mayHang(std::uint64_t device);
// Records that a read on `device` stopped answering: from now on its folders
// and files are read as those of a file system that may hang.
void noteStalled(std::uint64_t device);
// Whether any device has stalled in this process: a quick test before a
// slower one, for code that runs once per folder.
bool anyStalled();
// The mount that really holds `path`, in the mount table as it is now; none
// when it can't be read. The path's links are followed one name at a time,
// and a name is looked at only when the mount its text lies on cannot hang:
// a link into a share that stopped answering is judged by its target's text,
// never by asking the share.
std::optional<MountEntry> holding(std::string_view path);
// The same in `table`, with `hangs` telling which of its mounts may hang.
std::optional<MountEntry> holdingIn(const std::vector<MountEntry>& table, std::string_view path,
                                    const std::function<bool(const MountEntry&)>& hangs);
// The mount of `device`, for naming it; none when the table doesn't list it.
std::optional<MountEntry> ofDevice(std::uint64_t device);

} // namespace tessel::HangingMounts
