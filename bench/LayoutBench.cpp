// layout-bench [Google Benchmark options]
//
// Times the two map layouts on synthetic trees, for a window-sized rectangle
// (1440 by 900 points): a folder of 10,000 and of 100,000 children, and a
// tree of about 1.1 million nodes, ten wide and six deep, as the root of a
// large scan. The map is laid out on the main thread whenever the focus or
// the window's size changes, so anything near a frame (16 ms) would show as
// a stall.
//
// Cards are timed twice: from the folder's items, as the model caches them,
// which is what each resize costs; and with `MapItem::contents` of the root
// included, which is what the first view of a folder costs.
//
// The map's search walks the whole tree off the main thread, for every
// query typed; it is timed for words that one name in ten holds ("7"), the
// worst case for the marking of holders and the bounded list. Deciding what
// the cards of the root dim runs on the main thread once per answer; it is
// timed for words that nothing holds, so that a folded rest of thousands of
// items asks every member.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DiskScanKit/FileNode.h"
#include "TreemapLayout/CardLayout.h"
#include "TreemapLayout/MapItem.h"
#include "TreemapLayout/MapLens.h"
#include "TreemapLayout/TreemapLayout.h"
#include "TreemapLayout/TreemapTheme.h"

using namespace tessel;

namespace {

constexpr Rect window{0, 0, 1440, 900};

// Sizes from a few KB to a few GB, most of them small, as on a real disk.
class Sizes {
public:
    std::int64_t next() {
        state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
        const auto draw = static_cast<std::int64_t>(state_ >> 33);
        const std::int64_t scale[] = {4'096, 40'000, 400'000, 4'000'000, 400'000'000};
        return 1 + draw % scale[(state_ >> 20) % 5];
    }

private:
    std::uint64_t state_ = 42;
};

struct Synthetic {
    std::shared_ptr<FileTree> tree = std::make_shared<FileTree>();
    FileNode* root = nullptr;
    std::vector<MapItem> items; // the root's, as the model would cache them
    std::size_t nodes = 0;
};

// Sums every folder's total from its children, parents having been made
// before their children.
void total(const std::vector<FileNode*>& made) {
    for (auto it = made.rbegin(); it != made.rend(); ++it)
        if ((*it)->parent() != nullptr) (*it)->parent()->addTotalBytes((*it)->totalBytes());
}

// One folder of `count` children: files, and one in ten a folder of five files.
std::unique_ptr<Synthetic> flat(int count) {
    auto made = std::make_unique<Synthetic>();
    Sizes sizes;
    made->root = made->tree->makeNode("/bench", true, nullptr);
    std::vector<FileNode*> all{made->root};
    for (int i = 0; i < count; ++i) {
        const bool folder = i % 10 == 0;
        FileNode* child = made->tree->makeNode("entry" + std::to_string(i), folder, made->root);
        made->tree->appendChild(made->root, child);
        all.push_back(child);
        if (!folder) {
            child->setTotalBytes(sizes.next());
            continue;
        }
        for (int j = 0; j < 5; ++j) {
            FileNode* file = made->tree->makeNode("file" + std::to_string(j), false, child);
            made->tree->appendChild(child, file);
            file->setTotalBytes(sizes.next());
            all.push_back(file);
        }
    }
    total(all);
    made->items = MapItem::contents(made->root);
    made->nodes = all.size();
    return made;
}

// Ten folders in every folder, six levels down, files at the bottom, and a
// few small files in every folder: 1,111,111 nodes.
std::unique_ptr<Synthetic> deep() {
    auto made = std::make_unique<Synthetic>();
    Sizes sizes;
    made->root = made->tree->makeNode("/bench", true, nullptr);
    std::vector<FileNode*> all{made->root};
    std::vector<FileNode*> level{made->root};
    for (int depth = 1; depth <= 6; ++depth) {
        std::vector<FileNode*> below;
        below.reserve(level.size() * 10);
        for (FileNode* parent : level) {
            for (int i = 0; i < 10; ++i) {
                const bool folder = depth < 6;
                const std::string name = std::string(1, 'n') + std::to_string(i);
                FileNode* child = made->tree->makeNode(name, folder, parent);
                made->tree->appendChild(parent, child);
                if (folder) {
                    const std::int64_t loose = sizes.next() / 16;
                    child->setAggregatedFiles(loose, 3);
                    child->setTotalBytes(loose);
                    below.push_back(child);
                } else {
                    child->setTotalBytes(sizes.next());
                }
                all.push_back(child);
            }
        }
        level = std::move(below);
    }
    total(all);
    made->items = MapItem::contents(made->root);
    made->nodes = all.size();
    return made;
}

const Synthetic& tree(int which) {
    static std::unique_ptr<Synthetic> trees[3];
    if (!trees[which]) trees[which] = which == 0 ? flat(10'000) : which == 1 ? flat(100'000) : deep();
    return *trees[which];
}

void describe(benchmark::State& state) {
    const int which = static_cast<int>(state.range(0));
    const char* names[] = {"folder of 10,000", "folder of 100,000", "tree of 1.1 million"};
    state.SetLabel(names[which]);
    state.counters["nodes"] = static_cast<double>(tree(which).nodes);
}

void treemapTiles(benchmark::State& state) {
    const Synthetic& synthetic = tree(static_cast<int>(state.range(0)));
    const TreemapTheme& theme = TreemapTheme::all().front();
    std::size_t made = 0;
    for (auto _ : state) {
        auto tiles = TreemapLayout::tiles(*synthetic.root, window, theme);
        made = tiles.size();
        benchmark::DoNotOptimize(tiles.data());
    }
    describe(state);
    state.counters["tiles"] = static_cast<double>(made);
}

void cardsFromCachedItems(benchmark::State& state) {
    const Synthetic& synthetic = tree(static_cast<int>(state.range(0)));
    std::size_t made = 0;
    for (auto _ : state) {
        auto cards = CardLayout::cards(synthetic.items, window, 10);
        made = cards.size();
        benchmark::DoNotOptimize(cards.data());
    }
    describe(state);
    state.counters["cards"] = static_cast<double>(made);
}

void cardsWithContents(benchmark::State& state) {
    const Synthetic& synthetic = tree(static_cast<int>(state.range(0)));
    std::size_t made = 0;
    for (auto _ : state) {
        auto cards = CardLayout::cards(MapItem::contents(synthetic.root), window, 10);
        made = cards.size();
        benchmark::DoNotOptimize(cards.data());
    }
    describe(state);
    state.counters["cards"] = static_cast<double>(made);
}

void mapSearch(benchmark::State& state) {
    const Synthetic& synthetic = tree(static_cast<int>(state.range(0)));
    const NameMatcher words("7");
    std::int64_t matched = 0;
    for (auto _ : state) {
        std::optional<MapLens::Found> found = MapLens::search(synthetic.root, words, 10'000);
        matched = found->total;
        benchmark::DoNotOptimize(found->items.data());
    }
    describe(state);
    state.counters["matches"] = static_cast<double>(matched);
}

void dimmingTheCards(benchmark::State& state) {
    const Synthetic& synthetic = tree(static_cast<int>(state.range(0)));
    // Words no name holds: every member of a folded rest is asked, and none lights.
    const std::optional<MapLens::Found> found = MapLens::search(synthetic.root, NameMatcher("zzz"), 10'000);
    const auto cards = CardLayout::cards(synthetic.items, window, 10);
    int dimmed = 0;
    for (auto _ : state) {
        dimmed = 0;
        for (const CardLayout::Card& card : cards) dimmed += found->lights(card.item) ? 0 : 1;
        benchmark::DoNotOptimize(dimmed);
    }
    describe(state);
    state.counters["cards"] = static_cast<double>(cards.size());
    state.counters["dimmed"] = dimmed;
}

} // namespace

BENCHMARK(treemapTiles)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(cardsFromCachedItems)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(cardsWithContents)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(mapSearch)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);
BENCHMARK(dimmingTheCards)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
