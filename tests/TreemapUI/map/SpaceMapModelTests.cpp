// The map room's state: moving about the tree, choosing, the list's order and
// rows, lenses answered off the main thread, and what survives a removal.
#include <gtest/gtest.h>

#include <QSignalSpy>

#include <string>
#include <vector>

#include "map/MapFixture.h"
#include "map/MapListModel.h"

using namespace tessel;
using test::MapFixture;
using test::namesOf;

namespace {

struct SpaceMapModelNavigation : MapFixture {};
struct SpaceMapModelSelection : MapFixture {};
struct SpaceMapModelLens : MapFixture {};
struct SpaceMapModelTreeChanged : MapFixture {};
struct MapListRows : MapFixture {};
struct MapListModelToggle : MapFixture {};

} // namespace

TEST_F(SpaceMapModelNavigation, ShowRemembersThePlaceBackReturnsAndStartBeginsAfresh) {
    FileNode* a = folder(root, "a", 60);
    start();
    EXPECT_EQ(namesOf(model.items()), (std::vector<std::string>{"a"}));
    model.show(a);
    EXPECT_EQ(model.focus(), a);
    model.back();
    EXPECT_EQ(model.focus(), root);
    model.show(a);
    model.setLens(SpaceMapModel::Lens::folders);
    start();
    EXPECT_EQ(model.focus(), root);
    EXPECT_EQ(model.lens(), SpaceMapModel::Lens::all);
    EXPECT_FALSE(model.canGoBack());
}

TEST_F(SpaceMapModelNavigation, GoToPathIndexJumpsUpTheChain) {
    FileNode* a = folder(root, "a");
    FileNode* c = folder(folder(a, "b"), "c", 5);
    start();
    model.show(c);
    model.goToPathIndex(9);
    EXPECT_EQ(model.focus(), c);
    model.goToPathIndex(1);
    EXPECT_EQ(model.focus(), a);
    EXPECT_EQ(model.path().size(), 2);
}

TEST_F(SpaceMapModelNavigation, ActivateGoesIntoAFolderAndOpensAGroupOrTheRestInPlace) {
    FileNode* a = folder(root, "a", 60);
    file(root, "x.mp4", 30);
    file(root, "y.mp4", 20);
    start();
    model.activate(shown("a"));
    EXPECT_EQ(model.focus(), a);
    model.back();
    model.setLens(SpaceMapModel::Lens::types);
    settle();
    model.activate(shown("Videos"));
    EXPECT_EQ(namesOf(model.items()), (std::vector<std::string>{"x.mp4", "y.mp4"}));
    model.activate(MapItem::more({MapItem::fromNode(a)}));
    EXPECT_EQ(namesOf(model.items()), (std::vector<std::string>{"a"}));
}

TEST_F(SpaceMapModelSelection, PlainChoosesOneAndToggleAddsOrTakesAway) {
    for (const char* name : {"a", "b", "c"}) folder(root, name, 200 - name[0]);
    start();
    model.select(shown("a"), SpaceMapModel::plain);
    model.select(shown("c"), SpaceMapModel::toggle);
    EXPECT_EQ(namesOf(model.chosen()), (std::vector<std::string>{"a", "c"}));
    model.select(shown("a"), SpaceMapModel::toggle);
    EXPECT_EQ(namesOf(model.chosen()), (std::vector<std::string>{"c"}));
    model.select(shown("b"), SpaceMapModel::plain);
    EXPECT_EQ(namesOf(model.chosen()), (std::vector<std::string>{"b"}));
}

TEST_F(SpaceMapModelSelection, RangeChoosesEverythingBetweenTheAnchorAndTheClick) {
    for (const char* name : {"a", "b", "c", "d"}) folder(root, name, 200 - name[0]);
    start();
    model.select(shown("b"), SpaceMapModel::plain);
    model.select(shown("d"), SpaceMapModel::range);
    EXPECT_EQ(namesOf(model.chosen()), (std::vector<std::string>{"b", "c", "d"}));
    model.select(shown("a"), SpaceMapModel::range);
    EXPECT_EQ(namesOf(model.chosen()), (std::vector<std::string>{"a", "b"}));
}

