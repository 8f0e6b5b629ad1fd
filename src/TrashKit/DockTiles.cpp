// Dock tiles of apps that went to the Trash, and back.
//
// The Dock keeps its tiles in two arrays of its preferences, "persistent-apps"
// (what the user pinned) and "recent-apps". A tile is a dictionary whose
// "tile-data" holds a "file-label" and a "file-data" with the app's location
// in "_CFURLString": a file URL, or a plain path when "_CFURLStringType" is 0.
// Tiles are compared by key: the path standardised and lower-cased, as the
// disks apps live on ignore case.
//
// Taking out: each section is split into the tiles it keeps and the tiles of
// the moved apps; every tile taken is remembered with its section and the
// index it stood at. Putting back: the remembered tiles of the restored apps
// go back into their sections lowest index first, each clamped to the end of
// the section, unless a tile of that app is already there. Lowest first is
// what makes the indexes come right again. Worked example:
//
//   persistent-apps   [Mail, Notes, Maps, Music, Photos]
//   take Notes, Music [Mail, Maps, Photos]      kept: Notes at 1, Music at 3
//   put both back     Notes at 1: [Mail, Notes, Maps, Photos]
//                     Music at 3: [Mail, Notes, Maps, Music, Photos]
//
// Music first would have gone in at 3, behind Photos, and stayed there. So,
// within one removal, the order of the apps doesn't matter. Two
// separate removals are undone newest first, which also comes right: Notes
// taken at 1, then Music at 2; Music comes back at 2, then Notes at 1.
//
// The Dock reads its preferences only when it starts, so every change that
// was written is followed by one restart, never one per tile, and an app that
// had no tile changes nothing at all. The platform also records a bookmark
// ("book" data) in the tile, which resolves a tile whose URL is missing; that
// takes the platform's own bookmark resolution, so here a tile without a
// usable URL or path has no path and is left alone.

#include "TrashKit/DockTiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <set>

#include "DiskScanKit/Paths.h"
#include "TrashKit/TrashService.h"

