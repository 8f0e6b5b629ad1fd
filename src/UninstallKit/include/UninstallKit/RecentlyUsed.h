#pragma once
// The desktop's list of recently used files, $XDG_DATA_HOME/recently-used.xbel:
// which files were opened lately, and by which applications, when.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

// One application that opened a file of the list: as GLib writes it,
// name="Text Editor" exec="'gnome-text-editor %u'" modified="2025-03-04T10:11:12Z" count="3".
struct RecentApplication {
    std::string name;
    std::string exec;
    std::int64_t modified = 0; // seconds since 1970: when it last opened the file
};

struct RecentlyUsedList {
    // Each file's path (decoded from its URL) and its latest visit or change.
    std::map<std::string, std::int64_t> files;
    // Every application record of every file, as written.
    std::vector<RecentApplication> applications;
};

struct RecentlyUsedRead {
    // Absent when there is no list, or it could not be read.
    std::optional<RecentlyUsedList> list;
    // Why a list that is there could not be read, naming the file; empty otherwise.
    std::string failure;
};

namespace RecentlyUsed {

// More than any desktop keeps: GLib trims its list to the last few hundred files.
constexpr std::int64_t sizeLimit = 16 << 20;

// `dataHome`/recently-used.xbel, read whole up to `sizeLimit`; no list and no failure when there is none.
RecentlyUsedRead read(const std::string& dataHome);
// The list in `xml`; `file` names it in the failure.
RecentlyUsedRead parse(std::string_view xml, const std::string& file);
// "2025-03-04T10:11:12.123456Z" (UTC, as GLib writes it) in seconds since 1970.
std::optional<std::int64_t> isoSeconds(std::string_view text);

} // namespace RecentlyUsed
} // namespace tessel
