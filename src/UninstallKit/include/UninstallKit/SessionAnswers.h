#pragma once
// What the desktop session says about its apps, asked of its own tools for
// AppActivitySampler: which processes hold logind's sleep and idle
// inhibitors (busctl on the system bus) and which play or record sound
// (pactl, which PipeWire answers as PulseAudio did). Each question runs its
// tool through CommandRunner with a short limit; a tool that is missing,
// fails, or outlives the limit leaves its answer unknown, and sampling goes
// on. Windows are not asked: a Wayland session tells no other program about
// them, so they stay unknown.

#include <string>

#include "SystemStatsKit/AppActivitySampler.h"

namespace tessel::SessionAnswers {

// The questions, asked of the tools in `programFolder`.
ActivitySignals signals(const std::string& programFolder = "/usr/bin");

} // namespace tessel::SessionAnswers
