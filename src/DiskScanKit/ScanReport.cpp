#include "DiskScanKit/ScanReport.h"

#include <algorithm>

#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/LargestNodes.h"
#include "DiskScanKit/Packages.h"

namespace tessel::ScanReport {

namespace {

// Counts the bytes of the nodes a walk has passed, and tells `progress` at each whole percent of the root's.
class BytesPassed {
public:
    BytesPassed(const Progress& progress, std::int64_t total) : progress_(progress), total_(total) {}
    void add(std::int64_t bytes) {
        if (!progress_ || total_ <= 0) return;
        passed_ += static_cast<double>(bytes);
        const int percent = static_cast<int>(std::clamp(passed_ * 100.0 / static_cast<double>(total_), 0.0, 100.0));
        if (percent == told_) return;
        told_ = percent;
        progress_(percent / 100.0);
    }
    void finish() const {
        if (progress_ && told_ < 100) progress_(1.0);
    }

private:
    const Progress& progress_;
    std::int64_t total_;
    double passed_ = 0;
    int told_ = 0;
};

} // namespace

Inventory inventory(const FileNode& root, int limit, const Progress& progress) {
    limit = std::max(limit, 0);
    LargestNodes folders(limit);
    LargestNodes files(limit);
    Inventory result;
    result.fileCount = root.aggregatedFileCount();
    // A folder's own bytes are the small files counted with it; its children's come with them.
    BytesPassed passed(progress, root.totalBytes());
    passed.add(root.aggregatedFileBytes());

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
        passed.add(node->isDirectory() ? node->aggregatedFileBytes() : node->totalBytes());
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
    passed.finish();
    return result;
}

} // namespace tessel::ScanReport
