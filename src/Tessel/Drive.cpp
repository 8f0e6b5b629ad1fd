#include "Drive.h"

#include "TrayIcon.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QImage>
#include <QMutex>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string_view>

#include "Base/Platform.h"
#include "DiskScanKit/ScanWords.h"
#include "support/QtText.h"
#include "ShownWords.h"
#include "TesselApp.h"

namespace tessel::Drive {

namespace {

QMutex problemsLock;
QStringList problems;
QtMessageHandler previousHandler = nullptr;

void collect(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    const bool fromQml = (context.file != nullptr && QString::fromUtf8(context.file).contains(".qml")) ||
                         message.contains(".qml");
    if (type != QtDebugMsg && type != QtInfoMsg && fromQml) {
        QMutexLocker locker(&problemsLock);
        problems.append(message);
    }
    if (previousHandler != nullptr) previousHandler(type, context, message);
}

QQuickWindow* settingsWindow(TesselApp& app) {
    for (QQuickWindow* candidate : app.window()->findChildren<QQuickWindow*>())
        if (candidate->title() == "Settings") return candidate;
    return nullptr;
}

bool save(QQuickWindow* window, const QString& path) {
    QImage image = window->grabWindow();
    if (image.isNull() || !image.save(path)) {
        std::fprintf(stderr, "tessel-app: could not save %s\n", qPrintable(path));
        return false;
    }
    return true;
}

// Asks to move the two largest things inside the map's largest folder, and the second
// largest item itself: the confirmation opens, and nothing moves until someone confirms.
// In the fixture, whose folders stand for the home's standard ones, that is two that may
// go and one that stays.
bool openRemovalSheet(TesselApp& app) {
    SpaceMapModel* map = app.session().spaceMap();
    if (!app.session().tree()->hasTree() || map->items().size() < 2 || map->items()[0].node == nullptr) return false;
    std::vector<FileNode*> chosen = map->items()[0].node->childrenBySize();
    chosen.resize(std::min<std::size_t>(chosen.size(), 2));
    chosen.push_back(map->items()[1].node);
    std::vector<DeletionCandidate> candidates;
    for (const FileNode* node : chosen) candidates.push_back({node->path(), node->totalBytes(), node->isDirectory()});
    app.session().removal()->prepare(candidates);
    return waitUntil([&] { return app.session().removal()->hasPlan(); }, 5000);
}

void waitForChanges(TesselApp& app) {
    settle(20);
    ChangesModel* changes = app.session().tools()->changes();
    waitUntil([&] { return !changes->isLoading() && !changes->isComparing(); }, 10000);
}

// The fixture is too small to change by the 50 MB a change must reach, so the
// pictures compare it with a made-up scan of a week before, when a Movies
// folder and an old backup stood beside what is there now.
void compareWithAWeekBefore(TesselApp& app) {
    ChangesModel* changes = app.session().tools()->changes();
    const ScanResult* scan = app.session().tree()->result();
    waitForChanges(app);
    if (scan == nullptr) return;
    ScanSnapshot before = ScanSnapshot::of(*scan->root, ReferenceDate::seconds(std::chrono::system_clock::now()) - 7 * 86400);
    const std::string root = before.rootPath;
    before.entries[root + "/Movies"] = 240'000'000;
    before.entries[root + "/Movies/Trip.mov"] = 240'000'000;
    before.entries[root + "/Backup 2025.zip"] = 120'000'000;
    before.entries[root] += 360'000'000;
    before.totalBytes = before.entries[root];
    try {
        changes->store().save(before);
    } catch (const SnapshotError& error) {
        std::fprintf(stderr, "tessel-app: %s\n", error.what());
        return;
    }
    changes->saveNow();
    waitForChanges(app);
    changes->compareWith(static_cast<int>(changes->snapshots().size()) - 1);
    waitForChanges(app);
}

// The duplicates room starts comparing when it opens; true once it is done.
bool waitForDuplicates(TesselApp& app) {
    settle(20);
    DuplicatesModel* duplicates = app.session().tools()->duplicates();
    return waitUntil([&] { return duplicates->state() != DuplicatesModel::State::Working; }, 20000);
}

// The rooms that look only when asked (junk, leftovers, AI models, System Data) look; true once the look is over, or for a room that doesn't look.
bool lookIn(TesselApp& app, const QString& room) {
    if (room == "junk") {
        JunkModel* junk = app.session().tools()->junk();
        junk->run();
        return waitUntil([&] { return junk->search()->phase() != SearchState::Phase::Running; }, 60000);
    }
    if (room == "leftovers") {
        LeftoversModel* leftovers = app.session().tools()->leftovers();
        leftovers->run();
        return waitUntil([&] { return leftovers->search()->phase() != SearchState::Phase::Running; }, 60000);
    }
    if (room == "aiData") {
        AIDataModel* aiData = app.session().tools()->aiData();
        aiData->run();
        return waitUntil([&] { return aiData->search()->phase() != SearchState::Phase::Running; }, 60000);
    }
    if (room == "systemData") {
        SystemDataModel* systemData = app.session().tools()->systemData();
        systemData->run();
        return waitUntil([&] { return systemData->search()->phase() != SearchState::Phase::Running; }, 60000);
    }
    return true;
}

// A looking room's ticked items, as the removal's confirmation shows them.
void removeTickedIn(TesselApp& app, const QString& room) {
    if (room == "junk") app.session().tools()->junk()->removeTicked();
    if (room == "leftovers") app.session().tools()->leftovers()->removeTicked();
    if (room == "aiData") app.session().tools()->aiData()->removeTicked();
}

// The uninstaller with two apps chosen and their plans made: the fixture's
// AppImage and Flatpak where they are, else the first two apps listed.
bool chooseApps(TesselApp& app) {
    UninstallModel* uninstall = app.session().uninstall();
    uninstall->loadIfNeeded();
    if (!waitUntil([&] { return uninstall->hasLoaded() && !uninstall->isLoadingApps(); }, 60000)) return false;
    QStringList keys;
    for (const FoundApp& found : uninstall->offered())
        if (found.app.name == "Sketchpad" || found.app.name == "Atlas") keys << toQString(found.app.entryPath);
    for (const FoundApp& found : uninstall->offered())
        if (keys.size() < 2 && !keys.contains(toQString(found.app.entryPath))) keys << toQString(found.app.entryPath);
    uninstall->chooseWhenLoaded(keys);
    return waitUntil([&] { return !uninstall->isBuildingPlan() && uninstall->madePlans().size() == uninstall->chosenKeys().size(); },
                     60000);
}

// The startup room reads what starts by itself when it opens; true once it has.
bool readStartup(TesselApp& app) {
    StartupItemsModel* startup = app.session().tools()->startup();
    startup->loadIfNeeded();
    return waitUntil([&] { return startup->hasLoaded() && startup->search()->phase() != SearchState::Phase::Running; }, 60000);
}

// The first item the startup room switches itself, switched the other way; true once
// the change is made and the items read again. Only ever on the fixture's items.
bool switchFirstStartupItem(TesselApp& app) {
    StartupItemsModel* startup = app.session().tools()->startup();
    const auto first = std::ranges::find_if(startup->report().items, &StartupChoices::switchesHere);
    if (first == startup->report().items.end()) return false;
    startup->switchItem(toQString(StartupChoices::key(*first)), first->disabled);
    return waitUntil([&] { return !startup->isChanging(); }, 20000) && readStartup(app) && startup->canUndo();
}

// Words that light part of the fixture's map (its photos) and dim the rest.
void searchTheMap(TesselApp& app) {
    SpaceMapModel* map = app.session().spaceMap();
    map->setQuery("photo");
    waitUntil([&] { return !map->isSearching(); }, 10000);
}

// A driven run's settings are new, so the disk card would have today alone to
// draw. The pictures give it two weeks made up around today's figures, the
// disk filling a little most days, with three days the app didn't run.
void seedDiskDays(TesselApp& app) {
    DiskUsageHistory* days = app.session().diskHistory();
    waitUntil([&] { return !days->points().empty(); }, 5000);
    if (days->points().empty()) return;
    const DiskUsagePoint today = days->points().back();
    const QDateTime now = QDateTime::currentDateTime();
    for (int back = 14; back >= 1; --back) {
        if (back >= 7 && back <= 9) continue;
        VolumeCapacity volume;
        volume.total = today.total;
        volume.available = std::clamp<std::int64_t>(today.total - today.used + back * today.total / 300 - (back % 4) * today.total / 900,
                                                    0, today.total);
        days->record(now.addDays(-back), volume);
    }
}

// The monitor room scrolled to show its disk card whole.
void scrollToDiskCard(QQuickWindow* window) {
    QObject* room = window->findChild<QObject*>("monitorRoom");
    auto* card = window->findChild<QQuickItem*>("diskCard");
    auto* content = room != nullptr ? room->property("contentItem").value<QQuickItem*>() : nullptr;
    if (card == nullptr || content == nullptr) return;
    room->setProperty("contentY", std::max(0.0, card->mapToItem(content, QPointF(0, 0)).y() - 24));
    settle(150);
}

// The tray panel, shown in the look `style` and left open; null where the app made none.
QQuickWindow* showPanel(TesselApp& app, const char* style) {
    app.preferences().setPanelStyle(style);
    QQuickWindow* panel = app.tray() != nullptr ? app.tray()->panel() : nullptr;
    if (panel != nullptr) panel->show();
    return panel;
}

void waitForRemoval(TesselApp& app) {
    settle(20);
    waitUntil([&] { return !app.session().removal()->isWorking(); }, 10000);
}

} // namespace

void watchMessages() { previousHandler = qInstallMessageHandler(collect); }

QString firstProblem() {
    QMutexLocker locker(&problemsLock);
    return problems.isEmpty() ? QString() : problems.first();
}

bool waitUntil(const std::function<bool()>& done, int milliseconds) {
    if (done()) return true;
    // An event loop that sleeps between events, as the app's own does: a loop
    // of processEvents() returns at once when nothing is pending, and would
    // take a whole processor from the work being watched.
    QEventLoop loop;
    QTimer poll;
    poll.setInterval(5);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done()) loop.quit();
    });
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    poll.start();
    loop.exec();
    return done();
}

