#include "SystemStatsKit/MountTable.h"

#include <dirent.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>

#include "Base/Platform.h"

namespace tessel::MountTable {

namespace {

// udev names a label link with "\x20" for each byte it can't keep.
std::string unescapeHex(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        if (text.substr(i, 2) == "\\x" && i + 3 < text.size() &&
            std::sscanf(std::string(text.substr(i + 2, 2)).c_str(), "%2x", &value) == 1) {
            plain += static_cast<char>(value);
            i += 3;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

// The label of the file system on `source`: udev keeps one link per labelled
// file system in /dev/disk/by-label, named by the label and leading to the
// device. The source may be a link itself (/dev/mapper/home -> ../dm-1), so
// both sides are followed to the device they end at.
std::optional<std::string> labelOf(const std::string& source, const std::string& systemRoot) {
    if (!source.starts_with("/dev/")) return std::nullopt;
    const std::optional<std::string> device = realPath(onSystem(systemRoot, source));
    if (!device) return std::nullopt;
    const std::string folder = onSystem(systemRoot, "/dev/disk/by-label");
    DIR* labels = opendir(folder.c_str());
    if (labels == nullptr) return std::nullopt;
    std::optional<std::string> found;
    while (dirent* link = readdir(labels)) {
        if (link->d_name[0] == '.') continue;
        if (realPath(folder + "/" + link->d_name) == device) {
            found = unescapeHex(link->d_name);
            break;
        }
    }
    closedir(labels);
    return found;
}

} // namespace

std::optional<std::string> realPath(const std::string& path) {
    std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr), &std::free);
    if (!resolved) return std::nullopt;
    return std::string(resolved.get());
}

bool isLocalDisk(const MountEntry& entry) {
    static const std::set<std::string, std::less<>> diskFileSystems{
        "ext2", "ext3", "ext4", "xfs", "btrfs", "f2fs", "vfat", "exfat", "ntfs3", "ntfs",
        "zfs", "bcachefs", "jfs", "reiserfs", "hfsplus"};
    // FUSE on a block device (ntfs-3g, exfat-fuse) is a disk; FUSE elsewhere is
    // a remote or a view (sshfs, rclone, the desktop's gvfs), and is not.
    return diskFileSystems.contains(entry.fileSystem) || entry.fileSystem == "fuseblk" ||
           entry.fileSystem.starts_with("fuseblk.");
}

bool keepsAccessTimes(const MountEntry& entry) {
    return std::ranges::find(entry.options, "noatime") == entry.options.end() &&
           std::ranges::find(entry.options, "ro") == entry.options.end();
}

std::optional<MountEntry> preferredMount(const std::vector<MountEntry>& table, std::uint64_t device) {
    const MountEntry* best = nullptr;
    auto before = [](const MountEntry& a, const MountEntry& b) {
        if ((a.mountPoint == "/") != (b.mountPoint == "/")) return a.mountPoint == "/";
        if ((a.root == "/") != (b.root == "/")) return a.root == "/";
        if (a.mountPoint.size() != b.mountPoint.size()) return a.mountPoint.size() < b.mountPoint.size();
        return a.mountPoint < b.mountPoint;
    };
    for (const MountEntry& entry : table)
        if (entry.device == device && (best == nullptr || before(entry, *best))) best = &entry;
    if (best == nullptr) return std::nullopt;
    return *best;
}

std::string volumeName(const MountEntry& entry, const std::string& systemRoot) {
    if (std::optional<std::string> label = labelOf(entry.source, systemRoot); label && !label->empty()) return *label;
    if (entry.mountPoint == "/") return unnamedStartupDisk();
    return entry.mountPoint;
}

} // namespace tessel::MountTable
