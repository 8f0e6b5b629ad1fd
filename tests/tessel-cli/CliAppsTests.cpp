// tessel apps, run as the real tool on a machine described under --root with
// a home of its own: precedence between the home and the system, names kept
// to the byte, the locale, and what a script and a person read.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "DiskScanKit/NameBytes.h"
#include "Fixture.h"
#include "ScopedEnvironment.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;

struct DescribedApps : ::testing::Test {
    void SetUp() override {
        for (const char* name : {"XDG_DATA_DIRS", "LC_ALL", "LC_MESSAGES"}) environment.unset(name);
        environment.set("LANG", "de_DE.UTF-8");
        environment.set("PATH", "/usr/bin:/bin");
        write(root + "/usr/bin/viewer", "#!/bin/sh\n", 0755);
        write(root + "/usr/bin/caf\xe9", "#!/bin/sh\n", 0755);
        write(root + "/usr/share/applications/viewer.desktop",
              "[Desktop Entry]\nType=Application\nName=Viewer\nName[de]=Betrachter\nExec=viewer %F\n");
        write(root + "/usr/local/share/applications/caf\xe9.desktop",
              "[Desktop Entry]\nType=Application\nName=Caf\xe9\nExec=caf\xe9\n");
        write(root + "/usr/share/applications/editor.desktop", "[Desktop Entry]\nType=Application\nName=Editor\nExec=viewer\n");
        write(home + "/.local/share/applications/editor.desktop", "[Desktop Entry]\nType=Application\nHidden=true\n");
        write(home + "/.local/share/applications/broken.desktop", "Name=Broken\n");
    }
    static void write(const std::string& path, const std::string& text, mode_t mode = 0644) {
        std::filesystem::create_directories(path.substr(0, path.rfind('/')));
        std::ofstream(path) << text;
        chmod(path.c_str(), mode);
    }
    Outcome run(std::vector<std::string> words) { return runTessel(std::move(words), As::usual, home); }

    test::ScopedEnvironment environment;
    test::TempFolder folder;
    std::string root = folder / "root";
    std::string home = folder / "home";
};

} // namespace

TEST_F(DescribedApps, JsonListsTheAppsByNameWithTheirPathsToTheByte) {
    const Outcome outcome = run({"apps", "--json", "--root", root});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json report = json::parse(outcome.out);
    const json& apps = report.at("apps");
    ASSERT_EQ(apps.size(), 2u) << outcome.out;

    const json& viewer = apps[0];
    EXPECT_EQ(viewer["name"], "Betrachter") << "named in the language LANG gives";
    EXPECT_EQ(viewer["identifier"], "viewer");
    EXPECT_TRUE(viewer["version"].is_null());
    EXPECT_EQ(viewer["path"], "/usr/bin/viewer");
    EXPECT_EQ(viewer["source"], "other");
    EXPECT_EQ(viewer["isSystem"], false);
    EXPECT_TRUE(viewer["bytes"].is_null());
    EXPECT_EQ(viewer["isRunning"], false);
    EXPECT_EQ(viewer["entry"], "/usr/share/applications/viewer.desktop");

    const json& cafe = apps[1];
    EXPECT_EQ(cafe["nameBytes"], Base64::encode("Caf\xe9"));
    EXPECT_EQ(cafe["identifierBytes"], Base64::encode("caf\xe9"));
    EXPECT_EQ(cafe["pathBytes"], Base64::encode("/usr/bin/caf\xe9"));
    EXPECT_EQ(cafe["entryBytes"], Base64::encode("/usr/local/share/applications/caf\xe9.desktop"));

    const json& unreadable = report.at("unreadable");
    ASSERT_EQ(unreadable.size(), 1u);
    EXPECT_EQ(unreadable[0]["file"], home + "/.local/share/applications/broken.desktop");
    EXPECT_EQ(unreadable[0]["reason"], home + "/.local/share/applications/broken.desktop: line 1: the key Name comes before any group");
}

TEST_F(DescribedApps, TextNamesEachAppAndWhatWasPassedOver) {
    write(root + "/usr/share/applications/helper.desktop",
          "[Desktop Entry]\nType=Application\nName=Helper\nNoDisplay=true\nExec=viewer\nX-Flatpak=org.example.Helper\n");
    const Outcome outcome = run({"apps", "--root=" + root});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("Betrachter (viewer)\n  /usr/bin/viewer\n"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("Helper (helper, flatpak, not shown in menus)\n  /usr/share/applications/helper.desktop\n"),
              std::string::npos)
        << outcome.out;
    EXPECT_EQ(outcome.out.find("Editor"), std::string::npos) << "the home's Hidden=true entry removes it";
    EXPECT_NE(outcome.out.find("Desktop entries passed over:\n  " + home + "/.local/share/applications/broken.desktop: "),
              std::string::npos);
}

TEST_F(DescribedApps, ARootThatIsNoFolderAndAPathAreRefused) {
    expectOneErrorLine(run({"apps", "--root", folder / "missing"}), 1, "is not a folder");
    expectOneErrorLine(run({"apps", "/usr"}), 2, "apps takes no path");
}

} // namespace tessel::cli
