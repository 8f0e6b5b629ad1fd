// tessel apps, uninstall, unused, launchers, junk and leftovers, run as the real tool on a
// machine described under --root with a home of its own: that the home, the
// root and LANG reach the kits, names kept to the byte, what a script and a
// person read, and that only what is chosen goes to that home's Trash. How
// entries are read, residue graded and junk found is the kit's own, tested there.

#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <ctime>
#include <filesystem>
#include <map>

#include "DiskScanKit/NameBytes.h"
#include "ScopedEnvironment.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

struct Apps : WithHome {
    test::ScopedEnvironment environment;
    test::TempFolder root;
    void SetUp() override {
        for (const char* name : {"XDG_DATA_DIRS", "LC_ALL", "LC_MESSAGES"}) environment.unset(name);
        environment.set("LANG", "de_DE.UTF-8");
        environment.set("PATH", "/usr/bin:/bin");
    }
    void entry(const std::string& path, const std::string& name, const std::string& more) const {
        test::writeText(path, "[Desktop Entry]\nType=Application\nName=" + name + "\n" + more);
    }
    void programs(const std::vector<std::string>& paths) const {
        for (const std::string& program : paths) {
            test::writeText(root / program, "#!/bin/sh\n");
            chmod((root / program).c_str(), 0755);
        }
    }
};

TEST_F(Apps, TheHomeTheRootAndTheLanguageReachTheListAndNamesKeepTheirBytes) {
    programs({"/usr/bin/viewer", "/usr/bin/caf\xe9"});
    entry(root / "usr/share/applications/viewer.desktop", "Viewer", "Name[de]=Betrachter\nExec=viewer %F\nNoDisplay=true\n");
    entry(root / "usr/share/applications/caf\xe9.desktop", "Caf\xe9", "Exec=caf\xe9\n");
    test::writeText(home / ".local/share/applications/broken.desktop", "Name=Broken\n");
    const json report = runJson({"apps", "--json", "--root", root.path()});
    const json& apps = report.at("apps");
    ASSERT_EQ(apps.size(), 2u) << report;
    EXPECT_EQ(apps[0], (json{{"name", "Betrachter"}, {"identifier", "viewer"}, {"version", nullptr},
                             {"path", "/usr/bin/viewer"}, {"source", "other"}, {"isSystem", false}, {"bytes", nullptr},
                             {"isRunning", false}, {"isShown", false}, {"entry", "/usr/share/applications/viewer.desktop"}}));
    EXPECT_EQ(apps[1].at("pathBytes"), Base64::encode("/usr/bin/caf\xe9"));
    EXPECT_EQ(report.at("unreadable").at(0).at("file"), home / ".local/share/applications/broken.desktop");

    const Outcome text = run({"apps", "--root=" + root.path()});
    EXPECT_NE(text.out.find("Betrachter (viewer, not shown in menus)\n  /usr/bin/viewer\n"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("Caf\\xe9 (caf\\xe9)\n"), std::string::npos) << text.out;
    expectOneErrorLine(run({"apps", "--root", root / "missing"}), 1, root / "missing");
}

TEST_F(Apps, AnUninstalledAppImageGoesToTheTrashWholeWithItsResidue) {
    const std::string image = home / "Applications/Editor.AppImage", bytes = "\x7f" "ELF appimage bytes \x01\x02";
    test::writeText(image, bytes);
    fs::permissions(image, fs::perms::owner_all);
    entry(home / ".local/share/applications/editor.desktop", "Editor", "Exec=" + image + " %F\n");
    test::writeText(home / ".config/editor/settings.ini", "theme=dark\n");
    const json plan = runJson({"uninstall", "--json", "--dry-run", "--root", root.path(), "Editor"});
    EXPECT_EQ(plan.at("bundle").at("path"), image);
    EXPECT_EQ(plan.at("residue").size(), 2u) << plan;
    EXPECT_TRUE(fs::exists(image)) << "a dry run moves nothing";

    const Outcome removed = run({"uninstall", "--root", root.path(), "editor"});
    ASSERT_EQ(removed.status, 0) << removed.out << removed.err;
    EXPECT_EQ(test::readText(home / ".local/share/Trash/files/Editor.AppImage"), bytes) << "moved whole, byte for byte";
    EXPECT_EQ(test::readText(home / ".local/share/Trash/files/editor/settings.ini"), "theme=dark\n");
    EXPECT_FALSE(fs::exists(home / ".local/share/applications/editor.desktop"));
    expectOneErrorLine(run({"uninstall", "--root", root.path(), "Nothing Like It"}), 1, "Nothing Like It");
}

TEST_F(Apps, UnusedReadsTheHomesRecordsAndTheRootsMountTableAndSaysWhyItCantTell) {
    programs({"/usr/bin/viewer", "/opt/tool/tool"});
    entry(root / "usr/share/applications/viewer.desktop", "Viewer", "Exec=viewer\n");
    entry(root / "usr/share/applications/tool.desktop", "Tool", "Exec=/opt/tool/tool\n");
    test::writeText(root / "proc/self/mountinfo", "20 1 8:1 / / rw,relatime - ext4 /dev/sda1 rw\n"
                                                  "21 20 8:2 / /opt rw,noatime - ext4 /dev/sda2 rw\n");
    test::writeText(home / ".local/share/gnome-shell/application_state",
                    "<application-state><context id=\"\"><application id=\"viewer.desktop\" score=\"1\" last-seen=\"" +
                        std::to_string(std::time(nullptr)) + "\"/></context></application-state>");
    const std::string why = "Nothing on this machine records when it was last opened: the disk holding its program is "
                            "mounted with noatime, and the desktop's records of the apps in use don't mention it.";
    const json report = runJson({"unused", "--json", "--days", "30", "--root", root.path()});
    EXPECT_EQ(report.at("days"), 30);
    EXPECT_EQ(report.at("apps"), json::array()) << "Viewer was seen today: " << report;
    ASSERT_EQ(report.at("unknown").size(), 1u) << report;
    EXPECT_EQ(report.at("unknown")[0].at("app").at("path"), "/opt/tool/tool");
    EXPECT_EQ(report.at("unknown")[0].at("why"), why);

    const Outcome text = run({"unused", "--root", root.path()});
    EXPECT_EQ(text.out, "No app is known to have gone unopened for 90 days.\n1 app can't be told:\n  " + why + "\n    Tool\n");
    for (const char* days : {"0", "36501"}) expectOneErrorLine(run({"unused", "--days", days}), 2, "--days");
}

TEST_F(Apps, LaunchersOfGoneAppsAreListedAndTakenOffOnlyWhenAsked) {
    entry(root / "usr/share/applications/org.kde.dolphin.desktop", "Dolphin", "Exec=dolphin\n");
    const std::string applets = home / ".config/plasma-org.kde.plasma.desktop-appletsrc";
    test::writeText(applets, "[Containments][1][Applets][3]\nplugin=org.kde.plasma.icontasks\n\n"
                             "[Containments][1][Applets][3][Configuration][General]\n"
                             "launchers=applications:org.kde.dolphin.desktop,applications:gone.desktop\n");
    const json report = runJson({"launchers", "--json", "--root", root.path()});
    ASSERT_EQ(report.at("orphans").size(), 1u) << report;
    EXPECT_EQ(report.at("orphans")[0].at("entry"), "applications:gone.desktop");
    EXPECT_NE(test::readText(applets).find("gone.desktop"), std::string::npos) << "listing changes nothing";
    EXPECT_EQ(run({"launchers", "--remove", "--root", root.path()}).status, 0);
    EXPECT_NE(test::readText(applets).find("launchers=applications:org.kde.dolphin.desktop\n"), std::string::npos);
}

TEST_F(Apps, ARunningProgramHoldsItsJunkBackAndCleanTakesOnlyWhatIsTicked) {
    for (const char* file : {".cache/viewer/blob", ".cache/quietbuilder/blob", "Downloads/tool.deb"}) {
        fs::create_directories(fs::path(home / file).parent_path());
        test::writeFile(home / file, 1'200'000);
    }
    // A program of the name the cache is named for runs while the tool looks; it has its name once spawned.
    std::string program = root / "quietbuilder", seconds = "30";
    test::makeSymlink("/bin/sleep", program);
    char* words[] = {program.data(), seconds.data(), nullptr};
    pid_t child = 0;
    ASSERT_EQ(posix_spawn(&child, program.c_str(), nullptr, nullptr, words, environ), 0);
    const json report = runJson({"junk", "--json", "--root", root.path()});
    const Outcome cleaned = run({"junk", "--clean", "--root", root.path()});
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);

    std::map<std::string, json> items;
    for (const json& item : report.at("items")) items[item.at("path")] = item;
    const json &viewer = items[home / ".cache/viewer"], &held = items[home / ".cache/quietbuilder"],
               &installer = items[home / "Downloads/tool.deb"];
    EXPECT_EQ(viewer.value("category", ""), "appCaches") << report;
    EXPECT_EQ(viewer.value("startsTicked", false), true);
    EXPECT_EQ(held.value("inUse", false), true) << report;
    EXPECT_EQ(held.value("startsTicked", true), false) << "a cache whose program runs is not ticked";
    EXPECT_EQ(installer.value("startsTicked", true), false) << "the user's own, never ticked";
    EXPECT_EQ(report.at("tickedBytes"), viewer.value("bytes", -1));
    ASSERT_EQ(cleaned.status, 0) << cleaned.out << cleaned.err;
    EXPECT_TRUE(fs::exists(home / ".local/share/Trash/files/viewer")) << "moved, not deleted";
    EXPECT_TRUE(fs::exists(home / ".cache/quietbuilder") && fs::exists(home / "Downloads/tool.deb"));
}

