#include "DiskScanKit/ScanReport.h"

#include <algorithm>

#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/LargestNodes.h"
#include "DiskScanKit/Packages.h"

namespace tessel::ScanReport {

Inventory inventory(const FileNode& root, int limit) {
    limit = std::max(limit, 0);
    LargestNodes folders(limit);
    LargestNodes files(limit);
    Inventory result;
    result.fileCount = root.aggregatedFileCount();

    struct Item {
        FileNode* node;
        int depth;
        bool insidePackage;
    };
    std::vector<Item> stack;
    const bool rootIsPackage = Packages::isPackage(root.name());
    for (FileNode* child : root.children()) stack.push_back({child, 1, rootIsPackage});
    while (!stack.empty()) {
        Item item = stack.back();
        stack.pop_back();
        FileNode* node = item.node;
        if (node->isDirectory()) {
            ++result.folderCount;
            result.fileCount += node->aggregatedFileCount();
            if (!item.insidePackage) folders.offer(node, item.depth);
            bool childrenInside = item.insidePackage || Packages::isPackage(node->name());
            for (FileNode* child : node->children())
                stack.push_back({child, item.depth + 1, childrenInside});
        } else {
            ++result.fileCount;
            if (!item.insidePackage && !node->name().empty() && !node->isFurtherName()) files.offer(node, item.depth);
        }
    }
    result.folders = folders.sorted();
    result.files = files.sorted();
    return result;
}

} // namespace tessel::ScanReport
