// Launchers taken out of GNOME's favourites (through a stand-in for gsettings
// that keeps the key in a file) and out of Plasma's applets file, and put
// back; and an app's launchers going with whatever takes the app to the Trash.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "Fixture.h"
#include "UninstallKit/AppLaunchers.h"
#include "UninstallKit/DesktopLaunchers.h"

using namespace tessel;

namespace {

// A task manager's launchers, and a launcher menu's own list, which is no task manager's.
const std::string appletsFile = "[Containments][1][Applets][3]\nplugin=org.kde.plasma.icontasks\n\n"
                                "[Containments][1][Applets][3][Configuration][General]\n"
                                "launchers=applications:org.kde.dolphin.desktop,preferred://browser,"
                                "file:///home/me/.local/share/applications/my%20tool.desktop,applications:firefox.desktop\n"
                                "showOnlyCurrentDesktop=false\n\n"
                                "[Containments][1][Applets][4]\nplugin=org.kde.plasma.kickoff\n\n"
                                "[Containments][1][Applets][4][Configuration][General]\nlaunchers=applications:firefox.desktop\n";

std::shared_ptr<DesktopLaunchers> plasmaOnly(const std::string& path) {
    std::vector<std::unique_ptr<LauncherStore>> stores;
    stores.push_back(std::make_unique<PlasmaLaunchers>(path));
    return std::make_shared<DesktopLaunchers>(std::move(stores));
}

// The first launchers= line of `path`.
std::string pinned(const std::string& path) {
    const std::string all = test::readText(path);
    const std::size_t at = all.find("launchers=") + 10;
    return all.substr(at, all.find('\n', at) - at);
}

InstalledApp appAt(const std::string& id, const std::string& entry, const std::string& program) {
    InstalledApp app;
    app.desktopId = id;
    app.entryPath = entry;
    app.bundlePath = program;
    app.programPath = program;
    return app;
}

} // namespace

TEST(GnomeFavoriteText, StringArraysReadAndWriteAsGsettingsDoes) {
    EXPECT_EQ(GnomeFavorites::parseStrings("['a.desktop', 'it\\'s.desktop', \"b.desktop\"]\n"),
              (std::vector<std::string>{"a.desktop", "it's.desktop", "b.desktop"}));
    EXPECT_EQ(GnomeFavorites::parseStrings("@as []\n"), std::vector<std::string>{});
    EXPECT_EQ(GnomeFavorites::printStrings({"a.desktop", "it's\\.desktop"}), "['a.desktop', 'it\\'s\\\\.desktop']");
    for (const char* broken : {"", "[", "['a'", "['a' 'b']", "[a]", "'a'"})
        EXPECT_EQ(GnomeFavorites::parseStrings(broken), std::nullopt) << broken;
}