TEST_F(SpaceMapModelSelection, ChoosingAFolderInAColumnOpensTheNextColumn) {
    FileNode* a = folder(root, "a", 60);
    folder(a, "inner", 10);
    file(root, "f", 5);
    start();
    model.selectInColumn(0, id(shown("a")));
    ASSERT_EQ(model.columns().size(), 2);
    EXPECT_EQ(model.selection()->node, a);
    model.selectInColumn(0, id(shown("f")));
    EXPECT_EQ(model.columns().size(), 1);
}

TEST_F(SpaceMapModelSelection, TheListOrderIsKeptInTheSettingsGiven) {
    folder(root, "b", 90);
    folder(root, "a", 10);
    start();
    model.setListOrder("name-ascending");
    EXPECT_EQ(model.list()->itemAt(0)->name, "a");
    SpaceMapModel again{tree, &settings};
    EXPECT_EQ(again.listOrder(), "name-ascending");
    settings.setValue("tessel.map.listOrder", "colour-sideways");
    EXPECT_EQ(again.listOrder(), "size-descending");
}

TEST(MapListOrdering, EveryOrderComesBackFromItsRawValueAndNonsenseDoesNot) {
    for (auto key : {MapListOrder::Key::name, MapListOrder::Key::kind, MapListOrder::Key::size})
        for (bool ascending : {false, true}) {
            const MapListOrder order{key, ascending};
            EXPECT_EQ(MapListOrder::fromRawValue(order.rawValue()), order);
        }
    for (const char* raw : {"size", "size-up", "colour-descending", ""}) EXPECT_FALSE(MapListOrder::fromRawValue(raw));
}

TEST_F(MapListRows, NamesSortNaturallyAndKindsByTheirTitle) {
    std::vector<MapItem> items{MapItem::fromNode(file(root, "file10", 1)), MapItem::fromNode(folder(root, "File2", 3)),
                               MapItem::fromNode(folder(root, "Tool.app", 2))};
    MapListOrder{MapListOrder::Key::name, true}.sort(items);
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"File2", "file10", "Tool.app"}));
    MapListOrder{MapListOrder::Key::kind, true}.sort(items);
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"Tool.app", "File2", "file10"}));
}

TEST_F(MapListRows, AFolderOf501ItemsShows500RowsAndOneMore) {
    for (int i = 1; i <= 501; ++i) file(root, "f" + std::to_string(i), i);
    std::vector<MapRow> rows = MapRow::rows(MapItem::contents(root), MapListOrder{}, root->totalBytes());
    ASSERT_EQ(rows.size(), 501u);
    EXPECT_EQ(rows.back().item().kind, MapItem::Kind::more(1));
    EXPECT_EQ(rows.back().item().bytes, 1);
    EXPECT_FALSE(rows.back().isBuilt());
    EXPECT_EQ(rows.back().children().size(), 1u);
    start();
    EXPECT_EQ(model.list()->rowCount(), 501);
    EXPECT_EQ(model.list()->itemAt(500)->kind, MapItem::Kind::more(1));
}

TEST_F(MapListModelToggle, OpeningInsertsExactlyTheChildRowsAndClosingRemovesThemAndTheirOwn) {
    FileNode* a = folder(root, "a");
    FileNode* x = folder(a, "x");
    file(x, "deep1", 2);
    file(x, "deep2", 1);
    file(a, "y", 5);
    folder(root, "b", 1);
    start();
    MapListModel& list = *model.list();
    QSignalSpy inserted(&list, &QAbstractItemModel::rowsInserted);
    QSignalSpy removed(&list, &QAbstractItemModel::rowsRemoved);
    list.toggle(0);
    ASSERT_EQ(inserted.count(), 1);
    EXPECT_EQ(inserted[0][1].toInt(), 1);
    EXPECT_EQ(inserted[0][2].toInt(), 2);
    list.toggle(2); // x, the smaller of a's two
    EXPECT_EQ(list.rowCount(), 6);
    list.toggle(0);
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(removed[0][1].toInt(), 1);
    EXPECT_EQ(removed[0][2].toInt(), 4);
    EXPECT_EQ(namesOf(std::vector<MapItem>{*list.itemAt(0), *list.itemAt(1)}), (std::vector<std::string>{"a", "b"}));
}

