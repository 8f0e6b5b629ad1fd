// The treemap: squarify's rows, a folder's entries, and the tiles with their
// nesting, labels and colours.
#include <gtest/gtest.h>

#include <algorithm>

#include "DiskScanKit/FileNode.h"
#include "TreemapLayout/TreemapLayout.h"
#include "TreeBuilder.h"

using namespace tessel;

namespace {

using Kind = TreemapTile::Label::Kind;

void expectRect(const Rect& actual, const Rect& expected) {
    EXPECT_NEAR(actual.x, expected.x, 1e-9);
    EXPECT_NEAR(actual.y, expected.y, 1e-9);
    EXPECT_NEAR(actual.width, expected.width, 1e-9);
    EXPECT_NEAR(actual.height, expected.height, 1e-9);
}

bool within(const Rect& inner, const Rect& outer) {
    return inner.x >= outer.x - 1e-6 && inner.y >= outer.y - 1e-6 && inner.maxX() <= outer.maxX() + 1e-6 &&
           inner.maxY() <= outer.maxY() + 1e-6;
}

// A tree built by hand; every folder's total is its children's plus its small files'.
struct TreemapFolder : testing::Test, test::TreeBuilder {
    TreemapTheme theme = TreemapTheme::all().front();
    TreemapLayout::Configuration flat{3, 3, 0, 18}; // no padding: a lone tile is the whole rectangle

    std::vector<TreemapTile> tiles(Rect rect) { return TreemapLayout::tiles(*root, rect, theme, flat); }
};

} // namespace

TEST(TreemapSquarify, RowsAreLaidAsTheWorkedExamplesSay) {
    const std::vector<std::tuple<std::vector<double>, Rect, std::vector<Rect>>> cases{
        // Bruls, Huizing and van Wijk's example: 6, 6, 4, 3, 2, 2, 1 in 6 by 4.
        {{6, 6, 4, 3, 2, 2, 1}, {0, 0, 6, 4},
         {{0, 0, 3, 2}, {0, 2, 3, 2}, {3, 0, 12.0 / 7, 7.0 / 3}, {3 + 12.0 / 7, 0, 9.0 / 7, 7.0 / 3},
          {3, 7.0 / 3, 1.2, 5.0 / 3}, {4.2, 7.0 / 3, 1.2, 5.0 / 3}, {5.4, 7.0 / 3, 0.6, 5.0 / 3}}},
        {{1, 1}, {0, 0, 10, 10}, {{0, 0, 10, 5}, {0, 5, 10, 5}}}, // a tie extends the row: one column of two
        {{1, 0}, {0, 0, 8, 8}, {{0, 0, 8, 8}}},                    // spent space ends the list
        {{0, 0}, {0, 0, 10, 10}, {}},
        {{1, 2}, {0, 0, 0, 10}, {}},
        {{1, 2}, {0, 0, 10, -1}, {}},
    };
    for (const auto& [values, rect, expected] : cases) {
        const std::vector<Rect> rects = TreemapLayout::squarify(values, rect);
        ASSERT_EQ(rects.size(), expected.size()) << values.size();
        for (std::size_t i = 0; i < rects.size(); ++i) expectRect(rects[i], expected[i]);
    }
}

TEST(TreemapSquarify, AreasFollowTheValuesAndTileTheRectangleWithoutOverlap) {
    std::vector<double> values;
    std::uint32_t seed = 12345;
    for (int i = 0; i < 200; ++i) { // four orders of magnitude, in no order
        seed = seed * 1664525u + 1013904223u;
        values.push_back(1 + static_cast<double>(seed % 10000) * (seed % 7 == 0 ? 100.0 : 1.0));
    }
    const Rect rect{13, 7, 640, 480};
    const std::vector<Rect> rects = TreemapLayout::squarify(values, rect);
    ASSERT_EQ(rects.size(), values.size());
    double sum = 0;
    for (double value : values) sum += value;
    for (std::size_t i = 0; i < rects.size(); ++i) {
        const double area = values[i] * rect.width * rect.height / sum;
        EXPECT_NEAR(rects[i].width * rects[i].height, area, area * 1e-9) << i;
        EXPECT_TRUE(within(rects[i], rect)) << i;
        for (std::size_t j = i + 1; j < rects.size(); ++j) {
            const double across = std::min(rects[i].maxX(), rects[j].maxX()) - std::max(rects[i].x, rects[j].x);
            const double down = std::min(rects[i].maxY(), rects[j].maxY()) - std::max(rects[i].y, rects[j].y);
            EXPECT_FALSE(across > 1e-6 && down > 1e-6) << i << " overlaps " << j;
        }
    }
}

// Enough entries of few sizes that an unstable sort would show.
TEST_F(TreemapFolder, ContentsSkipEmptyChildrenAndCountSmallFilesLargestFirstWithTiesInOrder) {
    add(root, "empty", false, 0);
    loose(root, 25, 3);
    for (int i = 0; i < 100; ++i) add(root, std::to_string(i), i % 3 == 0, i % 4 == 0 ? 30 : 10 + i % 2);
    const std::vector<TreemapLayout::Entry> entries = TreemapLayout::contents(*root);
    ASSERT_EQ(entries.size(), 101u);
    EXPECT_EQ(entries[25].name, "3 smaller files");
    EXPECT_EQ(entries[25].node, nullptr);
    for (std::size_t i = 1; i < entries.size(); ++i) {
        ASSERT_GE(entries[i - 1].bytes, entries[i].bytes) << i;
        const bool tie = entries[i - 1].bytes == entries[i].bytes;
        EXPECT_TRUE(!tie || std::stoi(entries[i - 1].name) < std::stoi(entries[i].name)) << i;
    }
}

