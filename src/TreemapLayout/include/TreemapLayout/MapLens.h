#pragma once
// The map's ways of looking at a folder. "All Items" is the folder's own
// contents (MapItem::contents); the lenses here regroup the whole tree below
// it: the apps it holds, its biggest folders wherever they sit, and its files
// by kind.

#include <string_view>
#include <vector>

#include "DiskScanKit/FileNode.h"
#include "Base/Platform.h"
#include "TreemapLayout/MapItem.h"

namespace tessel::MapLens {

// Folders the Apps lens never enters: system areas, caches and package trees.
bool isNotForApps(std::string_view name);
// Whether a folder is an application, by the platform's conventions as well as
// the ".app" bundle: on Linux a Flatpak app's folder, a snap, or an AppImage file.
bool isApplication(const FileNode& node, Platform platform = currentPlatform());

// Every application below `root`, largest first; applications are not entered.
std::vector<MapItem> apps(FileNode* root, Platform platform = currentPlatform());
// The biggest folders below `root`, wherever they sit: the largest folder is
// split into its own folders again and again until `target` folders stand or
// nothing is left to split. None of them holds another.
std::vector<MapItem> folders(FileNode* root, int target);
// The files below `root` gathered by kind, one group per kind, and the files
// too small to have been listed as one "smaller files" item.
std::vector<MapItem> types(FileNode* root);

} // namespace tessel::MapLens
