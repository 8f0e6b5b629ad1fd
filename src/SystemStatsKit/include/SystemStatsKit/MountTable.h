#pragma once
// The file systems mounted on this machine, read from the kernel's mount
// table, and which of them a person would call a disk: the startup disk, and
// real disks mounted where file managers show them. The kernel's own file
// systems (proc, sysfs, cgroup, tmpfs and the like) are left out.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

struct MountEntry {
    std::string mountPoint;
    std::string fileSystem; // "ext4", "tmpfs"
    std::string source;     // "/dev/sda2", "proc"
    std::uint64_t device = 0;
};

namespace MountTable {

// Parses the text of /proc/self/mountinfo; lines it can't read are skipped.
std::vector<MountEntry> parse(std::string_view mountInfo);
// This process's mount table; empty when it can't be read.
std::vector<MountEntry> current();
// A disk a person can browse, not a view of the kernel's state.
bool isBrowsable(const MountEntry& entry);
// The browsable mounts, each device once, the startup disk first.
std::vector<MountEntry> browsable(const std::vector<MountEntry>& table);
// The mount whose mount point is the longest prefix of `path`.
std::optional<MountEntry> containing(const std::vector<MountEntry>& table, std::string_view path);
// The disk's label where it has one, else the last component of its mount point.
std::string volumeName(const MountEntry& entry);

} // namespace MountTable
} // namespace tessel
