// EwmhWindows: whose windows are open, in front or hidden, from the hints an
// X11 window manager publishes for pagers and task bars (EWMH).
//
// The window manager says three things on the root window:
//
//     _NET_SUPPORTING_WM_CHECK   a window of its own, which names itself in
//                                the same property: a window manager runs
//     _NET_CLIENT_LIST           the windows it manages, the user's windows
//     _NET_ACTIVE_WINDOW         the one in front (None when none is)
//
// and on each window of the list:
//
//     _NET_WM_PID                the pid of the program that made it
//     _NET_WM_STATE              holds _NET_WM_STATE_HIDDEN when minimised
//     _NET_WM_WINDOW_TYPE        _DOCK for a panel, _DESKTOP for the
//                                desktop's background: furniture, no app's
//
// What counts: a window in the client list is open. It is hidden when its
// state holds _NET_WM_STATE_HIDDEN, which window managers set on a minimised
// window, and visible otherwise. Whether the window is mapped is not asked: a
// reparenting window manager maps and unmaps its frames rather than the
// windows themselves, and it unmaps the windows of other workspaces too, so
// "not mapped" would mix "minimised" with "on another workspace". A window
// on another workspace is open and one switch away; it counts as visible.
// A window without _NET_WM_PID counts for nobody, since nothing says whose
// it is; nor does furniture.
//
// If the root's check window is gone or no longer names itself, the hints
// are a window manager's that has quit: no window manager, and unknown.
//
// It takes two round trips, whatever the number of windows: the root's three
// properties, then the check window's and three of each client's, all sent
// before any reply is awaited. A window destroyed in between answers with an
// error, and counts for nobody.
//
//     client list 0x600001 0x600004 0x800002, active 0x600004
//     0x600001 pid 1600                  1600: 2 windows, active
//     0x600004 pid 1600                  1700: 1 window, 1 hidden
//     0x800002 pid 1700, hidden

#include "linux/EwmhWindows.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tessel::Ewmh {

namespace {

// More windows than any desktop holds; a longer list is read this far.
constexpr std::uint32_t longestList = 16384;
constexpr std::uint32_t longestAtoms = 64;

// The 32-bit values of a property reply of `type`; empty when the property
// is missing, of another type, or its window was gone.
std::vector<std::uint32_t> values(const XcbBounded::Reply& reply, xcb_atom_t type) {
    const auto* property = static_cast<const xcb_get_property_reply_t*>(reply.get());
    if (property == nullptr || property->type != type || property->format != 32) return {};
    const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(property));
    const auto count = static_cast<std::size_t>(xcb_get_property_value_length(property)) / 4;
    return std::vector<std::uint32_t>(first, first + count);
}

bool present(const XcbBounded::Reply& reply, xcb_atom_t type) {
    const auto* property = static_cast<const xcb_get_property_reply_t*>(reply.get());
    return property != nullptr && property->type == type && property->format == 32;
}

unsigned ask(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property, xcb_atom_t type, std::uint32_t longest) {
    return xcb_get_property(connection, 0, window, property, type, 0, longest).sequence;
}

bool holds(const std::vector<std::uint32_t>& list, xcb_atom_t atom) {
    return std::find(list.begin(), list.end(), atom) != list.end();
}

} // namespace

std::optional<Atoms> intern(xcb_connection_t* connection, XcbBounded::Clock::time_point deadline) {
    Atoms atoms;
    const std::array<std::pair<std::string_view, xcb_atom_t*>, 9> names{{
        {"_NET_SUPPORTING_WM_CHECK", &atoms.supportingCheck},
        {"_NET_CLIENT_LIST", &atoms.clientList},
        {"_NET_ACTIVE_WINDOW", &atoms.activeWindow},
        {"_NET_WM_PID", &atoms.pid},
        {"_NET_WM_STATE", &atoms.state},
        {"_NET_WM_STATE_HIDDEN", &atoms.hidden},
        {"_NET_WM_WINDOW_TYPE", &atoms.windowType},
        {"_NET_WM_WINDOW_TYPE_DOCK", &atoms.dock},
        {"_NET_WM_WINDOW_TYPE_DESKTOP", &atoms.desktop},
    }};
    std::vector<unsigned> requests;
    for (const auto& [name, atom] : names)
        requests.push_back(xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()).sequence);
    const std::optional<std::vector<XcbBounded::Reply>> replies = XcbBounded::await(connection, requests, deadline);
    if (!replies) return std::nullopt;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const auto* reply = static_cast<const xcb_intern_atom_reply_t*>((*replies)[i].get());
        if (reply == nullptr || reply->atom == XCB_ATOM_NONE) return std::nullopt;
        *names[i].second = reply->atom;
    }
    return atoms;
}

