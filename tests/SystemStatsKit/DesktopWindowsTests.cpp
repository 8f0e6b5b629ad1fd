// Whose windows are open, in front or hidden: the EWMH hints read from an
// Xvfb of the test's own, where the test plays the window manager; the
// sessions where the desktop can't tell (Wayland, no display, no window
// manager, a server that does not answer) and where it is unknown, never
// "no windows"; and an app's figures joined over its family.
#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "Fixture.h"
#include "ScopedEnvironment.h"
#include "SystemStatsKit/DesktopWindows.h"
#include "X11Stage.h"
#include "linux/EwmhWindows.h"
#include "linux/XcbBounded.h"

using namespace tessel;
using test::FakeWindowManager;
using test::XvfbServer;

namespace {

DesktopWindows::Settings onDisplay(const std::string& display) {
    DesktopWindows::Settings settings;
    settings.display = display;
    settings.limit = std::chrono::milliseconds(300);
    settings.retryAfter = std::chrono::milliseconds(0);
    return settings;
}

// A display of the test's own, and the test as its window manager.
struct OnXvfb : testing::Test {
    std::unique_ptr<XvfbServer> server;
    std::unique_ptr<FakeWindowManager> wm;
    void SetUp() override {
        if (!XvfbServer::program()) GTEST_SKIP() << test::noXvfb;
        server = XvfbServer::start();
        ASSERT_TRUE(server) << "Xvfb did not start";
        wm = std::make_unique<FakeWindowManager>(server->display());
    }
    DesktopWindows windows() { return DesktopWindows(onDisplay(server->display())); }
};

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

TEST_F(OnXvfb, WindowsAreCountedByPidWithTheOneInFrontAndTheMinimised) {
    wm->manage();
    const auto editor = wm->window(1600);
    const auto editorSecond = wm->window(1600);
    const auto minimised = wm->window(1700, true);
    const auto panel = wm->window(1800, false, true);
    const auto nobodys = wm->window(std::nullopt);
    wm->list({editor, editorSecond, minimised, panel, nobodys});
    wm->activate(editorSecond);
    wm->sync();

    DesktopWindows desktop = windows();
    const WindowsReading reading = desktop.read();
    ASSERT_TRUE(reading.byPid);
    EXPECT_EQ(*reading.byPid, (WindowsByPid{{1600, {2, 0, true}}, {1700, {1, 1, false}}}))
        << "a panel is nobody's window, nor is one without _NET_WM_PID";

    wm->activate(0);
    wm->list({editor});
    wm->sync();
    EXPECT_EQ(desktop.read().byPid, (WindowsByPid{{1600, {1, 0, false}}})) << "read anew, nobody in front";
    EXPECT_EQ(desktop.connections(), 1) << "one connection kept from one read to the next";
}

TEST_F(OnXvfb, AWindowGoneBetweenTheListAndTheLookupCountsForNobody) {
    wm->manage();
    const auto kept = wm->window(1600);
    const auto gone = wm->window(1700);
    wm->list({gone, kept});
    wm->activate(gone);
    wm->destroy(gone);
    wm->sync();
    const WindowsReading reading = windows().read();
    ASSERT_TRUE(reading.byPid);
    EXPECT_EQ(*reading.byPid, (WindowsByPid{{1600, {1, 0, false}}}));
}

TEST_F(OnXvfb, AWindowManagerThatSaysNothingOrHasGoneLeavesItUnknown) {
    const auto editor = wm->window(1600);
    wm->list({editor});
    wm->sync();
    DesktopWindows desktop = windows();
    WindowsReading reading = desktop.read();
    EXPECT_FALSE(reading.byPid) << "a client list without _NET_SUPPORTING_WM_CHECK";
    EXPECT_EQ(reading.why, WindowsUnknown::noWindowManager);

    wm->manage();
    wm->sync();
    EXPECT_TRUE(desktop.read().byPid);
    wm->vanish();
    wm->sync();
    reading = desktop.read();
    EXPECT_FALSE(reading.byPid) << "the check window is gone: its window manager quit";
    EXPECT_EQ(reading.why, WindowsUnknown::noWindowManager);
    EXPECT_EQ(desktop.connections(), 1) << "the server answered all along";
}

TEST_F(OnXvfb, AWindowManagerWithNoClientListLeavesItUnknownAndAnEmptyListIsNoWindows) {
    wm->manage();
    wm->sync();
    DesktopWindows desktop = windows();
    EXPECT_EQ(desktop.read().why, WindowsUnknown::noWindowManager);
    wm->list({});
    wm->sync();
    EXPECT_EQ(desktop.read().byPid, WindowsByPid{}) << "known: no windows at all";
}

TEST_F(OnXvfb, AServerThatStopsAnsweringCostsTheLimitAndIsConnectedAgainWhenItAnswers) {
    wm->manage();
    wm->list({wm->window(1600)});
    wm->sync();
    DesktopWindows desktop = windows();
    ASSERT_TRUE(desktop.read().byPid);

    server->pause();
    auto start = std::chrono::steady_clock::now();
    WindowsReading reading = desktop.read();
    EXPECT_FALSE(reading.byPid);
    EXPECT_EQ(reading.why, WindowsUnknown::noConnection);
    EXPECT_LT(secondsSince(start), 1.5) << "a read waits no longer than its limit (0.3 s)";

    start = std::chrono::steady_clock::now();
    DesktopWindows fresh = windows();
    EXPECT_EQ(fresh.read().why, WindowsUnknown::noConnection) << "a server that accepts and never greets";
    EXPECT_LT(secondsSince(start), 1.5);

    server->resume();
    EXPECT_TRUE(desktop.read().byPid);
    EXPECT_EQ(desktop.connections(), 2) << "the broken connection was dropped and a new one made";
}

TEST(DesktopWindowsCookie, ADisplayThatWantsACookieIsReadWithTheOneInTheAuthorityFile) {
    if (!XvfbServer::program()) GTEST_SKIP() << test::noXvfb;
    test::TempFolder folder;
    const std::string cookie = "0123456789abcdef";
    // The server takes every cookie of its file, whatever display it names.
    test::writeAuthority(folder / "server", 0, cookie);
    const std::unique_ptr<XvfbServer> server = XvfbServer::start(folder / "server");
    ASSERT_TRUE(server);
    test::writeAuthority(folder / "client", server->number(), cookie);
    test::writeText(folder / "none", "");

    test::ScopedEnvironment environment;
    environment.set("XAUTHORITY", folder / "none");
    EXPECT_EQ(DesktopWindows(onDisplay(server->display())).read().why, WindowsUnknown::noConnection) << "refused without the cookie";
    environment.set("XAUTHORITY", folder / "client");
    FakeWindowManager wm(server->display());
    wm.manage();
    wm.list({wm.window(1600)});
    wm.sync();
    EXPECT_EQ(DesktopWindows(onDisplay(server->display())).read().byPid, (WindowsByPid{{1600, {1, 0, false}}}));
}

TEST(DesktopWindowsSession, WaylandNoDisplayAndAnotherMachinesDisplayAreUnknownWithoutAsking) {
    DesktopWindows::Settings wayland = onDisplay(":0");
    wayland.waylandDisplay = "wayland-0";
    EXPECT_EQ(DesktopWindows(wayland).read().why, WindowsUnknown::wayland) << "XWayland's display sees only X11 programs";
    DesktopWindows::Settings session = onDisplay(":0");
    session.sessionType = "wayland";
    EXPECT_EQ(DesktopWindows(session).read().why, WindowsUnknown::wayland);
    EXPECT_EQ(DesktopWindows(DesktopWindows::Settings{}).read().why, WindowsUnknown::noDisplay);
    EXPECT_EQ(DesktopWindows(onDisplay("localhost:10.0")).read().why, WindowsUnknown::otherMachine);

    test::ScopedEnvironment environment;
    environment.unset("DISPLAY");
    environment.unset("WAYLAND_DISPLAY");
    environment.unset("XDG_SESSION_TYPE");
    const WindowsReading console = DesktopWindows().read();
    EXPECT_FALSE(console.byPid) << "no display is unknown, never no windows";
    EXPECT_EQ(console.why, WindowsUnknown::noDisplay);
}

TEST(DesktopWindowsSession, ADisplayWhereNobodyListensIsUnknownAtOnceAndNotTriedAgainAtEachRead) {
    const auto start = std::chrono::steady_clock::now();
    DesktopWindows::Settings settings = onDisplay(":65500");
    settings.retryAfter = std::chrono::seconds(60);
    DesktopWindows desktop(settings);
    EXPECT_EQ(desktop.read().why, WindowsUnknown::noConnection);
    EXPECT_EQ(desktop.read().why, WindowsUnknown::noConnection);
    EXPECT_LT(secondsSince(start), 0.2);
    EXPECT_EQ(desktop.connections(), 0);
}

TEST(DesktopWindowsSession, OnlyThisMachinesDisplaysAreRead) {
    EXPECT_EQ(XcbBounded::localDisplay(":0")->number, 0);
    EXPECT_EQ(XcbBounded::localDisplay(":1.2")->screen, 2);
    EXPECT_EQ(XcbBounded::localDisplay("unix:3")->number, 3);
    EXPECT_FALSE(XcbBounded::localDisplay("localhost:10.0")) << "ssh's forwarding: the windows of another machine";
    EXPECT_FALSE(XcbBounded::localDisplay("otherhost:0"));
    EXPECT_FALSE(XcbBounded::localDisplay(""));
    EXPECT_FALSE(XcbBounded::localDisplay("no display"));
}

TEST(WindowFigures, AFamilyAddsItsWindowsIsInFrontWithAnyAndHiddenWhenAllAre) {
    const WindowsByPid byPid{{1600, {2, 1, false}}, {1610, {1, 0, true}}, {1700, {2, 2, false}}};
    EXPECT_EQ(WindowFigures::ofFamily(byPid, std::vector<std::int32_t>{1600, 1610, 1611}), (FamilyWindows{2, true, false}));
    EXPECT_EQ(WindowFigures::ofFamily(byPid, std::vector<std::int32_t>{1700}), (FamilyWindows{0, false, true}));
    EXPECT_EQ(WindowFigures::ofFamily(byPid, std::vector<std::int32_t>{1900}), (FamilyWindows{0, false, false}))
        << "no windows is not hidden";

    EXPECT_EQ(WindowFigures::text(std::nullopt), "—");
    EXPECT_EQ(WindowFigures::text(FamilyWindows{0, false, false}), "");
    EXPECT_EQ(WindowFigures::text(FamilyWindows{1, true, false}), "In front");
    EXPECT_EQ(WindowFigures::text(FamilyWindows{3, true, false}), "In front, 3");
    EXPECT_EQ(WindowFigures::text(FamilyWindows{0, false, true}), "Hidden");
    EXPECT_EQ(WindowFigures::text(FamilyWindows{2, false, false}), "2");
    EXPECT_EQ(WindowFigures::unknownSentence(WindowsUnknown::wayland),
              "On Wayland, Tessel can't tell which apps have windows open or are in front.");
    EXPECT_EQ(WindowFigures::unknownSentence(WindowsUnknown::noWindowManager),
              "Tessel can't tell on this desktop which apps have windows open or are in front.");
}

TEST(WindowFigures, ClientsWithoutAPidAndFurnitureCountForNobody) {
    const std::vector<Ewmh::Client> clients{
        {1600, false, false, false}, {1600, true, false, true}, {std::nullopt, false, false, false}, {1800, false, true, false}, {0, false, false, false}};
    EXPECT_EQ(Ewmh::tally(clients), (WindowsByPid{{1600, {2, 1, true}}}));
}
