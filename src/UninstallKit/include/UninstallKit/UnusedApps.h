#pragma once
// Apps not opened for a while: each app with its last opening and since when
// it is installed, and the judgement over a span. Pure functions over values:
// the app's model holds the list, the span and the generation of its loads.
// See UnusedApps.cpp.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "UninstallKit/FoundApps.h"
#include "UninstallKit/LastOpened.h"

namespace tessel {

// How long an app must have gone unopened to be offered: three, six or twelve months.
enum class Span { three, six, twelve };

struct UnusedAppEntry {
    InstalledApp app;
    std::optional<std::int64_t> bytes; // what removing it frees, where known
    bool isRunning = false;
    LastOpened lastOpened;
    std::optional<std::int64_t> added; // seconds since 1970
};

// An app whose last opening can't be told within the span, and why.
struct UndecidedApp {
    UnusedAppEntry entry;
    std::string why;
};

struct UnusedAppsJudgement {
    std::vector<UnusedAppEntry> unused; // largest first, unknown sizes last, then by name
    std::vector<UndecidedApp> undecided; // by name
};

namespace UnusedApps {

// 90, 180 and 365.
int days(Span span);

// Each app the user may be offered, with what the evidence says of it: the
// system's own apps and entries kept out of menus are left out.
std::vector<UnusedAppEntry> entries(const std::vector<FoundApp>& apps, const OpeningEvidence& evidence,
                                    const DesktopMachine& machine);

// Unused: its newest opening is older than `days` before `now` (or its
// program has not been read since a moment that old), and it was not added
// within those days. An app nothing speaks for is never unused: it is
// undecided, with the sentence that says why. Used apps are in neither list.
UnusedAppsJudgement judge(const std::vector<UnusedAppEntry>& entries, int days, std::int64_t now);

} // namespace UnusedApps
} // namespace tessel
