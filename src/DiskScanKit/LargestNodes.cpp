#include "DiskScanKit/LargestNodes.h"

#include <algorithm>

#include "DiskScanKit/FileNode.h"

namespace tessel {

bool LargestNodes::ranksAbove(const Entry& a, const Entry& b) {
    if (a.bytes != b.bytes) return a.bytes > b.bytes;
    if (a.depth != b.depth) return a.depth < b.depth;
    int byName = a.node->name().compare(b.node->name());
    if (byName != 0) return byName < 0;
    return a.order < b.order;
}

void LargestNodes::offer(FileNode* node, int depth) {
    if (capacity_ <= 0) return;
    ++offered_;
    Entry entry{node, node->totalBytes(), depth, offered_};
    // std heap functions keep the "largest" by the comparator on top; ranking
    // above means "less" here, so the top is the lowest-ranking entry.
    auto weakestOnTop = [](const Entry& a, const Entry& b) { return ranksAbove(a, b); };
    if (heap_.size() < static_cast<std::size_t>(capacity_)) {
        heap_.push_back(entry);
        std::push_heap(heap_.begin(), heap_.end(), weakestOnTop);
    } else if (ranksAbove(entry, heap_.front())) {
        std::pop_heap(heap_.begin(), heap_.end(), weakestOnTop);
        heap_.back() = entry;
        std::push_heap(heap_.begin(), heap_.end(), weakestOnTop);
    }
}

std::vector<FileNode*> LargestNodes::sorted() const {
    std::vector<Entry> entries = heap_;
    std::sort(entries.begin(), entries.end(), ranksAbove);
    std::vector<FileNode*> nodes;
    nodes.reserve(entries.size());
    for (const Entry& entry : entries) nodes.push_back(entry.node);
    return nodes;
}

} // namespace tessel
