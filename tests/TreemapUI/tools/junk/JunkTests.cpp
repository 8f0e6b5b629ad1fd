// The junk room's model with a fake finder and fake running programs, on a
// fixture home whose Trash is its own: groups and ticks, cancelling and
// overtaken searches, and removal by the road while a tool starts to run.
#include <gtest/gtest.h>

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <filesystem>
#include <mutex>
#include <semaphore>

#include "removal/RemovalHome.h"
#include "tools/junk/JunkModel.h"

using namespace tessel;
using namespace tessel::test;
using Tick = JunkChoices::TickState;

namespace {

class JunkRoom : public RemovalHome {
protected:
    JunkRoom() {
        makeFolder(home);
        makeFolder(home + "/.cache");
        JunkModel::Dependencies dependencies;
        dependencies.find = [this](std::int64_t, const JunkModel::Dependencies::Progress& progress,
                                   const std::function<bool()>& isCancelled) {
            if (finder) return finder(isCancelled);
            progress(1, 1);
            return found;
        };
        dependencies.running = [this] {
            const std::lock_guard guard(runningLock);
            RunningPrograms programs;
            programs.names = running;
            return programs;
        };
        dependencies.now = [] { return std::int64_t{1'750'000'000}; };
        dependencies.settings = &settings;
        model = std::make_unique<JunkModel>(std::move(dependencies), road);
    }

    // An item at home/.cache/NAME, written to the disk.
    JunkItem item(const std::string& name, JunkCategory category, std::int64_t bytes, std::set<std::string> tools = {}) {
        JunkItem made;
        made.path = home + "/.cache/" + name;
        made.name = name;
        made.category = category;
        made.bytes = bytes;
        made.tools = std::move(tools);
        if (!made.tools.empty()) made.toolName = *made.tools.begin();
        writeFile(made.path, 4096);
        return made;
    }
    void setRunning(std::unordered_set<std::string> names) {
        const std::lock_guard guard(runningLock);
        running = std::move(names);
    }
    void search() {
        model->run();
        ASSERT_TRUE(QTest::qWaitFor([&] { return model->search()->phase() == SearchState::Phase::Done; }, 5000));
    }
    std::vector<std::string> shownPaths() const {
        std::vector<std::string> paths;
        for (const JunkChoices::Group& group : model->shown())
            for (const JunkItem& each : group.items) paths.push_back(each.path);
        return paths;
    }
    std::vector<std::string> groupIds() const {
        std::vector<std::string> ids;
        for (const JunkChoices::Group& group : model->shown()) ids.push_back(group.id());
        return ids;
    }

    QTemporaryDir settingsFolder;
    QSettings settings{settingsFolder.filePath("settings.ini"), QSettings::IniFormat};
    RemovalRoad road{environment, tree};
    std::vector<JunkItem> found;
    std::function<std::vector<JunkItem>(const std::function<bool()>&)> finder;
    std::mutex runningLock;
    std::unordered_set<std::string> running;
    std::unique_ptr<JunkModel> model;
};

TEST_F(JunkRoom, GroupsByTotalAndWhatARunningToolUsesStaysUnticked) {
    const JunkItem browser = item("browser", JunkCategory::appCaches, 5'000'000, {"firefox"});
    const JunkItem pip = item("pip", JunkCategory::packageCaches, 3'000'000, {"pip"});
    const JunkItem installer = item("tool.deb", JunkCategory::installers, 8'000'000);
    const JunkItem log = item("log", JunkCategory::logs, 2'000'000);
    const JunkItem crash = item("crash", JunkCategory::developer, 2'000'000);
    found = {log, browser, installer, pip, crash};
    setRunning({"firefox"});
    search();
    // Largest first; the two of 2 MB by title: "Developer Build Data" before "Logs and Crash Reports".
    EXPECT_EQ(groupIds(), (std::vector<std::string>{"installers", "appCaches", "packageCaches", "developer", "logs"}));
    EXPECT_EQ(model->inUse(), (std::set<std::string>{browser.path}));
    const std::set<std::string> recommended{pip.path, log.path, crash.path};
    EXPECT_EQ(model->selection(), recommended);
    model->selectAll();
    model->selectRecommended();
    EXPECT_EQ(model->selection(), recommended) << "the cache of the running browser stays unticked";
    EXPECT_EQ(model->totalFound(), 20'000'000);
    EXPECT_EQ(model->tickedBytes(), 7'000'000);
    EXPECT_EQ(model->lastFound().left(13), QStringLiteral("20.0 MB found")) << model->lastFound().toStdString();
}

TEST_F(JunkRoom, SelectAllTicksWhatIsTheirsButNotWhatNeedsAnAdministratorOrIsInUse) {
    const JunkItem installer = item("app.deb", JunkCategory::installers, 9'000'000);
    JunkItem system = item("system", JunkCategory::appCaches, 4'000'000);
    system.requiresAdministrator = true;
    const JunkItem busy = item("busy", JunkCategory::appCaches, 3'000'000, {"code"});
    const JunkItem idle = item("idle", JunkCategory::appCaches, 2'000'000);
    JunkItem unsure = item("unsure", JunkCategory::appCaches, 1'000'000);
    unsure.recommended = false;
    found = {installer, system, busy, idle, unsure};
    setRunning({"code"});
    search();
    model->selectAll();
    EXPECT_EQ(model->selection(), (std::set<std::string>{installer.path, idle.path, unsure.path}));

    // A group's box counts its tickable items only: idle and unsure.
    model->selectRecommended();
    EXPECT_EQ(model->tickState("appCaches"), Tick::some);
    model->toggleGroup("appCaches");
    EXPECT_EQ(model->tickState("appCaches"), Tick::all);
    EXPECT_FALSE(model->selection().contains(busy.path));
    EXPECT_FALSE(model->selection().contains(system.path));
    model->toggleGroup("appCaches");
    EXPECT_EQ(model->tickState("appCaches"), Tick::none);
    EXPECT_EQ(model->selection(), std::set<std::string>{}) << "the installer's group was never ticked";
    model->toggleGroup("appCaches");
    EXPECT_EQ(model->tickState("appCaches"), Tick::all);
    model->toggle(QString::fromStdString(idle.path));
    EXPECT_EQ(model->tickState("appCaches"), Tick::some);
    model->toggle(QString::fromStdString(busy.path));
    EXPECT_FALSE(model->selection().contains(busy.path)) << "what is in use can't be ticked by hand either";
}

TEST_F(JunkRoom, CancelReturnsToIdleWithTheEarlierGroups) {
    const JunkItem earlier = item("earlier", JunkCategory::appCaches, 2'000'000);
    found = {earlier};
    search();
    std::binary_semaphore entered(0);
    finder = [&](const std::function<bool()>& isCancelled) {
        entered.release();
        while (!isCancelled()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        // A finder that answers anyway, late: nothing of it may show.
        return std::vector<JunkItem>{item("late", JunkCategory::logs, 5'000'000)};
    };
    model->run();
    ASSERT_TRUE(entered.try_acquire_for(std::chrono::seconds(5)));
    EXPECT_EQ(model->search()->phase(), SearchState::Phase::Running);
    model->cancel();
    EXPECT_EQ(model->search()->phase(), SearchState::Phase::Idle);
    QTest::qWait(100);
    EXPECT_EQ(model->search()->phase(), SearchState::Phase::Idle);
    EXPECT_EQ(shownPaths(), std::vector<std::string>{earlier.path});
    EXPECT_EQ(model->selection(), std::set<std::string>{earlier.path});
}

TEST_F(JunkRoom, AnOvertakenSearchPublishesNothing) {
    std::binary_semaphore firstMayEnd(0);
    std::binary_semaphore secondMayEnd(0);
    std::atomic<int> calls = 0;
    const JunkItem old = item("old", JunkCategory::appCaches, 2'000'000);
    const JunkItem fresh = item("fresh", JunkCategory::logs, 2'000'000);
    finder = [&](const std::function<bool()>&) {
        // Neither looks at the cancel flag: the model alone must drop the first.
        if (++calls == 1) {
            firstMayEnd.acquire();
            return std::vector<JunkItem>{old};
        }
        secondMayEnd.acquire();
        return std::vector<JunkItem>{fresh};
    };
    model->run();
    model->run();
    firstMayEnd.release();
    ASSERT_TRUE(QTest::qWaitFor([&] { return calls == 2; }, 5000));
    QTest::qWait(50);
    EXPECT_EQ(model->search()->phase(), SearchState::Phase::Running);
    EXPECT_TRUE(model->shown().empty());
    secondMayEnd.release();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model->search()->phase() == SearchState::Phase::Done; }, 5000));
    EXPECT_EQ(shownPaths(), std::vector<std::string>{fresh.path});
}

TEST_F(JunkRoom, RemovalGoesByTheRoadAndLeavesWhatAToolStartedToUse) {
    const JunkItem npm = item("npm", JunkCategory::packageCaches, 3'000'000, {"npm"});
    const JunkItem cargo = item("cargo", JunkCategory::packageCaches, 1'000'000, {"cargo"});
    const JunkItem thumbnails = item("thumbnails", JunkCategory::appCaches, 2'000'000);
    found = {npm, cargo, thumbnails};
    scanHome();
    search();
    ASSERT_EQ(model->selection().size(), 3u);

    // Cargo starts before the confirmation opens: it is listed with what stays, and why.
    setRunning({"cargo"});
    model->removeTicked();
    waitForPlan(road);
    ASSERT_EQ(road.plan()->allowed.size(), 2u);
    const QVariantList skipped = road.skippedRows();
    ASSERT_EQ(skipped.size(), 1);
    EXPECT_EQ(skipped[0].toMap()["name"].toString(), "cargo");
    EXPECT_EQ(skipped[0].toMap()["explanation"].toString(), "In use: cargo is running. Quit it, then try again.");
    ASSERT_TRUE(QTest::qWaitFor([&] { return model->inUse().contains(cargo.path); }, 5000));
    EXPECT_FALSE(model->selection().contains(cargo.path));

    // npm starts while the confirmation is open: it stays too.
    setRunning({"cargo", "npm"});
    road.confirm();
    waitFor(road);
    EXPECT_TRUE(std::filesystem::exists(npm.path));
    EXPECT_TRUE(std::filesystem::exists(cargo.path));
    EXPECT_FALSE(std::filesystem::exists(thumbnails.path));
    ASSERT_TRUE(road.lastOutcome());
    ASSERT_EQ(road.lastOutcome()->failures.size(), 1u);
    EXPECT_EQ(road.lastOutcome()->failures[0].path, npm.path);
    EXPECT_EQ(road.lastOutcome()->receipts.size(), 1u);
    EXPECT_EQ(shownPaths(), (std::vector<std::string>{npm.path, cargo.path}));
    EXPECT_EQ(model->inUse(), (std::set<std::string>{npm.path, cargo.path}));

    road.undo();
    waitFor(road);
    EXPECT_EQ(shownPaths(), (std::vector<std::string>{npm.path, cargo.path, thumbnails.path})) << "Undo brings it back";
}

TEST(JunkChoices, AnItemOnADiskThatIsNotMountedIsNeitherThereNorGone) {
    TempFolder folder;
    writeFile(folder / "here", 10);
    EXPECT_EQ(JunkChoices::presenceOf(folder / "here"), JunkChoices::Presence::present);
    EXPECT_EQ(JunkChoices::presenceOf(folder / "gone"), JunkChoices::Presence::missing);
    EXPECT_EQ(JunkChoices::presenceOf("/media/nobody-here/Backup/.cache/x"), JunkChoices::Presence::unknown);
}

} // namespace
