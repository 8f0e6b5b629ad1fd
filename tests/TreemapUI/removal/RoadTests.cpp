// The one road, through a whole session on a real folder: a removal in the
// map and one in the duplicates room share one undo history, and every room
// that shows the tree follows both, out and back, in either order.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>

#include "app/AppSession.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"
#include "linux/FreedesktopTrash.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// Contents that follow from `seed`, so only files written with the same seed are alike.
void writeSeeded(const std::string& path, std::int64_t bytes, int seed) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0) << path;
    std::vector<unsigned char> block(65536);
    for (std::size_t at = 0; at < block.size(); ++at) block[at] = static_cast<unsigned char>((at * 13 + static_cast<std::size_t>(seed) * 977) >> 2);
    for (std::int64_t left = bytes; left > 0; left -= static_cast<std::int64_t>(block.size()))
        ASSERT_GT(write(fd, block.data(), static_cast<std::size_t>(std::min<std::int64_t>(left, 65536))), 0);
    close(fd);
}

// What each room says of the tree, side by side.
struct Figures {
    std::int64_t tree = 0;
    std::int64_t overview = 0;
    std::int64_t largeFiles = 0;
    std::int64_t largeFilesCount = 0;
    std::int64_t searched = 0;
    std::int64_t mapPlace = 0;
    QString duplicates;
    QString reportScanned;
    bool operator==(const Figures&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Figures& f) {
    return out << "tree " << f.tree << ", overview " << f.overview << ", large " << f.largeFiles << " in "
               << f.largeFilesCount << ", searched " << f.searched << ", map " << f.mapPlace << ", duplicates \""
               << f.duplicates.toStdString() << "\", report " << f.reportScanned.toStdString();
}

class OneRoad : public testing::Test {
protected:
    TempFolder folder;
    std::string home = folder / "home";
    QTemporaryDir settingsFolder;
    QSettings settings{settingsFolder.filePath("settings.ini"), QSettings::IniFormat};
    std::unique_ptr<AppSession> session;

    void SetUp() override {
        for (const char* place : {"", "/Documents", "/Documents/Projects", "/Downloads", "/Films", "/Music", "/Backup"})
            makeFolder(home + place);
        writeSeeded(home + "/Documents/Projects/plan.bin", 1'500'000, 1);
        writeSeeded(home + "/Downloads/plan (1).bin", 1'500'000, 1);
        writeSeeded(home + "/Music/song.bin", 2'000'000, 2);
        writeSeeded(home + "/Backup/song.bin", 2'000'000, 2);
        writeSeeded(home + "/Films/trip.mov", 5'000'000, 3);

        AppSession::Dependencies dependencies;
        dependencies.settings = &settings;
        dependencies.home = home;
        dependencies.initialPath = home;
        dependencies.scanEnvironment.settings = &settings;
        dependencies.scanEnvironment.home = home;
        dependencies.scanEnvironment.scanner = [](const std::string& root, const ScanOptions& options,
                                                  const DiskScanner::Progress& progress,
                                                  const DiskScanner::IsCancelled& cancelled) {
            return DiskScanner::scan(root, options, progress, cancelled);
        };
        dependencies.trash = std::make_shared<FreedesktopTrash>(
            FreedesktopTrash::Settings{home, home + "/.local/share", geteuid(), {}});
        dependencies.snapshotDirectory = folder / "Snapshots";
        session = std::make_unique<AppSession>(std::move(dependencies));
        session->launch();
        ASSERT_TRUE(waitUntil([&] { return session->tree()->hasTree(); }));
        session->search()->setText("bin");
        session->search()->run();
        session->tools()->duplicates()->look();
        settle();
    }
    void TearDown() override { session.reset(); }

