// One junk search: scan the home, find, and tell what is in use.
//
// The finder asks for the size of dozens of folders and lists hundreds; the
// walk for projects lists every folder of the home. Asked of the disk, a dead
// network mount below the home would stall each of those calls in turn, and a
// large home would be read once for the projects and again for the sizes.
// Scanned once, with the scan engine's watchdog, the home's tree answers them
// all, and a folder the scan gave up on is never read again. Files too small
// for a node of their own are too small for any floor of the finder too.
//
// When a file was last used: its access time, unless the file system is
// mounted noatime (there it proves nothing), and the later of that and what
// the desktop's list of recently used files says
// ($XDG_DATA_HOME/recently-used.xbel, each bookmark's "visited" or
// "modified" time).

#include "UninstallKit/JunkSearch.h"

#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <map>
#include <memory>
#include <pugixml.hpp>

#include "Base/AsciiCase.h"
#include "Base/FolderNames.h"
#include "Base/Lines.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/Paths.h"

namespace tessel::JunkSearch {

namespace {

constexpr std::int64_t recentListLimit = 16 << 20;

// "2024-03-05T10:11:12.123456Z" in seconds since 1970.
std::optional<std::int64_t> isoSeconds(std::string_view text) {
    std::tm parts{};
    if (text.size() < 19 || std::sscanf(std::string(text.substr(0, 19)).c_str(), "%4d-%2d-%2dT%2d:%2d:%2d", &parts.tm_year,
                                        &parts.tm_mon, &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec) != 6)
        return std::nullopt;
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    return static_cast<std::int64_t>(timegm(&parts));
}

// The desktop's recently used files, by path.
std::map<std::string, std::int64_t> recentlyUsed(const std::string& dataHome) {
    std::map<std::string, std::int64_t> used;
    const SmallFileRead read = readSmallFile(dataHome + "/recently-used.xbel", recentListLimit);
    if (!read.text) return used;
    pugi::xml_document document;
    if (!document.load_buffer(read.text->data(), read.text->size())) return used;
    for (pugi::xml_node bookmark : document.child("xbel").children("bookmark")) {
        const std::string path = Paths::fromFileUrl(bookmark.attribute("href").value());
        if (path.empty()) continue;
        std::optional<std::int64_t> when = isoSeconds(bookmark.attribute("visited").value());
        if (const std::optional<std::int64_t> modified = isoSeconds(bookmark.attribute("modified").value()))
            when = std::max(when.value_or(0), *modified);
        if (when) used[path] = std::max(used[path], *when);
    }
    return used;
}

// Mount points whose file systems keep no access times, from /proc/self/mountinfo.
std::vector<std::string> noatimeMounts() {
    std::vector<std::string> mounts;
    const SmallFileRead read = readSmallFile("/proc/self/mountinfo", 4 << 20);
    if (!read.text) return mounts;
    forEachLine(*read.text, [&](std::string_view line) {
        // "ID PARENT MAJ:MIN ROOT MOUNTPOINT OPTIONS ..."
        std::vector<std::string_view> fields;
        for (std::size_t at = 0; at < line.size() && fields.size() < 6;) {
            const std::size_t end = std::min(line.find(' ', at), line.size());
            fields.push_back(line.substr(at, end - at));
            at = end + 1;
        }
        if (fields.size() == 6 && (fields[5].find("noatime") != std::string_view::npos)) mounts.emplace_back(fields[4]);
    });
    return mounts;
}

std::function<std::optional<std::int64_t>(const std::string&)> lastUse(const std::string& dataHome) {
    auto recent = std::make_shared<const std::map<std::string, std::int64_t>>(recentlyUsed(dataHome));
    auto withoutAtime = std::make_shared<const std::vector<std::string>>(noatimeMounts());
    return [recent, withoutAtime](const std::string& path) -> std::optional<std::int64_t> {
        std::optional<std::int64_t> used;
        if (const auto found = recent->find(path); found != recent->end()) used = found->second;
        // The deepest mount holding the path decides.
        std::size_t deepest = 0;
        bool keepsAtime = true;
        for (const std::string& mount : *withoutAtime)
            if (Paths::isWithin(path, mount) && mount.size() >= deepest) {
                deepest = mount.size();
                keepsAtime = false;
            }
        struct stat info {};
        if (keepsAtime && ::lstat(path.c_str(), &info) == 0) used = std::max(used.value_or(0), std::int64_t{info.st_atim.tv_sec});
        return used;
    };
}

} // namespace

JunkFinder::Disk scannedHome(const std::string& home, const JunkSearchOptions& options, const std::function<bool()>& isCancelled) {
    JunkFinder::Disk disk = JunkFinder::Disk::real();
    ScanOptions scan;
    scan.fileNodeThreshold = JunkFinder::smallest;
    scan.stallTimeout = options.stallTimeout;
    scan.beforeReading = options.beforeReading;
    std::shared_ptr<FileNode> tree;
    try {
        tree = DiskScanner::scan(home, scan, {}, isCancelled).root;
    } catch (const DiskScanError&) {
        return disk; // a home that can't be scanned is read as it is
    }
    const JunkFinder::Disk real = disk;
    // The node at `path`, or why there is none: outside the home, below a folder given up on, or not a node.
    enum class Look { outside, lost, absent, found };
    auto look = [tree, home](const std::string& path) -> std::pair<Look, FileNode*> {
        if (!Paths::isWithin(path, home)) return {Look::outside, nullptr};
        if (FileNode* node = FileNode::atPath(*tree, path)) return {Look::found, node};
        for (std::string above = path; above.size() > home.size();) {
            above = above.substr(0, above.rfind('/'));
            if (FileNode* node = FileNode::atPath(*tree, above))
                return {node->reading() == FolderReading::complete ? Look::absent : Look::lost, nullptr};
        }
        return {Look::absent, nullptr};
    };
    disk.sizer = [look, real](const std::string& path) -> std::int64_t {
        const auto [found, node] = look(path);
        if (found == Look::found) return node->totalBytes();
        if (found == Look::lost) return 0;
        return real.sizer(path);
    };
    disk.list = [look, real](const std::string& folder) -> std::vector<std::string> {
        const auto [found, node] = look(folder);
        if (found == Look::found) {
            std::vector<std::string> names;
            for (const FileNode* child : node->children()) names.emplace_back(child->name());
            return names;
        }
        if (found == Look::lost) return {};
        return real.list(folder);
    };
    disk.listFolders = [look, real](const std::string& folder) -> std::vector<std::string> {
        const auto [found, node] = look(folder);
        if (found == Look::found) {
            std::vector<std::string> names;
            for (const FileNode* child : node->children())
                if (child->isDirectory()) names.emplace_back(child->name());
            return names;
        }
        if (found == Look::lost) return {};
        return real.listFolders(folder);
    };
    disk.isFolder = [look, real](const std::string& path) {
        const auto [found, node] = look(path);
        if (found == Look::found) return node->isDirectory();
        if (found == Look::lost) return false;
        return real.isFolder(path);
    };
    return disk;
}

std::vector<JunkItem> run(const JunkPlaces& places, const JunkFinder::Settings& settings, const JunkSearchOptions& options,
                          const std::function<void(std::size_t, std::size_t)>& progress,
                          const std::function<bool()>& isCancelled) {
    JunkFinder::Disk disk = scannedHome(places.home, options, isCancelled);
    if (isCancelled && isCancelled()) return {};
    disk.lastUsed = lastUse(places.dataHome);
    return JunkFinder(places, std::move(disk), settings).find(progress, isCancelled);
}

std::function<std::optional<std::string>(const std::string&)> appNames(const std::vector<InstalledApp>& apps) {
    auto names = std::make_shared<std::map<std::string, std::string>>();
    for (const InstalledApp& app : apps) {
        if (app.bundleIdentifier) names->emplace(asciiLower(*app.bundleIdentifier), app.name);
        if (app.package) names->emplace(asciiLower(*app.package), app.name);
        if (app.programPath) names->emplace(asciiLower(Paths::lastComponent(*app.programPath)), app.name);
    }
    return [names](const std::string& folder) -> std::optional<std::string> {
        const auto found = names->find(asciiLower(folder));
        if (found == names->end()) return std::nullopt;
        return found->second;
    };
}

std::set<std::string> inUse(const std::vector<JunkItem>& items, const RunningPrograms& running) {
    // Tools are named in lower case, as folders are most often named for them; programs keep their own case.
    std::set<std::string> names;
    for (const std::string& name : running.names) names.insert(asciiLower(name));
    std::set<std::string> held;
    for (const JunkItem& item : items) {
        const bool toolRuns = std::ranges::any_of(item.tools, [&](const std::string& tool) { return names.contains(asciiLower(tool)); });
        if (toolRuns || (item.identifier && running.runsApp(*item.identifier))) held.insert(item.path);
    }
    return held;
}

} // namespace tessel::JunkSearch
