// Which apps count as unused over a span: on evidence only, never an app
// added within it, the undecided apart with why, the largest first.
#include <gtest/gtest.h>

#include "UninstallKit/UnusedApps.h"

namespace tessel {
namespace {

constexpr std::int64_t day = 24 * 60 * 60;
constexpr std::int64_t now = 1'800'000'000;

UnusedAppEntry entry(const std::string& name, std::optional<std::int64_t> opened, std::optional<std::int64_t> added,
                     std::optional<std::int64_t> bytes = {}, std::optional<std::int64_t> notSince = {}) {
    UnusedAppEntry made;
    made.app.name = name;
    made.bytes = bytes;
    made.added = added;
    made.lastOpened.notSince = notSince;
    if (opened) {
        made.lastOpened.date = opened;
        made.lastOpened.source = OpeningSource::gnomeShell;
    } else if (!notSince) {
        made.lastOpened.why = name + " is told by nothing.";
    }
    return made;
}

std::vector<std::string> names(const std::vector<UnusedAppEntry>& entries) {
    std::vector<std::string> found;
    for (const UnusedAppEntry& each : entries) found.push_back(each.app.name);
    return found;
}

TEST(UnusedApps, AnAppIsUnusedOnlyOnEvidenceOlderThanTheSpanAndNotAddedWithinIt) {
    const std::vector<UnusedAppEntry> entries{
        entry("Small old", now - 200 * day, now - 900 * day, 10),
        entry("Big old", now - 91 * day, now - 900 * day, 5'000),
        entry("Unsized old", now - 100 * day, {}),
        entry("Opened lately", now - 89 * day, now - 900 * day, 9'000),
        entry("New again", now - 200 * day, now - 20 * day, 9'000),
        entry("Not read for long", {}, now - 900 * day, 20, now - 150 * day),
        entry("Not read since lately", {}, now - 900 * day, 20, now - 10 * day),
        entry("Silent", {}, now - 900 * day, 7'000)};

    const UnusedAppsJudgement three = UnusedApps::judge(entries, UnusedApps::days(Span::three), now);
    EXPECT_EQ(names(three.unused), (std::vector<std::string>{"Big old", "Not read for long", "Small old", "Unsized old"}))
        << "largest first, sizes unknown last; an app added within the span or opened within it is not unused";
    ASSERT_EQ(three.undecided.size(), 2u);
    EXPECT_EQ(three.undecided[0].entry.app.name, "Not read since lately");
    EXPECT_EQ(three.undecided[0].why, "Its program was installed or changed within the last 90 days and has not been read "
                                      "since; nothing tells whether it was opened before.");
    EXPECT_EQ(three.undecided[1].why, "Silent is told by nothing.") << "no evidence is never unused, whatever the span";

    const UnusedAppsJudgement six = UnusedApps::judge(entries, UnusedApps::days(Span::six), now);
    EXPECT_EQ(names(six.unused), (std::vector<std::string>{"Small old"}));
    EXPECT_EQ(six.undecided.size(), 3u) << "not read for 150 days can't say whether it was opened within 180";
    EXPECT_TRUE(UnusedApps::judge(entries, UnusedApps::days(Span::twelve), now).unused.empty());
}

} // namespace
} // namespace tessel
