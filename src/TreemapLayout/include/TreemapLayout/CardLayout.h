#pragma once
// The card map, the map's default style: a few rounded cards per level, small
// items pulled together into one, and a card opening to show its contents
// only where it has room. It lays out `MapItem` values, not nodes.

#include <array>
#include <vector>

#include "TreemapLayout/Geometry.h"
#include "TreemapLayout/MapItem.h"

namespace tessel::CardLayout {

// What a card shows of itself, richest first.
enum class Label { full, stacked, name, icon, none };

struct Size {
    double width = 0;
    double height = 0;
};

// The constants of one depth, in points except `most`.
struct Level {
    double gap = 0;        // between neighbouring cards
    double radius = 0;     // of the corners
    double header = 0;     // band across the top of an open card
    double inset = 0;      // of the contents in an open card
    Size smallest;         // the least a card is given
    int most = 0;          // cards at this depth within one rectangle
    double icon = 0;       // size of the symbol
    double titleFont = 0;  // size of the name
    double detailFont = 0; // size of the line under it
    double padding = 0;    // inside a card
    Size fullFrom;         // from this size the label is `full`
    Size stackedFrom;      // ... `stacked`
    Size nameFrom;         // ... `name`
};

struct Card {
    MapItem item;
    Rect rect;
    int depth = 0;
    bool isOpen = false;
    Label label = Label::none;
    int palette = 0; // index into the theme's palette, from 0
};

struct Choice {
    MapItem item;
    double weight = 0; // area in square points, once through `floored`
};

// Levels 0, 1 and 2. There is no level 3: cards at depth 2 never open.
const std::array<Level, 3>& levels();

// The share of the bytes that the cards of their own on the map's ground
// stand for before the long tail folds into one card (see CardLayout.cpp).
inline constexpr double groundCoverage = 0.95;

// `weights` rescaled to sum to `filling`, with nothing below `atLeast`: a
// weight too small for the floor gets the floor, and the others share the
// rest in proportion. Sums to more than `filling` only when the floors alone
// do.
std::vector<double> floored(const std::vector<double>& weights, double filling, double atLeast);

// The items to show as cards in `rect` at `level`, largest weight first: the
// largest items that fit and that stand for `coverage` of the bytes, and the
// rest folded into one `MapItem::more`. Weights are areas that fill `rect`,
// with no card below the level's smallest.
//   owner:    the item whose contents these are (none for the map's focus);
//             the folded rest names its folder as `container`, and inside a
//             "more" card its members are not folded by share again.
//   onGround: true for the cards lying on the map itself; there at least one
//             card shows however small the map, where inside an open card a
//             rectangle too small for one card shows none.
//   coverage: from 0 to 1; 1 folds only what does not fit.
std::vector<Choice> choose(const std::vector<MapItem>& items, Rect rect, const Level& level,
                           const MapItem* owner, bool onGround, double coverage);
// The same, moving the items out of `items` instead of copying them: a fold
// of a large folder holds nearly all of its items.
std::vector<Choice> choose(std::vector<MapItem>&& items, Rect rect, const Level& level, const MapItem* owner,
                           bool onGround, double coverage);

// Lays `choices` out in `rect` as cards of `depth` and appends them to `into`,
// each open card followed by its own contents, down to depth 2. At depth 0
// each card takes a palette index of its own from `paletteCount`; deeper
// cards take `palette`. With a `cache`, what open cards hold is read from it.
void place(const std::vector<Choice>& choices, Rect rect, int depth, int palette, int paletteCount,
           std::vector<Card>& into, ContentsCache* cache = nullptr);
// The same, moving the items of `choices` into the cards instead of copying them.
void place(std::vector<Choice>&& choices, Rect rect, int depth, int palette, int paletteCount,
           std::vector<Card>& into, ContentsCache* cache = nullptr);

// A palette index from 0 to `count` - 1 for `item` at `rect`, the one its
// name picks unless a card of depth 0 within `gap` of `rect` already has it.
int distinctPalette(const MapItem& item, Rect rect, const std::vector<Card>& cards, double gap, int count);

// Where an open card lays its contents: under its header, inset.
Rect contentsRect(Rect card, const Level& level);

// The whole map of `items` (a folder's `MapItem::contents`) on the ground of `rect`.
std::vector<Card> cards(const std::vector<MapItem>& items, Rect rect, int paletteCount,
                        ContentsCache* cache = nullptr);
// The same, for a list that is not kept: the fold of a large folder takes its
// items instead of copying them.
std::vector<Card> cards(std::vector<MapItem>&& items, Rect rect, int paletteCount, ContentsCache* cache = nullptr);

} // namespace tessel::CardLayout
