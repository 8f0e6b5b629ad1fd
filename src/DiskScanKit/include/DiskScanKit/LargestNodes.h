#pragma once
// A bounded selection of the largest nodes: a min-heap of `capacity` entries
// whose top is the weakest kept so far. Offering costs O(log capacity) however
// large the tree is, and memory stays proportional to the capacity.
//
// Rank: more bytes first; then the shallower node; then the name that sorts
// first (bytewise); then the one offered first. So two 5 MB folders at depth 1
// named "b" and "a" come out as "a", "b", and the order never depends on timing.

#include <cstdint>
#include <vector>

namespace tessel {

class FileNode;

class LargestNodes {
public:
    struct Entry {
        FileNode* node;
        std::int64_t bytes;
        int depth;
        std::int64_t order;
    };

    explicit LargestNodes(int capacity) : capacity_(capacity) {}

    void offer(FileNode* node, int depth);
    std::vector<FileNode*> sorted() const;

    int capacity() const { return capacity_; }
    std::int64_t offered() const { return offered_; }

    static bool ranksAbove(const Entry& a, const Entry& b);

private:
    int capacity_;
    std::vector<Entry> heap_;
    std::int64_t offered_ = 0;
};

} // namespace tessel
