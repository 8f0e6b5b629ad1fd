// The uninstaller's model over a machine described in a fixture home whose
// Trash is its own: an AppImage the user keeps with its entry, icon and what
// it left around, a Flatpak installed for the user, a software centre that
// opens appstream: links, and a launcher pinned for an app that is gone.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <QSignalSpy>
#include <QTest>

#include <filesystem>
#include <mutex>
#include <semaphore>

#include "apps/UninstallChoices.h"
#include "apps/UninstallModel.h"
#include "apps/UnusedAppsModel.h"
#include "removal/RemovalHome.h"

using namespace tessel;
using namespace tessel::test;

namespace {

class UninstallRoom : public RemovalHome {
protected:
    UninstallRoom() {
        const std::string data = home + "/.local/share";
        image = home + "/Applications/Editor.AppImage";
        writeText(image, imageBytes);
        chmod(image.c_str(), 0755);
        entry(data + "/applications/editor.desktop", "Editor", "Icon=editor\nExec=" + image + " %F\n");
        writeText(data + "/icons/hicolor/scalable/apps/editor.svg", "<svg xmlns=\"http://www.w3.org/2000/svg\"/>");
        writeText(home + "/.config/editor/settings.ini", "theme=dark\n");
        writeText(home + "/.cache/editor/blob", std::string(40'000, 'b'));
        writeText(folder / "root/etc/editor/system.conf", "shared=1\n");
        entry(data + "/flatpak/exports/share/applications/org.example.Maps.desktop", "Maps",
              "Exec=flatpak run org.example.Maps\nX-Flatpak=org.example.Maps\n");
        writeText(home + "/.var/app/org.example.Maps/data/tiles", std::string(20'000, 't'));
        writeText(home + "/.cache/org.example.Maps/tiles", std::string(30'000, 't'));
        entry(data + "/applications/software-handler.desktop", "Software",
              "NoDisplay=true\nExec=true %U\nMimeType=text/html;x-scheme-handler/appstream;\n");
        writeText(home + "/.config/plasma-org.kde.plasma.desktop-appletsrc",
                  "[Containments][1][Applets][3]\nplugin=org.kde.plasma.icontasks\n\n"
                  "[Containments][1][Applets][3][Configuration][General]\n"
                  "launchers=applications:editor.desktop,applications:gone.desktop\n");

        UninstallModel::Dependencies dependencies;
        dependencies.machine.root = folder / "root";
        dependencies.machine.home = home;
        dependencies.machine.dataHome = data;
        dependencies.machine.dataFolders = {data, data + "/flatpak/exports/share"};
        dependencies.cacheFolder = folder / "cache";
        dependencies.running = [this] {
            const std::lock_guard guard(runningLock);
            return running;
        };
        dependencies.plan = [this](const InstalledApp& app, const ResidueScanner& scanner, bool isRunning) {
            bool gated = false;
            {
                const std::lock_guard guard(countLock);
                ++started[app.name];
                EXPECT_EQ(++inFlight[app.name], 1) << "two plans of " << app.name << " at once";
                gated = app.name == gatedApp;
            }
            if (gated) gate.acquire();
            UninstallPlan made = UninstallPlanner::plan(app, scanner, machine(), isRunning);
            const std::lock_guard guard(countLock);
            --inFlight[app.name];
            return made;
        };
        std::vector<std::unique_ptr<LauncherStore>> stores;
        stores.push_back(std::make_unique<PlasmaLaunchers>(home + "/.config/plasma-org.kde.plasma.desktop-appletsrc"));
        dependencies.launchers = std::make_shared<DesktopLaunchers>(std::move(stores));
        // Every file was read 200 days ago, changed 300 and made 400 days ago, on a disk that keeps access times.
        dependencies.openings = [](const DesktopMachine&) {
            OpeningEvidence evidence;
            MountEntry disk;
            disk.mountPoint = "/";
            disk.fileSystem = "ext4";
            disk.options = {"rw", "relatime"};
            evidence.mounts = {disk};
            evidence.times = [](const std::string&, bool) {
                return std::optional<FileTimes>{{now - 200 * day, now - 300 * day, now - 400 * day}};
            };
            evidence.now = now;
            return evidence;
        };
        dependencies.copy = [this](const QString& text) { copied = text; };
        dependencies.openUrl = [this](const QUrl& url) { opened = url; };
        model = std::make_unique<UninstallModel>(std::move(dependencies), road);
    }
    ~UninstallRoom() override { gate.release(); }

    static void entry(const std::string& path, const std::string& name, const std::string& more) {
        writeText(path, "[Desktop Entry]\nType=Application\nName=" + name + "\n" + more);
    }
    DesktopMachine machine() const {
        DesktopMachine described;
        described.root = folder / "root";
        described.home = home;
        described.dataHome = home + "/.local/share";
        return described;
    }
    void load() {
        model->loadApps();
        ASSERT_TRUE(QTest::qWaitFor([&] { return model->hasLoaded() && !model->isLoadingApps(); }, 10000));
    }
    // Chooses the apps of these names, one click and Ctrl-clicks, and waits for their plans.
    void choose(const std::vector<std::string>& names) {
        model->chooseNone();
        for (const std::string& name : names)
            for (int row = 0; row < model->apps()->rowCount(); ++row)
                if (model->apps()->rows()[static_cast<std::size_t>(row)].name == QString::fromStdString(name))
                    model->choose(row, name == names.front() ? Qt::NoModifier : Qt::ControlModifier);
        ASSERT_TRUE(QTest::qWaitFor([&] { return model->madePlans().size() == names.size() && !model->isBuildingPlan(); }, 10000));
    }
    const UninstallPlanRow& planRow(const QString& name) const {
        for (const UninstallPlanRow& row : model->plans()->rows())
            if (row.name == name) return row;
        throw std::runtime_error("no plan of " + name.toStdString());
    }

    static constexpr std::int64_t day = 86'400;
    static constexpr std::int64_t now = 1'800'000'000;
    const std::string imageBytes = std::string("\x7f" "ELF image ") + std::string(3000, '\x02');
    std::string image;
    std::mutex runningLock;
    RunningPrograms running;
    int plansStarted(const std::string& name) {
        const std::lock_guard guard(countLock);
        return started[name];
    }
    void gateOn(const std::string& name) {
        const std::lock_guard guard(countLock);
        gatedApp = name;
    }

    std::mutex countLock;
    std::map<std::string, int> started, inFlight;
    std::string gatedApp;
    std::binary_semaphore gate{0};
    QString copied;
    QUrl opened;
    RemovalRoad road{environment, tree};
    std::unique_ptr<UninstallModel> model;
};

TEST_F(UninstallRoom, OffersTheUsersAppsAndTicksOnlyWhatMayGo) {
    load();
    ASSERT_EQ(model->apps()->rowCount(), 2) << "the link handler that no menu shows is not offered";
    EXPECT_EQ(model->apps()->rows()[0].name, "Editor");
    EXPECT_EQ(model->apps()->rows()[0].source, "AppImage");
    EXPECT_TRUE(model->apps()->rows()[0].icon.endsWith("editor.svg")) << model->apps()->rows()[0].icon.toStdString();
    EXPECT_EQ(model->apps()->rows()[1].source, "Flatpak");
    EXPECT_EQ(model->orphanLaunchers(), QStringList{"gone"});
    model->setFilter("flat");
    ASSERT_EQ(model->apps()->rowCount(), 1);
    EXPECT_EQ(model->apps()->rows()[0].name, "Maps");
    model->setFilter({});

    choose({"Editor", "Maps"});
    const std::set<std::string> ticked{image, home + "/.config/editor", home + "/.cache/editor",
                                       home + "/.local/share/applications/editor.desktop",
                                       home + "/.local/share/icons/hicolor/scalable/apps/editor.svg", home + "/.cache/org.example.Maps"};
    EXPECT_EQ(model->selection(), ticked) << "the AppImage whole, never the sandbox's data nor what needs an administrator";
    model->toggle(QString::fromStdString(home + "/.var/app/org.example.Maps"));
    model->toggle(QString::fromStdString(folder / "root/etc/editor"));
    EXPECT_EQ(model->selection(), ticked) << "neither can be ticked by hand";
    EXPECT_EQ(model->tickedCount(), 6);

    const UninstallPlanRow& editor = planRow("Editor");
    EXPECT_EQ(editor.bundle["path"].toString().toStdString(), image);
    ASSERT_EQ(editor.administrator.size(), 1);
    EXPECT_EQ(editor.administrator[0].toMap()["path"].toString().toStdString(), folder / "root/etc/editor");
    const UninstallPlanRow& maps = planRow("Maps");
    EXPECT_TRUE(maps.bundle.isEmpty()) << "a package manager's app is never moved file by file";
    EXPECT_EQ(maps.handoff, "flatpak uninstall --user org.example.Maps");
    model->copyHandoff(maps.handoff);
    EXPECT_EQ(copied, maps.handoff);
    model->openInSoftware(maps.appstreamId);
    EXPECT_EQ(opened, QUrl("appstream://org.example.Maps"));

    model->toggle(QString::fromStdString(image));
    EXPECT_FALSE(model->selection().contains(image));
    model->selectAll();
    EXPECT_EQ(model->selection(), ticked);
    model->choose(0, Qt::ControlModifier);
    EXPECT_EQ(model->selection(), (std::set<std::string>{home + "/.cache/org.example.Maps"})) << "Editor's ticks leave with it";

    model->removeOrphanLaunchers();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model->orphanLaunchers().isEmpty(); }, 5000));
    EXPECT_NE(readText(home + "/.config/plasma-org.kde.plasma.desktop-appletsrc").find("launchers=applications:editor.desktop\n"),
              std::string::npos);
}

TEST_F(UninstallRoom, AnAppIsPlannedOnceAtATimeAndAgainAfterTheAppsAreRead) {
    load();
    gateOn("Editor");
    model->choose(0, Qt::NoModifier);
    ASSERT_TRUE(QTest::qWaitFor([&] { return plansStarted("Editor") == 1; }, 5000));
    // Chosen again while its plan is being made: no second plan starts beside it.
    model->chooseNone();
    model->choose(0, Qt::NoModifier);
    model->choose(1, Qt::ControlModifier);
    ASSERT_TRUE(QTest::qWaitFor([&] { return model->isBuildingPlan(); }, 1000));
    gate.release();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model->madePlans().size() == 2 && !model->isBuildingPlan(); }, 5000));
    EXPECT_EQ(plansStarted("Editor"), 1);
    EXPECT_EQ(plansStarted("Maps"), 1);

