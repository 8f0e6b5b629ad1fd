// The treemap.
//
// Squarified rows. A treemap gives each item an area in proportion to its
// size; the only freedom is the shape. Thin slivers are hard to see, to
// compare and to point at, so the layout is the squarified one of Bruls,
// Huizing and van Wijk: items, largest first, are laid in rows along the
// shorter side of what remains, and a row takes one more item only while that
// does not make its worst aspect ratio worse. A tie takes the item: in a
// square, two equal items become two halves of one row rather than two rows
// of one, which would be the same shapes turned the other way for no reason.
//
// Worked example: the values 6, 6, 4, 3, 2, 2, 1 in a rectangle 6 wide and 4
// high (areas equal to the values, as they sum to 24).
//
//     4 high is the shorter side: [6] then [6 6] (worst ratio 2.67, then 1.5:
//       better), then [6 6 4] would be 4.0: lay [6 6] as a column 3 wide on
//       the left, 2 high each.
//     3 wide is now shorter: [4] then [4 3] (2.25, then 1.81), then [4 3 2]
//       would be 4.5: lay [4 3] as a row 2.33 high along the top.
//     1.67 high is shorter: [2] then [2 2] would be 2.88, worse: lay [2] as a
//       column 1.2 wide, again the same for the second 2, and [1] takes the
//       last strip, 0.6 by 1.67.
//
// Nesting without recursion. A folder that has room opens: its tile gets a
// title band, and the area under the band becomes a new piece of work on an
// explicit stack, one level deeper. The depth is bounded by `maxDepth`, and
// the stack by the tiles made, so a deep tree costs no call stack at all.
// Tiles are appended as they are made, so a folder always comes before what
// lies within it, and the running `id` follows that order.
//
// Cost. Tiles under `minimumSide` are skipped before anything is made for
// them: entries travel as a node and a size, and only those that become tiles
// get their name copied. A folder is only read once its tile is known to be
// large enough to open, and its small files arrive as one entry. So the work
// follows the tiles that can be seen, not the size of the tree: the root of a
// million-entry scan costs what its few hundred visible tiles cost, plus one
// pass (and a sort, unless the children come sorted) over the children of
// each folder that opens.
//
// Colour. Each top-level entry takes a hue from its name, and everything
// inside inherits it, so a folder's contents read as one family; each level
// deeper is a little lighter (`TreemapTheme::tileColor`).

#include "TreemapLayout/TreemapLayout.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

namespace tessel::TreemapLayout {

namespace {

// A folder opens only if its tile leaves room for a title and for a row of
// contents under it. These are the layout's, not the view's: below them a
// nested area holds nothing that reads.
constexpr double openingWidth = 60;
constexpr double contentsBelowHeader = 16;
// A leaf tile names itself only where a short name fits: about 8 characters
// of 11-point text on one line.
constexpr double cornerLabelWidth = 68;
constexpr double cornerLabelHeight = 22;
constexpr double cornerInsetX = 4;
constexpr double cornerInsetY = 3;

// Black on light tiles and white on dark ones, each a little softened so the
// text does not shout over the colour.
constexpr double lightTileLuminance = 0.45;
constexpr Color darkLabel{0, 0, 0, 0.82};
constexpr Color lightLabel{1, 1, 1, 0.94};

std::string countedSmallFiles(std::int64_t count) {
    return count == 1 ? std::string("1 smaller file") : std::to_string(count) + " smaller files";
}

// A row of squarify, summed as it grows so that each step costs the same.
struct Row {
    std::size_t begin = 0;
    std::size_t end = 0;
    double sum = 0;
    double largest = 0;
    double smallest = std::numeric_limits<double>::infinity();