TEST_F(Apps, LeftoversOfARemovedPackageAreFoundAndCleanTakesOnlyTheQuietCache) {
    test::writeText(root / "var/log/dpkg.log", "2024-03-01 10:00:00 remove spotify-client:amd64 1:1.2 <none>\n");
    fs::create_directories(home / ".cache/spotify/Data");
    test::writeFile(home / ".cache/spotify/Data/blob", 300'000);
    test::writeText(home / ".config/spotify/prefs", "volume=3\n");
    const std::string old = home / ".cache/spotify";
    for (const std::string& path : {old + "/Data/blob", old + "/Data", old})
        fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(24 * 90));
    const json report = runJson({"leftovers", "--json", "--root", root.path()});
    ASSERT_EQ(report.at("items").size(), 2u) << report;
    const json& cache = report.at("items")[0];
    EXPECT_EQ(cache.at("path"), old);
    EXPECT_EQ(cache.at("apparentOwner"), "spotify-client");
    EXPECT_EQ(cache.at("confidence"), "exact");
    EXPECT_EQ(cache.at("ticked"), true);
    EXPECT_EQ(report.at("items")[1].at("ticked"), false) << "a settings folder may hold what the app saved";

    const Outcome cleaned = run({"leftovers", "--clean", "--root", root.path()});
    ASSERT_EQ(cleaned.status, 0) << cleaned.out << cleaned.err;
    EXPECT_TRUE(fs::exists(home / ".local/share/Trash/files/spotify/Data/blob")) << "moved, not deleted";
    EXPECT_EQ(test::readText(home / ".config/spotify/prefs"), "volume=3\n");
}

} // namespace
} // namespace tessel::cli