    gateOn("");
    load();
    ASSERT_TRUE(QTest::qWaitFor([&] { return model->madePlans().size() == 2 && !model->isBuildingPlan(); }, 5000));
    EXPECT_EQ(plansStarted("Editor"), 2) << "a new reading makes each chosen app's plan anew";
    EXPECT_EQ(model->chosenCount(), 2);
}

TEST_F(UninstallRoom, RemovalMovesWhatIsTickedAndPutBackRestoresItByteForByte) {
    scanHome();
    load();
    choose({"Editor", "Maps"});
    model->removeTicked();
    waitForPlan(road);
    EXPECT_EQ(road.plan()->allowed.size(), 6u);
    road.confirm();
    waitFor(road);
    EXPECT_EQ(model->result(), "6 items of 2 apps moved to the Trash");
    EXPECT_FALSE(std::filesystem::exists(home + "/.local/share/icons/hicolor/scalable/apps/editor.svg")) << "its icon goes with it";
    EXPECT_FALSE(std::filesystem::exists(image));
    EXPECT_FALSE(std::filesystem::exists(home + "/.config/editor"));
    EXPECT_TRUE(std::filesystem::exists(home + "/.var/app/org.example.Maps/data/tiles")) << "what may hold documents stays";
    EXPECT_TRUE(std::filesystem::exists(folder / "root/etc/editor/system.conf"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model->isLoadingApps() && model->appCount() == 1; }, 10000)) << "Editor is gone";

