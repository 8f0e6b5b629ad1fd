// The card map: the floor share-out, which items get cards, and how cards
// are placed, opened, labelled and coloured.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "DiskScanKit/FileNode.h"
#include "TreemapLayout/CardLayout.h"
#include "TreemapLayout/TreemapTheme.h"
#include "TreeBuilder.h"

using namespace tessel;
using namespace tessel::CardLayout;

namespace {

constexpr std::int64_t GB = 1'000'000'000;

const Level& ground() { return levels()[0]; }

MapItem named(const std::string& name, std::int64_t bytes) {
    MapItem item;
    item.id = "/home/" + name;
    item.name = name;
    item.bytes = bytes;
    return item;
}

bool isFold(const Choice& choice) { return choice.item.kind.tag == MapItem::Kind::Tag::more; }

double overlap(const Rect& a, const Rect& b) {
    const double across = std::min(a.maxX(), b.maxX()) - std::max(a.x, b.x);
    const double down = std::min(a.maxY(), b.maxY()) - std::max(a.y, b.y);
    return across > 0 && down > 0 ? across * down : 0;
}

std::vector<Card> placed(const std::vector<Choice>& choices, Rect rect) {
    std::vector<Card> cards;
    place(choices, rect, 0, 0, 10, cards);
    return cards;
}

struct CardTree : testing::Test, test::TreeBuilder {};

} // namespace

