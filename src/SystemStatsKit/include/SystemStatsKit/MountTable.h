#pragma once
// The file systems mounted on this machine, read from the kernel's mount
// table, and which of them are local disks: the file systems that keep files
// on a disk of this machine, not the kernel's own (proc, sysfs, tmpfs...),
// images (squashfs, overlay) or network shares.
//
// Every reader takes `systemRoot`, the folder that stands for "/": the real
// one, or a test folder that describes a whole machine (its
// proc/self/mountinfo, its dev/disk/by-label).

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
    // The folder of the file system that is mounted: "/" for the whole of it,
    // "/www" for a bind mount of one folder, "/@home" for a btrfs subvolume.
    std::string root = "/";
    // The file system's device number (major:minor): the same for every mount
    // of one file system, bind mounts and btrfs subvolumes included.
    std::uint64_t device = 0;
    // The mount's own options, as mountinfo lists them: "rw", "relatime", "noatime"...
    std::vector<std::string> options;
};

struct MountTableReading {
    std::vector<MountEntry> entries;
    // Why the table could not be read, naming the call and the file; empty when read.
    std::string failure;
};

namespace MountTable {

// `path` of the machine that `systemRoot` stands for, as a path of this one.
std::string onSystem(const std::string& systemRoot, const std::string& path);
// Where `path` leads with every link followed (realpath); none when it leads nowhere.
std::optional<std::string> realPath(const std::string& path);
// Parses the text of /proc/self/mountinfo; lines it can't read are skipped.
std::vector<MountEntry> parse(std::string_view mountInfo);
// The mount table of this process, as `systemRoot` holds it.
MountTableReading read(const std::string& systemRoot);
// This process's mount table; empty when it can't be read.
std::vector<MountEntry> current();
// A file system that keeps files on a disk of this machine.
bool isLocalDisk(const MountEntry& entry);
// Whether reading a file on this mount moves its access time: not when the
// mount says noatime or is read-only. Under relatime (the kernel's default)
// a read moves it when it is not later than the last change, or a day old:
// it tells the day of the last read, not the minute.
bool keepsAccessTimes(const MountEntry& entry);
// The mount whose mount point is the longest prefix of `path`.
std::optional<MountEntry> containing(const std::vector<MountEntry>& table, std::string_view path);
// The mount that best stands for the file system of `device`: the one at "/",
// else one of the whole file system, else the one with the shortest mount point.
std::optional<MountEntry> preferredMount(const std::vector<MountEntry>& table, std::uint64_t device);
// What a person calls the file system of `entry`: its label where it has one
// (found in dev/disk/by-label), else "Startup Disk" for "/", else its mount point.
std::string volumeName(const MountEntry& entry, const std::string& systemRoot = "/");

} // namespace MountTable
} // namespace tessel
