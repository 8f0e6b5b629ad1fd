#include "SystemStatsKit/MountTable.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <dirent.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>

namespace tessel::MountTable {

namespace {

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

} // namespace

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
        entry.mountPoint = unescapeOctal(parts[4]);
        entry.fileSystem = std::string(separator[1]);
        entry.source = unescapeOctal(separator[2]);
        entry.device = makedev(major, minor);
        table.push_back(std::move(entry));
    }
    return table;
}

std::vector<MountEntry> current() {
    std::ifstream file("/proc/self/mountinfo");
    std::stringstream text;
    text << file.rdbuf();
    return parse(text.str());
}

bool isBrowsable(const MountEntry& entry) {
    static const std::set<std::string, std::less<>> kernelFileSystems{
        "proc", "sysfs", "devtmpfs", "devpts", "tmpfs", "ramfs", "cgroup", "cgroup2", "securityfs",
        "pstore", "bpf", "debugfs", "tracefs", "mqueue", "hugetlbfs", "configfs", "fusectl",
        "autofs", "binfmt_misc", "efivarfs", "nsfs", "rpc_pipefs", "selinuxfs", "squashfs",
        "overlay", "fuse.gvfsd-fuse", "fuse.portal", "nfsd"};
    if (kernelFileSystems.contains(entry.fileSystem)) return false;
    if (entry.mountPoint == "/") return true;
    for (const char* hidden : {"/proc", "/sys", "/dev", "/boot", "/snap", "/var/lib", "/tmp"})
        if (under(entry.mountPoint, hidden)) return false;
    // /run holds runtime state, except the folders where removable disks appear.
    if (under(entry.mountPoint, "/run") && !under(entry.mountPoint, "/run/media")) return false;
    return true;
}

std::vector<MountEntry> browsable(const std::vector<MountEntry>& table) {
    std::vector<MountEntry> disks;
    std::set<std::uint64_t> seen;
    for (const MountEntry& entry : table)
        if (entry.mountPoint == "/" && isBrowsable(entry) && seen.insert(entry.device).second) disks.push_back(entry);
    for (const MountEntry& entry : table)
        if (isBrowsable(entry) && seen.insert(entry.device).second) disks.push_back(entry);
    return disks;
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

std::string volumeName(const MountEntry& entry) {
    // udev keeps one link per labelled file system in /dev/disk/by-label, named by the label.
    if (entry.source.starts_with("/dev/")) {
        if (DIR* labels = opendir("/dev/disk/by-label")) {
            std::string found;
            struct stat sourceInfo {};
            bool haveSource = stat(entry.source.c_str(), &sourceInfo) == 0;
            while (dirent* link = readdir(labels)) {
                if (link->d_name[0] == '.') continue;
                struct stat linkInfo {};
                std::string path = std::string("/dev/disk/by-label/") + link->d_name;
                if (haveSource && stat(path.c_str(), &linkInfo) == 0 && linkInfo.st_rdev == sourceInfo.st_rdev) {
                    found = unescapeHex(link->d_name);
                    break;
                }
            }
            closedir(labels);
            if (!found.empty()) return found;
        }
    }
    if (entry.mountPoint == "/") return {};
    std::size_t slash = entry.mountPoint.rfind('/');
    return entry.mountPoint.substr(slash + 1);
}

} // namespace tessel::MountTable
