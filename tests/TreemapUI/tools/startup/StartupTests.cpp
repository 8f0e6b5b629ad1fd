// The startup room's model over a machine described in a fixture folder whose
// Trash is its own: a login item of the system's and one of the user's whose
// program is gone, a service of the user's own that an installed app owns,
// a system service only an administrator switches, and one of systemd's own.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <QTest>

#include <filesystem>
#include <map>

#include "removal/RemovalHome.h"
#include "tools/startup/StartupItemsModel.h"
#include "UninstallKit/LinuxStartupItems.h"

using namespace tessel;
using namespace tessel::test;

namespace {

namespace fs = std::filesystem;

class StartupRoom : public RemovalHome {
protected:
    StartupRoom() {
        StartupMachine machine;
        machine.root = root;
        machine.home = home;
        machine.dataHome = home + "/.local/share";
        machine.dataFolders = {machine.dataHome, "/usr/share"};
        machine.programFolders = {"/usr/bin"};
        machine.configHome = home + "/.config";
        machine.configDirs = {"/etc/xdg"};
        machine.runtimeDir = "/run/user/1000";
        writeText(root + "/usr/bin/viewer", "#!/bin/sh\n");
        chmod((root + "/usr/bin/viewer").c_str(), 0755);
        writeText(root + "/etc/xdg/autostart/tracker.desktop", "[Desktop Entry]\nType=Application\nName=Tracker\nExec=viewer\n");
        writeText(home + "/.config/autostart/clipper.desktop", "[Desktop Entry]\nType=Application\nExec=/opt/Clipper/clipper\n");
        writeText(machine.dataHome + "/applications/org.example.Maps.desktop", "[Desktop Entry]\nType=Application\nName=Maps\nExec=viewer\n");
        writeText(units + "/org.example.Maps.Sync.service",
                  "[Service]\nExecStart=/usr/bin/viewer --sync\n\n[Install]\nWantedBy=default.target\n");
        link(units + "/org.example.Maps.Sync.service", syncLink);
        for (const char* name : {"cron", "systemd-timesyncd"}) {
            const std::string unit = std::string(name) + ".service";
            writeText(root + "/usr/lib/systemd/system/" + unit, "[Service]\nExecStart=/usr/sbin/" + std::string(name) +
                                                                    "\n[Install]\nWantedBy=multi-user.target\n");
            link("/usr/lib/systemd/system/" + unit, root + "/etc/systemd/system/multi-user.target.wants/" + unit);
        }
        StartupItemsModel::Dependencies dependencies;
        dependencies.machine = machine;
        dependencies.read = [cache = folder / "cache"](const StartupMachine& described) {
            return LinuxStartupItems::readJudgedByMachine(described, cache);
        };
        dependencies.copy = [this](const QString& text) { copied = text; };
        model = std::make_unique<StartupItemsModel>(std::move(dependencies), road);
    }

    static void link(const std::string& target, const std::string& path) {
        fs::create_directories(fs::path(path).parent_path());
        fs::create_symlink(target, path);
    }
    // Until the model holds the items as they are now: no switch under way, nothing being read.
    void settle() {
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return !model->isChanging() && model->search()->phase() == SearchState::Phase::Done; }, 10000));
    }
    void load() {
        model->load();
        settle();
    }
    std::vector<QString> kinds() const {
        std::vector<QString> keys;
        for (const StartupGroupRow& row : model->groups()->rows()) keys.push_back(row.key);
        return keys;
    }
    QVariantMap row(const QString& label) const {
        for (const StartupGroupRow& group : model->groups()->rows())
            for (const QVariant& item : group.items)
                if (item.toMap().value("label") == label) return item.toMap();
        return {};
    }
    // Every file and link of the machine: its text, or where it leads.
    std::map<std::string, std::string> everything() const {
        std::map<std::string, std::string> found;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder.path()))
            if (entry.is_symlink()) found[entry.path()] = "-> " + fs::read_symlink(entry.path()).string();
            else if (entry.is_regular_file()) found[entry.path()] = readText(entry.path());
        return found;
    }

    std::string root = folder / "root";
    std::string units = home + "/.config/systemd/user";
    std::string syncLink = units + "/default.target.wants/org.example.Maps.Sync.service";
    RemovalRoad road{environment, tree};
    QString copied;
    std::unique_ptr<StartupItemsModel> model;
};

