// The card map.
//
// Few cards, each legible. A treemap shows everything its pixels allow and
// leaves the reading to the eye; the card map shows, per level, only as many
// cards as can each carry a name, and only the items that matter: the largest
// ones, until they stand for most of the bytes, with everything else folded
// into one "N more items" card that opens like a folder. A card opens to show
// its own contents only when it has room for them, down to three levels.
//
// Choosing (`choose`). How many cards a rectangle takes follows from the
// level's smallest card: the area over the smallest card's area, times 0.8,
// at most `most`. The 0.8 pays for the gaps: every card keeps half a gap on
// each side, and a smallest card covers 0.79 of its share at level 0 (118 by
// 58 within 128 by 68) and 0.78 at the other two, so without it the count
// would promise a fifth more cards than fit at their smallest. Of the items,
// the largest stay, as long as they are needed to reach `coverage` of the
// bytes; the rest fold into one item when that is at least two of them. On
// the map's ground the view asks for 0.95: a home folder then shows its few
// large folders and one card for the dozens of dotfolders and loose files
// that together weigh a few percent, instead of 28 cards of which 20 would be
// lifted to the smallest size and crowd out the ones that matter. Inside an
// open card the contents are a glimpse of a folder one can go into, and ask
// for only 0.85: a glimpse that says "mostly these two, and 14 more" reads at
// once, where eight cards of 68 by 34 inside one card are a mosaic.
//
// Sizes become areas (`floored`). The weights are the bytes, rescaled to fill
// the rectangle, with a floor of the smallest card plus its gap, so that no
// card is made too small to read: the ones below it get it, and the others
// share what is left in proportion. Flooring one item shrinks the others'
// share, which can push another below the floor, so the share-out repeats
// until nothing new falls below it, at most once per item.
//
// Placing (`place`). The weights go through `squarify`; each rectangle loses
// half a gap on every side, so neighbours end a whole gap apart, and a card
// under 22 by 16 points is dropped as a sliver. Cards of depth 0 take a
// palette index that differs from any neighbour's (`distinctPalette`), so no
// two touching cards share a hue; deeper cards take their parent's. A card
// opens if its item opens, it is at least 100 points wide, and the area under
// its header can hold one smallest card of the next level; then its contents
// are chosen and placed there, one level deeper. A "more" card opens only if
// all it holds fits inside it: a fold within a fold says nothing new, and
// copying a large fold once more for it would be most of the cost of the map
// of a folder of 100,000 files. The nesting is done with an explicit stack of
// at most three frames: a card is appended before what lies within it, as the
// treemap does, and as each level takes at most 28, 8 and 6 cards per
// rectangle, the whole map is at most 28 x 8 x 6 cards at the deepest level
// (1,596 in all), whatever the size of the folder.
//
// Worked example: a home folder of 128 GB on a map of 1200 by 800 points.
// Library 60 GB, Documents 20, Downloads 15, Pictures 10, Movies 8, .cache 5,
// Music 3, Desktop 2, .npm 2, and 25 more entries of 3 GB between them.
//
//     capacity: 0.8 x 960,000 / (118 x 58) = 112, at most 28.
//     coverage: 0.95 of 128 GB is 121.6 GB; Library to Desktop make 123 GB,
//       so those 8 stay and the other 26 become "26 more items", 5 GB.
//     floored: the floor is 128 x 68 = 8,704 square points, and Desktop's
//       share (2/128 of 960,000 = 15,000) is above it: nothing is lifted.
//     place: 9 cards. Library takes the left side, 553 by 790 points, and
//       opens: its own contents are chosen for the 537 by 720 points under
//       its 54-point header, at level 1. "26 more items", 183 by 184, has
//       room for six cards inside, not 26, and stays closed.

#include "TreemapLayout/CardLayout.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <utility>

#include "TreemapLayout/TreemapLayout.h"
#include "TreemapLayout/TreemapTheme.h"

