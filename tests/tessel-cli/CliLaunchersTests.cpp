// tessel launchers, run as the real tool with a home of its own whose Plasma
// task manager pins an installed app and one that is gone.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "Fixture.h"
#include "ScopedEnvironment.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;

} // namespace

TEST(CliLaunchers, LaunchersOfGoneAppsAreListedAndTakenOffOnlyWhenAsked) {
    test::ScopedEnvironment environment;
    for (const char* name : {"XDG_DATA_DIRS", "XDG_DATA_HOME", "XDG_CONFIG_HOME"}) environment.unset(name);
    test::TempFolder folder;
    const std::string root = folder / "root", home = folder / "home";
    test::writeText(root + "/usr/share/applications/org.kde.dolphin.desktop", "[Desktop Entry]\nType=Application\nName=Dolphin\nExec=dolphin\n");
    const std::string applets = home + "/.config/plasma-org.kde.plasma.desktop-appletsrc";
    test::writeText(applets, "[Containments][1][Applets][3]\nplugin=org.kde.plasma.icontasks\n\n"
                   "[Containments][1][Applets][3][Configuration][General]\n"
                   "launchers=applications:org.kde.dolphin.desktop,preferred://browser,applications:gone.desktop\n");

    const Outcome listed = runTessel({"launchers", "--json", "--root", root}, As::usual, home);
    ASSERT_EQ(listed.status, 0) << listed.err;
    const json report = json::parse(listed.out);
    ASSERT_EQ(report["orphans"].size(), 1u) << listed.out;
    EXPECT_EQ(report["orphans"][0]["entry"], "applications:gone.desktop");
    EXPECT_FALSE(report["removed"]);
    EXPECT_NE(test::readText(applets).find("gone.desktop"), std::string::npos) << "listing changes nothing";

    const Outcome removed = runTessel({"launchers", "--remove", "--root", root}, As::usual, home);
    ASSERT_EQ(removed.status, 0) << removed.err;
    EXPECT_NE(removed.out.find("taken off the desktop"), std::string::npos) << removed.out;
    EXPECT_NE(test::readText(applets).find("launchers=applications:org.kde.dolphin.desktop,preferred://browser\n"),
              std::string::npos)
        << test::readText(applets);
    const Outcome after = runTessel({"launchers", "--root", root}, As::usual, home);
    EXPECT_EQ(after.out, "Every pinned launcher opens an installed app.\n");
}

} // namespace tessel::cli
