#pragma once
// What is said of a scan that did not read everything, in the app's notices
// and the command-line tool's warnings alike.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Base/MountInfo.h"

namespace tessel::ScanWords {

// "Skipped a folder that did not respond", "Skipped 3 folders that did not respond"
std::string stalledTitle(std::int64_t count);
// "2 folders could not be read"
std::string unreadableTitle(std::int64_t count);
// The sentence after it: what that means for the total.
std::string unreadableDetail(std::int64_t count);
// "1 folder is only in the cloud and was not downloaded."
std::string cloudOnly(std::int64_t count);
// What a person calls the file system of `mount`: "an NFS share mounted at
// /mnt/nas", "a FUSE file system (sshfs) mounted at /home/me/server".
std::string fileSystemPhrase(const MountEntry& mount);
// One folder the scan gave up on, with the file system it is on where known:
// "/mnt/nas/photos did not answer: it is on an NFS share mounted at /mnt/nas,
// and what it holds is left out."
std::string stalledFolder(std::string_view path, const std::optional<MountEntry>& mount);
// "Scanned 12.0 MB"
std::string finishedTitle(std::int64_t bytes);

} // namespace tessel::ScanWords
