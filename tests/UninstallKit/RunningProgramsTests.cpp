// What runs, read from a /proc and a runtime folder that the tests describe,
// and from this machine's own.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Fixture.h"
#include "UninstallKit/RunningPrograms.h"

using namespace tessel;

TEST(RunningUnits, AppsAreReadOutOfTheUnitsDesktopsAndSnapdStartThemIn) {
    for (const auto& [unit, app] : std::vector<std::pair<const char*, const char*>>{
             {"app-gnome-org.gnome.Maps-1234.scope", "org.gnome.Maps"}, {"app-flatpak-org.gimp.GIMP-5678.scope", "org.gimp.GIMP"},
             {"app-org.kde.konsole@8f3a.service", "org.kde.konsole"}, {"app-gnome-org.example.My\\x2dApp-99.scope", "org.example.My-App"},
             {"app-gnome-firefox-4242.scope", "firefox"}, {"snap.firefox.firefox-1c2d3e.scope", "firefox"}})
        EXPECT_EQ(RunningPrograms::appOfUnit(unit), app) << unit;
    for (const char* unit : {"session-2.scope", "user@1000.service", "app.slice", "app-.scope", "snap..x.scope", ""})
        EXPECT_EQ(RunningPrograms::appOfUnit(unit), std::nullopt) << unit;
}

TEST(RunningPrograms, ProgramsUnitsAndLiveFlatpakSandboxesOfADescribedMachine) {
    test::TempFolder machine;
    const std::string proc = machine / "proc", flatpak = machine / "run/.flatpak";
    test::writeText(proc + "/100/cgroup", "0::/user.slice/user@1000.service/app.slice/app-gnome-org.gnome.gedit-77.scope\n");
    test::writeText(proc + "/100/comm", "gedit-long-name\n");
    test::makeSymlink("/usr/bin/gedit", proc + "/100/exe");
    for (const char* pid : {"200", "self"}) test::makeFolder(proc + "/" + pid);
    test::makeSymlink("/opt/tool/bin/tool (deleted)", proc + "/200/exe");
    ASSERT_EQ(mkfifo((proc + "/200/cgroup").c_str(), 0600), 0) << "never waited on";
    test::writeText(proc + "/300/cgroup", "12:memory:/user.slice\n0::/user.slice/snap.spotify.spotify-ab12.scope\n");
    test::writeText(proc + "/300/cmdline", std::string("/usr/bin/python3.11\0-u\0/usr/bin/meld\0a.txt\0", 36));
    test::makeSymlink("/usr/bin/not-a-process", proc + "/self/exe");
    test::writeText(flatpak + "/live/info", "[Application]\nname=org.gimp.GIMP\n\n[Instance]\ninstance-id=1\n");
    test::writeText(flatpak + "/live/bwrapinfo.json", "{\n    \"child-pid\": 300\n}\n");
    test::writeText(flatpak + "/stale/info", "[Application]\nname=org.old.App\n");
    test::writeText(flatpak + "/stale/bwrapinfo.json", "{\"child-pid\": 999}");

    const RunningPrograms running = RunningPrograms::read(proc, machine / "run");
    EXPECT_TRUE(running.runs("/usr/bin/gedit"));
    EXPECT_TRUE(running.runs("/opt/tool/bin/tool")) << "a program replaced while it runs still runs";
    EXPECT_FALSE(running.runs("/usr/bin/not-a-process")) << "only numbered entries are processes";
    for (const char* app : {"org.gnome.gedit", "spotify", "org.gimp.GIMP"}) EXPECT_TRUE(running.runsApp(app)) << app;
    EXPECT_FALSE(running.runsApp("org.old.App")) << "a sandbox whose process is gone";
    for (const char* name : {"gedit-long-name", "gedit", "tool", "python3.11", "meld"}) EXPECT_TRUE(running.runsNamed(name)) << name;
    EXPECT_FALSE(running.runsNamed("a.txt")) << "only the script an interpreter runs";
}

TEST(RunningPrograms, OnThisMachineAToolWhoseNameTheKernelCutsIsKnownByItsWholeName) {
    test::TempFolder folder;
    std::string tool = folder / "gradle-daemon-worker", seconds = "30";
    test::makeSymlink("/bin/sleep", tool);
    char* words[] = {tool.data(), seconds.data(), nullptr};
    pid_t child = 0;
    ASSERT_EQ(posix_spawn(&child, tool.c_str(), nullptr, nullptr, words, environ), 0);
    // posix_spawn returns once the child has its new memory, a moment before the kernel
    // points its command line at the arguments: until then the line reads empty.
    const std::string commandLine = "/proc/" + std::to_string(child) + "/cmdline";
    for (int tries = 0; tries < 500 && test::readText(commandLine).empty(); ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const RunningPrograms running = RunningPrograms::read();
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(running.runsNamed("gradle-daemon-w")) << "the kernel's own name, cut to 15 bytes";
    EXPECT_TRUE(running.runsNamed("gradle-daemon-worker"));
    char self[4096] = {};
    ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
    EXPECT_TRUE(running.runs(self)) << "this test";
}