void settle(int milliseconds) { waitUntil([] { return false; }, milliseconds); }

bool waitForScan(TesselApp& app, int seconds) {
    return waitUntil(
        [&] {
            const ScanCoordinator::Stage stage = app.session().scan()->stage();
            return stage == ScanCoordinator::Stage::Ready || stage == ScanCoordinator::Stage::Failed;
        },
        seconds * 1000);
}

int selfTest(TesselApp& app) {
    if (!waitForScan(app, 60)) {
        std::fprintf(stderr, "tessel-app: the self-test's scan did not finish\n");
        return 1;
    }
    settle(300);
    ShownWords shown;
    // A room that shows one thing, works, then shows what it found; false when the work did not end.
    auto workFirst = [&](const char* before, const std::function<bool()>& work, const char* failure) {
        shown.gather(app.window(), before);
        if (!work()) {
            std::fprintf(stderr, "tessel-app: %s\n", failure);
            return false;
        }
        settle(80);
        return true;
    };
    for (const QString& room : app.shell().roomIds()) {
        app.shell().setRoom(room);
        settle(80);
        if (room == "duplicates" && !waitForDuplicates(app)) {
            std::fprintf(stderr, "tessel-app: the duplicates room did not finish comparing\n");
            return 1;
        }
        if (room == "apps" && !workFirst("uninstaller, loading", [&] { return chooseApps(app); },
                                         "the uninstaller did not make its plans"))
            return 1;
        if (room == "startup" &&
            !workFirst("startup, reading", [&] { return readStartup(app) && switchFirstStartupItem(app); },
                       "the startup room did not read its items and switch one"))
            return 1;
        if (room == "startup") {
            shown.gather(app.window(), "startup, switched");
            app.session().tools()->startup()->undo();
            waitUntil([&] { return !app.session().tools()->startup()->isChanging(); }, 20000);
        }
        if ((room == "junk" || room == "leftovers" || room == "aiData" || room == "systemData") &&
            !workFirst(qPrintable(room + ", before a search"), [&] { return lookIn(app, room); },
                       qPrintable("the " + room + " room did not finish its search")))
            return 1;
        shown.gather(app.window(), room);
    }
    app.shell().setRoom("report");
    for (const char* tab : {"summary", "changes"}) {
        app.session().tools()->setReportTab(tab);
        settle(80);
        shown.gather(app.window(), QStringLiteral("report, %1").arg(tab));
    }
    app.shell().setRoom("map");
    for (const char* style : {"treemap", "list", "columns", "cards"}) {
        app.session().spaceMap()->setStyle(style);
        settle(80);
        shown.gather(app.window(), QStringLiteral("map, %1").arg(style));
    }
    searchTheMap(app);
    for (const char* style : {"treemap", "list", "columns", "cards"}) {
        app.session().spaceMap()->setStyle(style);
        app.session().spaceMap()->nextMatch();
        settle(80);
    }
    app.session().spaceMap()->setQuery({});
    app.session().spaceMap()->goToPathIndex(0);
    if (!openRemovalSheet(app)) {
        std::fprintf(stderr, "tessel-app: the removal confirmation did not open\n");
        return 1;
    }
    settle(120);
    shown.gather(app.window(), "removal");
    app.session().removal()->cancel();
    app.shell().setRoom("overview");
    app.guide().start();
    for (int step = 0; step < app.guide().count(); ++step) {
        settle(60);
        shown.gather(app.window(), QStringLiteral("tour, step %1").arg(step + 1));
        app.guide().next();
    }
    if (QQuickWindow* settings = settingsWindow(app)) {
        settings->show();
        settle(150);
        shown.gather(settings, "settings");
        settings->hide();
        if (QQuickWindow* panel = showPanel(app, "cards")) {
            settle(150);
            shown.gather(panel, "tray panel, cards");
            // The other look, as the setting switches it.
            showPanel(app, "dashboard");
            settle(150);
            shown.gather(panel, "tray panel, dashboard");
            panel->hide();
            app.preferences().setPanelStyle("cards");
        } else {
            std::fprintf(stderr, "tessel-app: the tray panel could not be made\n");
            return 1;
        }
    } else {
        std::fprintf(stderr, "tessel-app: the settings window is missing\n");
        return 1;
    }
    // What a Linux user reads speaks of Linux. (The disk-access screen below is the Mac's alone.)
    if (currentPlatform() == Platform::linuxOS) {
        const QStringList macWords = shown.macWords();
        for (const QString& line : macWords) std::fprintf(stderr, "tessel-app: %s\n", qPrintable(line));
        if (!macWords.isEmpty()) {
            std::fprintf(stderr, "tessel-app: %lld of %lld sentences shown speak of the Mac\n",
                         static_cast<long long>(macWords.size()), static_cast<long long>(shown.count()));
            return 1;
        }
    }
    for (const char* choice : {"dark", "light"}) {
        app.theme().setChoice(choice);
        settle(100);
    }
    app.session().permissions()->receive(FullDiskAccessStatus::denied);
    settle(100);
    app.session().permissions()->answer();
    app.session().scan()->scan(QDir::tempPath() + "/tessel-self-test-missing-folder");
    waitForScan(app, 10);
    settle(150);
    if (app.session().scan()->stage() != ScanCoordinator::Stage::Failed) {
        std::fprintf(stderr, "tessel-app: a missing folder did not fail the scan\n");
        return 1;
    }
    if (QString problem = firstProblem(); !problem.isEmpty()) {
        std::fprintf(stderr, "tessel-app: %s\n", qPrintable(problem));
        return 1;
    }
    std::printf("tessel-app: self-test passed: %lld rooms, the removal confirmation, the tour, the settings, both themes "
                "and the failure screen; %lld sentences read\n",
                static_cast<long long>(app.shell().roomIds().size()), static_cast<long long>(shown.count()));
    return 0;
}

