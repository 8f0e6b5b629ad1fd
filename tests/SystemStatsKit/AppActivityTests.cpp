// Open apps' activity over a described /proc: families of app units, what
// the session says through its signals (and "unknown" when it says nothing),
// and the session tools' answers read.
#include <gtest/gtest.h>

#include <unistd.h>

#include "KernelTree.h"
#include "SystemStatsKit/AppActivitySampler.h"

using namespace tessel;
using namespace tessel::test;

namespace {

const std::string terminalUnit = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-gnome-org.gnome.Terminal-7.scope\n";
const std::string editorUnit = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/app-org.gnome.TextEditor-8.scope\n";

struct AppActivity : testing::Test {
    KernelTree kernel;
    void SetUp() override {
        kernel.process({1500, 1, "systemd"});
        kernel.process({1600, 1500, "gnome-terminal", 0, 1000, 300, terminalUnit});
        kernel.process({1610, 1600, "bash", 0, 1100, 100, terminalUnit});
        kernel.process({1700, 1500, "gnome-text-editor", 0, 1000, 500, editorUnit});
    }
    std::vector<RunningAppActivity> sample(const ActivitySignals& signals) {
        AppActivitySampler sampler(kernel.roots.proc, static_cast<std::uint32_t>(getuid()), 100, signals);
        const std::vector<RunningApp> apps = sampler.regular();
        sampler.begin(0.0);
        kernel.process({1610, 1600, "bash", 150, 1100, 100, terminalUnit});
        kernel.process({1611, 1610, "make", 900, 1200, 100, terminalUnit});
        return sampler.finish(apps, 2.0);
    }
    static const RunningAppActivity& named(const std::vector<RunningAppActivity>& all, const std::string& name) {
        for (const RunningAppActivity& a : all)
            if (a.name == name) return a;
        throw std::runtime_error("no app " + name);
    }
};

} // namespace

TEST_F(AppActivity, AnAppUnitIsAnAppWithItsFamilyAndHelpersFromOtherProgramsShow) {
    const std::vector<RunningAppActivity> all = sample({});
    ASSERT_EQ(all.size(), 2u) << "systemd is no app";
    const RunningAppActivity& terminal = named(all, "Terminal");
    EXPECT_EQ(terminal.bundleIdentifier, "org.gnome.Terminal");
    EXPECT_EQ(terminal.family, (std::set<std::int32_t>{1600, 1610, 1611}));
    EXPECT_DOUBLE_EQ(terminal.cpu.value_or(-1), 0.75) << "bash's 1.5 s over 2 s; make started in between";
    EXPECT_EQ(terminal.memory, 500u * 1024);
    EXPECT_TRUE(terminal.runsOtherPrograms);
    const RunningAppActivity& editor = named(all, "TextEditor");
    EXPECT_FALSE(editor.runsOtherPrograms);
    EXPECT_EQ(editor.cpu, 0.0);
    EXPECT_FALSE(editor.keepsMacAwake) << "no bus: unknown";
    EXPECT_FALSE(editor.usesAudio);
    EXPECT_FALSE(editor.visibleWindows);
    EXPECT_FALSE(editor.isActive);
}

TEST_F(AppActivity, WhatTheSessionSaysIsJoinedByFamily) {
    ActivitySignals signals;
    signals.assertionHolders = [] { return PidSet{1611}; };
    signals.audioProcesses = [] { return PidSet{}; };
    const std::vector<RunningAppActivity> all = sample(signals);
    EXPECT_EQ(named(all, "Terminal").keepsMacAwake, true) << "a helper's inhibitor counts for its app";
    EXPECT_EQ(named(all, "TextEditor").keepsMacAwake, false);
    EXPECT_EQ(named(all, "Terminal").usesAudio, false) << "the sound server answered: no one plays";
}

TEST_F(AppActivity, WindowsAreAddedOverTheFamilyInFrontWithAnyMemberAndHiddenWhenAllAre) {
    ActivitySignals signals;
    int asked = 0;
    // The terminal's server has two windows, one minimised; its shell's helper owns the one in front.
    signals.windows = [&asked] {
        ++asked;
        return WindowsByPid{{1600, {2, 1, false}}, {1611, {1, 0, true}}, {1700, {2, 2, false}}};
    };
    std::vector<RunningAppActivity> all = sample(signals);
    EXPECT_EQ(asked, 1) << "one question for all three figures";
    const RunningAppActivity& terminal = named(all, "Terminal");
    EXPECT_EQ(terminal.visibleWindows, 2);
    EXPECT_EQ(terminal.isActive, true);
    EXPECT_EQ(terminal.isHidden, false);
    const RunningAppActivity& editor = named(all, "TextEditor");
    EXPECT_EQ(editor.visibleWindows, 0);
    EXPECT_EQ(editor.isActive, false);
    EXPECT_EQ(editor.isHidden, true) << "it has windows, and all are minimised";

    signals.windows = [] { return WindowsByPid{{1600, {1, 0, true}}}; };
    all = sample(signals);
    EXPECT_EQ(named(all, "TextEditor").visibleWindows, 0);
    EXPECT_EQ(named(all, "TextEditor").isHidden, false) << "no windows at all is not hidden";
    EXPECT_EQ(named(all, "TextEditor").isActive, false);

    signals.windows = [] { return std::optional<WindowsByPid>(); };
    all = sample(signals);
    EXPECT_FALSE(named(all, "Terminal").visibleWindows) << "the desktop can't tell: unknown, not 0";
    EXPECT_FALSE(named(all, "Terminal").isActive);
    EXPECT_FALSE(named(all, "Terminal").isHidden);
}

TEST(ActivityAnswers, BlockingSleepOrIdleInhibitorsAndUnpausedStreamsCount) {
    const char* inhibitors = R"json({"type":"a(ssssuu)","data":[[
        ["handle-power-key:handle-suspend-key","GNOME Shell","…","block",1000,1400],
        ["sleep","GNOME Shell","locks the screen","delay",1000,1400],
        ["sleep:idle","Videos","Playing a film","block",1000,2200],
        ["idle","a daemon","for pid 500","block",0,500]]]})json";
    EXPECT_EQ(ActivityAnswers::inhibitorHolders(inhibitors), (PidSet{500, 2200}));
    EXPECT_FALSE(ActivityAnswers::inhibitorHolders("Failed to connect to bus"));
    EXPECT_EQ(ActivityAnswers::inhibitorHolders(R"json({"type":"a(ssssuu)","data":[[]]})json"), PidSet{});

    const char* streams = R"([{"index":1,"corked":false,"properties":{"application.process.id":"3100"}},
        {"index":2,"corked":true,"properties":{"application.process.id":"3200"}},
        {"index":3,"corked":false,"properties":{"application.name":"no pid"}},
        {"index":4,"corked":false,"properties":{"application.process.id":"-4"}}])";
    EXPECT_EQ(ActivityAnswers::soundClients(streams), PidSet{3100});
    EXPECT_FALSE(ActivityAnswers::soundClients("{"));
}
