// The scan road: the coordinator's token rule, its progress fraction, the
// session's completion steps run once, and the permission gate.
#include <gtest/gtest.h>

#include <QDir>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QTemporaryDir>

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>

#include "app/AppSession.h"
#include "scan/ScanSummary.h"
#include "TreeBuilder.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace tessel;

namespace {

// A scanner whose runs hold until the test lets them go, one by one by path.
struct FakeScanner {
    struct State {
        std::mutex lock;
        std::condition_variable changed;
        std::map<std::string, bool> released;
        std::map<std::string, std::int64_t> progressBytes;
        std::atomic<int> calls = 0;
    };
    std::shared_ptr<State> state = std::make_shared<State>();

    ScanCoordinator::Scanner scanner() const {
        return [state = state](const std::string& root, const ScanOptions&, const DiskScanner::Progress& progress,
                               const DiskScanner::IsCancelled&) {
            std::unique_lock guard(state->lock);
            ++state->calls;
            if (auto bytes = state->progressBytes.find(root); bytes != state->progressBytes.end() && progress) {
                guard.unlock();
                progress({1, 1, bytes->second});
                guard.lock();
            }
            state->changed.wait(guard, [&] { return state->released[root]; });
            // Finishes normally even if cancelled meanwhile: only the token may keep it out.
            ScanResult result;
            result.root = makeRootedTree(root);
            result.root->setTotalBytes(static_cast<std::int64_t>(root.size()));
            result.bytes = result.root->totalBytes();
            result.directories = 1;
            return result;
        };
    }
    void hold(const std::string& root) {
        std::lock_guard guard(state->lock);
        state->released[root] = false;
    }
    void release(const std::string& root) {
        {
            std::lock_guard guard(state->lock);
            state->released[root] = true;
        }
        state->changed.notify_all();
    }
};

bool waitUntil(const std::function<bool()>& condition, int milliseconds = 5000) {
    QElapsedTimer clock;
    clock.start();
    while (!condition() && clock.elapsed() < milliseconds) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return condition();
}

class ScanRoad : public testing::Test {
protected:
    QTemporaryDir folder;
    QSettings settings{folder.filePath("settings.ini"), QSettings::IniFormat};
    FakeScanner fake;
    FullDiskAccessStatus access = FullDiskAccessStatus::undetermined;

    ScanCoordinator::Environment environment() {
        ScanCoordinator::Environment environment;
        environment.settings = &settings;
        environment.home = folder.path().toStdString();
        environment.scanner = fake.scanner();
        environment.accessStatus = [this] { return access; };
        environment.mountedVolumes = [] { return std::vector<ScanCoordinator::Volume>{{"/", "Disk", true}}; };
        return environment;
    }
    AppSession::Dependencies dependencies(const std::string& path) {
        AppSession::Dependencies chosen;
        chosen.settings = &settings;
        chosen.home = folder.path().toStdString();
        chosen.initialPath = path;
        chosen.scanEnvironment = environment();
        chosen.accessStatus = [this] { return access; };
        return chosen;
    }
};

} // namespace

TEST_F(ScanRoad, ASecondScanWinsEvenWhenTheFirstFinishesLast) {
    ScanCoordinator coordinator(environment(), "/first");
    QSignalSpy completed(&coordinator, &ScanCoordinator::completedScanIDChanged);
    coordinator.start();
    ASSERT_TRUE(waitUntil([&] { return fake.state->calls == 1; }));
    coordinator.scan("/second");
    ASSERT_TRUE(waitUntil([&] { return fake.state->calls == 2; }));

    fake.release("/second");
    ASSERT_TRUE(waitUntil([&] { return coordinator.stage() == ScanCoordinator::Stage::Ready; }));
    fake.release("/first");
    QTest::qWait(150); // the old run's completion arrives, and must change nothing
    EXPECT_EQ(completed.count(), 1);
    ASSERT_NE(coordinator.result(), nullptr);
    EXPECT_EQ(coordinator.result()->bytes, 7) << "the figures of /second";
    std::optional<ScanResult> taken = coordinator.takeCompleted();
    ASSERT_TRUE(taken);
    EXPECT_EQ(taken->root->path(), "/second");
    EXPECT_FALSE(coordinator.takeCompleted()) << "the tree goes to one owner, once";
}

TEST_F(ScanRoad, FractionNeedsAnEarlierScanOfThatPathAndStopsShortOfTheEnd) {
    fake.state->progressBytes["/disk"] = 5000;
    ScanCoordinator first(environment(), "/disk");
    first.start();
    ASSERT_TRUE(waitUntil([&] { return first.progressBytes() == 5000; }));
    EXPECT_FALSE(first.fraction()) << "no earlier scan to compare with";
    fake.release("/disk");
    ASSERT_TRUE(waitUntil([&] { return first.stage() == ScanCoordinator::Stage::Ready; }));

    ScanSummary summary;
    summary.path = "/disk";
    summary.bytes = 1000; // the disk has grown five times since
    summary.date = QDateTime::currentDateTime();
    summary.save(settings);
    fake.hold("/disk");
    ScanCoordinator second(environment(), "/disk");
    second.start();
    ASSERT_TRUE(waitUntil([&] { return second.progressBytes() == 5000; }));
    ASSERT_TRUE(second.fraction());
    EXPECT_DOUBLE_EQ(*second.fraction(), 0.99);
    fake.release("/disk");
    ASSERT_TRUE(waitUntil([&] { return second.stage() == ScanCoordinator::Stage::Ready; }));
    EXPECT_FALSE(second.fraction());
}

