#pragma once
// An X server reached through libxcb with a bound on every wait, so that a
// server that stopped answering (stopped in a debugger, swapped out, hung)
// costs a reader its deadline and never hangs it. See XcbBounded.cpp.

#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tessel::XcbBounded {

using Clock = std::chrono::steady_clock;

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};
using Reply = std::unique_ptr<void, Free>;

struct Display {
    int number = 0;
    int screen = 0;
};

// The display DISPLAY names, when it is one of this machine's: ":0",
// ":1.0", "unix:2". None for "otherhost:0" or "localhost:10.0" (a display
// reached over the network, as ssh forwards one) and for what is no display.
std::optional<Display> localDisplay(const std::string& display);

// Connects to the local display `number` through its socket, with the
// cookie that XAUTHORITY (or ~/.Xauthority) keeps for it, if any. Null when
// nobody listens, the server refuses, or it has not finished greeting by
// `deadline`.
Connection connect(int number, Clock::time_point deadline);

// Sends what is queued and waits for the replies to `requests` (sequence
// numbers), in order, until `deadline`. A request that failed (a window gone
// in between) has a null reply. None when the connection broke or the
// deadline passed: then the connection is of no more use.
std::optional<std::vector<Reply>> await(xcb_connection_t* connection, const std::vector<unsigned>& requests,
                                        Clock::time_point deadline);

} // namespace tessel::XcbBounded
