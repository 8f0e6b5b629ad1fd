// The grouped process table over /proc trees described in a fixture: rates
// from two walks, pids given again, families by parent and by app unit, and
// files that are not what the kernel would write.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "FifoRelease.h"
#include "KernelTree.h"
#include "SystemStatsKit/ProcessSampler.h"
#include "SystemStatsKit/RunningProcesses.h"

using namespace tessel;
using namespace tessel::test;

namespace {

const std::string sessionCgroup = "0::/user.slice/user-1000.slice/session-2.scope\n";

using Process = FixtureProcess;

struct Processes : testing::Test {
    KernelTree kernel;
    ProcessSampler sampler{kernel.roots.proc, static_cast<std::uint32_t>(getuid()), 100};

    std::string folder(std::int32_t pid) const { return kernel.roots.proc + "/" + std::to_string(pid); }

    void run(const Process& p) const { kernel.process(p); }
    void run(std::initializer_list<Process> processes) const {
        for (const Process& p : processes) run(p);
    }

    static const ProcessUsage& row(const std::vector<ProcessUsage>& rows, const std::string& name) {
        auto found = std::find_if(rows.begin(), rows.end(), [&](const ProcessUsage& r) { return r.name == name; });
        if (found == rows.end()) throw std::runtime_error("no row " + name);
        return *found;
    }
};

} // namespace

TEST_F(Processes, TheFirstSampleHasNoRatesAndTheSecondDividesByTheInterval) {
    // sshd's parent is root's: sshd is the topmost, bash heads a family.
    run({{90, 1, "sshd"}, {100, 90, "bash", 0, 1000, 400, sessionCgroup, 4096}, {101, 100, "vim", 0, 1200, 600, sessionCgroup, 0}});
    std::vector<ProcessUsage> rows = sampler.sample({}, 10.0);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_FALSE(row(rows, "bash").cpu);
    EXPECT_FALSE(row(rows, "bash").disk);
    EXPECT_EQ(row(rows, "bash").memory, 1000u * 1024);
    EXPECT_EQ(row(rows, "bash").pids, (std::vector<std::int32_t>{100, 101})) << "vim counts in its shell's family";

    // Two seconds later: vim used 0.5 s more and bash read 1,000 bytes.
    run({{100, 90, "bash", 0, 1000, 400, sessionCgroup, 5096}, {101, 100, "vim", 50, 1200, 600, sessionCgroup, 0}});
    rows = sampler.sample({}, 12.0);
    EXPECT_EQ(rows[0].name, "bash");
    EXPECT_DOUBLE_EQ(rows[0].cpu.value_or(-1), 0.25);
    EXPECT_DOUBLE_EQ(rows[0].disk.value_or(-1), 500);
    EXPECT_EQ(rows[0].bundlePath, "/usr/bin/bash");
    EXPECT_EQ(row(rows, "sshd").cpu, 0.0);

    sampler.reset();
    EXPECT_FALSE(sampler.sample({}, 14.0)[0].cpu) << "no rate spans a reset";
}

TEST_F(Processes, APidGivenAgainOrAProcessStartedBetweenWalksAddsMemoryAndNoCpu) {
    run({{90, 1, "sshd"}, {100, 90, "bash", 0}, {101, 100, "make", 0, 1200}});
    sampler.baseline(0.0); // reads no memory, and is baseline enough
    // 101 ended and its pid went to a new process with 30 s of CPU already;
    // 102 started. Only bash's own 1 s counts.
    run({{100, 90, "bash", 100}, {101, 100, "make", 3000, 5000, 700}, {102, 100, "cc1", 400, 5100, 800}});
    const ProcessUsage bash = row(sampler.sample({}, 1.0), "bash");
    EXPECT_DOUBLE_EQ(bash.cpu.value_or(-1), 1.0);
    EXPECT_EQ(bash.memory, (100u + 700 + 800) * 1024);
    EXPECT_EQ(bash.disk, 0.0) << "io of the processes seen twice, which read nothing";
}

