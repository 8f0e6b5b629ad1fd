// tessel uninstall: an app and what it left. An app the user put on the
// machine goes to the Trash with its residue; an app a package manager owns
// is handed off with the command that removes it, its residue in the home
// going to the Trash. With --dry-run nothing moves.

#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "AppJson.h"
#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "TrashStep.h"
#include "Base/AsciiCase.h"
#include "DiskScanKit/ByteFormat.h"
#include "UninstallKit/FoundApps.h"
#include "UninstallKit/UninstallPlanner.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> uninstallOptions{{"json", false}, {"root", true}, {"dry-run", false}};

// The app a word names: its identifier, desktop ID, package or name, in any case.
std::optional<FoundApp> appNamed(const std::vector<FoundApp>& found, const std::string& word) {
    const std::string wanted = asciiLower(word);
    for (const FoundApp& each : found) {
        const InstalledApp& app = each.app;
        const bool named = (app.bundleIdentifier && asciiLower(*app.bundleIdentifier) == wanted) ||
                           asciiLower(app.desktopId) == wanted || (app.package && asciiLower(*app.package) == wanted) ||
                           asciiLower(app.name) == wanted;
        if (named) return each;
    }
    return std::nullopt;
}

} // namespace

int runUninstall(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, uninstallOptions);
    if (arguments.positionals.size() != 1) throw UsageError("uninstall wants one app: its identifier, package or name");
    const DesktopMachine machine = DesktopMachine::fromEnvironment(systemRoot(arguments));
    const RunningPrograms running = RunningPrograms::inThisSession(machine.onDisk("/proc"));
    // Where each app came from decides how it goes.
    const FoundAppListing listing = FoundApps::onMachine(machine, cacheFolder(), running);
    std::vector<InstalledApp> apps;
    for (const FoundApp& found : listing.apps) apps.push_back(found.app);
    const std::optional<FoundApp> chosen = appNamed(listing.apps, arguments.positionals.front());
    if (!chosen) {
        printError("no installed app is called \"" + printable(arguments.positionals.front()) + "\"; tessel apps lists them");
        return exitFailure;
    }
    const ResidueScanner scanner = UninstallPlanner::scannerOf(apps, machine);
    const InstalledApp* app = &chosen->app;
    const bool isRunning = chosen->isRunning;
    const UninstallPlan plan = UninstallPlanner::plan(*app, scanner, machine, isRunning);

    const std::set<std::string> ticked = UninstallPlanner::selectable({plan});
    const bool dryRun = arguments.has("dry-run");
    const TrashRun trashed = dryRun ? TrashRun{} : moveToTrash(UninstallPlanner::candidates({plan}, ticked), false);

    if (arguments.has("json")) {
        nlohmann::ordered_json bundle;
        putNameOrNull(bundle, "path", plan.bundlePath);
        bundle["bytes"] = plan.bundleBytes;
        if (plan.handoff) bundle["handoff"] = *plan.handoff;
        else bundle["handoff"] = nullptr;
        nlohmann::ordered_json residue = nlohmann::ordered_json::array();
        for (const ResidueItem& item : plan.residue) {
            nlohmann::ordered_json row;
            putName(row, "path", item.path);
            row["bytes"] = item.bytes;
            row["location"] = item.locationLabel;
            row["confidence"] = std::string(MatchConfidences::rawValue(item.confidence));
            putName(row, "reason", item.reason);
            row["requiresAdministrator"] = item.requiresAdministrator;
            row["ticked"] = ticked.contains(item.path);
            residue.push_back(std::move(row));
        }
        nlohmann::ordered_json report{{"app", appJson(*chosen)},
                                      {"bundle", std::move(bundle)},
                                      {"residue", std::move(residue)}};
        if (!dryRun) report["trash"] = trashReport(trashed.plan, trashed.outcome);
        printJson(report);
    } else {
        std::printf("%s%s\n", printable(app->name).c_str(), isRunning ? " (running: quit it before it goes)" : "");
        if (plan.bundlePath) std::printf("  the app: %s, %s\n", printable(*plan.bundlePath).c_str(), ByteFormat::string(plan.bundleBytes).c_str());
        if (plan.handoff) std::printf("  the app is its package manager's: remove it with\n    %s\n", plan.handoff->c_str());
        for (const ResidueItem& item : plan.residue)
            std::printf("  [%c] %s  %s\n      %s: %s, %s%s\n", ticked.contains(item.path) ? 'x' : ' ',
                        ByteFormat::padded(item.bytes, 9).c_str(), printable(item.path).c_str(), item.locationLabel.c_str(),
                        std::string(MatchConfidences::label(item.confidence)).c_str(), printable(item.reason).c_str(),
                        item.requiresAdministrator ? " (needs an administrator)" : item.mayHoldDocuments ? " (may hold documents)" : "");
        if (dryRun) {
            std::printf("Nothing was moved: --dry-run.\n");
        } else {
            printRun(trashed);
        }
    }
    if (dryRun) return exitSuccess;
    return statusOf(trashed);
}

} // namespace tessel::cli