WindowsByPid tally(const std::vector<Client>& clients) {
    WindowsByPid byPid;
    for (const Client& client : clients) {
        if (!client.pid || *client.pid <= 0 || client.furniture) continue;
        ProcessWindows& windows = byPid[*client.pid];
        ++windows.windows;
        if (client.hidden) ++windows.hidden;
        windows.active = windows.active || client.active;
    }
    return byPid;
}

WindowsReading read(xcb_connection_t* connection, xcb_window_t root, const Atoms& atoms, XcbBounded::Clock::time_point deadline) {
    const WindowsReading lost{std::nullopt, WindowsUnknown::noConnection};
    const WindowsReading unmanaged{std::nullopt, WindowsUnknown::noWindowManager};

    const std::optional<std::vector<XcbBounded::Reply>> rootReplies =
        XcbBounded::await(connection,
                          {ask(connection, root, atoms.supportingCheck, XCB_ATOM_WINDOW, 1),
                           ask(connection, root, atoms.clientList, XCB_ATOM_WINDOW, longestList),
                           ask(connection, root, atoms.activeWindow, XCB_ATOM_WINDOW, 1)},
                          deadline);
    if (!rootReplies) return lost;
    const std::vector<std::uint32_t> check = values((*rootReplies)[0], XCB_ATOM_WINDOW);
    if (check.empty() || check[0] == XCB_WINDOW_NONE || !present((*rootReplies)[1], XCB_ATOM_WINDOW)) return unmanaged;
    const std::vector<std::uint32_t> list = values((*rootReplies)[1], XCB_ATOM_WINDOW);
    const std::vector<std::uint32_t> active = values((*rootReplies)[2], XCB_ATOM_WINDOW);
    const xcb_window_t front = active.empty() ? xcb_window_t{XCB_WINDOW_NONE} : active[0];

    std::vector<unsigned> requests{ask(connection, check[0], atoms.supportingCheck, XCB_ATOM_WINDOW, 1)};
    requests.reserve(1 + 3 * list.size());
    for (xcb_window_t window : list) {
        requests.push_back(ask(connection, window, atoms.pid, XCB_ATOM_CARDINAL, 1));
        requests.push_back(ask(connection, window, atoms.state, XCB_ATOM_ATOM, longestAtoms));
        requests.push_back(ask(connection, window, atoms.windowType, XCB_ATOM_ATOM, longestAtoms));
    }
    const std::optional<std::vector<XcbBounded::Reply>> replies = XcbBounded::await(connection, requests, deadline);
    if (!replies) return lost;
    const std::vector<std::uint32_t> named = values((*replies)[0], XCB_ATOM_WINDOW);
    if (named.empty() || named[0] != check[0]) return unmanaged;

    std::vector<Client> clients;
    clients.reserve(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::vector<std::uint32_t> pid = values((*replies)[1 + 3 * i], XCB_ATOM_CARDINAL);
        const std::vector<std::uint32_t> state = values((*replies)[2 + 3 * i], XCB_ATOM_ATOM);
        const std::vector<std::uint32_t> type = values((*replies)[3 + 3 * i], XCB_ATOM_ATOM);
        Client client;
        if (!pid.empty() && pid[0] > 0 && pid[0] <= 0x7fffffffu) client.pid = static_cast<std::int32_t>(pid[0]);
        client.hidden = holds(state, atoms.hidden);
        client.furniture = holds(type, atoms.dock) || holds(type, atoms.desktop);
        client.active = list[i] == front;
        clients.push_back(client);
    }
    WindowsReading reading;
    reading.byPid = tally(clients);
    return reading;
}

} // namespace tessel::Ewmh
