// Launchers taken out of GNOME's favourites (through a stand-in for gsettings
// that keeps the key in a file) and out of Plasma's applets file, and put back.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "Fixture.h"
#include "UninstallKit/DesktopLaunchers.h"

using namespace tessel;

namespace {

void write(const std::string& path, const std::string& text) { std::ofstream(path) << text; }
std::string read(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

const std::string appletsFile = "[Containments][1]\n"
                                "plugin=org.kde.panel\n"
                                "\n"
                                "[Containments][1][Applets][3]\n"
                                "plugin=org.kde.plasma.icontasks\n"
                                "\n"
                                "[Containments][1][Applets][3][Configuration][General]\n"
                                "launchers=applications:org.kde.dolphin.desktop,preferred://browser,file:///home/me/.local/share/applications/my%20tool.desktop,applications:firefox.desktop\n"
                                "showOnlyCurrentDesktop=false\n"
                                "\n"
                                "[Containments][1][Applets][4]\n"
                                "plugin=org.kde.plasma.kickoff\n"
                                "\n"
                                "[Containments][1][Applets][4][Configuration][General]\n"
                                "launchers=applications:firefox.desktop\n";

DesktopLaunchers plasmaOnly(const std::string& path) {
    std::vector<std::unique_ptr<LauncherStore>> stores;
    stores.push_back(std::make_unique<PlasmaLaunchers>(path));
    return DesktopLaunchers(std::move(stores));
}

} // namespace

TEST(GnomeFavoriteText, StringArraysReadAndWriteAsGsettingsDoes) {
    EXPECT_EQ(GnomeFavorites::parseStrings("['a.desktop', 'it\\'s.desktop', \"b.desktop\"]\n"),
              (std::vector<std::string>{"a.desktop", "it's.desktop", "b.desktop"}));
    EXPECT_EQ(GnomeFavorites::parseStrings("@as []\n"), std::vector<std::string>{});
    EXPECT_EQ(GnomeFavorites::printStrings({"a.desktop", "it's\\.desktop"}), "['a.desktop', 'it\\'s\\\\.desktop']");
    EXPECT_EQ(GnomeFavorites::parseStrings(GnomeFavorites::printStrings({"x'y", "z"})), (std::vector<std::string>{"x'y", "z"}));
    for (const char* broken : {"", "[", "['a'", "['a' 'b']", "[a]", "'a'"})
        EXPECT_EQ(GnomeFavorites::parseStrings(broken), std::nullopt) << broken;
}

TEST(PlasmaTaskManagers, TaskManagerLaunchersGoAndComeBackAndTheRestOfTheFileStays) {
    test::TempFolder config;
    const std::string path = config / "plasma-org.kde.plasma.desktop-appletsrc";
    write(path, appletsFile);
    DesktopLaunchers launchers = plasmaOnly(path);
    EXPECT_EQ(launchers.removeApps({"org.kde.dolphin.desktop", "my tool.desktop"}), 2u);
    EXPECT_EQ(read(path), std::string(appletsFile).replace(
                              appletsFile.find("launchers=applications:org.kde"),
                              std::string("launchers=applications:org.kde.dolphin.desktop,preferred://browser,file:///home/me/.local/share/applications/my%20tool.desktop,applications:firefox.desktop").size(),
                              "launchers=preferred://browser,applications:firefox.desktop"))
        << "only the task manager's line changes; the launcher menu's own list is not a task manager's";
    launchers.restoreApps({"my tool.desktop"});
    launchers.restoreApps({"org.kde.dolphin.desktop"});
    EXPECT_EQ(read(path), appletsFile) << "each back at its place, whatever the order of the undo";
    EXPECT_EQ(launchers.removeApps({"org.gimp.GIMP.desktop"}), 0u);
    EXPECT_EQ(read(path), appletsFile);
    // An applets file that is a pipe is never waited on, and nothing is written in its place.
    const std::string pipe = config / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(plasmaOnly(pipe).removeApps({"firefox.desktop"}), 0u);
}

TEST(PlasmaTaskManagers, OrphansAreTheLaunchersOfAppsNoLongerInstalled) {
    test::TempFolder config;
    const std::string path = config / "applets";
    write(path, appletsFile);
    DesktopLaunchers launchers = plasmaOnly(path);
    const auto installed = [](const std::string& id) { return id == "org.kde.dolphin.desktop"; };
    const std::vector<DesktopLaunchers::Orphan> orphans = launchers.orphans(installed);
    ASSERT_EQ(orphans.size(), 2u);
    EXPECT_EQ(orphans[0].entry, "file:///home/me/.local/share/applications/my%20tool.desktop");
    EXPECT_EQ(orphans[1].entry, "applications:firefox.desktop");
    launchers.removeOrphans(orphans);
    EXPECT_TRUE(launchers.orphans(installed).empty());
    EXPECT_NE(read(path).find("launchers=applications:org.kde.dolphin.desktop,preferred://browser\n"), std::string::npos);
}

TEST(GnomeDash, TakenThroughGsettingsAndPutBackAtTheirPlaces) {
    test::TempFolder folder;
    const std::string key = folder / "favorite-apps", gsettings = folder / "gsettings";
    write(key, "['org.gnome.Nautilus.desktop', 'org.gimp.GIMP.desktop', 'firefox-esr.desktop']\n");
    // get SCHEMA KEY prints the value; set SCHEMA KEY VALUE keeps it.
    write(gsettings, "#!/bin/sh\ncase \"$1\" in get) cat '" + key + "' ;; set) printf '%s\\n' \"$4\" > '" + key +
                         "' ;; *) exit 1 ;; esac\n");
    chmod(gsettings.c_str(), 0755);
    std::vector<std::unique_ptr<LauncherStore>> stores;
    stores.push_back(std::make_unique<GnomeFavorites>(gsettings));
    stores.push_back(std::make_unique<PlasmaLaunchers>(folder / "no-plasma-here"));
    DesktopLaunchers launchers(std::move(stores));
    EXPECT_EQ(launchers.removeApps({"org.gimp.GIMP.desktop"}), 1u);
    EXPECT_EQ(read(key), "['org.gnome.Nautilus.desktop', 'firefox-esr.desktop']\n");
    launchers.restoreApps({"org.gimp.GIMP.desktop"});
    EXPECT_EQ(read(key), "['org.gnome.Nautilus.desktop', 'org.gimp.GIMP.desktop', 'firefox-esr.desktop']\n");
}

TEST(GnomeDash, WithoutGnomeNothingIsReadOrTouched) {
    test::TempFolder folder;
    std::vector<std::unique_ptr<LauncherStore>> stores;
    stores.push_back(std::make_unique<GnomeFavorites>("/bin/false"));
    DesktopLaunchers launchers(std::move(stores));
    EXPECT_EQ(launchers.removeApps({"org.gimp.GIMP.desktop"}), 0u);
    EXPECT_TRUE(launchers.orphans([](const std::string&) { return false; }).empty());
}
