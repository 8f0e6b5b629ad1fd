// The report room's models: changes over time from the snapshots kept after
// each scan, and the summary with its exports.
#include <gtest/gtest.h>

#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>

#include "Fixture.h"
#include "scan/ScannedTree.h"
#include "tools/changes/ChangesModel.h"
#include "tools/report/ReportView.h"
#include "TreeBuilder.h"

using namespace tessel;

namespace {

constexpr std::int64_t MB = 1'000'000;

// A scan of /data: a Videos folder of `videoBytes` and a Documents folder of 20 MB.
std::shared_ptr<FileNode> scanOfData(std::int64_t videoBytes, std::string_view root = "/data") {
    test::TreeBuilder tree(root);
    tree.file(tree.folder(tree.root, "Videos"), "trip.mov", videoBytes);
    tree.file(tree.folder(tree.root, "Documents"), "thesis.pdf", 20 * MB);
    return tree.shared();
}

class Changes : public testing::Test {
protected:
    test::TempFolder folder;
    double clock = 800'000'000;
    ScannedTree tree;
    QStringList revealed;
    ChangesModel model{{folder / "Snapshots", std::make_shared<LocalFileManager>(), [this] { return clock += 60; }},
                       tree,
                       {nullptr, {[this](const QStringList& paths) { revealed = paths; }, {}}}};

    // A completed scan: the model keeps its snapshot and compares.
    void scan(std::shared_ptr<FileNode> root) {
        ScanResult result;
        result.root = std::move(root);
        tree.replace(std::move(result));
    }

