// tessel junk: what can go, found as the app finds it, each item with the
// sentence that says why and whether it is ticked; with --clean the ticked
// items go to the Trash, past the guard, unless a program that uses them runs.

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "TrashStep.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ScanReport.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/JunkSearch.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> junkOptions{{"json", false}, {"root", true}, {"clean", false}, {"stall-timeout", true}};

nlohmann::ordered_json itemJson(const JunkItem& item, bool inUse) {
    nlohmann::ordered_json json;
    putName(json, "path", item.path);
    putName(json, "name", item.name);
    json["category"] = std::string(JunkCategories::rawValue(item.category));
    json["bytes"] = item.bytes;
    if (item.modified) json["modified"] = ScanReport::isoDate(std::chrono::system_clock::from_time_t(*item.modified));
    else json["modified"] = nullptr;
    putNameOrNull(json, "identifier", item.identifier);
    putNameOrNull(json, "app", item.app);
    json["isSystem"] = item.isSystem;
    json["requiresAdministrator"] = item.requiresAdministrator;
    putName(json, "note", item.note);
    json["recommended"] = item.recommended;
    json["startsTicked"] = item.startsTicked() && !inUse;
    json["inUse"] = inUse;
    putNames(json, "tools", std::vector<std::string>(item.tools.begin(), item.tools.end()));
    return json;
}

void printItems(const std::vector<JunkItem>& items, const std::set<std::string>& inUse) {
    for (JunkCategory category : JunkCategories::all) {
        std::int64_t total = 0;
        for (const JunkItem& item : items)
            if (item.category == category) total += item.bytes;
        if (total == 0) continue;
        std::printf("%s, %s\n", std::string(JunkCategories::title(category)).c_str(), ByteFormat::string(total).c_str());
        for (const JunkItem& item : items) {
            if (item.category != category) continue;
            const bool held = inUse.contains(item.path);
            std::printf("  [%c] %s  %s%s\n", item.startsTicked() && !held ? 'x' : ' ', ByteFormat::padded(item.bytes, 9).c_str(),
                        printable(item.name).c_str(), held ? " (in use)" : "");
            std::printf("      %s\n      %s\n", printable(item.path).c_str(), printable(item.note).c_str());
        }
    }
}

} // namespace

int runJunk(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, junkOptions);
    if (!arguments.positionals.empty())
        throw UsageError("junk takes no path, not \"" + arguments.positionals.front() + "\"");
    const std::string root = systemRoot(arguments);
    const JunkPlaces places = JunkPlaces::fromEnvironment(root);
    JunkFinder::Settings settings;
    settings.now = static_cast<std::int64_t>(std::time(nullptr));
    settings.appNamed = JunkSearch::appNames(AppCatalog::installedApps(DesktopMachine::fromEnvironment(root)).apps);
    JunkSearchOptions options;
    if (const std::optional<double> stall = arguments.seconds("stall-timeout")) options.stallTimeout = *stall;
    const std::vector<JunkItem> items = JunkSearch::run(places, settings, options);
    const std::set<std::string> inUse = JunkSearch::inUse(items, RunningPrograms::inThisSession());

    std::int64_t totalBytes = 0, tickedBytes = 0;
    std::vector<DeletionCandidate> ticked;
    for (const JunkItem& item : items) {
        totalBytes += item.bytes;
        if (!item.startsTicked() || inUse.contains(item.path)) continue;
        tickedBytes += item.bytes;
        // As measured: the guard judges where the path really is, and the trash service checks it again.
        ticked.push_back({item.path, item.bytes, item.isDirectory});
    }
    const bool clean = arguments.has("clean");
    const TrashRun trashed = clean ? moveToTrash(ticked, false) : TrashRun{};
    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const JunkItem& item : items) list.push_back(itemJson(item, inUse.contains(item.path)));
        nlohmann::ordered_json report{{"items", std::move(list)}, {"totalBytes", totalBytes}, {"tickedBytes", tickedBytes}};
        if (clean) report["clean"] = trashReport(trashed.plan, trashed.outcome);
        printJson(report);
    } else {
        if (items.empty()) std::printf("No junk was found.\n");
        printItems(items, inUse);
        std::printf("%s found, %s ticked.\n", ByteFormat::string(totalBytes).c_str(), ByteFormat::string(tickedBytes).c_str());
        if (clean) printRun(trashed);
    }
    return clean ? statusOf(trashed) : exitSuccess;
}

} // namespace tessel::cli
