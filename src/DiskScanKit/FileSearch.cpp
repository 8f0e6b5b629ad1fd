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
// The prepared query. The text is split into words once, each folded to lower
// case once. Each name is then folded into one reused buffer and every word
// looked up in it, so matching a million names allocates nothing after the
// first few. Folding maps whole UTF-8 characters to whole UTF-8 characters,
// and UTF-8 never lets a character start in the middle of another, so a plain
// substring search on folded bytes can't match half a letter.
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

namespace tessel {

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

// The words of a query's text: runs between white space, or what stands
// between double quotes. A quote ends the word before it, so `a"b c"` is "a"
// and "b c".
std::vector<std::string> splitWords(std::string_view text) {
    std::vector<std::string> words;
    std::string word;
    bool quoted = false;
    auto finish = [&] {
        if (!word.empty()) words.push_back(std::move(word));
        word.clear();
    };
    for (char c : text) {
        if (c == '"') {
            finish();
            quoted = !quoted;
        } else if (isSpace(c) && !quoted) {
            finish();
        } else {
            word += c;
        }
    }
    finish();
    return words;
}

// The lower-case partner of a character of two UTF-8 bytes (U+0080 to
// U+07FF), or the character itself. Simple one-to-one folding only: a letter
// whose lower case is two letters (ß, İ) stays as it is.
char32_t foldTwoByte(char32_t c) {
    if (c == 0xb5) return 0x3bc;                                    // micro sign: Greek mu
    if (c >= 0xc0 && c <= 0xde && c != 0xd7) return c + 0x20;       // Latin-1, not ×
    if ((c >= 0x100 && c <= 0x12f) || (c >= 0x132 && c <= 0x137) || (c >= 0x14a && c <= 0x177))
        return c | 1;                                               // Latin Extended-A, upper even
    if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17e))
        return (c & 1) != 0 ? c + 1 : c;                            // Latin Extended-A, upper odd
    if (c == 0x178) return 0xff;                                    // Ÿ
    if (c == 0x17f) return 's';                                     // long s
    if (c == 0x386) return 0x3ac;                                   // Greek with tonos
    if (c >= 0x388 && c <= 0x38a) return c + 0x25;
    if (c == 0x38c) return 0x3cc;
    if (c == 0x38e || c == 0x38f) return c + 0x3f;
    if ((c >= 0x391 && c <= 0x3a1) || (c >= 0x3a3 && c <= 0x3ab)) return c + 0x20; // Greek capitals
    if (c == 0x3c2) return 0x3c3;                                   // final sigma
    if (c >= 0x400 && c <= 0x40f) return c + 0x50;                  // Cyrillic Ѐ to Џ
    if (c >= 0x410 && c <= 0x42f) return c + 0x20;                  // Cyrillic А to Я
    return c;
}

void appendFolded(std::string& out, std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            out += lead >= 'A' && lead <= 'Z' ? static_cast<char>(lead + ('a' - 'A')) : text[i];
            ++i;
            continue;
        }
        if ((lead & 0xe0) == 0xc0 && i + 1 < text.size()) {
            const auto next = static_cast<unsigned char>(text[i + 1]);
            const char32_t c = static_cast<char32_t>(((lead & 0x1fu) << 6) | (next & 0x3fu));
            // A lone lead byte or an overlong form is not a letter: it passes as bytes below.
            if ((next & 0xc0) == 0x80 && c >= 0x80) {
                const char32_t lower = foldTwoByte(c);
                if (lower < 0x80) {
                    out += static_cast<char>(lower);
                } else {
                    out += static_cast<char>(0xc0 | (lower >> 6));
                    out += static_cast<char>(0x80 | (lower & 0x3f));
                }
                i += 2;
                continue;
            }
        }
        out += text[i];
        ++i;
    }
}

class PreparedQuery {
public:
    explicit PreparedQuery(const FileQuery& query)
        : minimum_(query.minimumBytes), maximum_(query.maximumBytes), kind_(query.kind),
          needsFoldedName_(query.sort == FileQuery::Sort::nameAscending) {
        for (const std::string& word : splitWords(query.text)) {
            std::string lower;
            appendFolded(lower, word);
            words_.push_back(std::move(lower));
        }
        needsFoldedName_ = needsFoldedName_ || !words_.empty();
    }

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
        folded_.clear();
        appendFolded(folded_, node.name());
        return std::all_of(words_.begin(), words_.end(), [&](const std::string& word) {
            return folded_.find(word) != std::string::npos;
        });
    }

    std::string_view foldedName() const { return folded_; }

private:
    std::int64_t minimum_;
    std::optional<std::int64_t> maximum_;
    FileQuery::Kind kind_;
    bool needsFoldedName_;
    std::vector<std::string> words_;
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

bool FileQuery::isEmpty() const { return splitWords(text).empty() && minimumBytes <= 0 && !maximumBytes; }

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