TEST_F(Processes, ABusyChildCountsInItsParentsFamilyAndTheTopmostProcessStandsAlone) {
    // systemd --user's parent, pid 1, is root's and not in the table.
    run({{1500, 1, "systemd"}, {1510, 1500, "pipewire"}, {1600, 1500, "gnome-terminal-server"},
         {1610, 1600, "bash"}, {1700, 1610, "make"}, {1701, 1700, "cc1"}});
    sampler.sample({}, 0.0);
    run({1701, 1700, "cc1", 200});
    const std::vector<ProcessUsage> rows = sampler.sample({}, 2.0);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].name, "gnome-terminal-server") << "the busiest first";
    EXPECT_EQ(rows[0].pids, (std::vector<std::int32_t>{1600, 1610, 1700, 1701}));
    EXPECT_DOUBLE_EQ(rows[0].cpu.value_or(-1), 1.0);
    EXPECT_EQ(row(rows, "systemd").pids, (std::vector<std::int32_t>{1500}));
    EXPECT_EQ(row(rows, "pipewire").pids, (std::vector<std::int32_t>{1510}));
}

TEST_F(Processes, AnAppUnitIsOneFamilyWhateverTheParentsAndAListedAppNamesIt) {
    const std::string firefox = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-flatpak-org.mozilla.firefox-88.scope\n";
    const std::string terminal = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-org.gnome.Terminal.slice/vte-spawn-1.scope\n";
    run({{1500, 1, "systemd"}, {1999, 1500, "bwrap", 0, 900, 100, firefox}, {2000, 1999, "firefox", 0, 950, 100, firefox},
         {2001, 1500, "Web Content", 0, 990, 100, firefox}, {2100, 1500, "bash", 0, 1000, 100, terminal},
         {2101, 1500, "bash", 0, 1001, 100, terminal}});
    const std::vector<ProcessUsage> rows = sampler.sample({}, 0.0);
    const ProcessUsage& app = row(rows, "firefox");
    EXPECT_EQ(app.pids, (std::vector<std::int32_t>{1999, 2000, 2001}));
    EXPECT_EQ(app.appPID, 1999) << "the first process of the unit";
    EXPECT_EQ(app.appID, "org.mozilla.firefox");
    EXPECT_EQ(row(rows, "Terminal").pids, (std::vector<std::int32_t>{2100, 2101}));

    RunningApp listed{2000, "Firefox", "org.mozilla.firefox", "/app/lib/firefox/firefox", {}, {}, {}};
    const std::vector<ProcessUsage> named = sampler.sample({listed}, 1.0);
    EXPECT_EQ(row(named, "Firefox").appPID, 2000);
    EXPECT_EQ(row(named, "Firefox").bundlePath, "/app/lib/firefox/firefox");
}

TEST_F(Processes, PssIsReadAgainWhenTheResidentSizeMovesAndScaledWhileItBarelyDoes) {
    const auto bash = [](std::uint64_t pssKilobytes, std::uint64_t residentPages) {
        return Process{101, 90, "bash", 0, 1000, pssKilobytes, sessionCgroup, 0, residentPages};
    };
    run({{90, 1, "sshd"}, bash(400, 1600)});
    EXPECT_EQ(row(sampler.sample({}, 0.0), "bash").memory, 400u * 1024);
    run(bash(800, 1650)); // 3% more resident: the Pss of walk 1, scaled
    EXPECT_EQ(row(sampler.sample({}, 1.0), "bash").memory, 400u * 1024 * 1650 / 1600);
    run(bash(800, 2000)); // 25% more, but walk 1 is too near: scaled
    EXPECT_EQ(row(sampler.sample({}, 2.0), "bash").memory, 400u * 1024 * 2000 / 1600);
    sampler.sample({}, 3.0);
    EXPECT_EQ(row(sampler.sample({}, 4.0), "bash").memory, 800u * 1024) << "read again at the fourth walk since";
    EXPECT_EQ(ProcessTable::walk(kernel.roots.proc, static_cast<std::uint32_t>(getuid()), 100).size(), 2u);
}

