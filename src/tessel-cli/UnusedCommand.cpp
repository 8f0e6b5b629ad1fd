// tessel unused: the apps not opened for a number of days, largest first,
// with when each was last opened and what says so; and the apps whose last
// opening nothing can tell, apart, with why.

#include <chrono>
#include <cstdio>
#include <ctime>
#include <map>

#include <nlohmann/json.hpp>

#include "AppJson.h"
#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/ScanReport.h"
#include "UninstallKit/UnusedApps.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> unusedOptions{{"json", false}, {"root", true}, {"days", true}};
constexpr std::int64_t maxDays = 36'500;

ScanReport::TimePoint timePoint(std::int64_t seconds) { return std::chrono::system_clock::from_time_t(static_cast<std::time_t>(seconds)); }

nlohmann::ordered_json isoOrNull(const std::optional<std::int64_t>& seconds) {
    return seconds ? nlohmann::ordered_json(ScanReport::isoDate(timePoint(*seconds))) : nlohmann::ordered_json(nullptr);
}

FoundApp foundApp(const UnusedAppEntry& entry) { return {entry.app, entry.bytes, entry.isRunning}; }

nlohmann::ordered_json unusedJson(const UnusedAppEntry& entry) {
    const LastOpened& last = entry.lastOpened;
    nlohmann::ordered_json item = appJson(foundApp(entry));
    item["lastOpened"] = isoOrNull(last.date);
    item["notOpenedSince"] = isoOrNull(last.date ? std::nullopt : last.notSince);
    item["evidence"] = last.source ? OpeningSources::word(*last.source) : OpeningSources::word(OpeningSource::accessTime);
    item["reason"] = last.source ? std::string(OpeningSources::sentence(*last.source)) : last.why;
    item["added"] = isoOrNull(entry.added);
    return item;
}

void printUnused(const UnusedAppEntry& entry) {
    const LastOpened& last = entry.lastOpened;
    const std::string size = entry.bytes ? ByteFormat::padded(*entry.bytes, 9) : std::string(9, ' ');
    std::printf("  %s  %s (%s)\n", size.c_str(), printable(entry.app.name).c_str(),
                printable(entry.app.bundleIdentifier.value_or(entry.app.desktopId)).c_str());
    if (last.date)
        std::printf("             last opened %s. %s\n", ScanReport::readableDate(timePoint(*last.date)).c_str(),
                    std::string(OpeningSources::sentence(*last.source)).c_str());
    else if (last.notSince)
        std::printf("             not opened since %s. %s\n", ScanReport::readableDate(timePoint(*last.notSince)).c_str(), last.why.c_str());
}

} // namespace

int runUnused(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, unusedOptions);
    if (!arguments.positionals.empty())
        throw UsageError("unused takes no path, not \"" + arguments.positionals.front() + "\"");
    const std::int64_t days = arguments.integer("days", 1).value_or(UnusedApps::days(Span::three));
    // Longer than any machine has kept a record, and short of overflowing the seconds it stands for.
    if (days > maxDays) throw UsageError("--days wants at most " + std::to_string(maxDays) + ", not " + std::to_string(days));
    const std::string root = systemRoot(arguments);
    const DesktopMachine machine = DesktopMachine::fromEnvironment(root);
    const RunningPrograms running = RunningPrograms::inThisSession(machine.onDisk("/proc"));
    const FoundAppListing listing = FoundApps::onMachine(machine, cacheFolder(), running);
    const std::int64_t now = std::time(nullptr);
    const OpeningEvidence evidence = LastOpenedReader::read(machine, now);
    const UnusedAppsJudgement judgement = UnusedApps::judge(UnusedApps::entries(listing.apps, evidence, machine), static_cast<int>(days), now);

    if (arguments.has("json")) {
        nlohmann::ordered_json apps = nlohmann::ordered_json::array(), unknown = nlohmann::ordered_json::array();
        for (const UnusedAppEntry& entry : judgement.unused) apps.push_back(unusedJson(entry));
        for (const UndecidedApp& undecided : judgement.undecided)
            unknown.push_back({{"app", appJson(foundApp(undecided.entry))}, {"why", undecided.why}});
        std::vector<std::pair<std::string, std::string>> unreadable = listing.unreadable;
        unreadable.insert(unreadable.end(), evidence.records.unreadable.begin(), evidence.records.unreadable.end());
        printJson({{"days", days}, {"apps", std::move(apps)}, {"unknown", std::move(unknown)}, {"unreadable", unreadableItems(unreadable)}});
        return exitSuccess;
    }
    if (judgement.unused.empty()) std::printf("No app is known to have gone unopened for %lld days.\n", static_cast<long long>(days));
    else std::printf("Not opened for %lld days, largest first:\n", static_cast<long long>(days));
    for (const UnusedAppEntry& entry : judgement.unused) printUnused(entry);
    // The apps that can't be told, gathered under each reason.
    std::map<std::string, std::vector<std::string>> byWhy;
    for (const UndecidedApp& undecided : judgement.undecided) byWhy[undecided.why].push_back(printable(undecided.entry.app.name));
    if (!judgement.undecided.empty())
        std::printf("%zu app%s can't be told:\n", judgement.undecided.size(), judgement.undecided.size() == 1 ? "" : "s");
    for (const auto& [why, names] : byWhy) {
        std::printf("  %s\n   ", why.c_str());
        for (std::size_t i = 0; i < names.size(); ++i) std::printf(" %s%s", names[i].c_str(), i + 1 < names.size() ? "," : "\n");
    }
    for (const auto& [file, reason] : evidence.records.unreadable)
        std::printf("Passed over %s: %s\n", printable(file).c_str(), printable(reason).c_str());
    return exitSuccess;
}

} // namespace tessel::cli