TEST(CardFloored, LiftsWhatFallsBelowTheFloorUntilNothingNewDoes) {
    // Lifting 18 leaves 22 with 22/82 of 78.5, under the floor: a second pass lifts it too.
    EXPECT_EQ(floored({60, 22, 18}, 100, 21.5), (std::vector<double>{57, 21.5, 21.5}));
    EXPECT_EQ(floored({0, 0}, 100, 10), (std::vector<double>{10, 10}));
    // Every item gets the floor, all sum to the filling, and the unlifted keep their proportions.
    std::vector<double> weights;
    double weight = 1e9;
    for (int i = 0; i < 28; ++i) weights.push_back(weight *= 0.6);
    const std::vector<double> result = floored(weights, 960'000, 8704);
    for (double share : result) EXPECT_GE(share, 8704 - 1e-9);
    EXPECT_NEAR(std::accumulate(result.begin(), result.end(), 0.0), 960'000, 1e-6);
    EXPECT_NEAR(result[0] / result[1], weights[0] / weights[1], 1e-9);
}

TEST(CardChoose, HomeFolderShowsItsLargeFoldersAndFoldsTheTail) {
    // The worked example of CardLayout.cpp.
    std::vector<MapItem> items{named("Library", 60 * GB), named("Documents", 20 * GB), named("Downloads", 15 * GB),
                               named("Pictures", 10 * GB), named("Movies", 8 * GB),   named(".cache", 5 * GB),
                               named("Music", 3 * GB),     named("Desktop", 2 * GB),  named(".npm", 2 * GB)};
    for (int i = 0; i < 25; ++i) items.push_back(named(".dot" + std::to_string(i), 3 * GB / 25));
    const std::vector<Choice> choices = choose(items, {0, 0, 1200, 800}, ground(), nullptr, true, groundCoverage);
    ASSERT_EQ(choices.size(), 9u);
    ASSERT_EQ(std::count_if(choices.begin(), choices.end(), isFold), 1);
    EXPECT_EQ(std::find_if(choices.begin(), choices.end(), isFold)->item.name, "26 more items");
    double filled = 0;
    for (std::size_t i = 0; i < choices.size(); ++i) {
        filled += choices[i].weight;
        EXPECT_TRUE(i == 0 || choices[i - 1].weight >= choices[i].weight) << i;
    }
    EXPECT_NEAR(filled, 1200.0 * 800.0, 1e-6);
}

TEST(CardChoose, FoldsOnlyTwoOrMoreNeverInsideAFoldByShareAndAlwaysOneCardOnTheGround) {
    const std::vector<MapItem> four{named("a", 50), named("b", 30), named("c", 15), named("d", 5)};
    // 0.9 is reached with three; folding the fourth alone would only rename it.
    const std::vector<Choice> shown = choose(four, {0, 0, 1200, 800}, ground(), nullptr, true, 0.9);
    EXPECT_EQ(shown.size(), 4u);
    EXPECT_EQ(std::count_if(shown.begin(), shown.end(), isFold), 0);
    const std::vector<MapItem> five{named("a", 50), named("b", 30), named("c", 15), named("d", 3), named("e", 2)};
    EXPECT_EQ(choose(five, {0, 0, 600, 400}, levels()[1], nullptr, false, 0.85).size(), 4u); // "2 more items"
    const MapItem owner = MapItem::more(five);
    EXPECT_EQ(choose(five, {0, 0, 600, 400}, levels()[1], &owner, false, 0.85).size(), 5u);
    // A map too small for a card still shows one; a card too small inside shows none.
    EXPECT_EQ(choose(four, {0, 0, 80, 40}, ground(), nullptr, true, 1).size(), 1u);
    EXPECT_TRUE(choose(four, {0, 0, 80, 40}, ground(), nullptr, false, 1).empty());
    EXPECT_TRUE(choose(four, {0, 0, 0, 500}, ground(), nullptr, true, 1).empty());
    EXPECT_TRUE(choose({named("a", 0)}, {0, 0, 800, 500}, ground(), nullptr, true, 1).empty());
    // The folded rest of a folder's contents names the folder.
    test::TreeBuilder tree;
    for (int i = 0; i < 40; ++i) tree.add(tree.root, "f" + std::to_string(i), false, 100);
    const MapItem folder = MapItem::fromNode(tree.root);
    const std::vector<Choice> rest = choose(folder.contents(), {0, 0, 300, 200}, levels()[1], &folder, false, 1);
    ASSERT_EQ(std::count_if(rest.begin(), rest.end(), isFold), 1);
    EXPECT_EQ(std::find_if(rest.begin(), rest.end(), isFold)->item.container, tree.root);
}

TEST_F(CardTree, CardOpensFromOneHundredPointsWideWithRoomUnderItsHeader) {
    FileNode* folder = add(root, "folder", true);
    add(folder, "a", false, 300);
    add(folder, "b", false, 200);
    const auto opens = [&](double width, double height) {
        return placed({{MapItem::fromNode(folder), 1}}, {0, 0, width, height}).at(0).isOpen;
    };
    EXPECT_EQ(placed({{MapItem::fromNode(folder), 1}}, {0, 0, 110, 200}).size(), 3u); // 100 wide once the gap is taken
    EXPECT_FALSE(opens(109.9, 200));
    // Under the 54-point header and two 8-point insets, level 1's smallest card needs 34.
    EXPECT_TRUE(opens(300, 10 + 54 + 16 + 34));
    EXPECT_FALSE(opens(300, 10 + 54 + 16 + 33.9));
}

// A tree 30 wide and 3 deep: each card inside its space, no two siblings
// overlapping, the palette of the card that holds it, no deeper than two, and
// no more cards in one place than its level allows.
TEST_F(CardTree, CardsStayInsideTheirPlaceNeverOverlapInheritThePaletteAndKeepToTheLevels) {
    std::vector<std::pair<FileNode*, int>> stack{{root, 1}};
    while (!stack.empty()) {
        auto [at, level] = stack.back();
        stack.pop_back();
        for (int i = 0; i < 30; ++i) {
            if (level < 3) stack.push_back({add(at, "d" + std::to_string(i), true), level + 1});
            else add(at, "f" + std::to_string(i), false, 1000 + 50 * (30 - i));
        }
    }
    const Rect view{0, 0, 8000, 6000};
    const std::vector<Card> all = cards(MapItem::contents(root), view, 10);
    ASSERT_GT(all.size(), 200u); // the levels' bounds are approached, not avoided
    std::vector<int> parent, open; // each open card comes just before its contents
    std::vector<int> held(all.size() + 1, 0); // the last counts the ground
    for (std::size_t i = 0; i < all.size(); ++i) {
        open.resize(static_cast<std::size_t>(all[i].depth));
        parent.push_back(open.empty() ? -1 : open.back());
        if (all[i].isOpen) open.push_back(static_cast<int>(i));
        ++held[parent[i] < 0 ? all.size() : static_cast<std::size_t>(parent[i])];
        EXPECT_LE(all[i].depth, 2);
        Rect space = view;
        if (parent[i] >= 0) {
            const Card& holder = all[static_cast<std::size_t>(parent[i])];
            space = contentsRect(holder.rect, levels()[static_cast<std::size_t>(holder.depth)]);
            EXPECT_EQ(all[i].palette, holder.palette);
        }
        const Rect& box = all[i].rect;
        EXPECT_TRUE(box.x >= space.x && box.y >= space.y && box.maxX() <= space.maxX() + 1e-9 &&
                    box.maxY() <= space.maxY() + 1e-9) << i;
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_FALSE(parent[j] == parent[i] && overlap(box, all[j].rect) > 1e-6) << j << " " << i;
    }
    EXPECT_LE(held.back(), ground().most);
    for (std::size_t i = 0; i < all.size(); ++i)
        EXPECT_LE(held[i], all[i].depth < 2 ? levels()[static_cast<std::size_t>(all[i].depth) + 1].most : 0);
}

TEST(CardPlace, AFoldOpensOnlyWhenAllItHoldsFitsInside) {
    const auto fold = [](std::size_t members) {
        std::vector<MapItem> rest;
        for (std::size_t i = 0; i < members; ++i) rest.push_back(named("m" + std::to_string(i), 100));
        return placed({{MapItem::more(rest), 1}}, {0, 0, 400, 300});
    };
    EXPECT_EQ(fold(3).size(), 4u);
    EXPECT_EQ(fold(40).size(), 1u); // 374 by 220 inside holds at most 8
}

TEST(CardPlace, SliversAreDroppedAndLabelsFollowTheLevelsSizes) {
    EXPECT_EQ(placed({{named("big", 1000), 11'990}, {named("sliver", 1), 10}}, {0, 0, 200, 60}).size(), 1u);
    const std::vector<std::tuple<double, double, Label>> cases{
        {108, 54, Label::full}, {107.9, 54, Label::stacked}, {65.9, 40, Label::name},
        {36, 36, Label::icon}, // a 14-point symbol inside the 11-point padding
        {35.9, 36, Label::none}};
    for (const auto& [width, height, label] : cases)
        EXPECT_EQ(placed({{named("x", 1), 1}}, {0, 0, width + 10, height + 10}).at(0).label, label) << width;
}

TEST(CardPalette, NeighbouringTopLevelCardsGetDistinctPalettes) {
    std::vector<MapItem> items; // one name for all, so that all would pick one hue
    for (int i = 0; i < 20; ++i) items.push_back(named("same", 1000 - 10 * i));
    const Rect view{0, 0, 1600, 1000};
    const std::vector<Card> cards = placed(choose(items, view, ground(), nullptr, true, 1), view);
    ASSERT_EQ(cards.size(), 20u);
    for (std::size_t i = 0; i < cards.size(); ++i) {
        EXPECT_TRUE(cards[i].palette >= 0 && cards[i].palette < 10);
        const Rect reach = cards[i].rect.insetBy(-ground().gap - 0.25, -ground().gap - 0.25);
        for (std::size_t j = i + 1; j < cards.size(); ++j)
            EXPECT_FALSE(overlap(reach, cards[j].rect) > 0 && cards[i].palette == cards[j].palette) << i << " " << j;
    }
}