namespace tessel::CardLayout {

namespace {

// A rectangle of cards of mixed sizes covers this much of itself with cards
// at their smallest; the rest is gaps (see above).
constexpr double packing = 0.8;
// What the contents of an open card must stand for before the rest folds.
constexpr double glimpseCoverage = 0.85;
// Narrower or lower cards are slivers, not cards.
constexpr double droppedBelowWidth = 22;
constexpr double droppedBelowHeight = 16;
// A card opens only from this width: under it the header's name and size
// already need the whole width, and contents beside nothing to name them
// read as loose cards.
constexpr double openingWidth = 100;
// A symbol under 14 points is a fleck, not a symbol: a card shows its icon
// (shrunk to the space inside its padding, where the level's is larger) only
// where that space keeps at least this. So a card shows an icon from 36
// points at level 0, from 30 at level 1 and from 26 at level 2.
constexpr double smallestSymbol = 14;
// Neighbours are a gap apart; squarify's sums may leave them a hair more.
constexpr double neighbourSlack = 0.5;

bool atLeast(Rect rect, Size size) { return rect.width >= size.width && rect.height >= size.height; }

Label labelFor(Rect card, const Level& level) {
    if (atLeast(card, level.fullFrom)) return Label::full;
    if (atLeast(card, level.stackedFrom)) return Label::stacked;
    if (atLeast(card, level.nameFrom)) return Label::name;
    if (std::min(card.width, card.height) - 2 * level.padding >= smallestSymbol) return Label::icon;
    return Label::none;
}

// Whether `a` lies within `gap` of `b`, edge to edge, corners included.
bool near(Rect a, Rect b, double gap) {
    const double across = std::max({0.0, a.x - b.maxX(), b.x - a.maxX()});
    const double down = std::max({0.0, a.y - b.maxY(), b.y - a.maxY()});
    return across <= gap + neighbourSlack && down <= gap + neighbourSlack;
}

// One rectangle's cards in progress: its choices, their rectangles, and the
// next one to place.
struct Frame {
    const std::vector<Choice>* borrowed = nullptr; // lent by the caller, at the first frame
    std::vector<Choice> owned;                     // given by the caller, or chosen here
    std::vector<Rect> rects;
    std::size_t next = 0;
    int depth = 0;
    int palette = 0;

    const std::vector<Choice>& choices() const { return borrowed != nullptr ? *borrowed : owned; }
};

std::vector<Rect> squarified(const std::vector<Choice>& choices, Rect rect) {
    std::vector<double> weights;
    weights.reserve(choices.size());
    for (const Choice& choice : choices) weights.push_back(choice.weight);
    return TreemapLayout::squarify(weights, rect);
}

std::size_t capacity(Rect rect, const Level& level, bool onGround) {
    const double fitting =
        std::floor(packing * rect.width * rect.height / (level.smallest.width * level.smallest.height));
    std::size_t count = fitting >= level.most ? static_cast<std::size_t>(level.most)
                                              : static_cast<std::size_t>(std::max(0.0, fitting));
    if (onGround) count = std::max<std::size_t>(count, 1);
    return count;
}

// `choose`, with `take(i)` giving the item at `i`: a copy, or the item itself
// when the caller gives its list away.
template <typename Take>
std::vector<Choice> chooseFrom(const std::vector<MapItem>& items, Take take, Rect rect, const Level& level,
                               const MapItem* owner, bool onGround, double coverage) {
    std::vector<Choice> choices;
    if (!(rect.width > 0) || !(rect.height > 0)) return choices;

    // Largest first, equal sizes in their given order; only what has bytes.
    // Lists from `MapItem::contents` come sorted, and a check costs less than a sort.
    std::vector<std::size_t> order;
    order.reserve(items.size());
    double total = 0;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (items[i].bytes > 0) {
            order.push_back(i);
            total += static_cast<double>(items[i].bytes);
        }
    }
    if (order.empty()) return choices;
    const auto larger = [&](std::size_t a, std::size_t b) { return items[a].bytes > items[b].bytes; };
    if (!std::is_sorted(order.begin(), order.end(), larger)) std::stable_sort(order.begin(), order.end(), larger);

    const std::size_t most = capacity(rect, level, onGround);
    if (most == 0) return choices;

    // A "more" card's members were folded once for being small: fold them
    // again only when they don't fit, or it would just nest the same tail.
    const bool inMore = owner != nullptr && owner->kind.tag == MapItem::Kind::Tag::more;
    const std::size_t count = order.size();
    std::size_t kept = count;
    if (!inMore && coverage < 1) {
        const double enough = coverage * total;
        double shown = 0;
        std::size_t reaching = 0;
        while (reaching < count && shown < enough) shown += static_cast<double>(items[order[reaching++]].bytes);
        // "1 more item" would only hide one item behind another name.
        if (count - reaching >= 2) kept = reaching;
    }
    if (kept < count || count > most) kept = std::min(kept, most - 1);

