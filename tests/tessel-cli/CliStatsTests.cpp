// tessel stats on a /proc and /sys described in a test folder: one JSON object
// a line, the first without rates, readings this machine lacks null with the
// reason, and the same for a person. What each sampler reads is tested with
// the kit; here, that the tool carries it through.

#include <sys/inotify.h>
#include <poll.h>
#include <unistd.h>

#include <sstream>
#include <thread>

#include "KernelTree.h"
#include "ScopedEnvironment.h"
#include "ToolRun.h"
#include "X11Stage.h"

namespace tessel::cli {
namespace {

using nlohmann::json;

struct StatsMachine : ::testing::Test {
    test::KernelTree kernel;
    void SetUp() override {
        kernel.proc("stat", "cpu  100 0 100 800 0 0 0 0 0 0\ncpu0 100 0 100 800 0 0 0 0 0 0\n");
        kernel.proc("meminfo", "MemTotal: 1000 kB\nMemFree: 100 kB\nAnonPages: 300 kB\nCached: 200 kB\n");
        kernel.proc("net/dev", "  eth0: 5000 1 0 0 0 0 0 0 700 1 0 0 0 0 0 0\n    lo: 99 1 0 0 0 0 0 0 99 1 0 0 0 0 0 0\n");
        kernel.sysEntry("class/net/eth0/device");
        kernel.proc("net/route", "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\n"
                                 "eth0\t00000000\t0100A8C0\t0003\t0\t0\t100\t00000000\n");
        kernel.proc("diskstats", "   8 0 sda 1 0 64 0 1 0 32 0 0 0 0\n   8 1 sda1 1 0 64 0 1 0 32 0 0 0 0\n");
        kernel.sysEntry("block/sda/device");
        for (const auto& [file, value] : std::vector<std::pair<std::string, std::string>>{
                 {"hidpp_battery_0/type", "Battery"}, {"hidpp_battery_0/scope", "Device"}, {"hidpp_battery_0/capacity", "5"},
                 {"BAT0/type", "Battery"}, {"BAT0/status", "Discharging"}, {"BAT0/capacity", "50"}, {"BAT0/cycle_count", "7"}})
            kernel.sys("class/power_supply/" + file, value + "\n");
        kernel.sys("class/hwmon/hwmon0/name", "k10temp\n");
        kernel.sys("class/hwmon/hwmon0/temp1_input", "150000\n");
        kernel.sys("class/hwmon/hwmon0/temp2_input", "50000\n");
    }
    std::vector<std::string> words(std::vector<std::string> first) const {
        first.insert(first.end(), {"--proc-root", kernel.roots.proc, "--sys-root", kernel.roots.sys});
        return first;
    }
};

// Rewrites proc/stat as soon as the tool has read it once, so that its second sample sees ticks go by.
std::thread tickAfterFirstRead(const test::KernelTree& kernel, const std::string& later) {
    const int watch = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(watch, (kernel.roots.proc + "/stat").c_str(), IN_CLOSE_NOWRITE);
    return std::thread([&kernel, later, watch] {
        pollfd ready{watch, POLLIN, 0};
        if (poll(&ready, 1, 20'000) == 1) kernel.proc("stat", later);
        close(watch);
    });
}

TEST_F(StatsMachine, EachSampleIsALineTheFirstWithoutRatesAndWhatIsMissingSaysWhy) {
    std::thread ticker = tickAfterFirstRead(kernel, "cpu  130 10 110 850 0 0 0 0 0 0\ncpu0 130 10 110 850 0 0 0 0 0 0\n");
    const Outcome outcome = runTessel(words({"stats", "--json", "--samples", "2", "--interval", "0.5"}));
    ticker.join();
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    std::istringstream lines(outcome.out);
    std::vector<json> samples;
    for (std::string line; std::getline(lines, line);) samples.push_back(json::parse(line));
    ASSERT_EQ(samples.size(), 2u) << outcome.out;

    const json& first = samples[0];
    EXPECT_EQ(first.at("cpu"), nullptr);
    EXPECT_NE(first.at("unavailable").at("cpu").get<std::string>().find("first"), std::string::npos);
    EXPECT_EQ(first.at("network").at("receivedBytesPerSecond"), nullptr);
    EXPECT_EQ(first.at("network").at("receivedBytes"), 5000);
    EXPECT_EQ(first.at("disks"), json::parse(R"([{"name": "sda", "readBytesPerSecond": null, "writeBytesPerSecond": null}])"));
    EXPECT_EQ(first.at("memory").at("usedBytes"), 300 * 1024);
    EXPECT_EQ(first.at("memory").at("pressure"), nullptr);
    EXPECT_EQ(first.at("battery").at("percentage"), 50) << "the mouse's battery is not the machine's";
    EXPECT_EQ(first.at("battery").at("cycleCount"), 7);
    EXPECT_EQ(first.at("battery").at("minutesRemaining"), nullptr);
    EXPECT_EQ(first.at("temperatures"), json::parse(R"([{"name": "Chip", "celsius": 50.0}])")) << "150 °C is no reading";
    EXPECT_EQ(first.at("fans"), json::array());
    EXPECT_NE(first.at("unavailable").at("fans").get<std::string>().find("no fan"), std::string::npos);

    const json& second = samples[1];
    EXPECT_EQ(second.at("cpu"), json::parse(R"({"user": 0.3, "system": 0.1, "nice": 0.1, "idle": 0.5})"));
    EXPECT_EQ(second.at("cores")[0].at("user"), 0.3);
    EXPECT_EQ(second.at("network").at("receivedBytesPerSecond"), 0.0) << "nothing moved: a rate of 0, not null";
    EXPECT_EQ(second.at("disks")[0].at("writeBytesPerSecond"), 0.0);
    EXPECT_FALSE(second.at("unavailable").contains("cpu"));
}

TEST_F(StatsMachine, APersonReadsADashAndWhyAndBadOptionsAreRefused) {
    const Outcome text = runTessel(words({"stats"}));
    EXPECT_EQ(text.status, 0) << text.err;
    EXPECT_NE(text.out.find("Processor: — (a load needs two readings of " + kernel.roots.proc + "/stat"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("Battery: 50%, on battery; 7 cycles\n"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("Temperatures: Chip 50.0 °C\n"), std::string::npos) << text.out;
    expectOneErrorLine(runTessel({"stats", "--samples", "0"}), 2, "--samples");
    expectOneErrorLine(runTessel({"stats", "--interval", "-1"}), 2, "--interval");
    expectOneErrorLine(runTessel({"stats", "--sys-root", kernel.roots.sys + "/nowhere"}), 1, kernel.roots.sys + "/nowhere");
}

// tessel activity over a described process table: the fixture's counters
// stand still, so the second walk measures 0, a real figure, while a process
// without io has no disk rate at all.
TEST(ActivityMachine, AppsComeWithTheirProcessesAndWhatWasNotReadIsNull) {
    test::ScopedEnvironment environment;
    environment.unset("DISPLAY");
    environment.unset("WAYLAND_DISPLAY");
    environment.unset("XDG_SESSION_TYPE");
    test::KernelTree kernel;
    kernel.process({90, 1, "sshd"});
    kernel.process({100, 90, "bash", 0, 1000, 400});
    kernel.process({101, 100, "vim", 0, 1200, 600, "0::/\n", std::nullopt});
    kernel.process({200, 90, "top", 0, 1000, 50, "0::/\n", std::nullopt});
    const Outcome outcome = runTessel({"activity", "--json", "--interval", "0.1", "--proc-root", kernel.roots.proc});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json report = json::parse(outcome.out);
    const json& apps = report.at("apps");
    ASSERT_EQ(apps.size(), 3u);
    EXPECT_EQ(apps[0].at("name"), "bash") << "by memory, when no processor time went by";
    EXPECT_EQ(apps[0].at("cpu"), 0.0);
    EXPECT_EQ(apps[0].at("memoryBytes"), 1000 * 1024);
    EXPECT_EQ(apps[0].at("diskBytesPerSecond"), 0.0);
    EXPECT_EQ(apps[0].at("path"), "/usr/bin/bash");
    EXPECT_EQ(apps[0].at("processes")[1].at("name"), "vim");
    EXPECT_EQ(apps[2].at("name"), "top");
    EXPECT_EQ(apps[2].at("diskBytesPerSecond"), nullptr);
    EXPECT_EQ(apps[0].at("visibleWindows"), nullptr) << "no display: unknown, not 0";
    EXPECT_EQ(apps[0].at("isActive"), nullptr);
    EXPECT_EQ(apps[0].at("isHidden"), nullptr);
    EXPECT_EQ(report.at("windowsUnknown"), "Tessel can't tell on this desktop which apps have windows open or are in front.");

    const Outcome text = runTessel({"activity", "--interval", "0.1", "--proc-root", kernel.roots.proc});
    EXPECT_NE(text.out.find("4 processes in 3 groups of yours"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("—          1" + std::string(12, ' ') + "—  top"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("\nTessel can't tell on this desktop which apps have windows open or are in front.\n"), std::string::npos)
        << text.out;
    expectOneErrorLine(runTessel({"activity", "--proc-root", kernel.roots.proc + "/nowhere"}), 1, kernel.roots.proc + "/nowhere");
    expectOneErrorLine(runTessel({"activity", "--interval", "0"}), 2, "--interval");
}

// The same on an X server of the test's own, where the test plays the window
// manager: the shell's family owns the window in front, top's is minimised.
TEST(ActivityMachine, WindowsAreWhatTheWindowManagerSays) {
    std::optional<test::ManagedDisplay> desktop = test::ManagedDisplay::start();
    if (!desktop) GTEST_SKIP() << test::noXvfb;
    test::FakeWindowManager& wm = *desktop->wm;
    const auto editor = wm.window(101);
    wm.list({editor, wm.window(100), wm.window(200, true)});
    wm.activate(editor);
    wm.sync();
    test::ScopedEnvironment environment;
    environment.set("DISPLAY", desktop->server->display());
    environment.unset("WAYLAND_DISPLAY");
    environment.unset("XDG_SESSION_TYPE");
    test::KernelTree kernel;
    kernel.process({90, 1, "sshd"});
    kernel.process({100, 90, "bash", 0, 1000, 400});
    kernel.process({101, 100, "vim", 0, 1200, 600});
    kernel.process({200, 90, "top", 0, 1000, 50});

    const json report = runJson({"activity", "--json", "--interval", "0.1", "--proc-root", kernel.roots.proc});
    EXPECT_EQ(report.at("windowsUnknown"), nullptr);
    const json& apps = report.at("apps");
    ASSERT_EQ(apps.size(), 3u);
    EXPECT_EQ(apps[0].at("name"), "bash");
    EXPECT_EQ(apps[0].at("visibleWindows"), 2) << "bash's and vim's";
    EXPECT_EQ(apps[0].at("isActive"), true);
    EXPECT_EQ(apps[0].at("isHidden"), false);
    EXPECT_EQ(apps[2].at("name"), "top");
    EXPECT_EQ(apps[2].at("visibleWindows"), 0);
    EXPECT_EQ(apps[2].at("isHidden"), true);
    EXPECT_EQ(apps[1].at("name"), "sshd");
    EXPECT_EQ(apps[1].at("visibleWindows"), 0);
    EXPECT_EQ(apps[1].at("isHidden"), false);

    const Outcome text = runTessel({"activity", "--interval", "0.1", "--proc-root", kernel.roots.proc});
    EXPECT_NE(text.out.find("In front, 2  bash"), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("     Hidden  top"), std::string::npos) << text.out;
    EXPECT_EQ(text.out.find("can't tell"), std::string::npos) << text.out;
}

} // namespace
} // namespace tessel::cli
