#pragma once
// What the map shows: a folder, an app, a file, the small files of a folder
// taken together, the files of one kind, or the rest of a list folded into
// one. One value type lets the cards, the treemap, the columns and the list
// show all of them alike.

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "DiskScanKit/FileNode.h"
#include "TreemapLayout/FileKind.h"

namespace tessel {

struct MapItem {
    struct Kind {
        enum class Tag { package, file, smallFiles, group, more, app, folder };
        Tag tag = Tag::folder;
        FileKind fileKind = FileKind::other; // package, file and group
        std::int64_t count = 0;              // smallFiles and more

        static Kind package(FileKind kind) { return {Tag::package, kind, 0}; }
        static Kind file(FileKind kind) { return {Tag::file, kind, 0}; }
        static Kind smallFiles(std::int64_t count) { return {Tag::smallFiles, FileKind::other, count}; }
        static Kind group(FileKind kind) { return {Tag::group, kind, 0}; }
        static Kind more(std::int64_t count) { return {Tag::more, FileKind::other, count}; }
        static Kind app() { return {Tag::app, FileKind::apps, 0}; }
        static Kind folder() { return {Tag::folder, FileKind::other, 0}; }
        bool operator==(const Kind&) const = default;
    };

    // Built on the path; "$" marks the ids of items that are not nodes.
    std::string id;
    FileNode* node = nullptr;
    std::string name;
    std::int64_t bytes = 0;
    Kind kind;
    std::vector<FileNode*> memberNodes; // a group's files
    std::vector<MapItem> memberItems;   // what a "more" item folds together
    FileNode* container = nullptr;      // the folder of small files, or of a group
    std::optional<std::string> hint;
    // Of a folder: how much of it the scan could read.
    FolderReading reading = FolderReading::complete;

    static MapItem fromNode(FileNode* node);
    // The same, for a child of the folder whose path is `folderPath`: a folder's
    // contents name their children without walking up the tree for each one.
    static MapItem fromNode(FileNode* node, const std::string& folderPath);
    // The files of `folder` that have no node of their own, as one item; none if there are none.
    static std::optional<MapItem> smallFiles(FileNode* folder);
    // "1 more item" or "N more items", standing for `rest`.
    static MapItem more(std::vector<MapItem> rest);
    static MapItem group(std::vector<FileNode*> members, FileKind kind, std::int64_t bytes,
                         FileNode* container = nullptr);
    // "/" has the startup disk's name; anything else is called by its name.
    static std::string displayName(const FileNode& node);
    // A folder's children with bytes, and its small files, largest first (a stable sort).
    static std::vector<MapItem> contents(FileNode* folder);

    // What the item holds when it is opened in place.
    std::vector<MapItem> contents() const;
    // Whether it shows its contents inside its own card: folders, groups and the folded rest do;
    // apps, packages and files are single things.
    bool opens() const;
    // A folder one can go into.
    bool isNavigable() const { return node != nullptr && node->isDirectory(); }
    // Whether it stands for several nodes of the tree, its members: a group of
    // files, or an app spread over several places.
    bool gathers() const { return kind.tag == Kind::Tag::group || (kind.tag == Kind::Tag::app && node == nullptr); }
    bool operator==(const MapItem& other) const { return id == other.id; }
};

// What items hold, worked out once and kept while the same place is shown: a
// view lays the same folders out again at every new size, and a folder of
// thousands of entries is costly to turn into items each time.
class ContentsCache {
public:
    const std::vector<MapItem>& of(const MapItem& item);
    void clear() { cached_.clear(); }

private:
    std::unordered_map<std::string, std::vector<MapItem>> cached_;
};

} // namespace tessel