    void settle() {
        QElapsedTimer waited;
        waited.start();
        do QTest::qWait(10);
        while ((model.isLoading() || model.isComparing()) && waited.elapsed() < 5000);
        ASSERT_FALSE(model.isLoading() || model.isComparing());
    }
};

TEST_F(Changes, TheFirstScanHasNothingToCompareWithAndTheSecondTellsWhatGrew) {
    scan(scanOfData(100 * MB));
    settle();
    EXPECT_EQ(model.snapshots().size(), 1u);
    EXPECT_FALSE(model.baseline()) << "the only snapshot is the one just saved";
    EXPECT_EQ(model.baselineIndex(), -1);
    EXPECT_EQ(model.ruleText(), "Files and folders in data that have changed by 50 MB or more.");

    scan(scanOfData(180 * MB));
    settle();
    ASSERT_TRUE(model.baseline());
    EXPECT_EQ(model.baselineIndex(), 1) << "the earlier of the two";
    EXPECT_EQ(model.changes(), (std::vector<SnapshotChange>{{"/data/Videos/trip.mov", 100 * MB, 180 * MB,
                                                             SnapshotChange::Kind::grew}}));
    const QVariantMap row = model.changeRows().front().toMap();
    EXPECT_EQ(row["delta"].toString(), "+80.0 MB");
    EXPECT_EQ(row["name"].toString(), "trip.mov");

    model.compareWith(0); // the present scan with itself
    settle();
    EXPECT_TRUE(model.changes().empty());
}

TEST_F(Changes, AnotherRootStartsAfreshAndAChangeIsComparedWithoutBeingKept) {
    scan(scanOfData(100 * MB));
    settle();
    scan(scanOfData(300 * MB, "/elsewhere"));
    settle();
    EXPECT_EQ(model.rootPath(), "/elsewhere");
    EXPECT_EQ(model.snapshots().size(), 1u);
    EXPECT_FALSE(model.baseline());
    EXPECT_TRUE(model.changes().empty());

    scan(scanOfData(160 * MB));
    settle();
    EXPECT_EQ(model.snapshots().size(), 2u);
    ASSERT_TRUE(model.baseline());
    ASSERT_EQ(model.changes().size(), 1u);
    EXPECT_EQ(model.changes().front().newBytes, 160 * MB);

    // The film goes to the Trash: the same baseline, compared with what is left.
    tree.detach({"/data/Videos/trip.mov"});
    settle();
    EXPECT_EQ(model.snapshots().size(), 2u) << "a change keeps no snapshot";
    ASSERT_EQ(model.changes().size(), 1u);
    EXPECT_EQ(model.changes().front().kind, SnapshotChange::Kind::disappeared);

    model.saveNow();
    settle();
    EXPECT_EQ(model.snapshots().size(), 3u);
}

TEST_F(Changes, OnlyRowsOfWhatStillStandsCanBeChosenAndActedOn) {
    test::TreeBuilder before("/data");
    FileNode* videos = before.folder(before.root, "Videos");
    before.file(videos, "trip.mov", 100 * MB);
    before.file(videos, "old.mov", 80 * MB);
    scan(before.shared());
    settle();
    scan(scanOfData(180 * MB)); // trip.mov grew, old.mov is gone
    settle();
    ASSERT_EQ(model.changes().size(), 2u);
    const QVariantList rows = model.changeRows();
    const int grew = rows[0].toMap()["name"] == "trip.mov" ? 0 : 1;
    const int gone = 1 - grew;
    EXPECT_TRUE(rows[grew].toMap()["present"].toBool());
    EXPECT_FALSE(rows[gone].toMap()["present"].toBool());

    model.choose(gone, Qt::NoModifier);
    EXPECT_EQ(model.chosenCount(), 0) << "what is gone can't be chosen";
    model.choose(grew, Qt::NoModifier);
    model.choose(gone, Qt::ControlModifier);
    EXPECT_EQ(model.chosenCount(), 1);
    EXPECT_TRUE(model.isChosen(grew));
    EXPECT_EQ(model.chosenBytes(), 180 * MB);
    model.showChosenInFiles();
    EXPECT_EQ(revealed, QStringList{"/data/Videos/trip.mov"});

    // Once it leaves the tree its row stays, as a change, but no longer chosen.
    tree.detach({"/data/Videos/trip.mov"});
    settle();
    EXPECT_EQ(model.chosenCount(), 0);
    EXPECT_FALSE(model.isChosen(grew));
}

TEST_F(Changes, AnOvertakenScanLeavesNoTrace) {
    scan(scanOfData(100 * MB));
    settle();
    scan(scanOfData(500 * MB));
    scan(scanOfData(100 * MB, "/elsewhere"));
    settle();
    EXPECT_EQ(model.rootPath(), "/elsewhere");
    EXPECT_FALSE(model.baseline()) << "the /data comparison arrived late and was dropped";
    EXPECT_TRUE(model.changes().empty());
    EXPECT_EQ(model.generation(), 3);
}

TEST_F(Changes, ABaselineThatCannotBeReadIsSaidInWords) {
    scan(scanOfData(100 * MB));
    settle();
    QFile file(QString::fromStdString(model.snapshots().front().path));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    QByteArray text = file.readAll();
    text.replace("\"formatVersion\":1", "\"formatVersion\":2");
    file.seek(0);
    file.write(text);
    file.close();

    scan(scanOfData(200 * MB));
    settle();
    EXPECT_EQ(model.lastErrorText(),
              "That snapshot could not be read: Snapshot format 2 is newer than this build understands.");
    EXPECT_TRUE(model.changes().empty());
}

TEST(ChangesEarlier, IsTheNewestOtherThanTheOneJustSaved) {
    const std::vector<SnapshotInfo> list{{"/s/3", "/", 3, 0}, {"/s/2", "/", 2, 0}};
    EXPECT_EQ(ChangesModel::earlier(list, list[0])->path, "/s/2");
    EXPECT_EQ(ChangesModel::earlier(list, std::nullopt)->path, "/s/3");
    EXPECT_FALSE(ChangesModel::earlier({list[0]}, list[0]));
}

class Summary : public testing::Test {
protected:
    test::TempFolder folder;
    ScannedTree tree;
    ReportView report{tree, [] { return QDateTime(QDate(2026, 3, 4), QTime(10, 30)); }};
    void SetUp() override { scan(scanOfData(100 * MB, "/Volumes/Disk:2")); }

    void scan(std::shared_ptr<FileNode> root) {
        QSignalSpy ready(&report, &ReportView::treeChanged);
        ScanResult result;
        result.root = std::move(root);
        tree.replace(std::move(result));
        ASSERT_TRUE(report.hasInventory() || ready.wait(5000));
    }

    QUrl fileNamed(const std::string& name) const { return QUrl::fromLocalFile(QString::fromStdString(folder / name)); }

