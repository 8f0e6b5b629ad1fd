#pragma once
// Trees built in memory for the query tests: folders and files with sizes,
// each file's bytes added to every folder above it as a scan would.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "DiskScanKit/FileNode.h"

namespace tessel::test {

struct TreeBuilder {
    explicit TreeBuilder(const char* rootName = "/r") : root(tree->makeNode(rootName, true, nullptr)) {}

    FileNode* folder(FileNode* parent, const std::string& name) {
        FileNode* node = tree->makeNode(name, true, parent);
        tree->appendChild(parent, node);
        return node;
    }
    FileNode* file(FileNode* parent, const std::string& name, std::int64_t bytes) {
        FileNode* node = tree->makeNode(name, false, parent);
        tree->appendChild(parent, node);
        for (FileNode* n = node; n != nullptr; n = n->parent()) n->addTotalBytes(bytes);
        return node;
    }

    std::shared_ptr<FileTree> tree = std::make_shared<FileTree>();
    FileNode* root;
};

inline std::vector<std::string> namesOf(const std::vector<FileNode*>& nodes) {
    std::vector<std::string> names;
    for (const FileNode* node : nodes) names.emplace_back(node->name());
    return names;
}

} // namespace tessel::test
