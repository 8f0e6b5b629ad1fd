// What runs, read from a /proc and a runtime folder that the tests describe,
// and from this machine's own.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "Fixture.h"
#include "UninstallKit/RunningPrograms.h"

using namespace tessel;

namespace {

void write(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

} // namespace

TEST(RunningUnits, AppsAreReadOutOfTheUnitsDesktopsAndSnapdStartThemIn) {
    EXPECT_EQ(RunningPrograms::appOfUnit("app-gnome-org.gnome.Maps-1234.scope"), "org.gnome.Maps");
    EXPECT_EQ(RunningPrograms::appOfUnit("app-flatpak-org.gimp.GIMP-5678.scope"), "org.gimp.GIMP");
    EXPECT_EQ(RunningPrograms::appOfUnit("app-org.kde.konsole@8f3a.service"), "org.kde.konsole");
    EXPECT_EQ(RunningPrograms::appOfUnit("app-gnome-org.example.My\\x2dApp-99.scope"), "org.example.My-App");
    EXPECT_EQ(RunningPrograms::appOfUnit("app-gnome-firefox-4242.scope"), "firefox") << "a desktop ID without dots";
    EXPECT_EQ(RunningPrograms::appOfUnit("snap.firefox.firefox-1c2d3e.scope"), "firefox");
    for (const char* unit : {"session-2.scope", "user@1000.service", "app.slice", "app-.scope", "snap..x.scope", ""})
        EXPECT_EQ(RunningPrograms::appOfUnit(unit), std::nullopt) << unit;
}

TEST(RunningPrograms, ProgramsUnitsAndLiveFlatpakSandboxesOfADescribedMachine) {
    test::TempFolder machine;
    const std::string proc = machine / "proc", runtime = machine / "run";
    test::makeFolder(proc);
    for (const char* pid : {"100", "200", "300", "self"}) test::makeFolder(proc + "/" + pid);
    symlink("/usr/bin/gedit", (proc + "/100/exe").c_str());
    write(proc + "/100/cgroup", "0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-gnome-org.gnome.gedit-77.scope\n");
    symlink("/opt/tool/bin/tool (deleted)", (proc + "/200/exe").c_str());
    mkfifo((proc + "/200/cgroup").c_str(), 0600); // never waited on
    symlink("/usr/bin/not-a-process", (proc + "/self/exe").c_str());
    write(proc + "/300/cgroup", "12:memory:/user.slice\n0::/user.slice/snap.spotify.spotify-ab12.scope\n");
    write(proc + "/100/comm", "gedit-long-name\n");
    write(proc + "/300/cmdline", std::string("/usr/bin/python3.11\0-u\0/usr/bin/meld\0a.txt\0", 36));

    test::makeFolder(runtime);
    test::makeFolder(runtime + "/.flatpak");
    test::makeFolder(runtime + "/.flatpak/live");
    test::makeFolder(runtime + "/.flatpak/stale");
    write(runtime + "/.flatpak/live/info", "[Application]\nname=org.gimp.GIMP\n\n[Instance]\ninstance-id=1\n");
    write(runtime + "/.flatpak/live/bwrapinfo.json", "{\n    \"child-pid\": 300\n}\n");
    write(runtime + "/.flatpak/stale/info", "[Application]\nname=org.old.App\n");
    write(runtime + "/.flatpak/stale/bwrapinfo.json", "{\"child-pid\": 999}");

    const RunningPrograms running = RunningPrograms::read(proc, runtime);
    EXPECT_TRUE(running.runs("/usr/bin/gedit"));
    EXPECT_TRUE(running.runs("/opt/tool/bin/tool")) << "a program replaced while it runs still runs";
    EXPECT_FALSE(running.runs("/usr/bin/not-a-process")) << "only numbered entries are processes";
    EXPECT_TRUE(running.runsApp("org.gnome.gedit"));
    EXPECT_TRUE(running.runsApp("spotify"));
    EXPECT_TRUE(running.runsApp("org.gimp.GIMP"));
    EXPECT_FALSE(running.runsApp("org.old.App")) << "a sandbox whose process is gone";
    for (const char* name : {"gedit-long-name", "gedit", "tool", "python3.11", "meld"}) EXPECT_TRUE(running.runsNamed(name)) << name;
    EXPECT_FALSE(running.runsNamed("a.txt")) << "only the script an interpreter runs";
    EXPECT_FALSE(running.runsNamed("-u"));
}

TEST(RunningPrograms, ThisMachinesOwnProcessesIncludeThisTest) {
    char self[4096] = {};
    ASSERT_GT(readlink("/proc/self/exe", self, sizeof self - 1), 0);
    EXPECT_TRUE(RunningPrograms::read().runs(self));
}

TEST(RunningPrograms, AToolWhoseNameTheKernelCutsIsKnownByItsProgram) {
    test::TempFolder folder;
    const std::string tool = folder / "gradle-daemon-worker";
    std::filesystem::copy_file("/bin/sleep", tool);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        execl(tool.c_str(), tool.c_str(), "30", static_cast<char*>(nullptr));
        _exit(127);
    }
    // The kernel's own name, cut to 15 bytes, appears once the program has replaced the copy of this test.
    bool seen = false;
    for (int attempt = 0; attempt < 200 && !seen; ++attempt) {
        seen = RunningPrograms::read().runsNamed("gradle-daemon-w");
        if (!seen) usleep(10'000);
    }
    const RunningPrograms running = RunningPrograms::read();
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(seen);
    EXPECT_TRUE(running.runsNamed("gradle-daemon-worker")) << "the program's whole name";
}
