#pragma once
// Which processes make one app: the rows of the process table, and the family
// of an app whose activity is asked for.
//
// A process in an app unit (AppLaunchUnit.h) belongs to that app, whoever its
// parent: a desktop or Flatpak launch is one family, however many helpers it
// starts and however they were reparented. Launches of the same desktop ID
// make one family.
//
// Any other process climbs its parents, and belongs to the farthest ancestor
// it reaches while the ancestor is the user's, is in no app unit, and is not
// the user's topmost process. The topmost (the user's service manager, or a
// session's first process, whose own parent is root's) starts everything,
// and counting every process in it would make one family of the whole
// session; its children are where families begin. So a compiler that a shell
// runs counts in the shell's family, a busy child in its parent's, and the
// services of `systemd --user` are one family each.
//
//     systemd --user (1500)                       topmost: a family of its own
//       pipewire (1510)                           family 1510
//       gnome-terminal-server (1600)              family 1600
//         bash (1610) → make (1700) → cc1 (1701)   all in family 1600
//     [app-flatpak-org.mozilla.firefox-9.scope]
//       firefox (2000), its helpers               family "org.mozilla.firefox"
//
// The head of a family, whose name and pid the row takes, is the ancestor
// the others climbed to; in an app unit, its member whose parent lies
// outside the unit, the earliest started if several.

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "SystemStatsKit/AppLaunchUnit.h"
#include "SystemStatsKit/ProcessTable.h"

namespace tessel {

struct ProcessFamily {
    std::size_t head = 0;              // an index into the records
    std::vector<std::size_t> members;  // indices, the head among them, by pid
    std::optional<AppLaunchUnit> unit; // the app unit they share, if any
};

namespace ProcessFamilies {

// `unitOf(i)` is the app unit of records[i], or null.
std::vector<ProcessFamily> group(const std::vector<ProcessRecord>& records,
                                 const std::function<const AppLaunchUnit*(std::size_t)>& unitOf);

} // namespace ProcessFamilies
} // namespace tessel