    choices.reserve(kept + 1);
    for (std::size_t i = 0; i < kept; ++i) choices.push_back({take(order[i]), 0});
    if (kept < count) {
        std::vector<MapItem> rest;
        rest.reserve(count - kept);
        for (std::size_t i = kept; i < count; ++i) rest.push_back(take(order[i]));
        MapItem more = MapItem::more(std::move(rest));
        if (owner != nullptr) more.container = owner->node != nullptr ? owner->node : owner->container;
        choices.push_back({std::move(more), 0});
    }

    std::vector<double> weights;
    weights.reserve(choices.size());
    for (const Choice& choice : choices) weights.push_back(static_cast<double>(choice.item.bytes));
    const double cell = (level.smallest.width + level.gap) * (level.smallest.height + level.gap);
    weights = floored(weights, rect.width * rect.height, cell);
    for (std::size_t i = 0; i < choices.size(); ++i) choices[i].weight = weights[i];
    std::stable_sort(choices.begin(), choices.end(),
                     [](const Choice& a, const Choice& b) { return a.weight > b.weight; });
    return choices;
}

// `place`, from a first frame holding the choices or borrowing them.
void placeFrom(Frame first, Rect rect, int depth, int palette, int paletteCount, std::vector<Card>& into,
               ContentsCache* cache) {
    const auto& table = levels();
    if (depth < 0 || static_cast<std::size_t>(depth) >= table.size()) return;

    // At most one frame per level, so the stack never moves its frames.
    std::vector<Frame> stack;
    stack.reserve(table.size());
    first.rects = squarified(first.choices(), rect);
    first.depth = depth;
    first.palette = palette;
    stack.push_back(std::move(first));

    while (!stack.empty()) {
        Frame& frame = stack.back();
        const std::vector<Choice>& list = frame.choices();
        if (frame.next >= std::min(list.size(), frame.rects.size())) {
            stack.pop_back();
            continue;
        }
        const std::size_t index = frame.next++;
        const Choice& choice = list[index];
        const int cardDepth = frame.depth;
        const Level& level = table[static_cast<std::size_t>(cardDepth)];

        const Rect box = frame.rects[index].insetBy(level.gap * 0.5, level.gap * 0.5);
        if (box.width < droppedBelowWidth || box.height < droppedBelowHeight) continue;

        Card card;
        card.rect = box;
        card.depth = cardDepth;
        card.palette = cardDepth == 0 ? distinctPalette(choice.item, box, into, level.gap, paletteCount)
                                      : frame.palette;
        card.label = labelFor(box, level);

        // The contents, when the card may open and its inside can hold one
        // smallest card of the next level: an open card with nothing in it
        // would say less than a closed one with its label.
        std::vector<Choice> inner;
        Rect inside;
        const auto nextDepth = static_cast<std::size_t>(cardDepth) + 1;
        if (nextDepth < table.size() && box.width >= openingWidth && choice.item.opens()) {
            const Level& next = table[nextDepth];
            inside = contentsRect(box, level);
            if (atLeast(inside, next.smallest)) {
                if (choice.item.kind.tag != MapItem::Kind::Tag::more) {
                    inner = cache != nullptr ? choose(cache->of(choice.item), inside, next, &choice.item, false, glimpseCoverage)
                                             : choose(choice.item.contents(), inside, next, &choice.item, false, glimpseCoverage);
                } else if (choice.item.memberItems.size() <= capacity(inside, next, false)) {
                    // A fold opens only to show all it holds: another "N more
                    // items" inside it would repeat it, smaller.
                    inner = choose(choice.item.memberItems, inside, next, &choice.item, false, glimpseCoverage);
                }
            }
        }
        card.isOpen = !inner.empty();
        // The caller's choices are copied; those given to us are moved. (Not
        // with ?:, whose two kinds of operand would make it copy both ways.)
        if (frame.borrowed != nullptr) card.item = choice.item;
        else card.item = std::move(frame.owned[index].item);
        const int cardPalette = card.palette;
        into.push_back(std::move(card));

        if (!inner.empty()) {
            Frame deeper;
            deeper.rects = squarified(inner, inside);
            deeper.owned = std::move(inner);
            deeper.depth = cardDepth + 1;
            deeper.palette = cardPalette;
            stack.push_back(std::move(deeper)); // `frame` and `list` are not used past here
        }
    }
}

} // namespace