TEST(PlasmaTaskManagers, TaskManagerLaunchersGoAndComeBackAndTheRestOfTheFileStays) {
    test::TempFolder config;
    const std::string path = config / "plasma-org.kde.plasma.desktop-appletsrc";
    test::writeText(path, appletsFile);
    const std::shared_ptr<DesktopLaunchers> launchers = plasmaOnly(path);
    EXPECT_EQ(launchers->removeApps({"org.kde.dolphin.desktop", "my tool.desktop"}), 2u);
    EXPECT_EQ(pinned(path), "preferred://browser,applications:firefox.desktop");
    EXPECT_TRUE(test::readText(path).ends_with("\nlaunchers=applications:firefox.desktop\n")) << "the launcher menu's list stays";
    launchers->restoreApps({"my tool.desktop"});
    launchers->restoreApps({"org.kde.dolphin.desktop"});
    EXPECT_EQ(test::readText(path), appletsFile) << "each back at its place, whatever the order of the undo";

    const auto orphans = launchers->orphans([](const std::string& id) { return id == "org.kde.dolphin.desktop"; });
    ASSERT_EQ(orphans.size(), 2u);
    EXPECT_EQ(orphans[0].entry, "file:///home/me/.local/share/applications/my%20tool.desktop");
    launchers->removeOrphans(orphans);
    EXPECT_EQ(pinned(path), "applications:org.kde.dolphin.desktop,preferred://browser");
    // An applets file that is a pipe is never waited on, and nothing is written in its place.
    ASSERT_EQ(mkfifo((config / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(plasmaOnly(config / "pipe")->removeApps({"firefox.desktop"}), 0u);
}

TEST(GnomeDash, TakenThroughGsettingsAndPutBackAtTheirPlacesAndWithoutGnomeNothingIsTouched) {
    test::TempFolder folder;
    const std::string key = folder / "favorite-apps", gsettings = folder / "gsettings";
    test::writeText(key, "['org.gnome.Nautilus.desktop', 'org.gimp.GIMP.desktop', 'firefox-esr.desktop']\n");
    // get SCHEMA KEY prints the value; set SCHEMA KEY VALUE keeps it.
    test::writeText(gsettings, "#!/bin/sh\ncase \"$1\" in get) cat '" + key + "' ;; set) printf '%s\\n' \"$4\" > '" + key +
                                   "' ;; *) exit 1 ;; esac\n");
    chmod(gsettings.c_str(), 0755);
    std::vector<std::unique_ptr<LauncherStore>> stores;
    stores.push_back(std::make_unique<GnomeFavorites>(gsettings));
    stores.push_back(std::make_unique<PlasmaLaunchers>(folder / "no-plasma-here"));
    DesktopLaunchers launchers(std::move(stores));
    EXPECT_EQ(launchers.removeApps({"org.gimp.GIMP.desktop"}), 1u);
    EXPECT_EQ(test::readText(key), "['org.gnome.Nautilus.desktop', 'firefox-esr.desktop']\n");
    launchers.restoreApps({"org.gimp.GIMP.desktop"});
    EXPECT_EQ(test::readText(key), "['org.gnome.Nautilus.desktop', 'org.gimp.GIMP.desktop', 'firefox-esr.desktop']\n");

    std::vector<std::unique_ptr<LauncherStore>> none;
    none.push_back(std::make_unique<GnomeFavorites>("/bin/false"));
    EXPECT_EQ(DesktopLaunchers(std::move(none)).removeApps({"org.gimp.GIMP.desktop"}), 0u);
}

TEST(AppLaunchers, AnAppIsAtItsProgramItsEntryOrAFolderThatHoldsThem) {
    const std::vector<InstalledApp> apps{appAt("tool.desktop", "/home/me/.local/share/applications/tool.desktop", "/home/me/Tool.AppImage"),
                                         appAt("ed.desktop", "/usr/share/applications/ed.desktop", "/opt/editor/bin/editor")};
    EXPECT_EQ(AppLaunchers::desktopIdsAt("/home/me/Tool.AppImage", apps), std::vector<std::string>{"tool.desktop"});
    EXPECT_EQ(AppLaunchers::desktopIdsAt("/opt/editor", apps), std::vector<std::string>{"ed.desktop"});
    EXPECT_EQ(AppLaunchers::desktopIdsAt("/opt/edit", apps), std::vector<std::string>{}) << "a folder holds what is below a slash";
    EXPECT_EQ(AppLaunchers::desktopIdsAt("/home/me/.local/share/applications/new.desktop", apps), std::vector<std::string>{"new.desktop"})
        << "an entry is known by its own name";
}

TEST(AppLaunchers, MovingAnAppTakesItsLauncherAndPuttingItBackRestoresIt) {
    test::TempFolder folder;
    const std::string file = folder / "applets";
    test::writeText(file, "[A]\nplugin=org.kde.plasma.taskmanager\n[A][Configuration][General]\n"
                          "launchers=applications:tool.desktop,applications:ed.desktop,applications:other.desktop\n");
    const std::vector<InstalledApp> apps{appAt("tool.desktop", "/home/me/.local/share/applications/tool.desktop", "/home/me/Tool.AppImage"),
                                         appAt("ed.desktop", "/usr/share/applications/ed.desktop", "/opt/editor/bin/editor")};
    AppLaunchers tiles(plasmaOnly(file), [&] { return apps; });
    tiles.prepare();
    tiles.remove({{"/home/me/Tool.AppImage", "/home/me/.local/share/Trash/files/Tool.AppImage"},
                  {"/home/me/Documents/letter.txt", "/home/me/.local/share/Trash/files/letter.txt"}});
    tiles.remove({{"/opt/editor", "/opt/.Trash-0/files/editor"}});
    EXPECT_EQ(pinned(file), "applications:other.desktop");
    tiles.restore({"/home/me/Tool.AppImage"});
    tiles.restore({"/opt/editor"});
    tiles.restore({"/opt/editor"}); // nothing kept for it any more
    EXPECT_EQ(pinned(file), "applications:tool.desktop,applications:ed.desktop,applications:other.desktop");
}
