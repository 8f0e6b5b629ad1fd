// Searching the map: what lights and what dims, the count and the space of the
// matches, stepping from one to the next, and answers that must never land.
#include <gtest/gtest.h>

#include <QSignalSpy>

#include <string>
#include <vector>

#include "map/MapFixture.h"
#include "map/MapListModel.h"
#include "support/QtText.h"

using namespace tessel;
using test::namesOf;
using Names = std::vector<std::string>;

namespace {

// /r: Documents (Tax 2023.pdf, notes.txt, small files), Music (song.flac),
// taxes (receipt-tax.jpg), and an empty empty-tax.txt.
struct MapSearch : test::MapFixture {
    FileNode* documents = folder(root, "Documents");
    FileNode* pdf = file(documents, "Tax 2023.pdf", 400);
    FileNode* notes = file(documents, "notes.txt", 100);
    FileNode* music = folder(root, "Music");
    FileNode* song = file(music, "song.flac", 300);
    FileNode* taxes = folder(root, "taxes");
    FileNode* receipt = file(taxes, "receipt-tax.jpg", 200);

    MapSearch() {
        loose(documents, 50, 3);
        file(root, "empty-tax.txt", 0);
        start();
    }
    void find(const char* words) {
        model.setQuery(words);
        settle();
    }
    const FileNode* selected() const { return model.selection() ? model.selection()->node : nullptr; }
};

} // namespace

TEST_F(MapSearch, LightsWhatMatchesAndTheFoldersAboveItAndDimsTheRest) {
    EXPECT_FALSE(model.dims(*music)) << "nothing dims before a search";
    find("TAX");
    EXPECT_FALSE(model.dims(shown("Documents")));
    EXPECT_FALSE(model.dims(shown("taxes")));
    EXPECT_TRUE(model.dims(shown("Music")));
    EXPECT_TRUE(model.dims(*notes));
    EXPECT_FALSE(model.dims(*pdf));
    EXPECT_FALSE(model.dims(*receipt)) << "a match inside a match lights too";
    model.show(documents);
    EXPECT_TRUE(model.dims(shown("3 smaller files"))) << "files without names never match";
    const MapListModel& list = *model.list();
    for (int row = 0; row < list.rowCount(); ++row)
        EXPECT_EQ(list.data(list.index(row), MapListModel::DimmedRole).toBool(), list.itemAt(row)->node != pdf) << row;
    for (const QVariant& row : model.columns().front().toMap()["rows"].toList())
        EXPECT_EQ(row.toMap()["dimmed"].toBool(), row.toMap()["name"] != "Tax 2023.pdf");
}

TEST_F(MapSearch, CountsEveryMatchButTheSpaceOfANestedOneOnce) {
    find("tax");
    ASSERT_TRUE(model.matches());
    // Empty files take no room on the map and are not counted; receipt-tax.jpg is inside "taxes".
    EXPECT_EQ(*model.matches(), (SpaceMapModel::Matches{3, 600}));
    EXPECT_EQ(namesOf(model.matchItems()), (Names{"Tax 2023.pdf", "taxes", "receipt-tax.jpg"}));
    find("no such name");
    EXPECT_EQ(*model.matches(), (SpaceMapModel::Matches{0, 0}));
    EXPECT_TRUE(model.dims(shown("Documents"))) << "with nothing found, everything dims";
}

TEST_F(MapSearch, StepsGoIntoTheHoldingFolderChooseTheMatchAndWrapAround) {
    model.setLens(SpaceMapModel::Lens::types);
    find("tax");
    model.nextMatch();
    EXPECT_EQ(model.lens(), SpaceMapModel::Lens::all);
    EXPECT_EQ(model.focus(), documents);
    EXPECT_EQ(selected(), pdf);
    EXPECT_EQ(namesOf(model.chosen()), (Names{"Tax 2023.pdf"}));
    EXPECT_EQ(model.selection()->id, shown("Tax 2023.pdf").id) << "the match is the item the folder shows";
    model.nextMatch();
    EXPECT_EQ(model.focus(), root) << "a folder that matches is chosen where it stands, not entered";
    EXPECT_EQ(selected(), taxes);
    model.nextMatch();
    EXPECT_EQ(model.focus(), taxes);
    EXPECT_EQ(selected(), receipt);
    model.nextMatch();
    EXPECT_EQ(selected(), pdf);
    EXPECT_EQ(model.matchIndex(), 0);
    model.previousMatch();
    EXPECT_EQ(selected(), receipt);
    model.back();
    EXPECT_EQ(model.focus(), documents) << "each step is a place Back returns to";
}

TEST_F(MapSearch, PreviousFromNoMatchStartsAtTheLastAndNewWordsStartAgain) {
    find("tax");
    model.previousMatch();
    EXPECT_EQ(selected(), receipt);
    find("song");
    EXPECT_EQ(model.matchIndex(), -1);
    model.nextMatch();
    EXPECT_EQ(selected(), song);
}

TEST_F(MapSearch, ASupersededQueryNeverLands) {
    std::vector<std::int64_t> landed;
    QObject::connect(&model, &SpaceMapModel::matchesChanged, &model, [&] {
        if (model.matches()) landed.push_back(model.matches()->total);
    });
    model.setQuery("tax");
    tree.waitForJobs(); // its answer is on its way, queued behind what follows
    model.setQuery("song");
    settle();
    EXPECT_EQ(landed, (std::vector<std::int64_t>{1}));
    EXPECT_EQ(namesOf(model.matchItems()), (Names{"song.flac"}));
    model.setQuery("tax");
    model.setQuery("   ");
    settle();
    EXPECT_FALSE(model.matches());
    EXPECT_FALSE(model.dims(*notes)) << "words cleared while searching leave nothing dimmed";
}

TEST_F(MapSearch, ARemovalForgetsGoneMatchesAtOnceAndCountsAgain) {
    find("tax");
    model.nextMatch();
    model.nextMatch();
    ASSERT_EQ(selected(), taxes);
    remove(taxes);
    EXPECT_EQ(namesOf(model.matchItems()), (Names{"Tax 2023.pdf"})) << "before the new answer";
    EXPECT_EQ(model.matchIndex(), 0) << "the match before the gone one is current";
    settle();
    EXPECT_EQ(*model.matches(), (SpaceMapModel::Matches{1, 400}));
    model.nextMatch();
    EXPECT_EQ(selected(), pdf);
}

TEST_F(MapSearch, ANewScanLooksForTheSameWordsInItsOwnTree) {
    find("tax");
    test::TreeBuilder other("/r");
    FileNode* sheet = other.file(other.root, "tax.ods", 10);
    ScanResult result;
    result.root = other.shared();
    tree.replace(std::move(result));
    EXPECT_TRUE(model.matchItems().empty()) << "nothing of the old tree is kept";
    settle();
    EXPECT_EQ(model.query(), "tax");
    ASSERT_EQ(model.matchItems().size(), 1u);
    EXPECT_EQ(model.matchItems().front().node, sheet);
}

TEST_F(MapSearch, ANameThatIsNotUtf8IsFoundByItsOwnBytes) {
    FileNode* latin1 = file(music, "R\xe9SUM\xe9.txt", 5);
    file(music, "r\xe8sum\xe9.txt", 5);
    start();
    // As the field hands it over when the shown name is pasted into it.
    model.setQuery(toQString("r\xe9sum\xe9"));
    settle();
    ASSERT_EQ(model.matchItems().size(), 1u);
    EXPECT_EQ(model.matchItems().front().node, latin1);
}
