// The junk finder's run: ask every source for candidates, keep the first of
// each path, measure them one by one (so that progress moves and a cancel
// takes effect within one item), and keep only the outermost, so that no
// byte is counted twice. What each source proposes is in JunkSources.cpp,
// the walk for projects in ProjectOutputs.cpp.
//
// Measuring stands on the finder's Disk: the scan engine's sizes and the
// folders' listings, or a scan of the home standing in for both, so a dead
// network mount below the home costs one stall, not one per candidate.

#include "UninstallKit/JunkFinder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <regex>

#include "Base/AsciiCase.h"
#include "Base/FolderNames.h"
#include "Base/Lines.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/MoveRights.h"

namespace tessel {

namespace {

std::string lowerExtension(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return {};
    return asciiLower(name.substr(dot + 1));
}

std::string withoutExtension(const std::string& name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

// "November 2025"
std::string monthYear(std::int64_t seconds) {
    static constexpr const char* months[] = {"January", "February", "March",     "April",   "May",      "June",
                                             "July",    "August",   "September", "October", "November", "December"};
    const std::time_t time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    localtime_r(&time, &parts);
    return std::string(months[parts.tm_mon]) + " " + std::to_string(parts.tm_year + 1900);
}

// A folder of the XDG user directories: the environment's, else the line of
// user-dirs.dirs ("XDG_DOWNLOAD_DIR=\"$HOME/Downloads\""), else home/fallback.
std::string userDirectory(const std::string& configHome, const std::string& home, const char* key, const char* fallback) {
    if (const char* value = std::getenv(key); value != nullptr && value[0] == '/') return Paths::standardized(value);
    const SmallFileRead read = readSmallFile(configHome + "/user-dirs.dirs", 64 * 1024);
    std::optional<std::string> found;
    if (read.text)
        forEachLine(*read.text, [&](std::string_view line) {
            if (!line.starts_with(key) || line.size() <= std::strlen(key) || line[std::strlen(key)] != '=') return;
            std::string_view value = line.substr(std::strlen(key) + 1);
            if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
            if (value.starts_with("$HOME/")) found = home + std::string(value.substr(5));
            else if (value.starts_with("/")) found = std::string(value);
        });
    // The desktop folder set to the home itself means "no desktop folder".
    if (found && Paths::standardized(*found) != Paths::standardized(home)) return Paths::standardized(*found);
    return home + "/" + fallback;
}

} // namespace

JunkPlaces JunkPlaces::forHome(const std::string& home) {
    JunkPlaces places;
    places.home = home;
    places.cacheHome = home + "/.cache";
    places.configHome = home + "/.config";
    places.dataHome = home + "/.local/share";
    places.stateHome = home + "/.local/state";
    places.downloads = home + "/Downloads";
    places.desktop = home + "/Desktop";
    return places;
}

JunkPlaces JunkPlaces::fromEnvironment(const std::string& root) {
    JunkPlaces places;
    places.root = root.empty() ? "/" : root;
    places.home = Paths::homeFolder();
    places.cacheHome = Paths::xdgFolder("XDG_CACHE_HOME", places.home, ".cache");
    places.configHome = Paths::xdgFolder("XDG_CONFIG_HOME", places.home, ".config");
    places.dataHome = Paths::xdgFolder("XDG_DATA_HOME", places.home, ".local/share");
    places.stateHome = Paths::xdgFolder("XDG_STATE_HOME", places.home, ".local/state");
    places.downloads = userDirectory(places.configHome, places.home, "XDG_DOWNLOAD_DIR", "Downloads");
    places.desktop = userDirectory(places.configHome, places.home, "XDG_DESKTOP_DIR", "Desktop");
    return places;
}

JunkFinder::Disk JunkFinder::Disk::real() {
    Disk disk;
    disk.sizer = [](const std::string& path) { return DiskScanner::allocatedSize(path); };
    disk.list = [](const std::string& folder) { return folderNames(folder); };
    disk.isFolder = [](const std::string& path) {
        struct stat info {};
        return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
    };
    disk.listFolders = [isFolder = disk.isFolder](const std::string& folder) {
        std::vector<std::string> names = folderNames(folder);
        std::erase_if(names, [&](const std::string& name) { return !isFolder(folder + "/" + name); });
        return names;
    };
    disk.lastUsed = [](const std::string& path) -> std::optional<std::int64_t> {
        struct stat info {};
        if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
        return static_cast<std::int64_t>(info.st_atim.tv_sec);
    };
    return disk;
}

JunkFinder::JunkFinder(JunkPlaces places, Disk disk, Settings settings)
    : places_(std::move(places)), disk_(std::move(disk)), settings_(std::move(settings)) {}

std::vector<JunkItem> JunkFinder::find(const std::function<void(std::size_t, std::size_t)>& progress,
                                       const std::function<bool()>& isCancelled) const {
    std::vector<Candidate> all = candidates();
    std::set<std::string> seen;
    std::vector<Candidate> kept;
    for (Candidate& candidate : all)
        if (seen.insert(candidate.path).second) kept.push_back(std::move(candidate));
    std::vector<JunkItem> items;
    for (std::size_t i = 0; i < kept.size(); ++i) {
        if (isCancelled && isCancelled()) return {};
        if (progress) progress(i, kept.size());
        if (std::optional<JunkItem> item = measure(kept[i])) items.push_back(std::move(*item));
    }
    if (progress) progress(kept.size(), kept.size());
    items = outermost(std::move(items));
    std::ranges::stable_sort(items, [](const JunkItem& a, const JunkItem& b) { return a.bytes > b.bytes; });
    return items;
}

std::vector<JunkFinder::Candidate> JunkFinder::candidates() const {
    std::vector<Candidate> all;
    for (auto source : {&JunkFinder::packageCacheCandidates, &JunkFinder::sharedCacheCandidates,
                        &JunkFinder::macCacheCandidates, &JunkFinder::chromiumCandidates,
                        &JunkFinder::sandboxCacheCandidates, &JunkFinder::logCandidates, &JunkFinder::xcodeCandidates,
                        &JunkFinder::projectCandidates, &JunkFinder::installerCandidates,
                        &JunkFinder::virtualMachineCandidates, &JunkFinder::gameCandidates,
                        &JunkFinder::downloadCandidates}) {
        std::vector<Candidate> found = (this->*source)();
        std::ranges::move(found, std::back_inserter(all));
    }
    return all;
}

std::optional<JunkItem> JunkFinder::measure(const Candidate& candidate) const {
    struct stat info {};
    if (::lstat(candidate.path.c_str(), &info) != 0) return std::nullopt;
    // A link is measured as a link: what it points at is not this place's.
    const bool isDirectory = S_ISDIR(info.st_mode);
    const std::int64_t bytes = isDirectory ? disk_.sizer(candidate.path) : static_cast<std::int64_t>(info.st_blocks) * 512;
    if (bytes < candidate.floor) return std::nullopt;

    JunkItem item;
    item.path = candidate.path;
    item.name = candidate.name;
    item.category = candidate.category;
    item.bytes = bytes;
    item.isDirectory = isDirectory;
    item.modified = candidate.used ? candidate.used : std::optional<std::int64_t>(info.st_mtim.tv_sec);
    item.identifier = candidate.identifier;
    item.isSystem = candidate.isSystem;
    item.requiresAdministrator = MoveRights::needsAdministrator(candidate.path, info);
    item.note = candidate.note;
    item.app = candidate.app;
    item.recommended = candidate.recommended;
    item.tools = candidate.tools;
    item.toolName = candidate.toolName;
    return item;
}

std::vector<JunkItem> JunkFinder::outermost(std::vector<JunkItem> items) {
    std::vector<std::string> folders;
    for (const JunkItem& item : items)
        if (item.isDirectory) folders.push_back(item.path);
    std::ranges::sort(folders);
    auto isBelowAnother = [&](const std::string& path) {
        // Any folder strictly above `path` sorts before it; only its own ancestors matter.
        for (std::size_t slash = path.rfind('/'); slash != std::string::npos && slash > 0; slash = path.rfind('/', slash - 1))
            if (std::ranges::binary_search(folders, path.substr(0, slash))) return true;
        return false;
    };
    std::erase_if(items, [&](const JunkItem& item) { return isBelowAnother(item.path); });
    return items;
}

std::vector<std::string> JunkFinder::children(const std::string& folder) const {
    std::vector<std::string> names = disk_.list(folder);
    std::erase_if(names, [](const std::string& name) { return name.empty() || name.front() == '.'; });
    std::ranges::sort(names);
    return names;
}

bool JunkFinder::isFolder(const std::string& path) const { return disk_.isFolder(path); }

bool JunkFinder::exists(const std::string& path) const {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

std::optional<std::string> JunkFinder::identifierIn(const std::string& name) {
    if (name.find(' ') != std::string::npos || name.find('\t') != std::string::npos) return std::nullopt;
    int pieces = 1;
    for (std::size_t i = 0; i < name.size(); ++i)
        if (name[i] == '.') {
            if (i == 0 || i + 1 == name.size() || name[i + 1] == '.') return std::nullopt;
            ++pieces;
        }
    if (pieces < 3) return std::nullopt;
    return name;
}

std::string JunkFinder::projectName(const std::string& folder) {
    const std::size_t dash = folder.rfind('-');
    return dash == std::string::npos || dash == 0 ? folder : folder.substr(0, dash);
}

std::optional<std::string> JunkFinder::unpackedFolder(const std::string& name, const std::set<std::string>& siblings) {
    static const std::set<std::string> archives{"zip", "rar", "7z", "tar", "gz", "tgz", "xz", "bz2"};
    if (!archives.contains(lowerExtension(name))) return std::nullopt;
    const std::string bare = withoutExtension(name);
    // Some services stamp a bundle of files: "photos-20240102T030405Z-001.zip".
    static const std::regex stamp("-\\d{8}T\\d{6}Z-\\d{3}$");
    const std::string unstamped = std::regex_replace(bare, stamp, "");
    for (const std::string& candidate : {bare, unstamped})
        if (candidate != name && siblings.contains(candidate)) return candidate;
    return std::nullopt;
}

JunkFinder::Candidate JunkFinder::installer(const std::string& path, const std::string& name) const {
    Candidate candidate = Candidate::of(path, name, JunkCategory::installers);
    if (Paths::isWithin(path, places_.home + "/Library/iTunes"))
        candidate.note = "An iPhone or iPad update Finder downloaded. Finder downloads it again when a device needs it. "
                         "Not ticked for you.";
    else if (name.starts_with("Install macOS"))
        candidate.note = "A macOS installer. Your Mac does not need it to run; keep it only if you mean to install that "
                         "version of macOS, on this Mac or another. Not ticked for you.";
    else
        candidate.note = "An installer you downloaded. What it installed stays. Not ticked for you.";
    return candidate;
}

std::optional<JunkFinder::Candidate> JunkFinder::oldDownload(const std::string& path, const std::string& name,
                                                             const std::set<std::string>& siblings) const {
    const std::optional<std::int64_t> used = disk_.lastUsed(path);
    if (!used || settings_.now - *used < oldAfter) return std::nullopt;
    Candidate candidate = Candidate::of(path, name, JunkCategory::oldDownloads);
    candidate.floor = smallestDownload;
    candidate.used = used;
    candidate.note = "Not opened since " + monthYear(*used) + ".";
    if (const std::optional<std::string> folder = unpackedFolder(name, siblings))
        candidate.note += " A folder beside it, \u201c" + *folder + "\u201d, may be what it unpacked to.";
    return candidate;
}

std::vector<JunkFinder::Candidate> JunkFinder::downloadCandidates() const {
    // The installers' kinds: the Mac's, and the packages and images Linux installs from. An
    // AppImage is the app itself, never an installer.
    static const std::set<std::string> installerKinds{"dmg", "pkg",  "mpkg", "xip",        "ipsw", "deb",
                                                      "rpm", "snap", "run",  "flatpakref", "flatpakrepo", "iso"};
    std::vector<Candidate> found;
    for (const std::string& folder : {places_.downloads, places_.desktop}) {
        const bool isDownloads = folder == places_.downloads;
        const std::vector<std::string> names = children(folder);
        const std::set<std::string> siblings(names.begin(), names.end());
        for (const std::string& name : names) {
            const std::string path = folder + "/" + name;
            if (installerKinds.contains(lowerExtension(name))) {
                found.push_back(installer(path, name));
                continue;
            }
            if (isDownloads && lowerExtension(name).empty() && isFolder(path))
                for (const std::string& inner : children(path))
                    if (installerKinds.contains(lowerExtension(inner))) found.push_back(installer(path + "/" + inner, inner));
            if (isDownloads)
                if (std::optional<Candidate> old = oldDownload(path, name, siblings)) found.push_back(std::move(*old));
        }
    }
    return found;
}

} // namespace tessel
