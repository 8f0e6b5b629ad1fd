// The session's login items and cron's jobs, read from a machine described
// under a root and a home, and the owners the whole Linux reading gives them.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>

#include "DescribedStartup.h"
#include "UninstallKit/AutostartEntries.h"
#include "UninstallKit/CronJobs.h"
#include "UninstallKit/LinuxStartupItems.h"

namespace tessel {
namespace {

struct LoginItems : DescribedStartup {
    std::map<std::string, StartupItem> byLabel(const std::vector<StartupItem>& items) const {
        std::map<std::string, StartupItem> found;
        for (const StartupItem& item : items) found.emplace(item.label, item);
        return found;
    }
    std::vector<std::pair<std::string, std::string>> unreadable;
};

TEST_F(LoginItems, TheUsersFileWinsAndEachSwitchKeepsAnEntryFromStarting) {
    const std::string system = "/etc/xdg/autostart/", own = machine.home + "/.config/autostart/";
    write(system + "tracker.desktop", "[Desktop Entry]\nType=Application\nName=Tracker\nExec=viewer --index\n");
    write(own + "tracker.desktop", "[Desktop Entry]\nHidden=true\n");
    write(system + "kde-only.desktop", "[Desktop Entry]\nExec=viewer\nOnlyShowIn=KDE;LXQt;\n");
    write(system + "not-here.desktop", "[Desktop Entry]\nExec=viewer\nNotShowIn=GNOME;\n");
    write(system + "switched.desktop", "[Desktop Entry]\nExec=viewer\nX-GNOME-Autostart-enabled=false\n");
    write(system + "tried.desktop", "[Desktop Entry]\nExec=viewer\nTryExec=missing-tool\n");
    write(own + "org.viewer.Viewer.desktop", "[Desktop Entry]\nExec=/usr/bin/flatpak run --command=sync org.viewer.Viewer\n"
                                             "X-Flatpak=org.viewer.Viewer\n");
    write(own + "broken.desktop", "Name=No group\n");
    link("/opt/gone/gone.desktop", own + "gone.desktop");
    startup.desktops = {"ubuntu", "GNOME"};

    std::map<std::string, StartupItem> items = byLabel(AutostartEntries::read(startup, unreadable));
    const StartupItem& tracker = items["tracker"];
    EXPECT_TRUE(tracker.disabled);
    EXPECT_EQ(tracker.path, own + "tracker.desktop");
    EXPECT_EQ(tracker.program, "/usr/bin/viewer") << "what it runs comes from the file it hides";
    EXPECT_EQ(tracker.detail, "Hidden=true in " + own + "tracker.desktop keeps it from starting.");
    EXPECT_EQ(items["kde-only"].detail, "It starts only in KDE or LXQt, and this session is ubuntu and GNOME.");
    EXPECT_EQ(items["not-here"].detail, "It does not start in ubuntu and GNOME.");
    EXPECT_EQ(items["switched"].detail, "X-GNOME-Autostart-enabled=false in " + system + "switched.desktop keeps it from starting.");
    EXPECT_EQ(items["tried"].detail, "Its TryExec program missing-tool is not installed, so it does not start.");
    for (const char* off : {"kde-only", "not-here", "switched", "tried", "broken", "gone"}) EXPECT_TRUE(items[off].disabled) << off;
    EXPECT_EQ(items["org.viewer.Viewer"].declaredApps, (std::vector<std::string>{"org.viewer.Viewer", "org.viewer.Viewer"}));
    EXPECT_FALSE(items["org.viewer.Viewer"].disabled || items["org.viewer.Viewer"].requiresAdministrator);
    EXPECT_EQ(items["gone"].detail, "Its file is a link to something that no longer exists, so nothing is started.");
    EXPECT_EQ(items["broken"].detail, "Its file could not be read, so what it runs is unknown.");
    ASSERT_EQ(unreadable.size(), 2u);

    startup.desktops = {};
    EXPECT_EQ(byLabel(AutostartEntries::read(startup, unreadable))["kde-only"].detail, "It starts only in KDE or LXQt.")
        << "outside a desktop session it is told, not judged";
}

TEST_F(LoginItems, CronJobsOfEveryTableAndFolderWithTheirProgramsAndSwitches) {
    program("/usr/local/bin/warm-cache");
    program("/opt/tool/run.py");
    program("/usr/bin/python3");
    program("/bin/sh");
    write("/etc/crontab", "SHELL=/bin/sh\nPATH=/usr/local/sbin:/usr/local/bin:/usr/bin\n"
                          "17 *\t* * * root cd / && run-parts --report /etc/cron.hourly\n@reboot root warm-cache --all\n");
    write("/etc/cron.d/php", "# comment\n09,39 * * * * root [ -x /usr/lib/php/clean ] && /usr/lib/php/clean\n");
    write("/etc/cron.d/tool.dpkg-old", "* * * * * root /bin/true\n*/5 * * * * root /bin/true\n");
    program("/etc/cron.daily/logrotate");
    write("/etc/cron.daily/notexec", "#!/bin/sh\n");
    write("/etc/cron.daily/.placeholder", "");
    program("/etc/cron.weekly/bad.name");
    write("/var/spool/cron/crontabs/ann", "MAILTO=ann\n30 2 * * 1 python3 /opt/tool/run.py --weekly%stdin\\%text\n");

    std::map<std::string, StartupItem> items = byLabel(CronJobs::read(startup, unreadable));
    EXPECT_EQ(items.size(), 8u);
    const StartupItem &reboot = items["crontab"], &php = items["php"], &mine = items["crontab of ann"];
    EXPECT_EQ(reboot.program, "/usr/local/bin/warm-cache") << "found on the table's own PATH; the run-parts line is the folders'";
    EXPECT_EQ(reboot.detail, "It runs as root when the system starts.");
    EXPECT_EQ(reboot.changeCommand, "sudoedit /etc/crontab");
    EXPECT_EQ(php.program, "/bin/sh");
    EXPECT_EQ(php.arguments, (std::vector<std::string>{"-c", "[ -x /usr/lib/php/clean ] && /usr/lib/php/clean"}));
    EXPECT_EQ(php.detail, "It runs as root on the schedule 09,39 * * * *.");
    EXPECT_TRUE(items["tool.dpkg-old#1"].disabled && items["tool.dpkg-old#2"].disabled) << "cron passes over a name with a dot";
    EXPECT_FALSE(items["cron.daily/logrotate"].disabled);
    EXPECT_EQ(items["cron.daily/logrotate"].changeCommand, "sudo chmod -x /etc/cron.daily/logrotate");
    EXPECT_EQ(items["cron.daily/notexec"].detail, "It is not executable, so run-parts passes over it.");
    EXPECT_TRUE(items["cron.weekly/bad.name"].disabled);
    EXPECT_EQ(mine.program, "/opt/tool/run.py") << "the script python3 runs; what follows % is its input";
    EXPECT_EQ(mine.arguments, (std::vector<std::string>{"/opt/tool/run.py", "--weekly"}));
    EXPECT_FALSE(mine.requiresAdministrator);
    EXPECT_EQ(mine.changeCommand, "crontab -e");
    EXPECT_EQ(CronJobs::simpleCommand("tool a  b"), (std::vector<std::string>{"tool", "a", "b"}));
    EXPECT_EQ(CronJobs::simpleCommand("tool > /dev/null"), std::nullopt);
}

TEST_F(LoginItems, TheWholeReadingIsSortedByKindAndJudgedByDeclaredAppAndByName) {
    write(machine.home + "/.config/autostart/org.viewer.Viewer.desktop",
          "[Desktop Entry]\nExec=flatpak run org.viewer.Viewer\nX-Flatpak=org.gone.App\n");
    write(machine.home + "/.config/autostart/com.solo.Tray.desktop", "[Desktop Entry]\nExec=viewer\n");
    write("/usr/lib/systemd/system/systemd-tidy.service", "[Service]\nExecStart=/bin/tidy\n[Install]\nWantedBy=a.target\n");
    write("/etc/cron.d/com.solo", "* * * * * root /bin/true\n@daily root /bin/true\n");
    StartupOwnership ownership;
    InstalledApp viewer, solo;
    viewer.name = "Viewer";
    viewer.bundleIdentifier = "org.viewer.Viewer";
    viewer.source = "flatpak";
    solo.name = "Solo";
    solo.bundleIdentifier = "com.solo.Editor";
    solo.source = "other";
    ownership.apps = {viewer, solo};

    const StartupItemReport report = LinuxStartupItems::read(startup, ownership);
    std::vector<std::string> order;
    for (const StartupItem& item : report.items) order.push_back(item.label);
    EXPECT_EQ(order, (std::vector<std::string>{"com.solo.Tray", "org.viewer.Viewer", "com.solo#1", "com.solo#2",
                                               "systemd-tidy.service"}))
        << "login items, then scheduled jobs, then system services";
    std::map<std::string, StartupItem> items = byLabel(report.items);
    EXPECT_EQ(items["org.viewer.Viewer"].ownerReason, "It names Viewer as the app it belongs to.")
        << "X-Flatpak names an app that isn't installed; flatpak run names one that is";
    EXPECT_EQ(items["com.solo.Tray"].ownerConfidence, MatchConfidence::likely);
    EXPECT_TRUE(items["systemd-tidy.service"].isPlatform);
    EXPECT_EQ(items["systemd-tidy.service"].ownerReason, "Part of the system or of its desktop.");
    EXPECT_EQ(LinuxStartupItems::ownerName(items["com.solo#1"]), "com.solo");
    EXPECT_EQ(items["com.solo#2"].ownerConfidence, MatchConfidence::likely);
}

} // namespace
} // namespace tessel
