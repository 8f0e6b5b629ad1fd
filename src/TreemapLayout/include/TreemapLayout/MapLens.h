#pragma once
// The map's ways of looking at a folder. "All Items" is the folder's own
// contents (MapItem::contents); the lenses here regroup the whole tree below
// it: the apps it holds, its biggest folders wherever they sit, and its files
// by kind. A search finds the items whose names match typed words, for the
// map to light them and the folders that hold them, and to dim the rest.

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/NameMatcher.h"
#include "Base/Platform.h"
#include "TreemapLayout/MapItem.h"

namespace tessel::MapLens {

// Folders the Apps lens never enters: system areas, caches and package trees.
bool isNotForApps(std::string_view name);
// Whether a folder is an application, by the platform's conventions as well as
// the ".app" bundle: on Linux a Flatpak app's folder, a snap, or an AppImage file.
bool isApplication(const FileNode& node, Platform platform = currentPlatform());

// An installed app known by name, and the folders or files that are wholly its own.
struct KnownApp {
    std::string name;
    std::vector<std::string> homes;
};
// The apps found in the tree below `root`: bundles, AppImages, Flatpak and snap
// folders by their place, and each of the `known` apps whose homes lie below
// `root`, under its own name and by all its homes there (one item holding
// them, where there are several); largest first, and applications are not
// entered.
std::vector<MapItem> apps(FileNode* root, Platform platform = currentPlatform(), const std::vector<KnownApp>& known = {});
// The biggest folders below `root`, wherever they sit: the largest folder is
// split into its own folders again and again until `target` folders stand or
// nothing is left to split. None of them holds another.
std::vector<MapItem> folders(FileNode* root, int target);
// The files below `root` gathered by kind, one group per kind, and the files
// too small to have been listed as one "smaller files" item.
std::vector<MapItem> types(FileNode* root);

// What a search below a folder found.
struct Found {
    NameMatcher matcher{""};
    // The largest matches, at most the limit asked for, as LargestNodes ranks them.
    std::vector<MapItem> items;
    // Every match, listed or not.
    std::int64_t total = 0;
    // The space the matches take: a match inside another is already in its bytes.
    std::int64_t bytes = 0;
    // The folders that match or hold a match, the searched folder included.
    std::unordered_set<const FileNode*> holders;

    // Whether a node matches or holds a match.
    bool lights(const FileNode& node) const;
    // The same for an item: a group or a folded rest lights when any member
    // does; the small files, nameless, never do.
    bool lights(const MapItem& item) const;
};

// The items below `root` whose names match, as the map shows them: named,
// taking space, never `root` itself. One walk; none if `isCancelled` said so
// before it ended.
std::optional<Found> search(FileNode* root, const NameMatcher& matcher, int limit,
                            const std::function<bool()>& isCancelled = {});

} // namespace tessel::MapLens
