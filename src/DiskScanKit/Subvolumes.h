#pragma once
// Where one file system shows several device numbers, and where a file
// system's top folders are; see linux/Subvolumes.cpp.

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace tessel::Subvolumes {

using FileSystemID = std::array<std::uint8_t, 16>;

// The inode number of the top folder of every btrfs subvolume.
constexpr std::uint64_t topInode = 256;

// The UUID of the btrfs file system that holds the entry `name` of the open
// folder `folderFd` (AT_FDCWD and a path work too); none on any other file
// system, or when it can't be asked. Never sets off an automount.
std::optional<FileSystemID> btrfsIdentity(int folderFd, const char* name);

// The folder at `path` is the top of a mount, or of a btrfs subvolume: it
// is a mount's root, or its device differs from its parent's.
bool isTop(const std::string& path);

} // namespace tessel::Subvolumes