    bool empty() const { return begin == end; }
};

// The worse of the aspect ratios of the row's largest and smallest tiles when
// laid along `side`; infinite for an empty row or one with a tile of no area.
double worstRatio(double sum, double largest, double smallest, double side) {
    if (!(sum > 0) || !(smallest > 0)) return std::numeric_limits<double>::infinity();
    const double sideSquared = side * side;
    const double sumSquared = sum * sum;
    return std::max(sideSquared * largest / sumSquared, sumSquared / (sideSquared * smallest));
}

// Lays the row along the shorter side of `remaining`, appends its tiles and
// takes its strip off `remaining`. False when the strip has no thickness,
// which ends the layout.
bool layRow(const Row& row, const std::vector<double>& areas, Rect& remaining, std::vector<Rect>& out) {
    if (remaining.width >= remaining.height) {
        const double thickness = std::min(row.sum / remaining.height, remaining.width);
        if (!(thickness > 0)) return false;
        double y = remaining.y;
        for (std::size_t i = row.begin; i < row.end; ++i) {
            const double height = areas[i] / thickness;
            out.push_back({remaining.x, y, thickness, height});
            y += height;
        }
        remaining.x += thickness;
        remaining.width -= thickness;
    } else {
        const double thickness = std::min(row.sum / remaining.width, remaining.height);
        if (!(thickness > 0)) return false;
        double x = remaining.x;
        for (std::size_t i = row.begin; i < row.end; ++i) {
            const double width = areas[i] / thickness;
            out.push_back({x, remaining.y, width, thickness});
            x += width;
        }
        remaining.y += thickness;
        remaining.height -= thickness;
    }
    return true;
}

// An entry before it has a name: most entries of a large folder end under
// `minimumSide`, and only those that become tiles need their name copied.
struct Piece {
    FileNode* node = nullptr; // none for the folder's small files
    std::int64_t bytes = 0;
};

// Largest first, equal sizes in their order. A folder of 100,000 entries (a
// mail store, a cache) is sorted by its sizes in digits of 11 bits, least
// significant first: stable, linear, and four times quicker there than a
// merge sort, which keeps the smaller lists.
void sortLargestFirst(std::vector<Piece>& list) {
    const auto larger = [](const Piece& a, const Piece& b) { return a.bytes > b.bytes; };
    if (std::is_sorted(list.begin(), list.end(), larger)) return;
    if (list.size() < 1024) {
        std::stable_sort(list.begin(), list.end(), larger);
        return;
    }
    // Every size is above 0. Sorting `top - bytes` upward puts the largest first.
    std::uint64_t top = 0;
    for (const Piece& piece : list) top = std::max(top, static_cast<std::uint64_t>(piece.bytes));
    constexpr unsigned digitBits = 11;
    constexpr std::uint64_t digitMask = (1u << digitBits) - 1;
    std::vector<Piece> spare(list.size());
    std::vector<std::size_t> starts((1u << digitBits) + 1);
    for (unsigned shift = 0; shift < 64 && (top >> shift) != 0; shift += digitBits) {
        const auto digit = [&](const Piece& piece) {
            return static_cast<std::size_t>(((top - static_cast<std::uint64_t>(piece.bytes)) >> shift) & digitMask);
        };
        std::fill(starts.begin(), starts.end(), 0);
        for (const Piece& piece : list) ++starts[digit(piece) + 1];
        std::partial_sum(starts.begin(), starts.end(), starts.begin());
        for (const Piece& piece : list) spare[starts[digit(piece)]++] = piece;
        list.swap(spare);
    }
}

// The entries of `folder` as pieces, largest first, equal sizes in order.
std::vector<Piece> pieces(const FileNode& folder) {
    std::vector<Piece> list;
    list.reserve(folder.children().size() + 1);
    for (FileNode* child : folder.children())
        if (child->totalBytes() > 0) list.push_back({child, child->totalBytes()});
    if (folder.aggregatedFileBytes() >= 1) list.push_back({nullptr, folder.aggregatedFileBytes()});
    sortLargestFirst(list);
    return list;
}

std::string nameOf(const Piece& piece, const FileNode& folder) {
    return piece.node != nullptr ? std::string(piece.node->name()) : countedSmallFiles(folder.aggregatedFileCount());
}

// What is still to lay out: a folder's entries in the area under its title.
struct Work {
    const FileNode* folder = nullptr;
    std::vector<Piece> pieces;
    Rect area;
    int depth = 0;
    std::optional<int> palette; // none at the top level, where each entry picks its own
};

} // namespace

Color labelColor(const Color& tile) { return tile.luminance() > lightTileLuminance ? darkLabel : lightLabel; }

std::vector<Entry> contents(const FileNode& folder) {
    std::vector<Entry> entries;
    const std::vector<Piece> list = pieces(folder);
    entries.reserve(list.size());
    for (const Piece& piece : list) {
        const bool isDirectory = piece.node != nullptr && piece.node->isDirectory();
        entries.push_back({piece.node, nameOf(piece, folder), piece.bytes, isDirectory});
    }
    return entries;
}

std::vector<Rect> squarify(const std::vector<double>& values, Rect rect) {
    std::vector<Rect> out;
    double total = 0;
    for (double value : values) total += value;
    if (!(total > 0) || !(rect.width > 0) || !(rect.height > 0)) return out;

    const double scale = rect.width * rect.height / total;
    std::vector<double> areas;
    areas.reserve(values.size());
    for (double value : values) areas.push_back(value * scale);
    out.reserve(values.size());

    Rect remaining = rect;
    Row row;
    std::size_t next = 0;
    for (;;) {
        const double side = std::min(remaining.width, remaining.height);
        if (!(side > 0)) break;
        if (next < areas.size()) {
            const double area = areas[next];
            const double sum = row.sum + area;
            const double largest = std::max(row.largest, area);
            const double smallest = std::min(row.smallest, area);
            const double present =
                row.empty() ? std::numeric_limits<double>::infinity()
                            : worstRatio(row.sum, row.largest, row.smallest, side);
            if (present >= worstRatio(sum, largest, smallest, side)) {
                row.end = ++next;
                row.sum = sum;
                row.largest = largest;
                row.smallest = smallest;
                continue;
            }
        }
        // The next value would spoil the row, or there is none: lay the row down.
        // An empty row here means the values are done (or a ratio was not a
        // number, which no row can take either).
        if (row.empty() || !layRow(row, areas, remaining, out)) break;
        row = Row{next, next};
    }
    return out;
}

std::vector<TreemapTile> tiles(const FileNode& root, Rect rect, const TreemapTheme& theme,
                               const Configuration& configuration) {
    std::vector<TreemapTile> result;
    if (!(rect.width > 0) || !(rect.height > 0) || root.totalBytes() <= 0) return result;

    std::vector<Work> stack;
    stack.push_back({&root, pieces(root), rect, 0, std::nullopt});
    std::vector<double> values;
    while (!stack.empty()) {
        Work work = std::move(stack.back());
        stack.pop_back();
        const Rect area = work.area.insetBy(configuration.padding, configuration.padding);
        if (!(area.width > 0) || !(area.height > 0)) continue;

        values.clear();
        for (const Piece& piece : work.pieces) values.push_back(static_cast<double>(piece.bytes));
        const std::vector<Rect> rects = squarify(values, area);

        // tileColor counts the folder being shown as depth 0, so what it holds
        // directly (depth 0 here) is its depth 1, at full hue, and each level
        // below is 0.09 lighter: the shade of this round is 0.09 x work.depth.
        const int shadeDepth = work.depth + 1;

        // Room for this round's tiles at once: growing a list of 20,000 tiles
        // one doubling at a time would move each of them several times.
        const std::size_t count = std::min(rects.size(), work.pieces.size());
        std::size_t made = result.size();
        for (std::size_t i = 0; i < count; ++i)
            if (rects[i].width >= configuration.minimumSide && rects[i].height >= configuration.minimumSide) ++made;
        if (made > result.capacity()) result.reserve(std::max(made, 2 * result.capacity()));
        for (std::size_t i = 0; i < count; ++i) {
            const Rect& box = rects[i];
            const Piece& piece = work.pieces[i];
            if (box.width < configuration.minimumSide || box.height < configuration.minimumSide) continue;

            const bool isDirectory = piece.node != nullptr && piece.node->isDirectory();
            std::string name = nameOf(piece, *work.folder);
            const int palette = work.palette ? *work.palette : TreemapTheme::paletteIndex(name);
            TreemapTile tile;
            tile.id = static_cast<int>(result.size());
            tile.node = piece.node;
            tile.rect = box;
            tile.depth = work.depth;
            tile.bytes = piece.bytes;
            tile.isDirectory = isDirectory;
            tile.color = theme.tileColor(palette, shadeDepth, isDirectory);
            tile.labelColor = labelColor(tile.color);

            bool opened = false;
            if (isDirectory && work.depth < configuration.maxDepth && box.width >= openingWidth &&
                box.height >= configuration.headerHeight + contentsBelowHeader) {
                std::vector<Piece> inner = pieces(*piece.node);
                // A folder holding only its small files would show one tile
                // the size of itself: it stays a leaf and names itself instead.
                if (inner.size() > 1 || (inner.size() == 1 && inner.front().node != nullptr)) {
                    tile.label = {TreemapTile::Label::Kind::header,
                                  {box.x, box.y, box.width, configuration.headerHeight}};
                    stack.push_back({piece.node,
                                     std::move(inner),
                                     {box.x, box.y + configuration.headerHeight, box.width,
                                      box.height - configuration.headerHeight},
                                     work.depth + 1,
                                     palette});
                    opened = true;
                }
            }
            if (!opened && box.width >= cornerLabelWidth && box.height >= cornerLabelHeight)
                tile.label = {TreemapTile::Label::Kind::corner, box.insetBy(cornerInsetX, cornerInsetY)};
            tile.name = std::move(name);
            result.push_back(std::move(tile));
        }
    }
    return result;
}

} // namespace tessel::TreemapLayout
