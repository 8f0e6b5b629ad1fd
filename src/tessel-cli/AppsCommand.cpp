// tessel apps: the apps of this machine as its desktop entries show them,
// with where each comes from, its version and size where its package says,
// the AppImages no entry runs, and which of them run now.


#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "AppJson.h"
#include "Listing.h"
#include "TerminalText.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ByteFormat.h"
#include "UninstallKit/FoundApps.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> appsOptions{{"json", false}, {"root", true}};

void printApp(const FoundApp& found) {
    const InstalledApp& app = found.app;
    std::string notes;
    if (app.source != "other") notes += ", " + app.source;
    if (app.version) notes += ", version " + printable(*app.version);
    if (found.bytes) notes += ", " + ByteFormat::string(*found.bytes);
    if (found.isRunning) notes += ", running";
    if (!app.isShown) notes += ", not shown in menus";
    std::printf("%s (%s%s)\n  %s\n", printable(app.name).c_str(), printable(app.bundleIdentifier.value_or("")).c_str(),
                notes.c_str(), printable(app.bundlePath).c_str());
}

} // namespace

nlohmann::ordered_json unreadableItems(const std::vector<std::pair<std::string, std::string>>& entries) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const auto& [file, reason] : entries) {
        nlohmann::ordered_json item;
        putName(item, "file", file);
        putName(item, "reason", reason);
        list.push_back(std::move(item));
    }
    return list;
}

nlohmann::ordered_json appJson(const FoundApp& found) {
    const InstalledApp& app = found.app;
    nlohmann::ordered_json item;
    putName(item, "name", app.name);
    putName(item, "identifier", app.bundleIdentifier.value_or(""));
    putNameOrNull(item, "version", app.version);
    putName(item, "path", app.bundlePath);
    item["source"] = app.source;
    item["isSystem"] = app.isSystemApp;
    item["bytes"] = found.bytes ? nlohmann::ordered_json(*found.bytes) : nlohmann::ordered_json(nullptr);
    item["isRunning"] = found.isRunning;
    item["isShown"] = app.isShown;
    putName(item, "entry", app.entryPath);
    return item;
}

int runApps(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, appsOptions);
    if (!arguments.positionals.empty())
        throw UsageError("apps takes no path, not \"" + arguments.positionals.front() + "\"");
    const DesktopMachine machine = DesktopMachine::fromEnvironment(systemRoot(arguments));
    const RunningPrograms running =
        RunningPrograms::inThisSession(machine.onDisk("/proc"));
    const FoundAppListing listing = FoundApps::onMachine(machine, cacheFolder(), running);
    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const FoundApp& app : listing.apps) list.push_back(appJson(app));
        printJson({{"apps", std::move(list)}, {"unreadable", unreadableFiles(listing.unreadable)}});
        return exitSuccess;
    }
    if (listing.apps.empty()) std::printf("No app is installed: no desktop entry of an app was found.\n");
    for (const FoundApp& app : listing.apps) printApp(app);
    printUnreadable("Desktop entries passed over:", listing.unreadable);
    return exitSuccess;
}

} // namespace tessel::cli