namespace tessel {

namespace {

constexpr std::int64_t readLimit = std::int64_t{64} << 20; // what a property list may be

std::string lowered(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

// Disks that come and go: a tile of an app on one that isn't connected is no orphan.
bool onDetachableDisk(std::string_view key) {
#if defined(__linux__)
    for (std::string_view mounts : {"/volumes/", "/media/", "/run/media/", "/mnt/"})
        if (key.starts_with(mounts)) return true;
    return false;
#else
    return key.starts_with("/volumes/");
#endif
}

// Takes the tiles whose keys are wanted out of both sections of `domain`.
std::vector<std::pair<std::string, DockTiles::Taken>> takeOut(PropertyList& domain, const std::set<std::string>& wanted) {
    std::vector<std::pair<std::string, DockTiles::Taken>> taken;
    for (const std::string& section : DockTiles::sections()) {
        const std::optional<PropertyList> tiles = domain.get(section);
        if (!tiles || tiles->type() != PropertyList::Type::array) continue;
        PropertyList kept = PropertyList::array();
        bool changed = false;
        for (std::size_t index = 0; index < tiles->size(); ++index) {
            PropertyList tile = tiles->at(index);
            const std::string path = DockTiles::path(tile);
            const std::string key = path.empty() ? std::string() : DockTiles::key(path);
            if (wanted.contains(key)) {
                taken.emplace_back(key, DockTiles::Taken{section, static_cast<int>(index), std::move(tile)});
                changed = true;
            } else {
                kept.append(tile);
            }
        }
        if (changed) domain.set(section, kept);
    }
    return taken;
}

std::set<std::string> appKeys(const std::vector<std::string>& paths) {
    std::set<std::string> keys;
    for (const std::string& path : paths)
        if (std::string key = DockTiles::key(path); key.ends_with(".app")) keys.insert(std::move(key));
    return keys;
}

// A file that is a link is written where it points, so the link stays.
std::string resolved(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error)) return path;
    std::filesystem::path target = std::filesystem::weakly_canonical(path, error);
    return error ? path : target.string();
}

std::optional<PropertyList> readDictionary(const std::string& path) {
    const std::optional<std::string> bytes = LocalFileManager().contents(path, readLimit);
    std::optional<PropertyList> domain = bytes ? PropertyList::parse(*bytes) : std::nullopt;
    if (!domain || domain->type() != PropertyList::Type::dictionary) return std::nullopt;
    return domain;
}

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

PropertyList FileDockPreferences::read() {
    std::optional<PropertyList> domain = readDictionary(resolved(path_));
    return domain ? std::move(*domain) : PropertyList::dictionary();
}

bool FileDockPreferences::write(const PropertyList& domain) {
    if (domain.type() != PropertyList::Type::dictionary) return false;
    const std::string target = resolved(path_);
    // A file that is there but couldn't be read was read as empty: writing would lose it.
    if (LocalFileManager().exists(target) && !readDictionary(target)) return false;
    const std::string bytes = domain.toBinary();
    if (bytes.empty()) return false;
    std::filesystem::path folder = std::filesystem::path(target).parent_path();
    if (folder.empty()) folder = ".";
    // In the same folder, so that the rename is atomic: readers see the old file or the new one.
    std::string pattern = (folder / ("." + std::filesystem::path(target).filename().string() + ".XXXXXX")).string();
    const int descriptor = mkstemp(pattern.data());
    if (descriptor < 0) return false;
    bool written = writeAll(descriptor, bytes);
    struct stat info {};
    if (written && stat(target.c_str(), &info) == 0) written = fchmod(descriptor, info.st_mode & 07777) == 0;
    written = fsync(descriptor) == 0 && written;
    written = close(descriptor) == 0 && written;
    if (written && std::rename(pattern.c_str(), target.c_str()) == 0) return true;
    unlink(pattern.c_str()); // only our own temporary file
    return false;
}

const std::vector<std::string>& DockTiles::sections() {
    static const std::vector<std::string> names{"persistent-apps", "recent-apps"};
    return names;
}

DockTiles::DockTiles(DockPreferences& preferences, std::function<void()> restart)
    : preferences_(preferences), restart_(std::move(restart)) {}

void DockTiles::remove(const std::vector<std::pair<std::string, std::string>>& moved) {
    std::vector<std::string> apps;
    for (const auto& [from, to] : moved) apps.push_back(from);
    removeApps(apps);
}

void DockTiles::removeApps(const std::vector<std::string>& apps) {
    const std::set<std::string> wanted = appKeys(apps);
    if (wanted.empty()) return;
    {
        std::lock_guard<std::mutex> guard(lock_);
        PropertyList domain = preferences_.read();
        std::vector<std::pair<std::string, Taken>> taken = takeOut(domain, wanted);
        if (taken.empty() || !preferences_.write(domain)) return;
        for (auto& [key, record] : taken) taken_[key].push_back(std::move(record));
    }
    if (restart_) restart_();
}

void DockTiles::restore(const std::vector<std::string>& apps) {
    {
        std::lock_guard<std::mutex> guard(lock_);
        std::vector<std::string> found;
        std::vector<Taken> records;
        for (const std::string& app : apps) {
            const std::string key = DockTiles::key(app);
            const auto entry = taken_.find(key);
            if (entry == taken_.end()) continue;
            found.push_back(key);
            records.insert(records.end(), entry->second.begin(), entry->second.end());
        }
        if (records.empty()) return;
        std::stable_sort(records.begin(), records.end(),
                         [](const Taken& a, const Taken& b) { return a.index < b.index; });
        PropertyList domain = preferences_.read();
        bool changed = false;
        bool placedAll = true;
        for (const std::string& section : sections()) {
            std::optional<PropertyList> tiles = domain.get(section);
            if (tiles && tiles->type() != PropertyList::Type::array) { // not ours to replace
                placedAll = placedAll && std::none_of(records.begin(), records.end(),
                                                      [&](const Taken& record) { return record.section == section; });
                continue;
            }
            if (!tiles) tiles = PropertyList::array();
            bool sectionChanged = false;
            for (const Taken& record : records) {
                if (record.section != section) continue;
                const std::string key = DockTiles::key(path(record.tile));
                bool present = false;
                for (std::size_t i = 0; i < tiles->size() && !present; ++i) {
                    const std::string other = path(tiles->at(i));
                    present = !other.empty() && DockTiles::key(other) == key;
                }
                if (present) continue;
                tiles->insert(std::min(static_cast<std::size_t>(std::max(record.index, 0)), tiles->size()), record.tile);
                sectionChanged = true;
            }
            if (sectionChanged) domain.set(section, *tiles);
            changed = changed || sectionChanged;
        }
        // Kept when they could not go back: the tiles exist nowhere else.
        if (changed && !preferences_.write(domain)) return;
        if (placedAll)
            for (const std::string& key : found) taken_.erase(key);
        if (!changed) return;
    }
    if (restart_) restart_();
}

std::vector<DockTiles::Orphan> DockTiles::orphans(const FileManager& fileManager) {
    PropertyList domain;
    {
        std::lock_guard<std::mutex> guard(lock_);
        domain = preferences_.read();
    }
    std::vector<Orphan> found;
    const std::optional<PropertyList> tiles = domain.get("persistent-apps");
    if (!tiles) return found;
    for (std::size_t i = 0; i < tiles->size(); ++i) {
        const PropertyList tile = tiles->at(i);
        const std::string path = DockTiles::path(tile);
        if (path.empty()) continue;
        const std::string key = DockTiles::key(path);
        if (!key.ends_with(".app") || onDetachableDisk(key) || fileManager.exists(path)) continue;
        std::string name = label(tile);
        const std::string_view file = Paths::lastComponent(path);
        if (name.empty()) name = std::string(file.substr(0, file.size() - 4)); // without ".app"
        found.push_back({std::move(name), path});
    }
    return found;
}

void DockTiles::remove(const std::vector<Orphan>& orphans) {
    std::vector<std::string> paths;
    for (const Orphan& orphan : orphans) paths.push_back(orphan.path);
    const std::set<std::string> wanted = appKeys(paths);
    if (wanted.empty()) return;
    {
        std::lock_guard<std::mutex> guard(lock_);
        PropertyList domain = preferences_.read();
        if (takeOut(domain, wanted).empty() || !preferences_.write(domain)) return;
    }
    if (restart_) restart_();
}

std::vector<std::string> DockTiles::sharedApps(const std::vector<TrashReceipt>& receipts, bool otherAccountsExist) {
    std::vector<std::string> names;
    if (!otherAccountsExist) return names;
    for (const TrashReceipt& receipt : receipts) {
        const std::string key = DockTiles::key(receipt.originalPath);
        if (!key.starts_with("/applications/") || !key.ends_with(".app")) continue;
        const std::string path = Paths::standardized(receipt.originalPath);
        const std::string_view name = Paths::lastComponent(path);
        names.emplace_back(name.substr(0, name.size() - 4));
    }
    return names;
}

bool DockTiles::otherAccountsExist(const std::vector<std::string>& users, const std::string& home) {
    const std::string own(Paths::lastComponent(Paths::standardized(home)));
    return std::any_of(users.begin(), users.end(), [&](const std::string& name) {
        if (name.empty() || name.starts_with('.') || name == "Shared" || name == "Guest" || name == own) return false;
#if defined(__linux__)
        if (name == "lost+found") return false; // /home on a disk of its own
#endif
        return true;
    });
}

std::string DockTiles::path(const PropertyList& tile) {
    const std::optional<PropertyList> data = tile.get("tile-data");
    const std::optional<PropertyList> file = data ? data->get("file-data") : std::nullopt;
    const std::optional<std::string> location = file ? file->string("_CFURLString") : std::nullopt;
    if (!location) return {};
    // 15 is a URL and 0 a plain path; without a type, the text tells.
    const std::optional<PropertyList> type = file->get("_CFURLStringType");
    const std::int64_t kind = type ? type->asInteger().value_or(-1) : -1;
    const bool isUrl = type ? kind == 15 : lowered(location->substr(0, 5)) == "file:";
    std::string plain;
    if (isUrl) plain = Paths::fromFileUrl(*location);
    else if (!type || kind == 0) plain = *location;
    if (plain.empty() || plain.front() != '/') return {};
    return Paths::standardized(plain);
}

std::string DockTiles::label(const PropertyList& tile) {
    const std::optional<PropertyList> data = tile.get("tile-data");
    return data ? data->string("file-label").value_or(std::string()) : std::string();
}

std::string DockTiles::key(const std::string& path) { return lowered(Paths::standardized(path)); }

} // namespace tessel
