#pragma once
// Which processes have windows open, which one has the window in front, and
// which have only hidden (minimised) windows, as the desktop's window manager
// says. On Linux the window manager of an X11 session publishes this in its
// EWMH hints (linux/EwmhWindows.cpp); a Wayland session tells no other
// program about its windows, and then every answer is unknown.
//
// Unknown is never "no": with no display, a Wayland session, no window
// manager that publishes its client list, or an X server that does not
// answer within the limit, read() gives no windows at all and says why,
// and the figures that rest on it stay unknown.
//
// An app is a family of processes (ProcessFamilies.h), and its figures join
// its members':
//
//     pid 1600: 2 windows, 1 of them hidden     the family {1600, 1610}:
//     pid 1610: 1 window, in front                visibleWindows 2, isActive,
//                                                 not isHidden
//     pid 1700: 1 window, hidden                {1700}: visibleWindows 0,
//                                                 isHidden

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace tessel {

// One process's windows: those the window manager manages that are the
// user's own (not a panel's or the desktop's background).
struct ProcessWindows {
    int windows = 0;
    int hidden = 0;      // of `windows`, those minimised
    bool active = false; // it owns the window in front
    int visible() const { return windows - hidden; }
    bool operator==(const ProcessWindows&) const = default;
};

using WindowsByPid = std::map<std::int32_t, ProcessWindows>;

// Why the windows are not known.
enum class WindowsUnknown {
    noDisplay,       // no DISPLAY: a console, or a desktop Tessel can't see
    wayland,         // a Wayland session: its windows are its own
    otherMachine,    // DISPLAY names another machine, whose pids are not ours
    noConnection,    // the X server refused, or did not answer in time
    noWindowManager, // no window manager publishes its client list
};

struct WindowsReading {
    std::optional<WindowsByPid> byPid; // none: unknown
    WindowsUnknown why = WindowsUnknown::noDisplay; // when byPid is none
};

// An app's windows, joined over its family.
struct FamilyWindows {
    int visibleWindows = 0;
    bool isActive = false; // a member owns the window in front
    bool isHidden = false; // it has windows, and all are hidden
    bool operator==(const FamilyWindows&) const = default;
};

namespace WindowFigures {

// The family `pids`'s windows in `byPid`: a process it doesn't list has none.
template <class Pids>
FamilyWindows ofFamily(const WindowsByPid& byPid, const Pids& pids) {
    FamilyWindows family;
    int windows = 0;
    for (std::int32_t pid : pids) {
        auto found = byPid.find(pid);
        if (found == byPid.end()) continue;
        windows += found->second.windows;
        family.visibleWindows += found->second.visible();
        family.isActive = family.isActive || found->second.active;
    }
    family.isHidden = windows > 0 && family.visibleWindows == 0;
    return family;
}

// What the process tables say of an app's windows: "—" when unknown, "" for
// none, "In front" or "In front, 3", "Hidden", else the count: "2".
std::string text(const std::optional<FamilyWindows>& windows);

// The sentence that says why the windows are not known.
std::string unknownSentence(WindowsUnknown why);

} // namespace WindowFigures

// Reads the desktop's windows, keeping its connection to the display from
// one read() to the next and making a new one after a failure. One thread at
// a time.
class DesktopWindows {
public:
    struct Settings {
        std::optional<std::string> display;        // DISPLAY
        std::optional<std::string> waylandDisplay; // WAYLAND_DISPLAY
        std::optional<std::string> sessionType;    // XDG_SESSION_TYPE
        // The longest any one read(), or the connection it makes, may wait.
        std::chrono::milliseconds limit{300};
        // After a connection fails, the next is tried no sooner than this.
        std::chrono::milliseconds retryAfter{10'000};
    };
    // The settings of this process's environment.
    static Settings fromEnvironment();

    explicit DesktopWindows(Settings settings = fromEnvironment());
    ~DesktopWindows();
    DesktopWindows(const DesktopWindows&) = delete;
    DesktopWindows& operator=(const DesktopWindows&) = delete;

    // The windows now; blocks for at most the limit, twice when it connects.
    WindowsReading read();
    // How many connections read() has made: once while the display lives.
    int connections() const { return connections_; }

private:
    struct Connection;
    Settings settings_;
    std::unique_ptr<Connection> connection_;
    std::optional<std::chrono::steady_clock::time_point> failedAt_;
    int connections_ = 0;
};

} // namespace tessel
