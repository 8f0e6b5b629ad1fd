#include "DiskScanKit/FileNode.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/LargestNodes.h"

namespace tessel {

std::string_view FolderReadings::note(FolderReading reading) {
    switch (reading) {
    case FolderReading::complete: return {};
    case FolderReading::unreadable: return "Could not be read";
    case FolderReading::partial: return "Partly read";
    case FolderReading::stalled: return "Did not answer";
    }
    return {};
}

std::vector<const FileNode*> FolderReadings::shortFolders(const FileNode& root, std::size_t limit) {
    std::vector<const FileNode*> found;
    std::vector<const FileNode*> pending{&root};
    while (!pending.empty() && found.size() < limit) {
        const FileNode* node = pending.back();
        pending.pop_back();
        if (!node->isDirectory()) continue;
        if (node->reading() == FolderReading::unreadable || node->reading() == FolderReading::partial) found.push_back(node);
        // Pushed last to first, so the walk meets them in the tree's order.
        std::span<FileNode* const> children = node->children();
        for (auto child = children.rbegin(); child != children.rend(); ++child) pending.push_back(*child);
    }
    return found;
}

FileNode* FileNode::create(ArenaCursor& cursor, std::string_view name, bool isDirectory,
                           FileNode* parent) {
    // Names are stored NUL-terminated: a file name can't hold a NUL, and no length field is needed.
    // Nameless nodes (files of a sizes-only scan, the root "/") share one empty string.
    const char* text = "";
    if (!name.empty()) {
        char* copy = cursor.allocateArray<char>(name.size() + 1);
        std::memcpy(copy, name.data(), name.size());
        copy[name.size()] = '\0';
        text = copy;
    }
    void* place = cursor.allocate(sizeof(FileNode), alignof(FileNode));
    return new (place) FileNode(text, isDirectory, parent);
}

std::string FileNode::path() const {
    std::vector<std::string_view> names;
    std::size_t length = 0;
    for (const FileNode* node = this; node != nullptr; node = node->parent_) {
        if (node->name_[0] == '\0') continue;
        names.emplace_back(node->name_);
        length += names.back().size() + 1;
    }
    if (names.empty()) return "/";
    std::string path;
    path.reserve(length + 1);
    for (auto it = names.rbegin(); it != names.rend(); ++it) {
        if (it != names.rbegin()) path += '/';
        path += *it;
    }
    if (path.front() != '/') path.insert(path.begin(), '/');
    return path;
}

FileNode* FileNode::descendant(std::string_view relativePath) {
    FileNode* node = this;
    while (node != nullptr && !relativePath.empty()) {
        const std::size_t slash = relativePath.find('/');
        const std::string_view name = relativePath.substr(0, slash);
        relativePath = slash == std::string_view::npos ? std::string_view() : relativePath.substr(slash + 1);
        if (name.empty()) continue;
        FileNode* next = nullptr;
        for (FileNode* child : node->children())
            if (child->name() == name) {
                next = child;
                break;
            }
        node = next;
    }
    return node;
}

FileNode* FileNode::atPath(FileNode& root, std::string_view path) {
    const std::string rootPath = root.path();
    if (rootPath == "/") return path.starts_with('/') ? root.descendant(path.substr(1)) : nullptr;
    if (!path.starts_with(rootPath)) return nullptr;
    if (path.size() == rootPath.size()) return &root;
    if (path[rootPath.size()] != '/') return nullptr;
    return root.descendant(path.substr(rootPath.size() + 1));
}

int FileNode::depth() const {
    int depth = 0;
    for (const FileNode* node = parent_; node != nullptr; node = node->parent_) ++depth;
    return depth;
}

std::vector<FileNode*> FileNode::childrenBySize() const {
    std::vector<FileNode*> sorted(children_, children_ + childCount_);
    std::stable_sort(sorted.begin(), sorted.end(), [](const FileNode* a, const FileNode* b) {
        return a->totalBytes_ > b->totalBytes_;
    });
    return sorted;
}

std::vector<FileNode*> FileNode::largestDescendants(int limit, bool directoriesOnly) const {
    LargestNodes selection(limit);
    struct Item {
        const FileNode* node;
        int depth;
    };
    std::vector<Item> stack{{this, 0}};
    while (!stack.empty()) {
        Item item = stack.back();
        stack.pop_back();
        for (FileNode* child : item.node->children()) {
            const bool listed = child->isDirectory() || (!directoriesOnly && !child->isFurtherName());
            if (listed) selection.offer(child, item.depth + 1);
            if (child->childCount_ > 0) stack.push_back({child, item.depth + 1});
        }
    }
    return selection.sorted();
}

std::optional<FileNode::Detachment> FileNode::detachFromTree() {
    FileNode* parent = parent_;
    if (parent == nullptr) return std::nullopt;
    FileNode** begin = parent->children_;
    FileNode** end = begin + parent->childCount_;
    FileNode** found = std::find(begin, end, this);
    if (found == end) return std::nullopt;
    std::move(found + 1, end, found);
    --parent->childCount_;
    Detachment detachment{this, parent, static_cast<std::size_t>(found - begin), totalBytes_};
    for (FileNode* node = parent; node != nullptr; node = node->parent_)
        node->totalBytes_ = checkedSubtract(node->totalBytes_, detachment.bytes);
    parent_ = nullptr;
    return detachment;
}

void FileNode::reattach(const Detachment& detachment) {
    FileNode* parent = detachment.parent;
    FileNode** begin = parent->children_;
    FileNode** end = begin + parent->childCount_;
    if (std::find(begin, end, this) != end) return;
    // Every slot a reattachment fills was freed by a detachment, so the array has room.
    if (parent->childCount_ >= parent->childCapacity_) {
        std::fputs("tessel: reattach found no room in the parent's children\n", stderr);
        std::abort();
    }
    std::size_t index = std::min<std::size_t>(detachment.index, parent->childCount_);
    std::move_backward(begin + index, end, end + 1);
    begin[index] = this;
    ++parent->childCount_;
    parent_ = parent;
    for (FileNode* node = parent; node != nullptr; node = node->parent_)
        node->totalBytes_ = checkedAdd(node->totalBytes_, detachment.bytes);
}

void FileNode::setChildren(ArenaCursor& cursor, std::span<FileNode* const> children) {
    if (children.size() > childCapacity_) {
        children_ = cursor.allocateArray<FileNode*>(children.size());
        childCapacity_ = static_cast<std::uint32_t>(children.size()) & 0x0fffffffu;
    }
    std::copy(children.begin(), children.end(), children_);
    childCount_ = static_cast<std::uint32_t>(children.size());
}

void FileNode::appendChild(ArenaCursor& cursor, FileNode* child) {
    if (childCount_ == childCapacity_) {
        std::uint32_t capacity = childCapacity_ == 0 ? 4 : childCapacity_ * 2;
        FileNode** grown = cursor.allocateArray<FileNode*>(capacity);
        std::copy(children_, children_ + childCount_, grown);
        children_ = grown;
        childCapacity_ = capacity & 0x0fffffffu;
    }
    children_[childCount_++] = child;
    child->parent_ = this;
}

void FileNode::addTotalBytes(std::int64_t bytes) { totalBytes_ = checkedAdd(totalBytes_, bytes); }

void FileNode::setAggregatedFiles(std::int64_t bytes, std::int64_t count) {
    aggregatedFileBytes_ = bytes;
    aggregatedFileCount_ = static_cast<std::int32_t>(count);
}

FileNode* FileTree::makeNode(std::string_view name, bool isDirectory, FileNode* parent) {
    std::lock_guard guard(buildLock_);
    return FileNode::create(cursor_, name, isDirectory, parent);
}

void FileTree::appendChild(FileNode* parent, FileNode* child) {
    std::lock_guard guard(buildLock_);
    parent->appendChild(cursor_, child);
}

std::shared_ptr<FileNode> makeRootedTree(const std::string& standardizedRootPath) {
    auto tree = std::make_shared<FileTree>();
    std::string_view name = standardizedRootPath == "/" ? std::string_view{} : standardizedRootPath;
    return FileTree::share(tree, tree->makeNode(name, true, nullptr));
}

} // namespace tessel
