#pragma once

#include <cstdint>
#include <vector>

namespace tessel {

class FileNode;

namespace ScanReport {

struct Inventory {
    std::vector<FileNode*> folders;
    std::vector<FileNode*> files;
    std::int64_t folderCount = 0;
    std::int64_t fileCount = 0;
};

// The largest folders and files below `root` (the root itself not listed),
// and how many of each the tree holds. Package contents are counted, not listed.
Inventory inventory(const FileNode& root, int limit);

} // namespace ScanReport
} // namespace tessel