    model->undo();
    waitFor(road);
    EXPECT_EQ(model->result(), "");
    EXPECT_EQ(readText(image), imageBytes);
    EXPECT_EQ(readText(home + "/.config/editor/settings.ini"), "theme=dark\n");
    EXPECT_EQ(readText(home + "/.cache/editor/blob"), std::string(40'000, 'b'));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model->isLoadingApps() && model->appCount() == 2; }, 10000)) << "Editor is back";
}

TEST_F(UninstallRoom, ARunningAppStaysWithEverythingItKeeps) {
    load();
    choose({"Editor"});
    {
        const std::lock_guard guard(runningLock);
        running.executables.insert(std::filesystem::canonical(image));
    }
    model->removeTicked();
    waitForPlan(road);
    EXPECT_TRUE(road.plan()->allowed.empty());
    ASSERT_EQ(road.skippedRows().size(), 5);
    EXPECT_EQ(road.skippedRows()[0].toMap()["explanation"].toString(), "In use: Editor is running. Quit it, then try again.");
    ASSERT_TRUE(QTest::qWaitFor([&] { return planRow("Editor").running; }, 5000));
    road.cancel();
}

TEST(UninstallChoices, WhatWentIsCountedByAppAndEachSourceReadsAsLinuxSaysIt) {
    EXPECT_EQ(UninstallChoices::resultTitle(1, {"Editor"}), "1 item of Editor moved to the Trash");
    InstalledApp app;
    app.source = "dpkg";
    EXPECT_EQ(UninstallChoices::sourceWords(app, "/home/me"), "Installed with apt");
    app.source = "other";
    app.programPath = "/home/me/.local/share/tool/bin/tool";
    EXPECT_EQ(UninstallChoices::sourceWords(app, "/home/me"), "Installed by you");
    app.programPath = "/home/meat/tool";
    EXPECT_EQ(UninstallChoices::sourceWords(app, "/home/me"), "Other");
}

TEST_F(UninstallRoom, UnusedAppsAreTheUninstallersOwnJudgedBySpanAndHandedBackToPlan) {
    UnusedAppsModel unused(*model, [] { return now; });
    load();
    ASSERT_EQ(unused.judgement().unused.size(), 1u) << "the AppImage, last read 200 days ago";
    EXPECT_EQ(unused.judgement().unused[0].app.name, "Editor");
    ASSERT_EQ(unused.judgement().undecided.size(), 1u) << "a Flatpak's program keeps no access time";
    EXPECT_EQ(unused.judgement().undecided[0].entry.app.name, "Maps");
    unused.toggle(unused.apps()->rows()[0].key);
    EXPECT_EQ(unused.chosenCount(), 1);
    unused.setSpan(QStringLiteral("twelve"));
    EXPECT_TRUE(unused.judgement().unused.empty());
    EXPECT_EQ(unused.chosenCount(), 0) << "what a longer span no longer offers is no longer chosen";

    unused.setSpan(QStringLiteral("six"));
    unused.chooseAll();
    model->chooseWhenLoaded(unused.chosenKeys());
    ASSERT_TRUE(QTest::qWaitFor([&] { return model->madePlans().size() == 1 && !model->isBuildingPlan(); }, 10000));
    EXPECT_EQ(model->madePlans()[0].app.name, "Editor");
}

} // namespace
