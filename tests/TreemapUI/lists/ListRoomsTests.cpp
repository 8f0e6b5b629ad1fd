// The rooms that list parts of the tree: what they list, in which order, how
// the search reads sizes, and what it remembers.
#include <gtest/gtest.h>

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "lists/LargeFilesModel.h"
#include "lists/SearchModel.h"
#include "tools/hidden/HiddenFilesModel.h"
#include "scan/ScannedTree.h"
#include "support/QtText.h"
#include "TreeBuilder.h"

using namespace tessel;

namespace {

class Tree : public testing::Test, protected test::TreeBuilder {
protected:
    Tree() : TreeBuilder("/home/me") {}

    QTemporaryDir dir;
    QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
    ScannedTree scanned;

    // The built tree as a completed scan: every room follows it.
    void publish() {
        ScanResult result;
        result.root = shared();
        scanned.replace(std::move(result));
    }

    static QStringList names(const ListRoomModel& room) {
        QStringList list;
        for (const NodeListModel::Row& row : room.rows()->rows()) list << QString::fromStdString(row.item.name);
        return list;
    }
    static bool settled(const ListRoomModel& room) {
        return QTest::qWaitFor([&] { return !room.working() && room.hasTree(); }, 3000);
    }
};

} // namespace

TEST(ParseByteCount, ReadsDecimalUnitsAndRefusesTheRest) {
    EXPECT_EQ(parseByteCount("2000"), 2000);
    EXPECT_EQ(parseByteCount("12 MB"), 12'000'000);
    EXPECT_EQ(parseByteCount("1.5gb"), 1'500'000'000);
    EXPECT_EQ(parseByteCount(" 500k "), 500'000);
    EXPECT_EQ(parseByteCount("3 bytes"), 3);
    EXPECT_EQ(parseByteCount("2,5 TB"), 2'500'000'000'000);
    for (const char* bad : {"", "MB", "12 XB", "-5", "1e9", "99999999 PB"}) EXPECT_FALSE(parseByteCount(bad)) << bad;
}

TEST_F(Tree, LargeFilesListsFilesOnlyLargestFirstAndKeepsTheOrder) {
    FileNode* docs = add(root, "Docs", true, 0);
    add(docs, "b.pdf", false, 300);
    add(root, "a.iso", false, 900);
    add(docs, "c.txt", false, 300);
    LargeFilesModel files(scanned, {}, &settings);
    publish();
    ASSERT_TRUE(settled(files));
    EXPECT_EQ(names(files), (QStringList{"a.iso", "b.pdf", "c.txt"}));
    EXPECT_EQ(files.listedBytes(), 1500);
    files.setOrder("name-descending");
    EXPECT_EQ(names(files), (QStringList{"c.txt", "b.pdf", "a.iso"}));
    EXPECT_EQ(settings.value("tessel.sort.largeFiles").toString(), "name-descending");
    LargeFilesModel again(scanned, {}, &settings);
    EXPECT_EQ(again.order(), "name-descending") << "the order comes back at the next launch";
}

TEST_F(Tree, HiddenFilesCarryTheirNotes) {
    add(root, ".cache", true, 500);
    add(root, ".ssh", true, 10);
    add(root, "visible", true, 900);
    HiddenFilesModel hidden(scanned, {}, &settings);
    publish();
    ASSERT_TRUE(settled(hidden));
    const std::vector<NodeListModel::Row>& rows = hidden.rows()->rows();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].item.name, ".cache");
    EXPECT_TRUE(rows[0].rebuildsItself);
    EXPECT_FALSE(rows[1].rebuildsItself);
    EXPECT_FALSE(rows[1].note.empty());
}

TEST_F(Tree, SearchSaysHowManyMatchedAndWhichAreShown) {
    for (int i = 0; i < 600; ++i) add(root, ("photo-" + std::to_string(i) + ".jpg").c_str(), false, 1000 + i);
    add(root, "notes.txt", false, 50);
    SearchModel search(scanned, {}, &settings);
    publish();
    search.setText("PHOTO");
    search.run();
    ASSERT_TRUE(settled(search));
    EXPECT_EQ(search.totalMatched(), 600);
    EXPECT_TRUE(search.truncated());
    EXPECT_EQ(search.rows()->rowCount(), ListRoomModel::mostRows);
    EXPECT_EQ(search.summary(), QLocale().toString(600) + " matches, " + "780 KB in all. Showing the " +
                                    QLocale().toString(500) + " largest.");
    search.setMinimum("2 KB"); // more than any photo holds
    search.run();
    ASSERT_TRUE(QTest::qWaitFor([&] { return search.totalMatched() == 0; }, 3000));
    EXPECT_TRUE(search.problem().isEmpty());
    EXPECT_EQ(search.summary(), "Nothing matches.");
}

TEST_F(Tree, SearchFindsANameThatIsNotUtf8ByItsOwnBytes) {
    add(root, "R\xe9SUM\xe9.txt", false, 5);
    add(root, "r\xe8sum\xe9.txt", false, 5);
    SearchModel search(scanned, {}, &settings);
    publish();
    // As the field hands it over when the shown name is pasted into it.
    search.setText(toQString("r\xe9sum\xe9"));
    search.run();
    ASSERT_TRUE(settled(search));
    ASSERT_EQ(search.rows()->rows().size(), 1u);
    EXPECT_EQ(search.rows()->rows().front().item.name, "R\xe9SUM\xe9.txt");
}

TEST_F(Tree, SearchBoundsThatCantBeReadStopTheSearch) {
    SearchModel search(scanned, {}, &settings);
    publish();
    search.setMinimum("lots");
    EXPECT_FALSE(search.query());
    EXPECT_TRUE(search.problem().contains("not a size"));
    search.setMinimum("10 KB");
    search.setMaximum("1 KB");
    EXPECT_TRUE(search.problem().contains("below the smallest"));
}

TEST_F(Tree, SearchRemembersRecentTextAndSavedQueries) {
    SearchModel search(scanned, {}, &settings);
    publish();
    for (int i = 0; i < SearchModel::mostRecent + 2; ++i) {
        search.setText(QStringLiteral("word %1").arg(i));
        search.run();
    }
    search.setText("word 3");
    search.run();
    QStringList recent = search.recent();
    ASSERT_EQ(recent.size(), SearchModel::mostRecent);
    EXPECT_EQ(recent.front(), "word 3");
    EXPECT_EQ(recent.count("word 3"), 1);

    search.setKind("files");
    search.save("Big photos");
    search.setText("other");
    search.setKind("all");
    search.save("Big photos"); // replaces the one of that name
    ASSERT_EQ(search.saved().size(), 1);
    search.setText("something else");
    search.applySaved(0);
    EXPECT_EQ(search.text(), "other");
    search.forgetSaved(0);
    EXPECT_TRUE(search.saved().isEmpty());
}
