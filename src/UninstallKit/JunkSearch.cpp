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
// mounted noatime or read-only (there it proves nothing), and the later of that and what
// the desktop's list of recently used files says
// ($XDG_DATA_HOME/recently-used.xbel, each bookmark's "visited" or
// "modified" time).

#include "UninstallKit/JunkSearch.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <memory>

#include "Base/AsciiCase.h"
#include "Base/FolderNames.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/Paths.h"
#include "SystemStatsKit/MountTable.h"
#include "UninstallKit/RecentlyUsed.h"

namespace tessel::JunkSearch {

namespace {

std::function<std::optional<std::int64_t>(const std::string&)> lastUse(const std::string& dataHome) {
    RecentlyUsedRead read = RecentlyUsed::read(dataHome);
    auto recent = std::make_shared<const std::map<std::string, std::int64_t>>(
        read.list ? std::move(read.list->files) : std::map<std::string, std::int64_t>{});
    auto mounts = std::make_shared<const std::vector<MountEntry>>(MountTable::current());
    return [recent, mounts](const std::string& path) -> std::optional<std::int64_t> {
        std::optional<std::int64_t> used;
        if (const auto found = recent->find(path); found != recent->end()) used = found->second;
        const std::optional<MountEntry> mount = MountTable::containing(*mounts, path);
        struct stat info {};
        if ((!mount || MountTable::keepsAccessTimes(*mount)) && ::lstat(path.c_str(), &info) == 0)
            used = std::max(used.value_or(0), std::int64_t{info.st_atim.tv_sec});
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
