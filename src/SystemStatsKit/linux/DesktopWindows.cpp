// DesktopWindows on Linux: the session's kind decides first, then the X11
// window manager's hints (EwmhWindows.cpp) are read over one connection that
// lives from one read to the next.
//
// - A Wayland session (WAYLAND_DISPLAY set, or XDG_SESSION_TYPE=wayland):
//   unknown, even with DISPLAY set. That DISPLAY is XWayland's, which sees
//   only the programs that still speak X11; a Wayland app would be called
//   windowless, and the one in front would be missed whenever it is not an
//   X11 program.
// - No DISPLAY: unknown, never "no windows".
// - A DISPLAY on another machine (ssh's forwarded "localhost:10.0"): its
//   windows' pids are that machine's, so unknown.
// - Otherwise connect, with the limit on the greeting and on each read. A
//   connection that fails, or a read that breaks or runs out of time, gives
//   unknown; the connection is then dropped and a new one is tried on a
//   later read, no sooner than `retryAfter`, so that a hung server costs one
//   limit's wait per retry and not one per read.

#include "SystemStatsKit/DesktopWindows.h"

#include <cstdlib>

#include "linux/EwmhWindows.h"
#include "linux/XcbBounded.h"

namespace tessel {

namespace {

std::optional<std::string> variable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || value[0] == '\0') return std::nullopt;
    return std::string(value);
}

WindowsReading unknown(WindowsUnknown why) { return {std::nullopt, why}; }

} // namespace

struct DesktopWindows::Connection {
    XcbBounded::Connection x;
    xcb_window_t root = XCB_WINDOW_NONE;
    Ewmh::Atoms atoms;
};

DesktopWindows::Settings DesktopWindows::fromEnvironment() {
    Settings settings;
    settings.display = variable("DISPLAY");
    settings.waylandDisplay = variable("WAYLAND_DISPLAY");
    settings.sessionType = variable("XDG_SESSION_TYPE");
    return settings;
}

DesktopWindows::DesktopWindows(Settings settings) : settings_(std::move(settings)) {}

DesktopWindows::~DesktopWindows() = default;

WindowsReading DesktopWindows::read() {
    if (settings_.waylandDisplay || settings_.sessionType == "wayland") return unknown(WindowsUnknown::wayland);
    if (!settings_.display) return unknown(WindowsUnknown::noDisplay);
    const std::optional<XcbBounded::Display> display = XcbBounded::localDisplay(*settings_.display);
    if (!display) return unknown(WindowsUnknown::otherMachine);

    const auto now = XcbBounded::Clock::now();
    if (!connection_) {
        if (failedAt_ && now < *failedAt_ + settings_.retryAfter) return unknown(WindowsUnknown::noConnection);
        auto made = std::make_unique<Connection>();
        made->x = XcbBounded::connect(display->number, now + settings_.limit);
        xcb_screen_iterator_t screens = made->x ? xcb_setup_roots_iterator(xcb_get_setup(made->x.get())) : xcb_screen_iterator_t{};
        for (int i = 0; i < display->screen && screens.rem > 0; ++i) xcb_screen_next(&screens);
        std::optional<Ewmh::Atoms> atoms;
        if (made->x && screens.rem > 0) atoms = Ewmh::intern(made->x.get(), now + settings_.limit);
        if (!atoms) {
            failedAt_ = now;
            return unknown(WindowsUnknown::noConnection);
        }
        made->root = screens.data->root;
        made->atoms = *atoms;
        connection_ = std::move(made);
        ++connections_;
    }
    WindowsReading reading = Ewmh::read(connection_->x.get(), connection_->root, connection_->atoms, XcbBounded::Clock::now() + settings_.limit);
    if (!reading.byPid && reading.why == WindowsUnknown::noConnection) {
        connection_.reset();
        failedAt_ = XcbBounded::Clock::now();
    }
    return reading;
}

} // namespace tessel
