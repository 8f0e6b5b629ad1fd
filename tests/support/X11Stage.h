#pragma once
// An X server of the test's own, and a stand-in for a window manager on it:
// Xvfb started on a display number it picks itself (-displayfd), and windows
// made and described with the EWMH hints a window manager would set, so that
// what reads the hints can be checked against a desktop whose every window
// is known.
//
//     auto server = XvfbServer::start();            // null without Xvfb
//     FakeWindowManager wm(server->display());
//     wm.manage();                                  // _NET_SUPPORTING_WM_CHECK
//     const auto editor = wm.window(1600);          // _NET_WM_PID 1600
//     wm.list({editor});                            // _NET_CLIENT_LIST
//     wm.activate(editor);                          // _NET_ACTIVE_WINDOW
//     wm.sync();

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct xcb_connection_t;

namespace tessel::test {

class XvfbServer {
public:
    // A new server, or null when Xvfb is not installed or did not start in
    // ten seconds. `authority`: an authority file whose cookie the server
    // asks of every client (Xvfb -auth), else it asks none.
    static std::unique_ptr<XvfbServer> start(const std::string& authority = {});
    ~XvfbServer();
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    std::string display() const { return ":" + std::to_string(number_); }
    int number() const { return number_; }
    pid_t pid() const { return pid_; }
    // Stops the server's process (SIGSTOP) and lets it go on (SIGCONT): a
    // server that hangs.
    void pause();
    void resume();
    // Ends the server and waits for it.
    void stop();

    // Where Xvfb is, if on the PATH.
    static std::optional<std::string> program();

private:
    XvfbServer(pid_t pid, int number) : pid_(pid), number_(number) {}
    pid_t pid_ = -1;
    int number_ = 0;
    bool paused_ = false;
};

// Writes an authority file holding one MIT-MAGIC-COOKIE-1 for any host's
// display `number`, as xauth would.
void writeAuthority(const std::string& path, int number, const std::string& cookie);

class FakeWindowManager {
public:
    using Window = std::uint32_t;

    explicit FakeWindowManager(const std::string& display);
    ~FakeWindowManager();
    FakeWindowManager(const FakeWindowManager&) = delete;
    FakeWindowManager& operator=(const FakeWindowManager&) = delete;

    // Announces a window manager: a check window that names itself in
    // _NET_SUPPORTING_WM_CHECK, named on the root too.
    void manage();
    // Destroys the check window, leaving the root's hint behind, as a window
    // manager that was killed does.
    void vanish();
    // A top-level window with `pid` in _NET_WM_PID (none: no such hint),
    // minimised (_NET_WM_STATE_HIDDEN, not mapped) when `hidden`, a panel
    // (_NET_WM_WINDOW_TYPE_DOCK) when `dock`.
    Window window(std::optional<std::uint32_t> pid, bool hidden = false, bool dock = false);
    void destroy(Window window);
    // Sets _NET_CLIENT_LIST, and _NET_ACTIVE_WINDOW (0 for none).
    void list(const std::vector<Window>& clients);
    void activate(Window window);
    // The top-level windows that others made and mapped, with their
    // _NET_WM_PID: what a window manager would take in.
    std::vector<Window> othersWindows();
    // Waits until the server has done all that was asked.
    void sync();

private:
    std::uint32_t atom(const char* name);
    void setWindows(Window window, std::uint32_t property, std::uint32_t type, const std::vector<std::uint32_t>& values);
    xcb_connection_t* connection_ = nullptr;
    Window root_ = 0;
    Window check_ = 0;
};

// What a test says when it can't play the window manager.
inline constexpr const char* noXvfb = "Xvfb is not installed (apt-get install xvfb): the X11 windows are not tried";

// An Xvfb of the test's own with the test as its window manager, announced.
struct ManagedDisplay {
    std::unique_ptr<XvfbServer> server;
    std::unique_ptr<FakeWindowManager> wm;
    // None when Xvfb is not installed; throws when it is and did not start.
    static std::optional<ManagedDisplay> start();
};

} // namespace tessel::test
