#pragma once
// Trees built in memory for the suites that need a tree but no disk: folders,
// files and loose small files, each size added to every folder above it as a
// scan would, so that totals add up the way the code under test expects.

#include <concepts>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "DiskScanKit/FileNode.h"

namespace tessel::test {

// Grows nodes in one tree. It makes no root of its own, so that a fixture whose
// tests each start from a root of their choosing can name its own `root`.
struct NodeBuilder {
    std::shared_ptr<FileTree> tree = std::make_shared<FileTree>();

    // Named as a scan names its root: by the whole path, and "/" by the empty name.
    FileNode* rootAt(std::string_view path) { return tree->makeNode(path == "/" ? "" : path, true, nullptr); }

    // A folder may be given bytes of its own, which nothing inside it accounts for.
    FileNode* add(FileNode* parent, std::string_view name, bool isFolder, std::int64_t bytes = 0) {
        FileNode* node = tree->makeNode(name, isFolder, parent);
        tree->appendChild(parent, node);
        addUp(node, bytes);
        return node;
    }
    FileNode* folder(FileNode* parent, std::string_view name) { return add(parent, name, true); }
    // A folder that holds only loose small files.
    FileNode* folder(FileNode* parent, std::string_view name, std::int64_t looseBytes, std::int64_t looseCount = 1) {
        return loose(folder(parent, name), looseBytes, looseCount);
    }
    FileNode* file(FileNode* parent, std::string_view name, std::int64_t bytes) {
        return add(parent, name, false, bytes);
    }
    // Small files a scan counts in their folder without a node each. Returns the folder.
    FileNode* loose(FileNode* folder, std::int64_t bytes, std::int64_t count = 1) {
        folder->setAggregatedFiles(bytes, count);
        addUp(folder, bytes);
        return folder;
    }
    static void addUp(FileNode* node, std::int64_t bytes) {
        for (FileNode* n = node; n != nullptr; n = n->parent()) n->addTotalBytes(bytes);
    }
};

// A tree with its root made up front.
struct TreeBuilder : NodeBuilder {
    explicit TreeBuilder(std::string_view rootPath = "/r") : root(rootAt(rootPath)) {}

    // The root as a scan hands it on: a handle that keeps the whole tree alive.
    std::shared_ptr<FileNode> shared() const { return FileTree::share(tree, root); }

    FileNode* root;
};

inline std::vector<std::string> namesOf(std::span<FileNode* const> nodes) {
    std::vector<std::string> names;
    for (const FileNode* node : nodes) names.emplace_back(node->name());
    return names;
}

// For the items built from nodes (map items, tiles, rows): anything with a name.
template <class Item>
    requires requires(const Item& item) {
        { item.name } -> std::convertible_to<std::string>;
    }
std::vector<std::string> namesOf(const std::vector<Item>& items) {
    std::vector<std::string> names;
    for (const Item& item : items) names.emplace_back(item.name);
    return names;
}

} // namespace tessel::test