TEST_F(ScanRoad, MissingRootFailsWithTheErrorsSentence) {
    auto chosen = environment();
    chosen.scanner = [](const std::string& root, const ScanOptions& options, const DiskScanner::Progress& progress,
                        const DiskScanner::IsCancelled& cancelled) {
        return DiskScanner::scan(root, options, progress, cancelled);
    };
    ScanCoordinator coordinator(chosen, (folder.path() + "/gone").toStdString());
    coordinator.start();
    ASSERT_TRUE(waitUntil([&] { return coordinator.stage() == ScanCoordinator::Stage::Failed; }));
    EXPECT_TRUE(coordinator.failure().contains(folder.path() + "/gone")) << coordinator.failure().toStdString();
}

TEST(ScanCoordinatorRules, AccessIsMissingOnlyWhenDeniedAndManyFoldersFailed) {
    EXPECT_FALSE(ScanCoordinator::accessIsMissing(FullDiskAccessStatus::denied, 19));
    EXPECT_TRUE(ScanCoordinator::accessIsMissing(FullDiskAccessStatus::denied, 20));
    EXPECT_FALSE(ScanCoordinator::accessIsMissing(FullDiskAccessStatus::granted, 5000));
    EXPECT_FALSE(ScanCoordinator::accessIsMissing(FullDiskAccessStatus::undetermined, 5000));
}

TEST(ScanCoordinatorRules, LaunchPathIsTheFirstPathGivenMadeAbsolute) {
    EXPECT_EQ(ScanCoordinator::initialPath({"/srv/data/", "/other"}), "/srv/data");
    EXPECT_EQ(ScanCoordinator::initialPath({"data"}), QDir::currentPath().toStdString() + "/data");
}

TEST(ScanCoordinatorRules, WithoutAPathALaunchScansTheDiskThatHoldsTheHome) {
    const std::vector<ScanCoordinator::Volume> disks{{"/", "Startup Disk", true, false}, {"/home", "Home", false, true}};
    EXPECT_EQ(ScanCoordinator::defaultPath(disks), "/home");
    EXPECT_EQ(ScanCoordinator::defaultPath({{"/", "Startup Disk", true, false}}), "/") << "a home on no local disk";
}

TEST_F(ScanRoad, ADiskIsLabelledWithItsNameAndAFolderWithItsOwn) {
    auto chosen = environment();
    chosen.mountedVolumes = [] {
        return std::vector<ScanCoordinator::Volume>{{"/", "Startup Disk", true, false}, {"/home", "Home", false, true}};
    };
    auto labelOf = [&](const std::string& source) {
        ScanCoordinator coordinator(chosen, source);
        coordinator.loadVolumes();
        return coordinator.sourceLabel();
    };
    EXPECT_EQ(labelOf("/home"), "Home");
    EXPECT_EQ(labelOf("/home/me/Music"), "Music");
    EXPECT_EQ(labelOf("/"), "Startup Disk");
    ScanCoordinator coordinator(chosen, "/home");
    coordinator.loadVolumes();
    EXPECT_EQ(coordinator.volumeList().at(1).toMap().value("holdsHome"), true);
}

TEST_F(ScanRoad, CompletionIsHandledOnceHoweverOftenItIsAsked) {
    AppSession session(dependencies("/home/me"));
    QSignalSpy mapStarted(session.spaceMap(), &SpaceMapModel::rootChanged);
    session.launch();
    fake.release("/home/me");
    ASSERT_TRUE(waitUntil([&] { return session.handledScan().has_value(); }));
    session.handleCompletedScan(); // as a rebuilt view would
    session.handleCompletedScan();
    EXPECT_EQ(mapStarted.count(), 1);
    EXPECT_EQ(session.handledScan(), session.scan()->completedScanID());
    ASSERT_TRUE(session.tree()->hasTree());
    EXPECT_EQ(session.tree()->root()->path(), "/home/me");
    ASSERT_TRUE(waitUntil([&] { return ScanSummary::load(settings).has_value(); }));
    EXPECT_EQ(ScanSummary::load(settings)->path, "/home/me");
    ASSERT_GE(session.notifications()->count(), 1);
    EXPECT_TRUE(session.notifications()->items().front().title.startsWith("Scanned "));
}

