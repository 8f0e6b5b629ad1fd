// Searching a finished tree.
//
// One pass. The walk pops nodes from an explicit stack, depth-first, and asks
// each one the cheap questions first: its kind, then its total against the
// bounds, then its name, and only then the caller's `accepts`. A folder's
// children go on the stack only if `descendsInto` lets the walk in, so a
// caller can fence off whole subtrees (package contents, hidden folders)
// without the walk ever touching them. Nothing here recurses, so a chain of
// folders thousands deep costs a deep stack vector, not a deep call stack.
//
// The prepared query. The words are NameMatcher's, prepared once; each name
// is folded into one reused buffer, so matching a million names allocates
// nothing after the first few, and the folded name is at hand for the name
// order.
//
// Bounded selection. Every match is counted, but only the best `limit` are
// kept, in a heap whose top is the weakest entry kept so far, as LargestNodes
// does: a new match either loses to the top and is dropped, or replaces it.
// Memory stays proportional to `limit` whether the tree holds a hundred
// matches or ten million, and each match costs O(log limit). For the name
// order an entry keeps its folded name; it is copied out of the buffer only
// when the entry enters the heap. The size orders borrow LargestNodes' rank,
// so the search's "largest first" agrees with the lists of largest items.

#include "DiskScanKit/FileSearch.h"

#include <algorithm>
#include <string_view>

#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/LargestNodes.h"
#include "DiskScanKit/NameMatcher.h"

namespace tessel {

namespace {

class PreparedQuery {
public:
    explicit PreparedQuery(const FileQuery& query)
        : minimum_(query.minimumBytes), maximum_(query.maximumBytes), kind_(query.kind), words_(query.text),
          needsFoldedName_(query.sort == FileQuery::Sort::nameAscending || words_.hasWords()) {}

    // Kind and size: what can be told without reading the name.
    bool suits(const FileNode& node) const {
        if (node.name().empty()) return false;
        if (kind_ == FileQuery::Kind::filesOnly && node.isDirectory()) return false;
        if (kind_ == FileQuery::Kind::foldersOnly && !node.isDirectory()) return false;
        const std::int64_t bytes = node.totalBytes();
        return bytes >= minimum_ && (!maximum_ || bytes <= *maximum_);
    }

    // Folds the name into the shared buffer (when anything needs it) and looks
    // up every word. The buffer stays valid until the next call.
    bool nameMatches(const FileNode& node) {
        if (!needsFoldedName_) return true;
        return words_.matches(node.name(), folded_);
    }

    std::string_view foldedName() const { return folded_; }

private:
    std::int64_t minimum_;
    std::optional<std::int64_t> maximum_;
    FileQuery::Kind kind_;
    NameMatcher words_;
    bool needsFoldedName_;
    std::string folded_;
};

// A candidate as the ranking sees it; `key` is the folded name for the name order.
struct Ranked {
    FileNode* node;
    std::int64_t bytes;
    int depth;
    std::int64_t order;
    std::string_view key;
};

class BoundedSelection {
public:
    BoundedSelection(FileQuery::Sort sort, int capacity)
        : sort_(sort), capacity_(static_cast<std::size_t>(std::max(capacity, 0))) {}

    void offer(const Ranked& candidate) {
        if (capacity_ == 0) return;
        auto weakestOnTop = [this](const Kept& a, const Kept& b) { return ranksAbove(a.ranked(), b.ranked()); };
        if (heap_.size() < capacity_) {
            heap_.push_back(kept(candidate));
            std::push_heap(heap_.begin(), heap_.end(), weakestOnTop);
        } else if (ranksAbove(candidate, heap_.front().ranked())) {
            std::pop_heap(heap_.begin(), heap_.end(), weakestOnTop);
            heap_.back() = kept(candidate);
            std::push_heap(heap_.begin(), heap_.end(), weakestOnTop);
        }
    }

    std::vector<FileNode*> sorted() {
        std::sort(heap_.begin(), heap_.end(),
                  [this](const Kept& a, const Kept& b) { return ranksAbove(a.ranked(), b.ranked()); });
        std::vector<FileNode*> nodes;
        nodes.reserve(heap_.size());
        for (const Kept& entry : heap_) nodes.push_back(entry.node);
        return nodes;
    }

private:
    struct Kept {
        FileNode* node;
        std::int64_t bytes;
        int depth;
        std::int64_t order;
        std::string key;
        Ranked ranked() const { return {node, bytes, depth, order, key}; }
    };

    Kept kept(const Ranked& candidate) const {
        return {candidate.node, candidate.bytes, candidate.depth, candidate.order, std::string(candidate.key)};
    }

    bool ranksAbove(const Ranked& a, const Ranked& b) const {
        const LargestNodes::Entry first{a.node, a.bytes, a.depth, a.order};
        const LargestNodes::Entry second{b.node, b.bytes, b.depth, b.order};
        switch (sort_) {
        case FileQuery::Sort::largestFirst:
            return LargestNodes::ranksAbove(first, second);
        case FileQuery::Sort::smallestFirst:
            if (a.bytes != b.bytes) return a.bytes < b.bytes;
            return LargestNodes::ranksAbove(first, second); // equal bytes: depth, name, order
        case FileQuery::Sort::nameAscending:
            break;
        }
        if (int byKey = a.key.compare(b.key); byKey != 0) return byKey < 0;
        if (int byName = a.node->name().compare(b.node->name()); byName != 0) return byName < 0;
        if (a.depth != b.depth) return a.depth < b.depth;
        return a.order < b.order;
    }

    FileQuery::Sort sort_;
    std::size_t capacity_;
    std::vector<Kept> heap_;
};

} // namespace

bool FileQuery::isEmpty() const { return !NameMatcher(text).hasWords() && minimumBytes <= 0 && !maximumBytes; }

SearchResults FileSearch::run(const FileQuery& query, FileNode& root, int limit,
                              const std::function<bool(const FileNode&)>& accepts,
                              const std::function<bool(const FileNode&)>& descendsInto) {
    PreparedQuery prepared(query);
    BoundedSelection selection(query.sort, limit);
    const bool keysByName = query.sort == FileQuery::Sort::nameAscending;
    SearchResults results;

    struct Item {
        FileNode* node;
        int depth;
    };
    std::vector<Item> stack;
    // Children go on in reverse so that they come off in their own order.
    auto pushChildren = [&stack](const FileNode& folder, int depth) {
        auto children = folder.children();
        for (auto it = children.rbegin(); it != children.rend(); ++it) stack.push_back({*it, depth});
    };
    pushChildren(root, 1);
    while (!stack.empty()) {
        const Item item = stack.back();
        stack.pop_back();
        FileNode& node = *item.node;
        if (node.isDirectory() && !node.children().empty() && (!descendsInto || descendsInto(node)))
            pushChildren(node, item.depth + 1);

        if (!prepared.suits(node) || !prepared.nameMatches(node)) continue;
        if (accepts && !accepts(node)) continue;
        ++results.totalMatched;
        results.totalBytes = checkedAdd(results.totalBytes, node.totalBytes());
        selection.offer({&node, node.totalBytes(), item.depth, results.totalMatched,
                         keysByName ? prepared.foldedName() : std::string_view{}});
    }
    results.matches = selection.sorted();
    results.truncated = results.totalMatched > static_cast<std::int64_t>(results.matches.size());
    return results;
}

} // namespace tessel
