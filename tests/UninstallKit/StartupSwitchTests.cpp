// Switching login items and user units off and on again on a described
// machine: every file and link comes back to the byte, the system's files
// are never touched, and what isn't the user's to change is refused with
// the reason.

#include <gtest/gtest.h>
#include <unistd.h>

#include <map>

#include "DescribedStartup.h"
#include "UninstallKit/AutostartEntries.h"
#include "UninstallKit/StartupSwitch.h"
#include "UninstallKit/SystemdUnits.h"

namespace tessel {
namespace {

namespace fs = std::filesystem;

struct Switching : DescribedStartup {
    void SetUp() override {
        DescribedStartup::SetUp();
        own = machine.home + "/.config/autostart/";
    }
    StartupItem item(const std::string& label) {
        std::vector<std::pair<std::string, std::string>> unreadable;
        std::vector<StartupItem> items = AutostartEntries::read(startup, unreadable);
        for (SystemdUnits::Scope scope : {SystemdUnits::Scope::user, SystemdUnits::Scope::system}) {
            std::vector<StartupItem> units = SystemdUnits::read(startup, scope, unreadable);
            items.insert(items.end(), units.begin(), units.end());
        }
        for (const StartupItem& each : items)
            if (each.label == label) return each;
        ADD_FAILURE() << "no item " << label;
        return {};
    }
    std::string linkText(const std::string& path) const { return fs::read_symlink(local(path)).string(); }
    std::string own;
};

TEST_F(Switching, ALoginItemGoesOffAndComesBackWithEveryFileAsItWas) {
    const std::string system = "[Desktop Entry]\nType=Application\nName=Tracker\nExec=viewer\n";
    write("/etc/xdg/autostart/tracker.desktop", system);
    StartupSwitch lights(startup);
    const StartupSwitchOutcome off = lights.disable(item("tracker"));
    ASSERT_TRUE(off.changed) << off.sentence;
    EXPECT_TRUE(item("tracker").disabled);
    EXPECT_EQ(test::readText(local(own + "tracker.desktop")),
              "[Desktop Entry]\nType=Application\nName=Tracker\nHidden=true\nX-Tessel-Override=copy\n");
    EXPECT_FALSE(lights.disable(item("tracker")).changed) << "already off";
    const StartupSwitchOutcome on = lights.enable(item("tracker"));
    ASSERT_TRUE(on.changed) << on.sentence;
    EXPECT_FALSE(fs::exists(local(own + "tracker.desktop"))) << "its own copy, holding nothing of the user's, goes";
    EXPECT_EQ(test::readText(local("/etc/xdg/autostart/tracker.desktop")), system);

    // The user's own file: what goes in comes out, endings, comments and a missing last newline kept.
    for (const std::string text : {"[Desktop Entry]\nExec=viewer\n", "# mine\r\n[Desktop Entry]\r\nHidden=false\r\nExec=viewer",
                                   "[Desktop Entry]", "[Desktop Entry]\nHidden = false\n[Other Group]\nHidden=true\n"}) {
        write(own + "mine.desktop", text);
        ASSERT_TRUE(lights.disable(item("mine")).changed) << text;
        EXPECT_TRUE(item("mine").disabled) << text;
        const StartupSwitchOutcome back = lights.enable(item("mine"));
        ASSERT_TRUE(back.changed) << back.sentence;
        EXPECT_EQ(test::readText(local(own + "mine.desktop")), text);
    }
}

TEST_F(Switching, WhatTesselDidNotSwitchOffOrCannotChangeIsRefusedWithTheReason) {
    write(own + "hidden.desktop", "[Desktop Entry]\nExec=viewer\nHidden=true\n");
    write(own + "copied.desktop", "[Desktop Entry]\nName=X\nHidden=true\nX-Tessel-Override=copy\nExec=mine\n");
    write("/etc/xdg/autostart/copied.desktop", "[Desktop Entry]\nExec=viewer\n");
    write("/usr/lib/systemd/system/cron.service", "[Service]\nExecStart=/usr/sbin/cron\n[Install]\nWantedBy=multi-user.target\n");
    StartupSwitch lights(startup);
    EXPECT_EQ(lights.enable(item("hidden")).sentence,
              "It was switched off in " + own + "hidden.desktop by something other than Tessel; Hidden=false and "
              "X-GNOME-Autostart-enabled=true there switch it on.");
    EXPECT_EQ(lights.enable(item("copied")).sentence,
              own + "copied.desktop was changed since Tessel wrote it, so it is left as it is.");
    EXPECT_TRUE(fs::exists(local(own + "copied.desktop")));
    EXPECT_EQ(lights.enable(item("cron.service")).sentence,
              "Only an administrator can switch it on: sudo systemctl enable cron.service");
    EXPECT_EQ(StartupSwitch::withHidden("[Desktop Entry]\nHidden=true\nX-Tessel-Override=added\n"), std::nullopt);
    EXPECT_EQ(StartupSwitch::withoutHidden("[Desktop Entry]\nExec=x\n"), std::nullopt);
}

// A manager that takes the links away as systemd would, and can't make them.
struct RecordingManager : UserUnitManager {
    std::vector<std::string> calls, takesAway;
    std::optional<std::string> disableUnitFiles(const std::vector<std::string>& units) override {
        calls.push_back("disable " + units.front());
        for (const std::string& link : takesAway) fs::remove(link);
        return std::nullopt;
    }
    std::optional<std::string> enableUnitFiles(const std::vector<std::string>& units) override {
        calls.push_back("enable " + units.front());
        return "no manager here";
    }
    std::optional<std::string> reload() override {
        calls.push_back("reload");
        return std::nullopt;
    }
};

TEST_F(Switching, AUserUnitLosesItsLinksAndGetsTheSameOnesBack) {
    const std::string unit = "/usr/lib/systemd/user/syncer.service", mine = machine.home + "/.config/systemd/user/";
    write(unit, "[Service]\nExecStart=/usr/bin/viewer\n[Install]\nWantedBy=default.target\nAlias=sync.service\n");
    link(unit, mine + "default.target.wants/syncer.service");
    link(unit, mine + "sync.service");
    write(mine + "default.target.wants/regular.service", "a copy, not a link");
    StartupSwitch lights(startup);

    const StartupSwitchOutcome off = lights.disable(item("syncer.service"));
    ASSERT_TRUE(off.changed) << off.sentence;
    EXPECT_FALSE(fs::exists(local(mine + "sync.service")) || fs::is_symlink(local(mine + "default.target.wants/syncer.service")));
    EXPECT_TRUE(item("syncer.service").disabled);
    EXPECT_TRUE(lights.enable(item("syncer.service")).changed) << "made again from its [Install] section";
    EXPECT_EQ(linkText(mine + "default.target.wants/syncer.service"), unit);
    EXPECT_EQ(linkText(mine + "sync.service"), unit);

    const StartupSwitchOutcome again = lights.disable(item("syncer.service"));
    ASSERT_EQ(again.change->linksRemoved.size(), 2u);
    EXPECT_TRUE(lights.undo(*again.change).changed);
    EXPECT_EQ(linkText(mine + "default.target.wants/syncer.service"), unit) << "undone from the record, to the byte";
    EXPECT_EQ(test::readText(local(mine + "default.target.wants/regular.service")), "a copy, not a link");

    RecordingManager manager;
    manager.takesAway = {local(mine + "default.target.wants/syncer.service"), local(mine + "sync.service")};
    StartupSwitch asking(startup, &manager);
    const StartupSwitchOutcome told = asking.disable(item("syncer.service"));
    EXPECT_NE(told.sentence.find("Your systemd manager was told."), std::string::npos) << told.sentence;
    EXPECT_FALSE(fs::exists(local(mine + "sync.service")));
    EXPECT_TRUE(asking.enable(item("syncer.service")).changed) << "the manager failed, so the files were changed here";
    EXPECT_EQ(manager.calls, (std::vector<std::string>{"disable syncer.service", "reload", "enable syncer.service"}));
    EXPECT_EQ(linkText(mine + "sync.service"), unit);
}

TEST_F(Switching, OnlyAUnitOfTheUsersOwnGoesToTheTrashWithItsDropInsAndLinks) {
    const std::string mine = machine.home + "/.config/systemd/user/";
    write(mine + "mine.service", "[Service]\nExecStart=/usr/bin/viewer\n[Install]\nWantedBy=default.target\n");
    write(mine + "mine.service.d/local.conf", "[Service]\nNice=5\n");
    link(mine + "mine.service", mine + "default.target.wants/mine.service");
    write("/usr/lib/systemd/user/vendor.service", "[Service]\nExecStart=/usr/bin/viewer\n[Install]\nWantedBy=default.target\n");
    StartupSwitch lights(startup);
    EXPECT_EQ(lights.trashablePaths(item("mine.service")),
              (std::vector<std::string>{mine + "mine.service", mine + "mine.service.d", mine + "default.target.wants/mine.service"}));
    EXPECT_TRUE(lights.trashablePaths(item("vendor.service")).empty());
}

} // namespace
} // namespace tessel