const std::array<Level, 3>& levels() {
    // gap, radius, header, inset, smallest, most, icon, titleFont, detailFont, padding,
    // fullFrom, stackedFrom, nameFrom
    static const std::array<Level, 3> table{{
        {10, 12, 54, 8, {118, 58}, 28, 32, 13.0, 11.5, 11, {108, 54}, {66, 40}, {60, 22}},
        { 6,  8, 42, 6, { 68, 34},  8, 20, 11.5, 10.5,  8, { 90, 40}, {56, 32}, {52, 18}},
        { 5,  6,  0, 0, { 54, 30},  6, 16, 10.5,  9.5,  6, { 80, 36}, {48, 28}, {46, 16}},
    }};
    return table;
}

std::vector<double> floored(const std::vector<double>& weights, double filling, double atLeast) {
    const std::size_t count = weights.size();
    std::vector<bool> flagged(count, false);
    double budget = 0;
    double sum = 0;
    auto share = [&] {
        std::size_t flaggedCount = 0;
        sum = 0;
        for (std::size_t i = 0; i < count; ++i) {
            if (flagged[i]) ++flaggedCount;
            else sum += weights[i];
        }
        budget = std::max(0.0, filling - static_cast<double>(flaggedCount) * atLeast);
    };
    for (std::size_t pass = 0; pass < count; ++pass) {
        share();
        bool flaggedAny = false;
        for (std::size_t i = 0; i < count; ++i) {
            if (flagged[i]) continue;
            if ((sum > 0 && weights[i] / sum * budget < atLeast) || (!(sum > 0) && atLeast > 0)) {
                flagged[i] = true;
                flaggedAny = true;
            }
        }
        if (!flaggedAny) break;
    }
    share();
    std::vector<double> result(count);
    for (std::size_t i = 0; i < count; ++i)
        result[i] = flagged[i] ? atLeast : (sum > 0 ? weights[i] / sum * budget : 0);
    return result;
}

std::vector<Choice> choose(const std::vector<MapItem>& items, Rect rect, const Level& level,
                           const MapItem* owner, bool onGround, double coverage) {
    return chooseFrom(items, [&](std::size_t i) { return items[i]; }, rect, level, owner, onGround, coverage);
}

std::vector<Choice> choose(std::vector<MapItem>&& items, Rect rect, const Level& level, const MapItem* owner,
                           bool onGround, double coverage) {
    return chooseFrom(items, [&](std::size_t i) { return std::move(items[i]); }, rect, level, owner, onGround,
                      coverage);
}

Rect contentsRect(Rect card, const Level& level) {
    return Rect{card.x, card.y + level.header, card.width, card.height - level.header}.insetBy(level.inset,
                                                                                              level.inset);
}

void place(const std::vector<Choice>& choices, Rect rect, int depth, int palette, int paletteCount,
           std::vector<Card>& into, ContentsCache* cache) {
    Frame first;
    first.borrowed = &choices;
    placeFrom(std::move(first), rect, depth, palette, paletteCount, into, cache);
}

void place(std::vector<Choice>&& choices, Rect rect, int depth, int palette, int paletteCount,
           std::vector<Card>& into, ContentsCache* cache) {
    Frame first;
    first.owned = std::move(choices);
    placeFrom(std::move(first), rect, depth, palette, paletteCount, into, cache);
}

int distinctPalette(const MapItem& item, Rect rect, const std::vector<Card>& cards, double gap, int count) {
    if (count <= 1) return 0;
    const int preferred = TreemapTheme::paletteIndex(item.name) % count;
    std::vector<bool> taken(static_cast<std::size_t>(count), false);
    for (const Card& card : cards) {
        if (card.depth == 0 && near(card.rect, rect, gap))
            taken[static_cast<std::size_t>(std::abs(card.palette) % count)] = true;
    }
    for (int step = 0; step < count; ++step) {
        const int candidate = (preferred + step) % count;
        if (!taken[static_cast<std::size_t>(candidate)]) return candidate;
    }
    // Every hue is next door: keep the name's own.
    return preferred;
}

std::vector<Card> cards(const std::vector<MapItem>& items, Rect rect, int paletteCount, ContentsCache* cache) {
    std::vector<Card> placed;
    place(choose(items, rect, levels()[0], nullptr, true, groundCoverage), rect, 0, 0, paletteCount, placed, cache);
    return placed;
}

std::vector<Card> cards(std::vector<MapItem>&& items, Rect rect, int paletteCount, ContentsCache* cache) {
    std::vector<Card> placed;
    place(choose(std::move(items), rect, levels()[0], nullptr, true, groundCoverage), rect, 0, 0, paletteCount,
          placed, cache);
    return placed;
}

} // namespace tessel::CardLayout
