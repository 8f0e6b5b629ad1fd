// Storage breakdown.
//
// A short table of places decides the kinds: "/usr" is system, the home
// folder is documents, its Downloads are downloads, and so on. Everything
// below a place inherits its kind unless a deeper place of the table says
// otherwise, so "/usr/local" is other although "/usr" is system.
//
// The walk opens only the folders that lead to a place of the table. Any
// other node hands its whole total to the kind it stands in, without being
// looked into. On a full disk that means a few dozen folders are opened out
// of millions, and paths are built only for the children of those few: a
// node's own path() climbs to the root, which would cost far more.
//
//     /             opened (home and /usr lie below)   kind: other
//     /usr          opened (/usr/local lies below)     kind: system
//     /usr/local    not opened: its total              kind: other
//     /usr/share    not opened: its total              kind: system
//
// An opened folder's loose files (the small ones that got no node of their
// own) count to the folder's kind. A scan that starts deep in the tree starts
// with the kind the walk from "/" would have given its root.
//
// Hidden folders directly in the home folder hold settings and tools rather
// than the user's documents, so they count as other; but one that is a place
// of the table (~/.cache on Linux) takes the table's kind.
//
// What the volume says is used and no scanned folder accounts for (swap,
// snapshots, folders the scan could not read, or everything outside a scanned
// folder) is added afterwards by `make`. A scan larger than the used space,
// as with clones counted in full, adds nothing: there is nothing to explain.
// Space the file system keeps for the system holds no files, so it is not
// used space to explain, unless it is too small for the disk bar to show on
// its own (VolumeCapacity::usedAsShown), when it goes with the rest.

#include "overview/StorageBreakdown.h"

#include <algorithm>
#include <array>
#include <utility>

#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/Paths.h"
#include "SystemStatsKit/VolumeSampler.h"

