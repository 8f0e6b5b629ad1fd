#pragma once
// What each open app is doing now and how much it holds: the process table's
// families (ProcessFamilies.h) joined with what the session says about them.
//
// On Linux an open app is an app unit of the process table (a desktop or
// Flatpak launch). Its family is the unit's processes, or for an app listed
// by pid, the family that holds the pid. Then:
//
//     memory             the family's proportional set size
//     cpu                its CPU time between two walks over the interval;
//                        a process not in the first walk adds nothing
//     runsOtherPrograms  a member runs a program that is not the app's own:
//                        neither the app's program, nor one in its program's
//                        folder, unless that folder is one every program
//                        shares (/usr/bin and the like)
//     keepsMacAwake      the family holds a logind inhibitor of sleep or idle
//     usesAudio          the family plays or records through the sound server
//     visibleWindows     the family's windows that are open and not hidden
//     isActive           a member owns the window in front
//     isHidden           the family has windows, and all are hidden
//                        (DesktopWindows.h: what the window manager says)
//
// The session's answers come through ActivitySignals, each a call that
// answers none when it can't tell (no system bus, no sound server, no X11
// window manager): the figure is then unknown, never false.

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "SystemStatsKit/DesktopWindows.h"
#include "SystemStatsKit/ProcessSampler.h"
#include "SystemStatsKit/RunningApp.h"

namespace tessel {

struct RunningAppActivity {
    std::int32_t pid = 0;
    std::string name;
    std::optional<std::string> bundleIdentifier;
    std::optional<std::string> bundlePath;
    std::optional<double> launchDate;
    std::uint64_t memory = 0;
    std::optional<double> cpu; // 1.0 is one core for the whole interval
    std::optional<bool> isActive;
    std::optional<bool> isHidden;
    std::optional<int> visibleWindows;
    std::optional<double> lastActive;
    std::optional<bool> keepsMacAwake;
    std::optional<bool> usesAudio;
    bool runsOtherPrograms = false;
    std::set<std::int32_t> family;
};

using PidSet = std::set<std::int32_t>;

struct ActivitySignals {
    // Pids that hold a sleep or idle inhibitor.
    std::function<std::optional<PidSet>()> assertionHolders;
    // Pids whose sound is playing or recording.
    std::function<std::optional<PidSet>()> audioProcesses;
    // Each process's windows, asked once for all three window figures.
    std::function<std::optional<WindowsByPid>()> windows;
};

namespace ActivityAnswers {
// The holders of blocking "sleep" or "idle" inhibitors in the answer of
// `busctl --json=short call org.freedesktop.login1 /org/freedesktop/login1
// org.freedesktop.login1.Manager ListInhibitors`; none when it is not one.
// A delay inhibitor only holds sleep back while its holder tidies up.
std::optional<PidSet> inhibitorHolders(std::string_view busctlJson);
// The "application.process.id" of each stream that is not paused (corked) in
// `pactl --format=json list sink-inputs` or `source-outputs`.
std::optional<PidSet> soundClients(std::string_view pactlJson);
} // namespace ActivityAnswers

class AppActivitySampler {
public:
    using App = RunningApp;

    explicit AppActivitySampler(std::string procRoot = "/proc", ActivitySignals signals = {});
    AppActivitySampler(std::string procRoot, std::uint32_t uid, long ticksPerSecond, ActivitySignals signals);

    // The apps of the app units now running, each named by its unit.
    std::vector<App> regular();
    // Walks, waits `interval` seconds, walks again: blocks, so call it off
    // the main thread.
    std::vector<RunningAppActivity> sample(double interval, const std::vector<App>& apps);
    // The two halves of sample(), `now` in seconds of a monotonic clock.
    void begin(double now);
    std::vector<RunningAppActivity> finish(const std::vector<App>& apps, double now);

private:
    ProcessSampler processes_;
    ActivitySignals signals_;
};

} // namespace tessel
