#include "TreemapLayout/MapItem.h"

#include <algorithm>

#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/Packages.h"
#include "DiskScanKit/Paths.h"
#include "Base/Platform.h"

namespace tessel {

namespace {

void sortLargestFirst(std::vector<MapItem>& items) {
    std::stable_sort(items.begin(), items.end(), [](const MapItem& a, const MapItem& b) { return a.bytes > b.bytes; });
}

std::string countedFiles(std::int64_t count, const char* one, const char* many) {
    return count == 1 ? std::string(one) : std::to_string(count) + many;
}

} // namespace

MapItem MapItem::fromNode(FileNode* node) { return fromNode(node, node->parent() != nullptr ? node->parent()->path() : std::string()); }

MapItem MapItem::fromNode(FileNode* node, const std::string& folderPath) {
    MapItem item;
    if (node->parent() == nullptr) {
        item.id = node->path();
    } else {
        item.id.reserve(folderPath.size() + node->name().size() + 1);
        item.id = folderPath;
        if (item.id.empty() || item.id.back() != '/') item.id += '/';
        item.id += node->name();
    }
    item.node = node;
    item.name = displayName(*node);
    item.bytes = node->totalBytes();
    item.reading = node->reading();
    if (node->isDirectory()) {
        const std::string_view name = node->name();
        if (name.size() > 4 && name.substr(name.size() - 4) == ".app") {
            item.kind = Kind::app();
        } else if (std::optional<FileKind> kind = FileKinds::bundle(name)) {
            // A bundle of a known kind is one thing, as the File Types lens counts it.
            item.kind = Kind::package(*kind);
        } else if (Packages::isPackage(name)) {
            item.kind = Kind::package(FileKind::other);
        } else {
            item.kind = Kind::folder();
        }
    } else {
        item.kind = Kind::file(FileKinds::of(node->name()));
    }
    return item;
}

std::optional<MapItem> MapItem::smallFiles(FileNode* folder) {
    if (folder->aggregatedFileBytes() <= 0) return std::nullopt;
    MapItem item;
    item.id = Paths::join(folder->path(), "$small");
    item.container = folder;
    item.bytes = folder->aggregatedFileBytes();
    item.kind = Kind::smallFiles(folder->aggregatedFileCount());
    item.name = countedFiles(folder->aggregatedFileCount(), "1 smaller file", " smaller files");
    return item;
}

MapItem MapItem::more(std::vector<MapItem> rest) {
    MapItem item;
    const auto count = static_cast<std::int64_t>(rest.size());
    item.id = "$more/" + std::to_string(count) + "/" + (rest.empty() ? std::string() : rest.front().id);
    item.name = countedFiles(count, "1 more item", " more items");
    for (const MapItem& member : rest) item.bytes = checkedAdd(item.bytes, member.bytes);
    item.kind = Kind::more(count);
    item.memberItems = std::move(rest);
    return item;
}

MapItem MapItem::group(std::vector<FileNode*> members, FileKind kind, std::int64_t bytes, FileNode* container) {
    MapItem item;
    item.id = "$group/" + std::string(FileKinds::rawValue(kind)) + "/" + (container ? container->path() : std::string());
    item.name = std::string(FileKinds::title(kind));
    item.bytes = bytes;
    item.kind = Kind::group(kind);
    item.memberNodes = std::move(members);
    item.container = container;
    return item;
}

std::string MapItem::displayName(const FileNode& node) {
    if (node.parent() == nullptr && node.name().empty()) return unnamedStartupDisk();
    return std::string(node.name());
}

std::vector<MapItem> MapItem::contents(FileNode* folder) {
    std::vector<MapItem> items;
    items.reserve(folder->children().size() + 1);
    const std::string folderPath = folder->path();
    for (FileNode* child : folder->children())
        if (child->totalBytes() > 0) items.push_back(fromNode(child, folderPath));
    if (std::optional<MapItem> small = smallFiles(folder)) items.push_back(std::move(*small));
    sortLargestFirst(items);
    return items;
}

std::vector<MapItem> MapItem::contents() const {
    if (gathers()) {
        std::vector<MapItem> items;
        items.reserve(memberNodes.size());
        for (FileNode* member : memberNodes) items.push_back(fromNode(member));
        sortLargestFirst(items);
        return items;
    }
    switch (kind.tag) {
    case Kind::Tag::more:
        return memberItems;
    case Kind::Tag::group:
    case Kind::Tag::folder:
    case Kind::Tag::app:
    case Kind::Tag::package:
        return node != nullptr ? contents(node) : std::vector<MapItem>{};
    case Kind::Tag::file:
    case Kind::Tag::smallFiles:
        return {};
    }
    return {};
}

bool MapItem::opens() const {
    switch (kind.tag) {
    case Kind::Tag::folder:
        return node != nullptr && !node->children().empty();
    case Kind::Tag::group:
    case Kind::Tag::more:
        return true;
    case Kind::Tag::app:
    case Kind::Tag::package:
    case Kind::Tag::file:
    case Kind::Tag::smallFiles:
        return false;
    }
    return false;
}

const std::vector<MapItem>& ContentsCache::of(const MapItem& item) {
    auto found = cached_.find(item.id);
    if (found == cached_.end()) found = cached_.emplace(item.id, item.contents()).first;
    return found->second;
}

} // namespace tessel
