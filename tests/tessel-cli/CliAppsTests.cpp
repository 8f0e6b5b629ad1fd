// tessel apps, run as the real tool on a machine described under --root with
// a home of its own: that the home, the root and LANG reach the app index,
// names kept to the byte, and what a script and a person read. How desktop
// entries are read and which wins is tested with the index.

#include <gtest/gtest.h>
#include <sys/stat.h>

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
              "[Desktop Entry]\nType=Application\nName=Viewer\nName[de]=Betrachter\nExec=viewer %F\nNoDisplay=true\n");
        write(root + "/usr/local/share/applications/caf\xe9.desktop", "[Desktop Entry]\nType=Application\nName=Caf\xe9\nExec=caf\xe9\n");
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
    const json report = runJson({"apps", "--json", "--root", root}, As::usual, home);
    const json& apps = report.at("apps");
    ASSERT_EQ(apps.size(), 2u) << report << "\nthe home's Hidden=true entry removes the editor";
    EXPECT_EQ(apps[0], (json{{"name", "Betrachter"}, {"identifier", "viewer"}, {"version", nullptr},
                             {"path", "/usr/bin/viewer"}, {"source", "other"}, {"isSystem", false}, {"bytes", nullptr},
                             {"isRunning", false}, {"isShown", false}, {"entry", "/usr/share/applications/viewer.desktop"}}));
    EXPECT_EQ(apps[1].at("nameBytes"), Base64::encode("Caf\xe9"));
    EXPECT_EQ(apps[1].at("identifierBytes"), Base64::encode("caf\xe9"));
    EXPECT_EQ(apps[1].at("pathBytes"), Base64::encode("/usr/bin/caf\xe9"));
    ASSERT_EQ(report.at("unreadable").size(), 1u);
    EXPECT_EQ(report.at("unreadable")[0].at("file"), home + "/.local/share/applications/broken.desktop");
}

TEST_F(DescribedApps, TextNamesEachAppAndWhatWasPassedOver) {
    const Outcome outcome = run({"apps", "--root=" + root});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("Betrachter (viewer, not shown in menus)\n  /usr/bin/viewer\n"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("Caf\\xe9 (caf\\xe9)\n"), std::string::npos) << outcome.out;
    EXPECT_NE(outcome.out.find("\n  " + home + "/.local/share/applications/broken.desktop: "), std::string::npos) << outcome.out;
    expectOneErrorLine(run({"apps", "--root", folder / "missing"}), 1, folder / "missing");
    expectOneErrorLine(run({"apps", "/usr"}), 2, "/usr");
}

} // namespace tessel::cli