TEST_F(ScanRoad, DeniedAccessHoldsTheScanUntilTheUserAnswers) {
    access = FullDiskAccessStatus::denied;
    AppSession session(dependencies("/home/me"));
    session.launch();
    EXPECT_TRUE(session.permissions()->asking());
    EXPECT_EQ(session.scan()->stage(), ScanCoordinator::Stage::NeedsAccess);
    QTest::qWait(50);
    EXPECT_EQ(fake.state->calls, 0);

    session.permissions()->answer();
    EXPECT_FALSE(session.permissions()->asking());
    EXPECT_EQ(session.scan()->stage(), ScanCoordinator::Stage::Scanning);
    fake.release("/home/me");
    ASSERT_TRUE(waitUntil([&] { return session.scan()->stage() == ScanCoordinator::Stage::Ready; }));
}

TEST(PermissionsGateRules, OnlyDeniedAsksAndAnAnswerHoldsForTheLaunch) {
    PermissionsGate gate;
    gate.receive(FullDiskAccessStatus::granted);
    EXPECT_FALSE(gate.asking());
    gate.receive(FullDiskAccessStatus::undetermined);
    EXPECT_FALSE(gate.scanWaits());
    gate.receive(FullDiskAccessStatus::denied);
    EXPECT_TRUE(gate.asking() && gate.scanWaits());
    QSignalSpy answered(&gate, &PermissionsGate::answered);
    gate.answer();
    EXPECT_EQ(answered.count(), 1);
    gate.receive(FullDiskAccessStatus::denied);
    EXPECT_FALSE(gate.asking()) << "answered this launch";
    EXPECT_TRUE(gate.checked());
}

namespace {

const AppNotification* noticeTitled(const AppSession& session, const QString& title) {
    for (const AppNotification& notice : const_cast<AppSession&>(session).notifications()->items())
        if (notice.title == title) return &notice;
    return nullptr;
}

// A short scan seen from the window: the notice, the list it opens, and the hand-off to the file manager.
void expectShortScanIsTold(AppSession& session, QStringList& revealed, const QString& unreadFolder) {
    QSignalSpy listAsked(&session, &AppSession::shortFoldersRequested);
    const AppNotification* notice = noticeTitled(session, QStringLiteral("1 folder could not be read"));
    ASSERT_NE(notice, nullptr) << "after a scan that could not read a folder, whatever the disk-access status";
    EXPECT_EQ(notice->detail, QStringLiteral("The total leaves out what it holds."));
    EXPECT_EQ(notice->actionTitle, QStringLiteral("Show Folders"));
    session.notifications()->trigger(notice->id.toString());
    ASSERT_EQ(listAsked.count(), 1);
    EXPECT_EQ(listAsked.front().at(0).toString(), QStringLiteral("1 folder could not be read"));
    EXPECT_EQ(session.scan()->shortFolderList(), QStringList{unreadFolder});
    session.showInFiles(session.scan()->shortFolderList());
    EXPECT_EQ(revealed, QStringList{unreadFolder});
}

} // namespace

TEST_F(ScanRoad, AScanThatCouldNotReadAFolderSaysSoAndListsIt) {
    access = FullDiskAccessStatus::granted; // as on Linux, where no permission would help
    AppSession::Dependencies chosen = dependencies("/home/me");
    chosen.scanEnvironment.scanner = [](const std::string& root, const ScanOptions&, const DiskScanner::Progress&,
                                        const DiskScanner::IsCancelled&) {
        test::TreeBuilder built(root);
        built.folder(built.root, "closed \xff")->setReading(FolderReading::unreadable);
        ScanResult result;
        result.root = built.shared();
        result.unreadableDirectories = 1;
        result.directories = 2;
        return result;
    };
    QStringList revealed;
    chosen.desktop.reveal = [&](const QStringList& paths) { revealed = paths; };
    AppSession session(chosen);
    session.launch();
    ASSERT_TRUE(waitUntil([&] { return session.handledScan().has_value(); }));
    expectShortScanIsTold(session, revealed, toQString(std::string("/home/me/closed \xff")));
}

// Root reads every folder; scripts/run-unprivileged runs this as an ordinary user.
using UnprivilegedSession = ScanRoad;

TEST_F(UnprivilegedSession, AFolderTheUserMayNotOpenIsToldAfterTheScan) {
    if (geteuid() == 0) GTEST_SKIP() << "root reads every folder; scripts/run-unprivileged runs this as an ordinary user";
    const QString top = folder.filePath("scanned");
    ASSERT_TRUE(QDir().mkpath(top + "/open") && QDir().mkpath(top + "/closed"));
    ASSERT_EQ(chmod((top + "/closed").toLocal8Bit().constData(), 0), 0);
    AppSession::Dependencies chosen = dependencies(top.toStdString());
    chosen.scanEnvironment.scanner = [](const std::string& root, const ScanOptions& options,
                                        const DiskScanner::Progress& progress, const DiskScanner::IsCancelled& cancelled) {
        return DiskScanner::scan(root, options, progress, cancelled);
    };
    QStringList revealed;
    chosen.desktop.reveal = [&](const QStringList& paths) { revealed = paths; };
    AppSession session(chosen);
    session.launch();
    ASSERT_TRUE(waitUntil([&] { return session.handledScan().has_value(); }));
    expectShortScanIsTold(session, revealed, top + "/closed");
    chmod((top + "/closed").toLocal8Bit().constData(), 0700);
}