int screenshots(TesselApp& app, const QString& folder, bool inFixture) {
    if (!QDir().mkpath(folder)) {
        std::fprintf(stderr, "tessel-app: could not make %s\n", qPrintable(folder));
        return 1;
    }
    if (!waitForScan(app, 60)) return 1;
    app.guide().finish();
    QQuickWindow* window = app.window();
    int saved = 0;
    if (inFixture) {
        compareWithAWeekBefore(app);
        // The disk card as a new user sees it on the first day, then with the days seeded.
        app.shell().setRoom("monitor");
        settle(400);
        scrollToDiskCard(window);
        saved += save(window, QStringLiteral("%1/monitor-first-day.png").arg(folder)) ? 1 : 0;
        seedDiskDays(app);
    }
    for (const char* theme : {"light", "dark"}) {
        app.theme().setChoice(theme);
        settle(250);
        for (const QString& room : app.shell().roomIds()) {
            app.shell().setRoom(room);
            // The monitor shows rates from its second reading, a second after it opens.
            settle(room == "overview" ? 500 : room == "monitor" ? 2500 : 150);
            if (room == "junk" || room == "leftovers" || room == "aiData" || room == "systemData") {
                saved += save(window, QStringLiteral("%1/%2-idle-%3.png").arg(folder, room, theme)) ? 1 : 0;
                lookIn(app, room);
                settle(200);
                saved += save(window, QStringLiteral("%1/%2-%3.png").arg(folder, room, theme)) ? 1 : 0;
                removeTickedIn(app, room);
                settle(300);
                if (app.session().removal()->hasPlan())
                    saved += save(window, QStringLiteral("%1/%2-removal-%3.png").arg(folder, room, theme)) ? 1 : 0;
                app.session().removal()->cancel();
                continue;
            }
            if (room == "apps") {
                chooseApps(app);
                settle(300);
                saved += save(window, QStringLiteral("%1/%2-%3.png").arg(folder, room, theme)) ? 1 : 0;
                // What is ticked, as the confirmation shows it; in the fixture, moved and put back.
                app.session().uninstall()->removeTicked();
                if (waitUntil([&] { return app.session().removal()->hasPlan(); }, 5000)) {
                    settle(300);
                    saved += save(window, QStringLiteral("%1/apps-removal-%2.png").arg(folder, theme)) ? 1 : 0;
                }
                if (inFixture && app.session().removal()->canConfirm()) {
                    app.session().removal()->confirm();
                    waitForRemoval(app);
                    waitUntil([&] { return !app.session().uninstall()->isLoadingApps() && !app.session().uninstall()->isBuildingPlan(); },
                              20000);
                    settle(300);
                    saved += save(window, QStringLiteral("%1/apps-removed-%2.png").arg(folder, theme)) ? 1 : 0;
                    app.session().uninstall()->undo();
                    waitForRemoval(app);
                    waitUntil([&] { return !app.session().uninstall()->isLoadingApps(); }, 20000);
                } else {
                    app.session().removal()->cancel();
                }
                continue;
            }
            if (room == "startup") {
                readStartup(app);
                settle(200);
                saved += save(window, QStringLiteral("%1/startup-%2.png").arg(folder, theme)) ? 1 : 0;
                if (!inFixture) continue;
                // In the fixture: an item switched, with its Undo; then its unit's way to the Trash.
                StartupItemsModel* startup = app.session().tools()->startup();
                if (switchFirstStartupItem(app)) {
                    settle(200);
                    saved += save(window, QStringLiteral("%1/startup-switched-%2.png").arg(folder, theme)) ? 1 : 0;
                    startup->undo();
                    waitUntil([&] { return !startup->isChanging(); }, 20000);
                    readStartup(app);
                }
                for (const StartupItem& item : startup->report().items)
                    if (item.source == StartupSources::systemd && !item.disabled) {
                        startup->moveToTrash(toQString(StartupChoices::key(item)));
                        break;
                    }
                if (waitUntil([&] { return app.session().removal()->hasPlan(); }, 5000)) {
                    settle(300);
                    saved += save(window, QStringLiteral("%1/startup-removal-%2.png").arg(folder, theme)) ? 1 : 0;
                }
                app.session().removal()->cancel();
                continue;
            }
            if (room == "duplicates") {
                waitForDuplicates(app);
                settle(150);
                saved += save(window, QStringLiteral("%1/%2-%3.png").arg(folder, room, theme)) ? 1 : 0;
                // The ticked copies, as the confirmation shows them.
                app.session().tools()->duplicates()->removeTicked();
                settle(300);
                if (app.session().removal()->hasPlan())
                    saved += save(window, QStringLiteral("%1/duplicates-removal-%2.png").arg(folder, theme)) ? 1 : 0;
                app.session().removal()->cancel();
                continue;
            }
            saved += save(window, QStringLiteral("%1/%2-%3.png").arg(folder, room, theme)) ? 1 : 0;
            // The disk card with the days seeded, then the lower cards: the battery, the sensors and where the processes go.
            if (QObject* monitor = room == "monitor" ? window->findChild<QObject*>("monitorRoom") : nullptr) {
                scrollToDiskCard(window);
                saved += save(window, QStringLiteral("%1/monitor-disk-%2.png").arg(folder, theme)) ? 1 : 0;
                monitor->setProperty("contentY", std::max(0.0, monitor->property("contentHeight").toDouble() -
                                                                   monitor->property("height").toDouble()));
                settle(150);
                saved += save(window, QStringLiteral("%1/monitor-lower-%2.png").arg(folder, theme)) ? 1 : 0;
            }
        }
        app.shell().setRoom("map");
        for (const char* style : {"treemap", "list", "columns"}) {
            app.session().spaceMap()->setStyle(style);
            settle(200);
            saved += save(window, QStringLiteral("%1/map-%2-%3.png").arg(folder, style, theme)) ? 1 : 0;
        }
        // The Apps lens, as cards, once the installed apps' homes are known.
        app.session().spaceMap()->setStyle("cards");
        app.session().spaceMap()->setLens(SpaceMapModel::Lens::apps);
        waitUntil([&] { return !app.session().spaceMap()->isWorking(); }, 10000);
        settle(300);
        saved += save(window, QStringLiteral("%1/map-apps-%2.png").arg(folder, theme)) ? 1 : 0;
        app.session().spaceMap()->setLens(SpaceMapModel::Lens::all);
        settle(100);
        // Words typed in the map's search field: every style at the top, then the list after a step.
        searchTheMap(app);
        for (const char* style : {"cards", "treemap", "list"}) {
            app.session().spaceMap()->setStyle(style);
            settle(200);
            const QString name = style == std::string_view("cards") ? QStringLiteral("map-search") : QStringLiteral("map-search-%1").arg(style);
            saved += save(window, QStringLiteral("%1/%2-%3.png").arg(folder, name, theme)) ? 1 : 0;
        }
        app.session().spaceMap()->nextMatch();
        settle(200);
        saved += save(window, QStringLiteral("%1/map-search-step-%2.png").arg(folder, theme)) ? 1 : 0;
        app.session().spaceMap()->setQuery({});
        app.session().spaceMap()->goToPathIndex(0);
        app.shell().setRoom("report");
        for (const char* tab : {"changes", "summary"}) {
            app.session().tools()->setReportTab(tab);
            settle(250);
            saved += save(window, QStringLiteral("%1/report-%2-%3.png").arg(folder, tab, theme)) ? 1 : 0;
        }
        app.session().tools()->setReportTab("changes");
        app.shell().setRoom("map");
        app.session().spaceMap()->setStyle("cards");
        settle(200);
        if (openRemovalSheet(app)) {
            settle(300);
            saved += save(window, QStringLiteral("%1/removal-%2.png").arg(folder, theme)) ? 1 : 0;
            if (inFixture) {
                app.session().removal()->confirm();
                waitForRemoval(app);
                settle(300);
                saved += save(window, QStringLiteral("%1/removed-%2.png").arg(folder, theme)) ? 1 : 0;
                app.session().removal()->undo();
                waitForRemoval(app);
                settle(200);
            } else {
                app.session().removal()->cancel();
            }
        }
        // The list a short scan's notice opens, where the scan met folders it could not read.
        if (const ScanResult* result = app.session().scan()->result(); result && result->unreadableDirectories > 0) {
            emit app.session().shortFoldersRequested(toQString(ScanWords::unreadableTitle(result->unreadableDirectories)),
                                                     result->unreadableDirectories);
            settle(300);
            saved += save(window, QStringLiteral("%1/short-folders-%2.png").arg(folder, theme)) ? 1 : 0;
            QMetaObject::invokeMethod(window, "closeShortFolders");
        }
        app.shell().setRoom("overview");
        app.guide().start();
        app.guide().next();
        settle(400);
        saved += save(window, QStringLiteral("%1/tour-%2.png").arg(folder, theme)) ? 1 : 0;
        app.guide().finish();
        if (QQuickWindow* settings = settingsWindow(app)) {
            settings->show();
            settle(300);
            saved += save(settings, QStringLiteral("%1/settings-%2.png").arg(folder, theme)) ? 1 : 0;
            settings->hide();
        }
        for (const char* style : {"cards", "dashboard"}) {
            QQuickWindow* panel = showPanel(app, style);
            if (panel == nullptr) break;
            // Every reading, the rates from their second sample.
            settle(2500);
            saved += save(panel, QStringLiteral("%1/tray-panel-%2-%3.png").arg(folder, style, theme)) ? 1 : 0;
            panel->hide();
        }
        app.preferences().setPanelStyle("cards");
    }
    std::printf("tessel-app: saved %d screenshots in %s\n", saved, qPrintable(folder));
    return firstProblem().isEmpty() ? 0 : 1;
}