TEST_F(SpaceMapModelLens, AnAnswerForALensLeftBehindIsDropped) {
    folder(root, "Tool.app", 40);
    file(root, "clip.mp4", 30);
    start();
    QSignalSpy published(&model, &SpaceMapModel::itemsChanged);
    model.setLens(SpaceMapModel::Lens::apps);
    EXPECT_TRUE(model.isWorking());
    model.setLens(SpaceMapModel::Lens::types);
    settle();
    EXPECT_EQ(published.count(), 1);
    EXPECT_EQ(namesOf(model.items()), (std::vector<std::string>{"Apps", "Videos"}));
}

TEST_F(SpaceMapModelLens, AppsKnownLaterJoinTheAppsLensUnderTheirNames) {
    folder(root, "Tool.app", 40);
    folder(folder(root, "opt"), "editor", 60);
    folder(folder(root, "share"), "editor", 5);
    start();
    model.setLens(SpaceMapModel::Lens::apps);
    settle();
    EXPECT_EQ(namesOf(model.items()), (std::vector<std::string>{"Tool.app"}));
    model.setKnownApps({{"Editor", {root->path() + "/opt/editor", root->path() + "/share/editor"}}});
    settle();
    EXPECT_EQ(namesOf(model.items()), (std::vector<std::string>{"Editor", "Tool.app"})) << "the lens is worked out again";
    model.activate(model.items().front());
    settle();
    EXPECT_EQ(model.items().size(), 2u) << "opening an app spread over two places shows both";
}

TEST_F(SpaceMapModelTreeChanged, TheFocusFallsBackToTheNearestPlaceStanding) {
    FileNode* k = folder(root, "k", 5);
    FileNode* a = folder(k, "a");
    FileNode* b = folder(a, "b", 10);
    start();
    model.show(k);
    model.show(a);
    model.show(b);
    remove(a);
    EXPECT_EQ(model.focus(), k);
    EXPECT_EQ(model.history().size(), 1u);
    EXPECT_EQ(namesOf(model.items()), (std::vector<std::string>{"1 smaller file"}));
}

TEST_F(SpaceMapModelTreeChanged, BackNeverLandsOnAGoneFolder) {
    FileNode* a = folder(root, "a", 10);
    FileNode* k = folder(root, "k", 10);
    start();
    model.show(a);
    model.show(k);
    remove(a);
    model.back();
    EXPECT_EQ(model.focus(), root);
    EXPECT_FALSE(model.canGoBack());
}

TEST_F(SpaceMapModelTreeChanged, TheChoiceForgetsWhatWentAndWhatLayInsideIt) {
    FileNode* a = folder(root, "a", 50);
    folder(a, "inner", 10);
    folder(root, "b", 40);
    start();
    model.selectInColumn(0, id(shown("a")));
    model.select(shown("b"), SpaceMapModel::toggle);
    model.select(QString::fromStdString(MapItem::contents(a).front().id), SpaceMapModel::toggle);
    ASSERT_EQ(model.chosen().size(), 3u);
    remove(a);
    EXPECT_FALSE(model.selection());
    EXPECT_EQ(namesOf(model.chosen()), (std::vector<std::string>{"b"}));
    EXPECT_EQ(model.columns().size(), 1);
}

TEST_F(SpaceMapModelTreeChanged, ALensShownBeforeIsWorkedOutAgainWithoutTheGoneFolder) {
    FileNode* a = folder(root, "a", 50);
    folder(root, "b", 40);
    start();
    model.setLens(SpaceMapModel::Lens::folders);
    settle();
    remove(a);
    settle();
    EXPECT_EQ(namesOf(model.items()), (std::vector<std::string>{"b"}));
}
