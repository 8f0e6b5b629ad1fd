#pragma once
// The windows an X11 window manager publishes in its EWMH hints
// (the freedesktop.org Extended Window Manager Hints), read with a deadline.
// See EwmhWindows.cpp.

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "SystemStatsKit/DesktopWindows.h"
#include "linux/XcbBounded.h"

namespace tessel::Ewmh {

struct Atoms {
    xcb_atom_t supportingCheck = XCB_ATOM_NONE; // _NET_SUPPORTING_WM_CHECK
    xcb_atom_t clientList = XCB_ATOM_NONE;      // _NET_CLIENT_LIST
    xcb_atom_t activeWindow = XCB_ATOM_NONE;    // _NET_ACTIVE_WINDOW
    xcb_atom_t pid = XCB_ATOM_NONE;             // _NET_WM_PID
    xcb_atom_t state = XCB_ATOM_NONE;           // _NET_WM_STATE
    xcb_atom_t hidden = XCB_ATOM_NONE;          // _NET_WM_STATE_HIDDEN
    xcb_atom_t windowType = XCB_ATOM_NONE;      // _NET_WM_WINDOW_TYPE
    xcb_atom_t dock = XCB_ATOM_NONE;            // _NET_WM_WINDOW_TYPE_DOCK
    xcb_atom_t desktop = XCB_ATOM_NONE;         // _NET_WM_WINDOW_TYPE_DESKTOP
};

// The atoms' numbers on this server; none when it did not answer in time.
std::optional<Atoms> intern(xcb_connection_t* connection, XcbBounded::Clock::time_point deadline);

// One window of the client list, as its properties describe it.
struct Client {
    std::optional<std::int32_t> pid; // _NET_WM_PID; none when it has none
    bool hidden = false;             // _NET_WM_STATE holds _NET_WM_STATE_HIDDEN
    bool furniture = false;          // a dock or panel, or the desktop's background
    bool active = false;             // it is _NET_ACTIVE_WINDOW
};

// The clients' windows by pid: a client without a pid, or one that is
// furniture, counts for nobody.
WindowsByPid tally(const std::vector<Client>& clients);

// Reads the client list of `root`'s window manager and its windows. Unknown
// (noWindowManager) when no window manager publishes one; unknown
// (noConnection) when the server did not answer by `deadline` or the
// connection broke, and then the connection is of no more use.
WindowsReading read(xcb_connection_t* connection, xcb_window_t root, const Atoms& atoms, XcbBounded::Clock::time_point deadline);

} // namespace tessel::Ewmh
