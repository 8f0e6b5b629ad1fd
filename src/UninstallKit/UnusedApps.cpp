// Which apps have gone unopened for a span.
//
// An app is offered as unused only on evidence: its newest opening
// (LastOpened.h) is older than the span, or its program has not been read
// since a moment older than the span. An app added within the span is not
// unused whatever its last opening: one installed last week and not opened
// yet is new, not forgotten. Since when an app is installed is the earliest
// birth time of its entry, its program and the folder its package keeps
// across updates, so an upgrade, which writes the entry and the program
// anew, does not make an old app new.
//
// An app nothing speaks for is never called unused: it is listed apart,
// with the sentence that says why nothing can tell. So is an app whose
// program was written within the span and not read since: whether it was
// opened before that write, within the span, nothing tells.
//
// Worked example, 90 days, now = day 400: A last opened on day 200, added on
// day 100: unused. B last opened on day 200, added on day 350 (installed
// again since): not unused. C not read since day 380, no other evidence:
// undecided. D with no evidence at all: undecided, with its sentence.

#include "UninstallKit/UnusedApps.h"

#include <algorithm>

#include "UninstallKit/AppCatalog.h"

namespace tessel::UnusedApps {

namespace {

constexpr std::int64_t secondsPerDay = 24 * 60 * 60;

} // namespace

int days(Span span) {
    switch (span) {
    case Span::three: return 90;
    case Span::six: return 180;
    case Span::twelve: return 365;
    }
    return 90;
}

std::vector<UnusedAppEntry> entries(const std::vector<FoundApp>& apps, const OpeningEvidence& evidence,
                                    const DesktopMachine& machine) {
    std::vector<UnusedAppEntry> list;
    for (const FoundApp& found : apps) {
        if (found.app.isSystemApp || !found.app.isShown) continue;
        list.push_back({found.app, found.bytes, found.isRunning, LastOpenedReader::lastOpened(found, evidence, machine),
                        LastOpenedReader::added(found.app, evidence, machine)});
    }
    return list;
}

UnusedAppsJudgement judge(const std::vector<UnusedAppEntry>& entries, int days, std::int64_t now) {
    const std::int64_t cutoff = now - static_cast<std::int64_t>(days) * secondsPerDay;
    UnusedAppsJudgement judgement;
    for (const UnusedAppEntry& entry : entries) {
        const LastOpened& last = entry.lastOpened;
        const bool addedBefore = !entry.added || *entry.added < cutoff;
        if (last.date) {
            if (*last.date < cutoff && addedBefore) judgement.unused.push_back(entry);
        } else if (last.notSince && *last.notSince < cutoff) {
            if (addedBefore) judgement.unused.push_back(entry);
        } else if (last.notSince) {
            judgement.undecided.push_back({entry, "Its program was installed or changed within the last " + std::to_string(days) +
                                                      " days and has not been read since; nothing tells whether it was opened before."});
        } else {
            judgement.undecided.push_back({entry, last.why});
        }
    }
    std::ranges::stable_sort(judgement.unused, [](const UnusedAppEntry& a, const UnusedAppEntry& b) {
        if (a.bytes.has_value() != b.bytes.has_value()) return a.bytes.has_value();
        if (a.bytes != b.bytes) return *a.bytes > *b.bytes;
        return AppCatalog::nameOrder(a.app, b.app);
    });
    std::ranges::stable_sort(judgement.undecided,
                             [](const UndecidedApp& a, const UndecidedApp& b) { return AppCatalog::nameOrder(a.entry.app, b.entry.app); });
    return judgement;
}

} // namespace tessel::UnusedApps
