// tessel startup: what starts by itself on this machine (systemd's units,
// the session's autostart entries, cron's jobs), who owns each and why, and,
// for the user's own items, switching one off or back on.

#include <cstdio>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "TrashStep.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/LinuxStartupItems.h"
#include "UninstallKit/StartupSwitch.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> startupOptions{
    {"json", false}, {"root", true}, {"disable", true}, {"enable", true}, {"trash", true}, {"dry-run", false}};

nlohmann::ordered_json itemJson(const StartupItem& item) {
    nlohmann::ordered_json row;
    putName(row, "label", item.label);
    row["kind"] = std::string(StartupItemKinds::rawValue(item.kind));
    row["source"] = item.source;
    putName(row, "path", item.path);
    putNameOrNull(row, "program", item.program);
    putNames(row, "arguments", item.arguments);
    row["programExists"] = item.programExists;
    row["enabled"] = !item.disabled;
    row["scope"] = item.requiresAdministrator ? "system" : "user";
    putNameOrNull(row, "owner", item.owner ? std::optional(item.owner->name) : std::nullopt);
    row["ownerConfidence"] = item.ownerConfidence ? nlohmann::ordered_json(MatchConfidences::rawValue(*item.ownerConfidence))
                                                  : nlohmann::ordered_json(nullptr);
    putName(row, "ownerReason", item.ownerReason);
    row["isPlatform"] = item.isPlatform;
    putNameOrNull(row, "package", item.package);
    putNameOrNull(row, "detail", item.detail);
    putNameOrNull(row, "command", item.changeCommand);
    row["isReadable"] = item.isReadable;
    row["bytes"] = item.bytes;
    return row;
}

void printItems(const StartupItemReport& report) {
    std::optional<StartupItemKind> kind;
    for (const StartupItem& item : report.items) {
        if (item.kind != kind) {
            kind = item.kind;
            std::printf("%s%s\n", item.kind == report.items.front().kind ? "" : "\n",
                        std::string(StartupItemKinds::title(item.kind)).c_str());
        }
        std::printf("  %-3s %s%s\n", item.disabled ? "off" : "on", printable(item.label).c_str(),
                    item.requiresAdministrator ? " (administrator)" : "");
        if (item.program)
            std::printf("      runs %s%s\n", printable(*item.program).c_str(), item.programExists ? "" : " (missing)");
        const std::string owner = item.owner ? item.owner->name + ", " +
                                                   std::string(MatchConfidences::label(*item.ownerConfidence)) + ": "
                                             : std::string("no owner: ");
        std::printf("      %s%s\n", printable(owner).c_str(), printable(item.ownerReason).c_str());
        if (item.detail) std::printf("      %s\n", printable(*item.detail).c_str());
        if (item.changeCommand) std::printf("      to change it: %s\n", printable(*item.changeCommand).c_str());
    }
    if (report.items.empty()) std::printf("Nothing starts by itself.\n");
}

// The item a word names: its label, or a unit's label without ".service"; the user's own first.
const StartupItem* itemNamed(const StartupItemReport& report, const std::string& word) {
    const StartupItem* found = nullptr;
    for (const StartupItem& item : report.items) {
        const bool named = item.label == word || item.label == word + ".service";
        if (named && (found == nullptr || (found->requiresAdministrator && !item.requiresAdministrator))) found = &item;
    }
    return found;
}

int switchItem(const StartupItemReport& report, const StartupMachine& machine, const std::string& label, bool off,
               bool json) {
    const StartupItem* item = itemNamed(report, label);
    if (item == nullptr) throw RunFailure("no startup item is called \"" + printable(label) + "\"; tessel startup lists them");
    // The tool asks no systemd manager: it changes the files, and says when the manager will see them.
    StartupSwitch startupSwitch(machine);
    const StartupSwitchOutcome outcome = off ? startupSwitch.disable(*item) : startupSwitch.enable(*item);
    if (json) {
        nlohmann::ordered_json answer;
        putName(answer, "label", item->label);
        answer["changed"] = outcome.changed;
        putName(answer, "message", outcome.sentence);
        printJson(answer);
    } else {
        std::printf("%s\n", printable(outcome.sentence).c_str());
    }
    return outcome.changed ? exitSuccess : exitFailure;
}

int trashItem(const StartupItemReport& report, const StartupMachine& machine, const std::string& label, bool dryRun,
              bool json) {
    const StartupItem* item = itemNamed(report, label);
    if (item == nullptr) throw RunFailure("no startup item is called \"" + printable(label) + "\"; tessel startup lists them");
    const std::vector<std::string> paths = StartupSwitch(machine).trashablePaths(*item);
    if (paths.empty())
        throw RunFailure(printable(item->label) + " is not a unit of your own in " + printable(machine.configHome) +
                         "/systemd/user, so its file stays where it is");
    std::vector<DeletionCandidate> candidates;
    for (const std::string& path : paths) candidates.push_back(candidateFor(path));
    const TrashRun trashed = moveToTrash(candidates, dryRun);
    if (json) {
        printJson(trashReport(trashed.plan, trashed.outcome));
    } else {
        printPlan(trashed.plan);
        if (!dryRun) printOutcome(trashed.outcome);
    }
    return trashed.plan.refused.empty() && trashed.outcome.failures.empty() ? exitSuccess : exitFailure;
}

} // namespace

int runStartup(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, startupOptions);
    if (!arguments.positionals.empty())
        throw UsageError("startup takes no path, not \"" + arguments.positionals.front() + "\"");
    const int actions = static_cast<int>(arguments.value("disable").has_value()) +
                        static_cast<int>(arguments.value("enable").has_value()) +
                        static_cast<int>(arguments.value("trash").has_value());
    if (actions > 1) throw UsageError("--disable, --enable and --trash go one at a time");
    if (arguments.has("dry-run") && !arguments.value("trash")) throw UsageError("--dry-run goes with --trash");
    const std::string root = systemRoot(arguments);
    const StartupMachine machine = StartupMachine::fromEnvironment(root);
    const StartupItemReport report = LinuxStartupItems::readJudgedByMachine(machine, cacheFolder());
    const bool json = arguments.has("json");
    if (const std::optional<std::string> label = arguments.value("disable")) return switchItem(report, machine, *label, true, json);
    if (const std::optional<std::string> label = arguments.value("enable")) return switchItem(report, machine, *label, false, json);
    if (const std::optional<std::string> label = arguments.value("trash"))
        return trashItem(report, machine, *label, arguments.has("dry-run"), json);
    if (json) {
        nlohmann::ordered_json items = nlohmann::ordered_json::array();
        for (const StartupItem& item : report.items) items.push_back(itemJson(item));
        printJson({{"items", std::move(items)}, {"unreadable", unreadableFiles(report.unreadable)}});
        return exitSuccess;
    }
    printItems(report);
    printUnreadable("Files passed over:", report.unreadable);
    return exitSuccess;
}

} // namespace tessel::cli