TEST_F(StartupRoom, ItemsGroupByKindAndTheFiltersNarrowThem) {
    load();
    EXPECT_EQ(kinds(), (std::vector<QString>{"loginItem", "backgroundService", "systemService"}));
    EXPECT_EQ(model->platformCount(), 1) << "systemd's own stays out until asked for";
    EXPECT_EQ(model->shownCount(), 4);
    const QVariantMap sync = row("org.example.Maps.Sync.service");
    EXPECT_EQ(sync.value("owner"), "Maps");
    EXPECT_EQ(sync.value("confidence"), "Certain");
    EXPECT_TRUE(sync.value("switchable").toBool());
    EXPECT_TRUE(sync.value("trashable").toBool());
    const QVariantMap clipper = row("clipper");
    EXPECT_TRUE(clipper.value("programMissing").toBool());
    EXPECT_EQ(clipper.value("detail"), "Its program /opt/Clipper/clipper is missing.");

    model->setOnlyMine(true);
    EXPECT_EQ(kinds(), (std::vector<QString>{"loginItem", "backgroundService"}));
    model->setOnlyWithoutOwner(true);
    EXPECT_EQ(kinds(), (std::vector<QString>{"loginItem"}));
    model->setOnlyMine(false);
    model->setWithPlatform(true);
    EXPECT_EQ(kinds(), (std::vector<QString>{"loginItem", "systemService"}));
    EXPECT_EQ(model->shownCount(), 4) << "two login items, cron and systemd's own";
}

TEST_F(StartupRoom, SwitchingOffThenUndoLeavesEveryFileAsItWas) {
    const std::map<std::string, std::string> before = everything();
    load();
    model->switchItem(row("tracker").value("key").toString(), false);
    settle();
    EXPECT_EQ(model->result(), "tracker no longer starts when you log in: ~/.config/autostart/tracker.desktop hides it "
                               "for your account, and /etc/xdg/autostart/tracker.desktop is as it was.");
    model->switchItem(row("org.example.Maps.Sync.service").value("key").toString(), false);
    settle();
    EXPECT_FALSE(model->resultRefused()) << model->result().toStdString();
    EXPECT_FALSE(fs::is_symlink(syncLink));
    for (const char* label : {"tracker", "org.example.Maps.Sync.service"})
        EXPECT_FALSE(row(label).value("enabled").toBool()) << label << " reads as off";
    EXPECT_EQ(model->undoHelp(), "Switches org.example.Maps.Sync.service on again");
    model->undo();
    settle();
    EXPECT_TRUE(model->canUndo());
    model->undo();
    settle();
    EXPECT_FALSE(model->canUndo());
    EXPECT_TRUE(row("tracker").value("enabled").toBool());
    EXPECT_EQ(everything(), before) << "the system's file untouched, the user's as they were";
}

TEST_F(StartupRoom, ASystemItemOffersItsCommandAndNoSwitch) {
    load();
    const QVariantMap cron = row("cron.service");
    EXPECT_FALSE(cron.value("switchable").toBool());
    EXPECT_FALSE(cron.value("trashable").toBool());
    EXPECT_EQ(cron.value("command"), "sudo systemctl disable cron.service");
    EXPECT_TRUE(cron.value("commandNote").toString().startsWith("Only an administrator can switch it off."));
    model->copyCommand(cron.value("command").toString());
    EXPECT_EQ(copied, "sudo systemctl disable cron.service");

    model->switchItem(cron.value("key").toString(), false);
    settle();
    EXPECT_TRUE(model->resultRefused());
    EXPECT_TRUE(model->result().endsWith("sudo systemctl disable cron.service")) << model->result().toStdString();
    EXPECT_FALSE(model->canUndo());
    EXPECT_TRUE(fs::is_symlink(root + "/etc/systemd/system/multi-user.target.wants/cron.service"));
}

TEST_F(StartupRoom, AUserUnitGoesToTheTrashWithItsLinkAndUndoPutsThemBack) {
    const std::string unit = units + "/org.example.Maps.Sync.service";
    const std::string text = readText(unit);
    load();
    model->moveToTrash(row("org.example.Maps.Sync.service").value("key").toString());
    waitForPlan(road);
    ASSERT_EQ(road.plan()->allowed.size(), 2u);
    road.confirm();
    waitFor(road);
    settle();
    EXPECT_FALSE(fs::exists(unit));
    EXPECT_FALSE(fs::is_symlink(syncLink));
    EXPECT_EQ(model->result(), "org.example.Maps.Sync.service's file and the link that switched it on were moved to the Trash.");
    EXPECT_TRUE(row("org.example.Maps.Sync.service").isEmpty());
    model->undo();
    waitFor(road);
    settle();
    EXPECT_EQ(readText(unit), text);
    EXPECT_EQ(fs::read_symlink(syncLink), unit);
    EXPECT_TRUE(row("org.example.Maps.Sync.service").value("enabled").toBool());
    EXPECT_FALSE(model->canUndo());
}

} // namespace
