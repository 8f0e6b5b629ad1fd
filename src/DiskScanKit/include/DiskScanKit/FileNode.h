#pragma once
// The scanned tree. A node knows its name, its size and its place; paths are
// computed on demand. Nodes live in their tree's arena and are compared by
// identity (plain pointers), never copied. `parent` does not own: whoever keeps
// a node must keep its tree, which `FileTree::share` makes automatic.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "DiskScanKit/Arena.h"

namespace tessel {

// How much of a folder the scan could read: all of it; nothing, as it could
// not be opened; its first entries, until a read failed; or nothing in time,
// as it stopped answering and the scan gave up on it.
enum class FolderReading : std::uint8_t { complete, unreadable, partial, stalled };

namespace FolderReadings {
// What a map card or a list row says of a folder that was not read whole:
// "Could not be read", "Partly read", "Did not answer"; empty for a whole one.
std::string_view note(FolderReading reading);
} // namespace FolderReadings

class FileNode;

namespace FolderReadings {
// The folders under `root` (itself included) that the scan could not read
// whole, unreadable or partly read, parents before children, at most `limit`.
std::vector<const FileNode*> shortFolders(const FileNode& root, std::size_t limit);
} // namespace FolderReadings

class FileNode final {
public:
    struct Detachment {
        FileNode* node = nullptr;
        FileNode* parent = nullptr;
        std::size_t index = 0;
        std::int64_t bytes = 0;
    };

    // Creates a node in the arena behind `cursor`. The name is copied.
    static FileNode* create(ArenaCursor& cursor, std::string_view name, bool isDirectory,
                            FileNode* parent);

    FileNode(const FileNode&) = delete;
    FileNode& operator=(const FileNode&) = delete;

    std::string_view name() const { return name_; }
    // The same name, NUL-terminated, for system calls.
    const char* nameCString() const { return name_; }
    bool isDirectory() const { return isDirectory_; }
    // Another name of a hard-linked file whose bytes count under the name the
    // scan met first: it has a node of 0 bytes only so that every name of the
    // file can be found, and is no file of its own in lists of the largest.
    bool isFurtherName() const { return isFurtherName_; }
    // How much of this folder the scan could read.
    FolderReading reading() const { return static_cast<FolderReading>(reading_); }
    std::int64_t totalBytes() const { return totalBytes_; }
    std::span<FileNode* const> children() const { return {children_, childCount_}; }
    FileNode* parent() const { return parent_; }
    std::int64_t aggregatedFileBytes() const { return aggregatedFileBytes_; }
    std::int64_t aggregatedFileCount() const { return aggregatedFileCount_; }
    std::int64_t pendingChildren() const { return pendingChildren_; }

    std::string path() const;
    int depth() const;
    // The node `relativePath` names below this one ("a/b"; empty for this node
    // itself), name by name; none when a name is missing on the way.
    FileNode* descendant(std::string_view relativePath);
    // The node of the tree under `root` at the absolute `path`; none when the
    // path lies outside the root or names nothing in the tree.
    static FileNode* atPath(FileNode& root, std::string_view path);
    std::vector<FileNode*> childrenBySize() const;
    std::vector<FileNode*> largestDescendants(int limit, bool directoriesOnly) const;

    std::optional<Detachment> detachFromTree();
    void reattach(const Detachment& detachment);

    // Building: used by the scan, by loaders and by tests, never once a tree is shown.
    void setChildren(ArenaCursor& cursor, std::span<FileNode* const> children);
    void appendChild(ArenaCursor& cursor, FileNode* child);
    void setTotalBytes(std::int64_t bytes) { totalBytes_ = bytes; }
    void addTotalBytes(std::int64_t bytes);
    void setAggregatedFiles(std::int64_t bytes, std::int64_t count);
    void setPendingChildren(std::int64_t count) { pendingChildren_ = static_cast<std::int32_t>(count); }
    void markAsFurtherName() { isFurtherName_ = 1; }
    void setReading(FolderReading reading) { reading_ = static_cast<std::uint32_t>(reading) & 0x3u; }

private:
    FileNode(const char* name, bool isDirectory, FileNode* parent)
        : name_(name), parent_(parent), isDirectory_(isDirectory) {}

    // 56 bytes on a 64-bit machine; the name and the child array sit in the arena.
    const char* name_;
    FileNode* parent_;
    FileNode** children_ = nullptr;
    std::int64_t totalBytes_ = 0;
    std::int64_t aggregatedFileBytes_ = 0;
    std::uint32_t childCount_ = 0;
    std::uint32_t childCapacity_ : 28 = 0;
    std::uint32_t isDirectory_ : 1;
    std::uint32_t isFurtherName_ : 1 = 0;
    std::uint32_t reading_ : 2 = 0;
    std::int32_t aggregatedFileCount_ = 0;
    std::int32_t pendingChildren_ = 0;
};

// Owns every node of one tree. Thread-safe for building through its own cursor;
// scan threads use cursors of their own on `arena()`.
class FileTree {
public:
    FileTree() = default;
    FileTree(const FileTree&) = delete;
    FileTree& operator=(const FileTree&) = delete;

    FileNode* makeNode(std::string_view name, bool isDirectory, FileNode* parent);
    void appendChild(FileNode* parent, FileNode* child);
    Arena& arena() { return arena_; }
    std::size_t bytesReserved() const { return arena_.bytesReserved(); }

    // A handle on `node` that keeps the whole tree alive.
    static std::shared_ptr<FileNode> share(const std::shared_ptr<FileTree>& tree, FileNode* node) {
        return {tree, node};
    }

private:
    Arena arena_;
    std::mutex buildLock_;
    ArenaCursor cursor_{arena_};
};

// A fresh tree with one folder as its root, named as a scan would name it.
std::shared_ptr<FileNode> makeRootedTree(const std::string& standardizedRootPath);

} // namespace tessel
