#include "SystemStatsKit/MountTable.h"

#include <dirent.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>

#include "Base/Platform.h"
#include "Base/SmallFile.h"

namespace tessel::MountTable {

namespace {

// A machine with thousands of containers has a long mount table, but not this long.
constexpr std::int64_t mountInfoLimit = 16 << 20;

// mountinfo writes a space, tab, newline and backslash in a path as \040, \011, \012, \134.
std::string unescapeOctal(std::string_view text) {
    auto octal = [&](std::size_t at) { return at < text.size() && text[at] >= '0' && text[at] <= '7'; };
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && octal(i + 1) && octal(i + 2) && octal(i + 3)) {
            plain += static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0'));
            i += 3;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

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

std::vector<std::string_view> fields(std::string_view line) {
    std::vector<std::string_view> parts;
    while (!line.empty()) {
        std::size_t space = line.find(' ');
        if (space != 0) parts.push_back(line.substr(0, space));
        if (space == std::string_view::npos) break;
        line.remove_prefix(space + 1);
    }
    return parts;
}

bool under(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
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

std::string onSystem(const std::string& systemRoot, const std::string& path) {
    if (systemRoot.empty() || systemRoot == "/") return path;
    return (systemRoot.back() == '/' ? systemRoot.substr(0, systemRoot.size() - 1) : systemRoot) + path;
}

std::optional<std::string> realPath(const std::string& path) {
    std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr), &std::free);
    if (!resolved) return std::nullopt;
    return std::string(resolved.get());
}

std::vector<MountEntry> parse(std::string_view mountInfo) {
    std::vector<MountEntry> table;
    while (!mountInfo.empty()) {
        std::size_t end = mountInfo.find('\n');
        std::string_view line = mountInfo.substr(0, end);
        mountInfo = end == std::string_view::npos ? std::string_view{} : mountInfo.substr(end + 1);
        std::vector<std::string_view> parts = fields(line);
        // id parent major:minor root mountpoint options [optional...] - fstype source superoptions
        auto separator = std::find(parts.begin(), parts.end(), "-");
        if (parts.size() < 10 || separator == parts.end() || parts.end() - separator < 3) continue;
        unsigned major = 0, minor = 0;
        if (std::sscanf(std::string(parts[2]).c_str(), "%u:%u", &major, &minor) != 2) continue;
        MountEntry entry;
        entry.root = unescapeOctal(parts[3]);
        entry.mountPoint = unescapeOctal(parts[4]);
        entry.fileSystem = std::string(separator[1]);
        entry.source = unescapeOctal(separator[2]);
        entry.device = makedev(major, minor);
        for (std::string_view options = parts[5]; !options.empty();) {
            const std::size_t comma = options.find(',');
            entry.options.emplace_back(options.substr(0, comma));
            options = comma == std::string_view::npos ? std::string_view{} : options.substr(comma + 1);
        }
        table.push_back(std::move(entry));
    }
    return table;
}

MountTableReading read(const std::string& systemRoot) {
    SmallFileRead file = readSmallFile(onSystem(systemRoot, "/proc/self/mountinfo"), mountInfoLimit);
    if (!file.text) return {{}, std::move(file.failure)};
    return {parse(*file.text), {}};
}

std::vector<MountEntry> current() { return read("/").entries; }

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

std::optional<MountEntry> containing(const std::vector<MountEntry>& table, std::string_view path) {
    const MountEntry* best = nullptr;
    for (const MountEntry& entry : table)
        if ((entry.mountPoint == "/" || under(path, entry.mountPoint)) &&
            (best == nullptr || entry.mountPoint.size() >= best->mountPoint.size()))
            best = &entry;
    if (best == nullptr) return std::nullopt;
    return *best;
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
