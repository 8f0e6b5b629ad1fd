#pragma once
// The treemap: a folder as nested rectangles whose areas follow the sizes of
// what it holds, each folder with a title band over its own contents, down to
// a set depth. A pure function of the tree, the rectangle and the theme.

#include <cstdint>
#include <string>
#include <vector>

#include "DiskScanKit/FileNode.h"
#include "TreemapLayout/Color.h"
#include "TreemapLayout/Geometry.h"
#include "TreemapLayout/TreemapTheme.h"

namespace tessel {

struct TreemapTile {
    struct Label {
        enum class Kind { none, header, corner };
        // `header`: a title band across the top of an opened folder;
        // `corner`: a name placed inside a leaf tile.
        Kind kind = Kind::none;
        Rect rect;
    };

    int id = 0;               // a running number, in the order the tiles were made
    FileNode* node = nullptr; // none for the tile of a folder's small files
    Rect rect;
    int depth = 0; // 0 for what the shown folder holds directly
    std::string name;
    std::int64_t bytes = 0;
    bool isDirectory = false;
    Color color;
    Color labelColor;
    Label label;

    // A folder one can go into.
    bool isNavigable() const { return node != nullptr && node->isDirectory(); }
};

namespace TreemapLayout {

// Values for a desktop window of about 1000 by 700 points.
struct Configuration {
    // Folders open down to depth 3, so four levels show. One more level adds
    // a title band and two paddings per folder, and on a window of this size
    // the folders that deep are mostly band: stripes of titles, not sizes.
    int maxDepth = 3;
    // Under 3 points a tile is a fleck of outline that no pointer can hit.
    // Dropping such tiles before anything is made for them is also what
    // keeps a folder of a million small entries cheap.
    double minimumSide = 3;
    // Enough that a folder's contents stand apart from its neighbours' on
    // either theme; four levels lose only 16 points of width to it.
    double padding = 2;
    // One line of 11-point text with a little air above and below.
    double headerHeight = 18;
};

// One thing a folder shows: a child, or all of its small files as one.
struct Entry {
    FileNode* node = nullptr; // none for the small files
    std::string name;
    std::int64_t bytes = 0;
    bool isDirectory = false;
};

// The children of `folder` with bytes, then its small files as one entry
// ("1 smaller file", "N smaller files"), largest first; equal sizes keep
// their order.
std::vector<Entry> contents(const FileNode& folder);

// One rectangle per value, in order, with areas in proportion to the values,
// filling `rect`, as far as space lasts: the result may be shorter than
// `values`, and is empty when the values sum to nothing or `rect` is empty.
std::vector<Rect> squarify(const std::vector<double>& values, Rect rect);

// The colour of text on a tile of `tile`'s colour: black at 0.82 opacity on
// light colours (luminance above 0.45), white at 0.94 on the others.
Color labelColor(const Color& tile);

// The tiles of `root` laid out in `rect`: parents before what lies within
// them, `id` counting from 0 in that order.
std::vector<TreemapTile> tiles(const FileNode& root, Rect rect, const TreemapTheme& theme,
                               const Configuration& configuration = {});

} // namespace TreemapLayout
} // namespace tessel