int reportStalls(TesselApp& app) {
    // A timer that should fire every 2 ms: any longer gap is time the main thread spent elsewhere.
    QElapsedTimer clock;
    clock.start();
    qint64 last = clock.elapsed();
    qint64 worst = 0;
    qint64 ticks = 0;
    QTimer probe;
    probe.setTimerType(Qt::PreciseTimer);
    probe.setInterval(2);
    QObject::connect(&probe, &QTimer::timeout, [&] {
        const qint64 now = clock.elapsed();
        worst = std::max(worst, now - last);
        last = now;
        ++ticks;
    });
    auto measure = [&](const char* what, const std::function<void()>& work) {
        worst = 0;
        ticks = 0;
        last = clock.elapsed();
        const qint64 started = clock.elapsed();
        work();
        std::printf("%s: %lld ms; longest main-thread stall %lld ms over %lld ticks\n", what,
                    static_cast<long long>(clock.elapsed() - started), static_cast<long long>(worst),
                    static_cast<long long>(ticks));
    };
    probe.start();
    measure("first paint", [&] {
        QQuickWindow* shown = app.window();
        bool painted = false;
        const QMetaObject::Connection once =
            QObject::connect(shown, &QQuickWindow::frameSwapped, [&painted] { painted = true; });
        waitUntil([&] { return painted; }, 10000);
        QObject::disconnect(once);
        settle(500); // the rooms' first figures and icons
    });
    bool scanned = false;
    measure("scan until the map is shown", [&] {
        app.session().launch();
        scanned = waitForScan(app, 600);
        if (scanned) waitUntil([&] { return !app.session().spaceMap()->items().empty(); }, 60000);
        std::printf("  the scan itself: %.0f ms\n", 1000 * app.session().scan()->result()->duration);
    });
    if (!scanned) return 1;
    measure("after the scan: summary, snapshot, figures", [&] { settle(1500); });
    QQuickWindow* window = app.window();
    app.shell().setRoom("map");
    for (const char* style : {"cards", "treemap"}) {
        app.session().spaceMap()->setStyle(style);
        measure(style, [&] {
            settle(300);
            // Dragging the window's corner: a new size every few frames.
            for (int step = 0; step < 12; ++step) {
                window->resize(1000 + 40 * (step % 6), 700 + 25 * (step % 4));
                settle(40);
            }
        });
    }
    // A thousand files to the Trash and back, the rooms following each time.
    RemovalRoad* road = app.session().removal();
    const ScanResult* tree = app.session().tree()->result();
    // A thousand items, none inside another: files with nodes and folders without subfolders.
    std::vector<DeletionCandidate> candidates;
    std::vector<const FileNode*> stack{tree->root.get()};
    while (!stack.empty() && candidates.size() < 1000) {
        const FileNode* node = stack.back();
        stack.pop_back();
        const bool hasFolders = std::any_of(node->children().begin(), node->children().end(),
                                            [](const FileNode* child) { return child->isDirectory(); });
        if (node != tree->root.get() && (!node->isDirectory() || !hasFolders)) {
            candidates.push_back({node->path(), node->totalBytes(), node->isDirectory()});
            continue;
        }
        for (const FileNode* child : node->children()) stack.push_back(child);
    }
    measure("removal of 1,000 files and folders", [&] {
        road->prepare(candidates);
        waitUntil([&] { return road->hasPlan(); }, 60000);
        road->confirm();
        waitUntil([&] { return !road->isWorking(); }, 60000);
        settle(1500);
    });
    std::printf("  moved %zu\n", road->lastOutcome() ? road->lastOutcome()->receipts.size() : std::size_t{0});
    measure("undo", [&] {
        road->undo();
        waitUntil([&] { return !road->isWorking(); }, 60000);
        settle(1500);
    });
    return 0;
}

} // namespace tessel::Drive
