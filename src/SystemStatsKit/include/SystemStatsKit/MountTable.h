#pragma once
// The file systems mounted on this machine, read from the kernel's mount
// table, and which of them are local disks: the file systems that keep files
// on a disk of this machine, not the kernel's own (proc, sysfs, tmpfs...),
// images (squashfs, overlay) or network shares.
//
// Every reader takes `systemRoot`, the folder that stands for "/": the real
// one, or a test folder that describes a whole machine (its
// proc/self/mountinfo, its dev/disk/by-label). The table itself is read as
// Base/MountInfo.h reads it.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/MountInfo.h"

namespace tessel {

namespace MountTable {

// Where `path` leads with every link followed (realpath); none when it leads nowhere.
std::optional<std::string> realPath(const std::string& path);
// A file system that keeps files on a disk of this machine.
bool isLocalDisk(const MountEntry& entry);
// Whether reading a file on this mount moves its access time: not when the
// mount says noatime or is read-only. Under relatime (the kernel's default)
// a read moves it when it is not later than the last change, or a day old:
// it tells the day of the last read, not the minute.
bool keepsAccessTimes(const MountEntry& entry);
// The mount that best stands for the file system of `device`: the one at "/",
// else one of the whole file system, else the one with the shortest mount point.
std::optional<MountEntry> preferredMount(const std::vector<MountEntry>& table, std::uint64_t device);
// What a person calls the file system of `entry`: its label where it has one
// (found in dev/disk/by-label), else "Startup Disk" for "/", else its mount point.
std::string volumeName(const MountEntry& entry, const std::string& systemRoot = "/");

} // namespace MountTable
} // namespace tessel