namespace tessel {

namespace {

using Category = StorageBreakdown::Category;

struct Place {
    std::string path;
    Category category;
};

// The places of each platform, in normal form. Rows under the home folder are
// left out when the home folder is not known.
std::vector<Place> places(Platform platform, const std::string& home) {
    const bool knowsHome = home.starts_with('/');
    std::vector<Place> rows;
    auto fixed = [&rows](const char* path, Category category) { rows.push_back({path, category}); };
    auto inHome = [&rows, &home, knowsHome](const char* relative, Category category) {
        if (knowsHome) rows.push_back({relative[0] == '\0' ? home : Paths::join(home, relative), category});
    };
    switch (platform) {
    case Platform::macOS:
        fixed("/Applications", Category::applications);
        inHome("Applications", Category::applications);
        inHome("", Category::documents);
        inHome("Downloads", Category::downloads);
        inHome("Pictures", Category::pictures);
        inHome("Library", Category::appData);
        fixed("/Library", Category::appData);
        fixed("/System", Category::system);
        fixed("/private", Category::system);
        fixed("/usr", Category::system);
        fixed("/bin", Category::system);
        fixed("/sbin", Category::system);
        fixed("/cores", Category::system);
        fixed("/opt", Category::other);
        fixed("/usr/local", Category::other);
        break;
    case Platform::linuxOS:
        for (const char* path : {"/usr", "/var", "/etc", "/boot", "/bin", "/sbin", "/lib", "/lib64"})
            fixed(path, Category::system);
        fixed("/opt", Category::other);
        fixed("/usr/local", Category::other);
        inHome("", Category::documents);
        inHome("Downloads", Category::downloads);
        inHome("Pictures", Category::pictures);
        inHome(".cache", Category::appData);
        inHome(".local", Category::appData);
        inHome(".config", Category::appData);
        // Sandboxed apps keep their whole install in these, so they are apps
        // even where the folder around them is system or app data.
        fixed("/snap", Category::applications);
        fixed("/var/lib/flatpak", Category::applications);
        inHome(".local/share/flatpak", Category::applications);
        break;
    }
    return rows;
}

const Place* placeAt(const std::vector<Place>& rows, std::string_view path) {
    for (const Place& row : rows)
        if (row.path == path) return &row;
    return nullptr;
}

bool placeBelow(const std::vector<Place>& rows, std::string_view path) {
    return std::any_of(rows.begin(), rows.end(), [path](const Place& row) {
        return row.path.size() > path.size() && Paths::isWithin(row.path, path);
    });
}

bool isHiddenName(std::string_view name) { return name.starts_with('.'); }

// The kind the walk from "/" would give a node at `path`: that of the
// deepest place holding it, with the home folder's hidden folders as other.
Category surrounding(const std::vector<Place>& rows, const std::string& path, const std::string& home) {
    const Place* deepest = nullptr;
    for (const Place& row : rows)
        if (Paths::isWithin(path, row.path) && (deepest == nullptr || row.path.size() > deepest->path.size()))
            deepest = &row;
    if (deepest == nullptr) return Category::other;
    if (deepest->path == home && path.size() > home.size()) {
        std::string_view below = std::string_view(path).substr(home == "/" ? 1 : home.size() + 1);
        if (isHiddenName(below)) return Category::other;
    }
    return deepest->category;
}

} // namespace

const std::vector<Category>& StorageBreakdown::allCategories() {
    static const std::vector<Category> all{Category::applications, Category::documents, Category::downloads,
                                           Category::pictures,     Category::appData,   Category::other,
                                           Category::system,       Category::elsewhere};
    return all;
}

std::string_view StorageBreakdown::key(Category category) {
    switch (category) {
    case Category::applications: return "applications";
    case Category::documents: return "documents";
    case Category::downloads: return "downloads";
    case Category::pictures: return "pictures";
    case Category::appData: return "appData";
    case Category::other: return "other";
    case Category::system: return "system";
    case Category::elsewhere: return "elsewhere";
    }
    return "other";
}

std::optional<Category> StorageBreakdown::category(std::string_view key) {
    for (Category category : allCategories())
        if (StorageBreakdown::key(category) == key) return category;
    return std::nullopt;
}

std::string StorageBreakdown::title(Category category, std::string_view volumeName) {
    switch (category) {
    case Category::applications: return "Applications";
    case Category::documents: return "Documents";
    case Category::downloads: return "Downloads";
    case Category::pictures: return "Pictures";
    case Category::appData: return "App Data";
    case Category::other: return "Other";
    case Category::system: return "System";
    case Category::elsewhere:
        return "Rest of " + std::string(volumeName.empty() ? VolumeSampler::unnamedVolume() : volumeName);
    }
    return "Other";
}

std::string_view StorageBreakdown::description(Category category, Platform platform) {
    const bool mac = platform == Platform::macOS;
    switch (category) {
    case Category::applications:
        return mac ? "The Applications folders." : "Apps installed as Flatpaks and snaps, each with everything it runs on.";
    case Category::documents:
        return mac ? "Your home folder, apart from Downloads, Pictures, its Library and the hidden folders in it."
                   : "Your home folder, apart from Downloads, Pictures and the hidden folders in it.";
    case Category::downloads: return "Your Downloads folder.";
    case Category::pictures:
        return mac ? "Your Pictures folder, with the Photos library in it." : "Your Pictures folder.";
    case Category::appData:
        return mac ? "Library folders: what apps keep for themselves, such as caches, containers and support files."
                   : "What apps keep for themselves in your home folder: settings, caches and data in .config, .cache "
                     "and .local.";
    case Category::other:
        return "Everything else the scan counted, such as hidden folders in your home folder, other people's "
               "home folders, and tools installed in /opt or /usr/local.";
    case Category::system:
        return mac ? "macOS and the folders it keeps for itself, including space the disk reports as used that no "
                     "folder accounts for, such as swap."
                   : "The operating system and the folders it keeps for itself, including space the disk reports as "
                     "used that no folder accounts for, such as swap.";
    case Category::elsewhere: return "Used space outside the folder that was scanned.";
    }
    return {};
}

std::map<Category, std::int64_t> StorageBreakdown::categorize(const FileNode& root,
                                                              const std::string& rootPath,
                                                              const std::string& home, Platform platform) {
    const std::string homePath = home.empty() ? std::string{} : Paths::standardized(home, home);
    const std::string start = Paths::standardized(rootPath, homePath);
    const std::vector<Place> rows = places(platform, homePath);

    std::map<Category, std::int64_t> totals;
    auto add = [&totals](Category category, std::int64_t bytes) {
        if (bytes != 0) totals[category] = checkedAdd(totals[category], bytes);
    };

    struct Opened {
        const FileNode* node;
        std::string path;
        Category category;
    };
    const Category startCategory = surrounding(rows, start, homePath);
    if (!root.isDirectory() || !placeBelow(rows, start)) {
        add(startCategory, root.totalBytes());
        return totals;
    }
    std::vector<Opened> stack{{&root, start, startCategory}};
    std::string childPath;
    while (!stack.empty()) {
        Opened folder = std::move(stack.back());
        stack.pop_back();
        add(folder.category, folder.node->aggregatedFileBytes());
        const bool isHome = folder.path == homePath;
        for (const FileNode* child : folder.node->children()) {
            // A nameless node (a file of a sizes-only scan) stands where its folder does.
            childPath = child->name().empty() ? folder.path : Paths::join(folder.path, child->name());
            Category category = folder.category;
            if (const Place* place = placeAt(rows, childPath))
                category = place->category;
            else if (isHome && isHiddenName(child->name()))
                category = Category::other;
            if (child->isDirectory() && placeBelow(rows, childPath))
                stack.push_back({child, std::move(childPath), category});
            else
                add(category, child->totalBytes());
        }
    }
    return totals;
}

StorageBreakdown StorageBreakdown::make(const FileNode& root, const std::optional<VolumeCapacity>& volume,
                                        const std::string& home, Platform platform) {
    StorageBreakdown breakdown;
    breakdown.volume = volume;
    breakdown.scanned = root.totalBytes();
    const std::string rootPath = Paths::standardized(root.path(), home);
    std::map<Category, std::int64_t> totals = categorize(root, rootPath, home, platform);

    std::string volumeName;
    if (volume) {
        volumeName = volume->name;
        const std::int64_t used = volume->usedAsShown();
        if (breakdown.scanned < used) {
            const std::int64_t unaccounted = checkedSubtract(used, breakdown.scanned);
            Category where = rootPath == "/" ? Category::system : Category::elsewhere;
            totals[where] = checkedAdd(totals[where], unaccounted);
        }
    }
    for (Category category : allCategories()) {
        auto found = totals.find(category);
        if (found != totals.end() && found->second > 0)
            breakdown.parts.push_back({category, title(category, volumeName), found->second});
    }
    return breakdown;
}

} // namespace tessel
