#pragma once
// The kernel's mount table, as /proc/self/mountinfo gives it: every mount's
// point, file system, source and device. Here so that the scan engine, which
// must know which file systems may stop answering, and the samplers, which
// name the disks, read it one way.
//
// Reading it asks no file system anything: the kernel writes the table from
// what it holds, so a mount that has stopped answering is listed like any other.

#include <sys/sysmacros.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/SmallFile.h"

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

namespace detail {

// A machine with thousands of containers has a long mount table, but not this long.
constexpr std::int64_t mountInfoLimit = 16 << 20;

// mountinfo writes a space, tab, newline and backslash in a path as \040, \011, \012, \134.
inline std::string unescapeOctal(std::string_view text) {
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

inline std::vector<std::string_view> fields(std::string_view line) {
    std::vector<std::string_view> parts;
    while (!line.empty()) {
        std::size_t space = line.find(' ');
        if (space != 0) parts.push_back(line.substr(0, space));
        if (space == std::string_view::npos) break;
        line.remove_prefix(space + 1);
    }
    return parts;
}

} // namespace detail

// `path` of the machine that `systemRoot` stands for, as a path of this one.
inline std::string onSystem(const std::string& systemRoot, const std::string& path) {
    if (systemRoot.empty() || systemRoot == "/") return path;
    return (systemRoot.back() == '/' ? systemRoot.substr(0, systemRoot.size() - 1) : systemRoot) + path;
}

// Parses the text of /proc/self/mountinfo; lines it can't read are skipped.
inline std::vector<MountEntry> parse(std::string_view mountInfo) {
    std::vector<MountEntry> table;
    while (!mountInfo.empty()) {
        std::size_t end = mountInfo.find('\n');
        std::string_view line = mountInfo.substr(0, end);
        mountInfo = end == std::string_view::npos ? std::string_view{} : mountInfo.substr(end + 1);
        std::vector<std::string_view> parts = detail::fields(line);
        // id parent major:minor root mountpoint options [optional...] - fstype source superoptions
        auto separator = std::find(parts.begin(), parts.end(), "-");
        if (parts.size() < 10 || separator == parts.end() || parts.end() - separator < 3) continue;
        unsigned major = 0, minor = 0;
        if (std::sscanf(std::string(parts[2]).c_str(), "%u:%u", &major, &minor) != 2) continue;
        MountEntry entry;
        entry.root = detail::unescapeOctal(parts[3]);
        entry.mountPoint = detail::unescapeOctal(parts[4]);
        entry.fileSystem = std::string(separator[1]);
        entry.source = detail::unescapeOctal(separator[2]);
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

// The mount table of this process, as `systemRoot` holds it.
inline MountTableReading read(const std::string& systemRoot) {
    SmallFileRead file = readSmallFile(onSystem(systemRoot, "/proc/self/mountinfo"), detail::mountInfoLimit);
    if (!file.text) return {{}, std::move(file.failure)};
    return {parse(*file.text), {}};
}

// This process's mount table; empty when it can't be read.
inline std::vector<MountEntry> current() { return read("/").entries; }

// The mount whose mount point is the longest prefix of `path`.
inline std::optional<MountEntry> containing(const std::vector<MountEntry>& table, std::string_view path) {
    auto under = [](std::string_view inside, std::string_view folder) {
        return inside.starts_with(folder) && (inside.size() == folder.size() || inside[folder.size()] == '/');
    };
    const MountEntry* best = nullptr;
    for (const MountEntry& entry : table)
        if ((entry.mountPoint == "/" || under(path, entry.mountPoint)) &&
            (best == nullptr || entry.mountPoint.size() >= best->mountPoint.size()))
            best = &entry;
    if (best == nullptr) return std::nullopt;
    return *best;
}

} // namespace MountTable
} // namespace tessel
