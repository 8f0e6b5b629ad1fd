#pragma once
// What the desktop session says about its apps, asked of its own tools for
// AppActivitySampler: which processes hold logind's sleep and idle
// inhibitors (busctl on the system bus) and which play or record sound
// (pactl, which PipeWire answers as PulseAudio did). Each question runs its
// tool through CommandRunner with a short limit; a tool that is missing,
// fails, or outlives the limit leaves its answer unknown, and sampling goes
// on. Windows are asked of the X11 window manager through one DesktopWindows
// that the signals keep, and so its connection, from one sample to the next;
// a Wayland session tells no other program about them, so there they stay
// unknown.

#include <string>

#include "SystemStatsKit/AppActivitySampler.h"
#include "SystemStatsKit/DesktopWindows.h"

namespace tessel::SessionAnswers {

// The questions, asked of the tools in `programFolder` and of the display
// that `windows` names.
ActivitySignals signals(const std::string& programFolder = "/usr/bin",
                        DesktopWindows::Settings windows = DesktopWindows::fromEnvironment());

} // namespace tessel::SessionAnswers