TEST(AppLaunchUnits, NamesFollowTheDesktopConvention) {
    using AppLaunchUnits::fromUnitName;
    EXPECT_EQ(fromUnitName("app-gnome-org.gnome.Terminal-4021.scope"),
              (AppLaunchUnit{"app-gnome-org.gnome.Terminal-4021.scope", "org.gnome.Terminal", "gnome", "Terminal"}));
    EXPECT_EQ(fromUnitName("app-gnome-firefox\\x2desr-77.scope")->appID, "firefox-esr");
    EXPECT_EQ(fromUnitName("app-org.kde.konsole@a1b2.service")->launcher, "");
    EXPECT_EQ(fromUnitName("app-org.kde.konsole@a1b2.service")->name, "konsole");
    EXPECT_FALSE(fromUnitName("app.slice"));
    EXPECT_FALSE(fromUnitName("app-firefox.scope")) << "a scope's name ends in its random tail";
    EXPECT_FALSE(fromUnitName("session-2.scope"));
    EXPECT_EQ(AppLaunchUnits::fromCgroup("12:cpu,cpuacct:/\n1:name=systemd:/user.slice/app-gnome-gimp-5.scope\n")->appID, "gimp")
        << "the old hierarchy's systemd line";
    EXPECT_FALSE(AppLaunchUnits::fromCgroup(sessionCgroup));
}

TEST_F(Processes, ProcessesWhoseFilesAreNotTheKernelsAreSkippedAndOthersAreNot) {
    run({{100, 1, "odd) name (x", 0}, {200, 1, "fifo"}, {300, 1, "garbage"}, {400, 1, "huge"}, {500, 1, "noio", 0, 1000, 100, sessionCgroup, std::nullopt}});
    std::filesystem::remove(folder(200) + "/stat");
    ASSERT_EQ(mkfifo((folder(200) + "/stat").c_str(), 0600), 0);
    FifoRelease release(folder(200) + "/stat");
    kernel.proc("300/stat", "300 (garbage S\n");
    kernel.proc("400/smaps_rollup", std::string(200'000, 'x'));
    makeSymlink(folder(100), folder(600)); // a link in place of a process folder
    makeFolder(folder(700));               // a process that ended mid-walk

    const std::vector<ProcessUsage> rows = sampler.sample({}, 0.0);
    EXPECT_FALSE(release.hadToRelease());
    std::vector<std::int32_t> pids;
    for (const ProcessUsage& r : rows) pids.insert(pids.end(), r.pids.begin(), r.pids.end());
    std::sort(pids.begin(), pids.end());
    EXPECT_EQ(pids, (std::vector<std::int32_t>{100, 400, 500}));
    EXPECT_EQ(row(rows, "odd) name (x").memory, 100u * 1024) << "a name with \")\" and spaces";
    EXPECT_EQ(row(rows, "huge").memory, 300u * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE))) << "resident size from statm";
    EXPECT_FALSE(sampler.sample({}, 1.0).empty());
    EXPECT_FALSE(row(sampler.sample({}, 2.0), "noio").disk) << "no io, no disk rate: unknown, not zero";

    ProcessSampler someoneElse(kernel.roots.proc, static_cast<std::uint32_t>(getuid()) + 1, 100);
    EXPECT_TRUE(someoneElse.sample({}, 0.0).empty()) << "only the user's processes";
    EXPECT_TRUE(ProcessSampler(kernel.folder / "nowhere").sample({}, 0.0).empty());
}

TEST_F(Processes, RunningProcessNamesComeFromComm) {
    run({{100, 1, "bash"}, {101, 100, "make"}, {102, 100, "make"}});
    kernel.proc("103/comm", "\n");
    EXPECT_EQ(RunningProcesses::names(kernel.roots.proc, static_cast<std::uint32_t>(getuid())), (std::set<std::string>{"bash", "make"}));
}