    static bool waitUntil(const std::function<bool()>& condition) {
        QElapsedTimer clock;
        clock.start();
        while (!condition() && clock.elapsed() < 10000) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return condition();
    }
    // Until every room has answered for the tree as it stands.
    void settle() {
        const bool quiet = waitUntil([&] {
            return !session->tree()->hasWaitingChanges() && !session->removal()->isWorking() &&
                   !session->overview()->working() && !session->largeFiles()->working() &&
                   !session->search()->working() && !session->spaceMap()->isWorking() &&
                   session->tools()->duplicates()->state() != DuplicatesModel::State::Working && session->tools()->report()->hasInventory() &&
                   !session->tools()->changes()->isLoading() && !session->tools()->changes()->isComparing();
        });
        ASSERT_TRUE(quiet) << "a room never settled";
        QCoreApplication::processEvents();
    }
    Figures figures() {
        Figures now;
        now.tree = session->tree()->root()->totalBytes();
        now.overview = session->overview()->scanned();
        now.largeFiles = session->largeFiles()->totalBytes();
        now.largeFilesCount = session->largeFiles()->totalMatched();
        now.searched = session->search()->totalBytes();
        now.mapPlace = session->spaceMap()->placeBytes();
        now.duplicates = session->tools()->duplicates()->summary();
        now.reportScanned = session->tools()->report()->tiles().value(0).toMap()["value"].toString();
        return now;
    }
    void confirm() {
        ASSERT_TRUE(waitUntil([&] { return session->removal()->hasPlan(); })) << "the road judges off the main thread";
        QSignalSpy done(session->removal(), &RemovalRoad::finished);
        session->removal()->confirm();
        ASSERT_TRUE(done.count() > 0 || done.wait(5000)) << "working " << session->removal()->isWorking();
        settle();
    }
    void undo() {
        QSignalSpy done(session->removal(), &RemovalRoad::finished);
        session->removal()->undo();
        ASSERT_TRUE(done.wait(5000));
        settle();
    }
    void removeFilmsInTheMap() {
        for (const MapItem& item : session->spaceMap()->items())
            if (item.name == "Films") session->spaceMap()->select(QString::fromStdString(item.id), SpaceMapModel::plain);
        ASSERT_EQ(session->spaceMap()->chosenCount(), 1);
        session->removeMapSelection();
        confirm();
    }
    void removeTheExtraCopies() {
        ASSERT_GT(session->tools()->duplicates()->tickedCount(), 0);
        session->tools()->duplicates()->removeTicked();
        confirm();
    }
    // What a new scan of the home finds, the Trash under it left out.
    std::int64_t freshScan() const {
        return DiskScanner::scan(home).bytes - DiskScanner::allocatedSize(home + "/.local/share/Trash");
    }
};

} // namespace

TEST_F(OneRoad, MapThenDuplicatesUndoneNewestFirst) {
    const Figures before = figures();
    removeFilmsInTheMap();
    const Figures afterMap = figures();
    EXPECT_LT(afterMap.tree, before.tree);
    EXPECT_EQ(afterMap.overview, afterMap.tree) << afterMap;
    EXPECT_EQ(afterMap.duplicates, before.duplicates) << "the duplicates had nothing in Films";

    removeTheExtraCopies();
    const Figures afterBoth = figures();
    EXPECT_EQ(afterBoth.tree, freshScan());
    EXPECT_EQ(session->tools()->duplicates()->groups()->rowCount(), 0) << afterBoth;
    EXPECT_LT(afterBoth.searched, before.searched) << "the copies no longer match the search";
    EXPECT_EQ(afterBoth.reportScanned, QString::fromStdString(ByteFormat::string(afterBoth.tree)));

    undo();
    EXPECT_EQ(figures().tree, afterMap.tree) << "the newest operation came back first";
    undo();
    EXPECT_EQ(figures(), before);
    EXPECT_EQ(figures().tree, freshScan());
    EXPECT_FALSE(session->removal()->canUndo());
}

TEST_F(OneRoad, DuplicatesThenMapUndoneNewestFirst) {
    const Figures before = figures();
    removeTheExtraCopies();
    removeFilmsInTheMap();
    EXPECT_EQ(figures().tree, freshScan());
    EXPECT_EQ(session->spaceMap()->chosenCount(), 0) << "what went left the map's choice";
    undo();
    EXPECT_NE(session->tree()->nodeAt(home + "/Films"), nullptr);
    EXPECT_EQ(session->tools()->duplicates()->groups()->rowCount(), 0) << "the copies are still in the Trash";
    undo();
    EXPECT_EQ(figures(), before);
    EXPECT_EQ(session->tools()->duplicates()->groups()->rowCount(), 2);
    EXPECT_EQ(figures().tree, freshScan());
}