    // Waits for the export under way to say how it went.
    void finishExport() {
        QElapsedTimer waited;
        waited.start();
        while (report.isExporting() && waited.elapsed() < 10000) QTest::qWait(5);
        ASSERT_FALSE(report.isExporting());
    }
};

// 40,000 files in 200 folders.
std::shared_ptr<FileNode> largeScan() {
    test::TreeBuilder tree("/big");
    for (int f = 0; f < 200; ++f) {
        FileNode* inside = tree.folder(tree.root, "folder " + std::to_string(f));
        for (int i = 0; i < 200; ++i) tree.file(inside, "file " + std::to_string(i), 1000 + i);
    }
    return tree.shared();
}

TEST_F(Summary, TilesAndTheSuggestedName) {
    const QVariantList tiles = report.tiles();
    ASSERT_EQ(tiles.size(), 4);
    EXPECT_EQ(tiles[0].toMap()["value"].toString(), "120 MB");
    EXPECT_EQ(tiles[1].toMap()["value"].toString(), "2");
    EXPECT_EQ(tiles[2].toMap()["value"].toString(), "2");
    EXPECT_EQ(tiles[3].toMap()["value"].toString(), "Videos");
    EXPECT_EQ(report.suggestedName("csv"), "Tessel report -Volumes-Disk-2 2026-03-04.csv");
    EXPECT_TRUE(report.suggestedName("html").endsWith(".html"));
    EXPECT_TRUE(report.summaryText().startsWith("/Volumes/Disk:2: 120 MB, scanned ")) << report.summaryText().toStdString();
    const QString onLinux = ReportView::exportChoicesOn(Platform::linuxOS).front().toMap()["detail"].toString();
    EXPECT_TRUE(onLinux.endsWith("Opens in LibreOffice Calc or any spreadsheet.")) << onLinux.toStdString();
    EXPECT_TRUE(ReportView::exportChoicesOn(Platform::macOS).front().toMap()["detail"].toString().endsWith(
        "Opens in Numbers or Excel."));
}

TEST_F(Summary, AnExportIsWrittenWholeOrLeavesNothing) {
    report.exportTo("csv", fileNamed("report.csv"));
    finishExport();
    EXPECT_EQ(report.lastSaved(), "Saved report.csv");
    EXPECT_TRUE(report.lastError().isEmpty());
    QFile written(QString::fromStdString(folder / "report.csv"));
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_TRUE(written.readAll().startsWith("Path,Kind,Allocated bytes,Size,Share of scan,Scanned\r\n"));

    report.exportTo("html", fileNamed("missing/report.html"));
    EXPECT_TRUE(report.lastSaved().isEmpty()) << "a new export clears the last one's words";
    finishExport();
    EXPECT_TRUE(report.lastError().startsWith("Could not save the report: ")) << report.lastError().toStdString();
    EXPECT_FALSE(QFile::exists(QString::fromStdString(folder / "missing/report.html")));
}

TEST_F(Summary, AnExportRunsInTheBackgroundAndSaysHowFarItHasCome) {
    scan(largeScan());
    std::vector<double> seen;
    QObject::connect(&report, &ReportView::exportProgressChanged, &report, [&] {
        if (report.isExporting()) seen.push_back(report.exportProgress());
    });
    report.exportTo("html", fileNamed("big.html"));
    // The call returns at once; its words come from the main thread's queue, later.
    EXPECT_TRUE(report.isExporting());
    EXPECT_EQ(report.exportingText(), "Writing the web page…");
    EXPECT_TRUE(report.lastSaved().isEmpty());
    report.exportTo("csv", fileNamed("second.csv"));
    EXPECT_EQ(report.exportingText(), "Writing the web page…") << "one export at a time";
    finishExport();

    EXPECT_EQ(report.lastSaved(), "Saved big.html");
    EXPECT_FALSE(QFile::exists(QString::fromStdString(folder / "second.csv")));
    EXPECT_EQ(report.exportProgress(), 0) << "no export runs";
    ASSERT_GT(seen.size(), 10u) << "the view heard how far it had come";
    EXPECT_EQ(seen.front(), 0);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(seen.back(), 1.0);
    QFile page(QString::fromStdString(folder / "big.html"));
    ASSERT_TRUE(page.open(QIODevice::ReadOnly));
    EXPECT_TRUE(page.readAll().contains("<dt>Files</dt><dd>40,000</dd>"));
}

TEST_F(Summary, AnExportOvertakenByANewScanLeavesNoWordsAndHoldsNothingUp) {
    scan(largeScan());
    report.exportTo("csv", fileNamed("old.csv"));
    scan(scanOfData(100 * MB));
    EXPECT_FALSE(report.isExporting()) << "the new scan's exports are free to start";
    // The old export still writes the file it was asked for; what it says is dropped.
    QElapsedTimer waited;
    waited.start();
    while (!QFile::exists(QString::fromStdString(folder / "old.csv")) && waited.elapsed() < 10000) QTest::qWait(5);
    QTest::qWait(200);
    EXPECT_TRUE(report.lastSaved().isEmpty());
    EXPECT_TRUE(report.lastError().isEmpty());

    report.exportTo("csv", fileNamed("new.csv"));
    finishExport();
    EXPECT_EQ(report.lastSaved(), "Saved new.csv");
    QFile sheet(QString::fromStdString(folder / "new.csv"));
    ASSERT_TRUE(sheet.open(QIODevice::ReadOnly));
    EXPECT_TRUE(sheet.readAll().contains("/data/Videos/trip.mov")) << "the new scan's";
}

} // namespace
