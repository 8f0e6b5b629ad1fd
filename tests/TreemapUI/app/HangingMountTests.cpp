// The app's scan on a FUSE file system whose folder never lists: a new scan
// starts and finishes while the first one's reader is still stuck, and the
// coordinator, as the app quits, goes at once. Skipped, with the reason,
// where FUSE can't be mounted.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include "DiskScanKit/ReaderHelper.h"
#include "HangingFuse.h"
#include "scan/ScanCoordinator.h"

using namespace tessel;

namespace {

bool waitUntil(const std::function<bool()>& condition, int milliseconds) {
    QElapsedTimer clock;
    clock.start();
    while (!condition() && clock.elapsed() < milliseconds) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return condition();
}

TEST(AppOnHangingMount, ANewScanEndsWhileAReaderIsStuckAndTheCoordinatorGoesAtOnce) {
    test::HangingFuse fuse;
    if (!fuse.failure().empty()) GTEST_SKIP() << fuse.failure();
    QTemporaryDir folder;
    QSettings settings(folder.filePath("settings.ini"), QSettings::IniFormat);
    ScanCoordinator::Environment environment;
    environment.settings = &settings;
    environment.home = folder.path().toStdString();
    environment.scanner = [](const std::string& root, const ScanOptions& options, const DiskScanner::Progress& progress,
                             const DiskScanner::IsCancelled& isCancelled) {
        return DiskScanner::scan(root, options, progress, isCancelled);
    };
    environment.mountedVolumes = [] { return std::vector<ScanCoordinator::Volume>{}; };
    auto coordinator = std::make_unique<ScanCoordinator>(environment, fuse.path());

    // The ordinary stall timeout is half a minute: the first scan waits on "quiet" all along.
    coordinator->start();
    QElapsedTimer clock;
    clock.start();
    ASSERT_FALSE(waitUntil([&] { return !coordinator->isScanning(); }, 700));
    coordinator->scan(QString::fromStdString(fuse / "plain"));
    ASSERT_TRUE(waitUntil([&] { return coordinator->stage() == ScanCoordinator::Stage::Ready; }, 3000));
    EXPECT_EQ(coordinator->result()->bytes, 2 * 4096);

    coordinator->scan(QString::fromStdString(fuse.path()));
    ASSERT_FALSE(waitUntil([&] { return !coordinator->isScanning(); }, 300));
    clock.restart();
    coordinator.reset();
    EXPECT_LT(clock.elapsed(), 2000) << "quitting waited for the stuck folder";

    fuse.stop();
    ASSERT_TRUE(waitUntil([] { return ReaderHelper::stillRunning() == 0; }, 5000)) << "a reader is still waiting";
}

} // namespace
