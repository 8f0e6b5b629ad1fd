// tessel leftovers: what removed apps left behind, each entry with whose it
// seems to have been, how sure that is and why; with --clean the ticked
// items (only the surest grade) go to the Trash, past the guard.

#include <cstdio>
#include <ctime>
#include <map>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "TrashStep.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/ScanReport.h"
#include "UninstallKit/OrphanEvidence.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> leftoversOptions{{"json", false}, {"root", true}, {"clean", false}};

nlohmann::ordered_json itemJson(const OrphanItem& item) {
    nlohmann::ordered_json json;
    putName(json, "path", item.path);
    json["bytes"] = item.bytes;
    json["category"] = std::string(OrphanCategories::rawValue(item.category));
    json["location"] = item.locationLabel;
    json["confidence"] = std::string(MatchConfidences::rawValue(item.confidence));
    putName(json, "reason", item.reason);
    putName(json, "apparentOwner", item.owner.name);
    if (item.owner.domain) json["ownerDomain"] = *item.owner.domain;
    else json["ownerDomain"] = nullptr;
    if (item.modified) json["modified"] = ScanReport::isoDate(std::chrono::system_clock::from_time_t(*item.modified));
    else json["modified"] = nullptr;
    json["requiresAdministrator"] = item.requiresAdministrator;
    json["ticked"] = item.isTicked();
    return json;
}

// Grouped by owner, the largest group first, as the app shows them.
void printItems(const std::vector<OrphanItem>& items) {
    std::map<std::string, std::int64_t> groupBytes;
    for (const OrphanItem& item : items) groupBytes[item.owner.key] += item.bytes;
    std::vector<std::pair<std::string, std::int64_t>> groups(groupBytes.begin(), groupBytes.end());
    std::ranges::stable_sort(groups, [](const auto& a, const auto& b) { return a.second > b.second; });
    for (const auto& [key, bytes] : groups) {
        bool first = true;
        for (const OrphanItem& item : items) {
            if (item.owner.key != key) continue;
            if (first) {
                const std::string domain = item.owner.domain ? " (" + *item.owner.domain + ")" : "";
                std::printf("%s%s, %s\n", printable(item.owner.name).c_str(), domain.c_str(), ByteFormat::string(bytes).c_str());
                first = false;
            }
            std::printf("  [%c] %s  %s\n      %s, %s: %s%s\n", item.isTicked() ? 'x' : ' ', ByteFormat::padded(item.bytes, 9).c_str(),
                        printable(item.path).c_str(), item.locationLabel.c_str(),
                        std::string(MatchConfidences::label(item.confidence)).c_str(), printable(item.reason).c_str(),
                        item.requiresAdministrator ? " (needs an administrator)" : "");
        }
    }
}

} // namespace

int runLeftovers(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, leftoversOptions);
    if (!arguments.positionals.empty())
        throw UsageError("leftovers takes no path, not \"" + arguments.positionals.front() + "\"");
    const std::string root = systemRoot(arguments);
    const DesktopMachine machine = DesktopMachine::fromEnvironment(root);
    const std::vector<OrphanItem> items =
        OrphanEvidence::findOnLinux(machine, cacheFolder(), static_cast<std::int64_t>(std::time(nullptr)));

    std::int64_t totalBytes = 0, tickedBytes = 0;
    std::vector<DeletionCandidate> ticked;
    for (const OrphanItem& item : items) {
        totalBytes += item.bytes;
        if (!item.isTicked()) continue;
        tickedBytes += item.bytes;
        ticked.push_back({item.path, item.bytes, item.isDirectory});
    }
    const bool clean = arguments.has("clean");
    const TrashRun trashed = clean ? moveToTrash(ticked, false) : TrashRun{};
    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const OrphanItem& item : items) list.push_back(itemJson(item));
        nlohmann::ordered_json report{{"items", std::move(list)}, {"totalBytes", totalBytes}, {"tickedBytes", tickedBytes}};
        if (clean) report["clean"] = trashReport(trashed.plan, trashed.outcome);
        printJson(report);
    } else {
        if (items.empty()) std::printf("Nothing left behind by removed apps was found.\n");
        printItems(items);
        std::printf("%s found, %s ticked.\n", ByteFormat::string(totalBytes).c_str(), ByteFormat::string(tickedBytes).c_str());
        if (clean) printRun(trashed);
    }
    return clean ? statusOf(trashed) : exitSuccess;
}

} // namespace tessel::cli