TEST_F(TreemapFolder, NothingButEmptyFilesYieldsNoTilesAndSmallFilesAloneOneThatDoesNotOpen) {
    add(root, "nothing", false, 0);
    EXPECT_TRUE(tiles({0, 0, 400, 300}).empty());
    loose(root, 4096, 7);
    const std::vector<TreemapTile> result = tiles({0, 0, 400, 300});
    ASSERT_EQ(result.size(), 1u);
    EXPECT_FALSE(result[0].isNavigable());
}

TEST_F(TreemapFolder, FolderOpensFromSixtyByTitleBandPlusSixteen) {
    FileNode* inner = add(root, "inner", true);
    add(inner, "x", false, 30);
    add(inner, "y", false, 10);
    const std::vector<TreemapTile> opened = tiles({0, 0, 60, 34});
    ASSERT_EQ(opened.size(), 3u);
    expectRect(opened[0].label.rect, {0, 0, 60, 18});
    EXPECT_TRUE(within(opened[1].rect, {0, 18, 60, 16}));
    EXPECT_EQ(tiles({0, 0, 59.9, 34}).size(), 1u);
    EXPECT_EQ(tiles({0, 0, 60, 33.9}).size(), 1u);
}

TEST_F(TreemapFolder, FolderOfOnlySmallFilesStaysALeafButOneSubfolderOpens) {
    loose(add(root, "loose", true), 100, 40);
    EXPECT_EQ(tiles({0, 0, 300, 200}).at(0).label.kind, Kind::corner);
    FileNode* wrapper = add(root, "wrapper", true);
    add(add(wrapper, "only", true), "deep", false, 1000);
    const std::vector<TreemapTile> result = tiles({0, 0, 300, 200});
    EXPECT_EQ(result.at(0).node, wrapper);
    EXPECT_EQ(result.at(0).label.kind, Kind::header);
}

// Four folders of folders of files, a chain of folders six deep and a crowd of
// tiny files: every tile after the folder that holds it, inside its title band,
// in the hue of its top-level folder, no deeper than asked and no sliver.
TEST_F(TreemapFolder, TilesFollowWhatHoldsThemTakeItsHueAndStopAtTheDepthAskedWithNoSlivers) {
    for (int i = 0; i < 4; ++i) {
        FileNode* top = loose(add(root, "top" + std::to_string(i), true), 200 + i, 3);
        for (int j = 0; j < 3; ++j) {
            FileNode* mid = add(top, "mid" + std::to_string(j), true);
            for (int k = 0; k < 3; ++k) add(mid, "leaf" + std::to_string(k), false, 1000 * (k + 1) + 100 * i);
        }
    }
    FileNode* chain = root;
    for (int level = 0; level < 6; ++level) chain = add(chain, "down" + std::to_string(level), true);
    add(chain, "bottom", false, 30'000);
    for (int i = 0; i < 500; ++i) add(root, "tiny" + std::to_string(i), false, 1);
    flat.padding = 2;
    for (int maxDepth : {1, 3}) {
        flat.maxDepth = maxDepth;
        const std::vector<TreemapTile> result = tiles({0, 0, 1200, 800});
        int deepest = 0;
        for (std::size_t i = 0; i < result.size(); ++i) {
            const TreemapTile& tile = result[i];
            deepest = std::max(deepest, tile.depth);
            EXPECT_EQ(tile.id, static_cast<int>(i));
            EXPECT_GE(std::min(tile.rect.width, tile.rect.height), flat.minimumSide) << tile.name;
            const FileNode* top = tile.node;
            while (top != nullptr && top->parent() != root) top = top->parent();
            const int hue = top != nullptr ? TreemapTheme::paletteIndex(std::string(top->name())) : 0;
            EXPECT_TRUE(top == nullptr || tile.color == theme.tileColor(hue, tile.depth + 1, tile.isDirectory)) << tile.name;
            if (tile.depth == 0) continue;
            const auto parent = std::find_if(result.begin(), result.begin() + static_cast<long>(i), [&](const auto& p) {
                return p.depth == tile.depth - 1 && p.label.kind == Kind::header &&
                       within(tile.rect, {p.rect.x, p.rect.y + 18, p.rect.width, p.rect.height - 18});
            });
            ASSERT_NE(parent, result.begin() + static_cast<long>(i)) << tile.name;
            EXPECT_TRUE(tile.node == nullptr || tile.node->parent() == parent->node) << tile.name;
        }
        EXPECT_EQ(deepest, maxDepth);
    }
}

TEST_F(TreemapFolder, LabelsAreDarkOnLightTilesAndLightOnDarkOnesAndANegativeHueIsItsAbsoluteValue) {
    add(root, "file", false, 10);
    theme.tilePalette = {Color::hex(0xf0f0a0)};
    EXPECT_LT(tiles({0, 0, 100, 100})[0].labelColor.luminance(), 0.2);
    theme.tilePalette = {Color::hex(0x203060)};
    EXPECT_GT(tiles({0, 0, 100, 100})[0].labelColor.luminance(), 0.8);
    theme.tilePalette = {Color::hex(0x000010), Color::hex(0x000020), Color::hex(0x000030), Color::hex(0x000040)};
    EXPECT_EQ(theme.tileColor(-7, 1, true), theme.tileColor(7, 1, true));
    EXPECT_NE(theme.tileColor(-1, 1, true), theme.tileColor(3, 1, true));
}
