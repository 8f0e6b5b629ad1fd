#pragma once
// Finding items of a finished tree by name, size and kind.
//
// How text matches is NameMatcher's rule (NameMatcher.h): every word of the
// text somewhere in the name, in any order, case ignored for the common
// alphabets, other bytes compared as they are.
//
// What can match. Every node below the root, never the root itself, and never
// a nameless file (a scan that keeps no file names), which has nothing to
// show. Size bounds are inclusive and apply to the node's total, so a folder
// is judged by everything it holds.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tessel {

class FileNode;

struct FileQuery {
    enum class Kind { all, filesOnly, foldersOnly };
    enum class Sort { largestFirst, smallestFirst, nameAscending };

    // Braces everywhere so that designated initializers may leave any member out.
    std::string text{};
    std::int64_t minimumBytes = 0;
    std::optional<std::int64_t> maximumBytes{};
    Kind kind = Kind::all;
    Sort sort = Sort::largestFirst;

    // No words to look for and no size limit. Text of spaces alone has no words.
    bool isEmpty() const;
};

struct SearchResults {
    std::vector<FileNode*> matches;
    // Every match, listed or not. A folder and something inside it can both
    // match, and then their bytes are both in `totalBytes`.
    std::int64_t totalMatched = 0;
    std::int64_t totalBytes = 0;
    bool truncated = false;
};

namespace FileSearch {

// Walks everything below `root` with an explicit stack. The root is always
// entered; any other folder only when `descendsInto` allows it (a folder that
// is not entered can still match). A node matches when its kind and total
// suit the query, `accepts` allows it and its name matches the text. Returns
// at most `limit` matches in the query's order, memory bounded by `limit`
// whatever the tree holds:
//   largestFirst   more bytes, then the shallower, then the name bytewise;
//   smallestFirst  fewer bytes, then the same;
//   nameAscending  the name with case ignored, then bytewise, then the shallower;
// and last of all the order of the walk, so the answer never varies.
// Empty functions allow everything.
SearchResults run(const FileQuery& query, FileNode& root, int limit,
                  const std::function<bool(const FileNode&)>& accepts = {},
                  const std::function<bool(const FileNode&)>& descendsInto = {});

} // namespace FileSearch
} // namespace tessel
