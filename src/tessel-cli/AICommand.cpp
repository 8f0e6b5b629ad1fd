// tessel ai: the AI models downloaded to this machine, one item each, with
// what it shares with other models and who removes it where Tessel may not.

#include <cstdio>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "UninstallKit/AIModelFinder.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/DockerAnswers.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> aiOptions{{"json", false}, {"root", true}};

std::string appOf(AITool tool) { return std::string(AITools::appName(tool).value_or(AITools::title(tool))); }

std::optional<std::string> removerText(const AIModelItem& item) {
    if (!item.removedBy) return std::nullopt;
    if (const auto* command = std::get_if<AIModelItem::ByCommand>(&*item.removedBy)) return command->command;
    return "the app, " + appOf(item.tool);
}

nlohmann::ordered_json itemJson(const AIModelItem& item) {
    nlohmann::ordered_json json;
    putName(json, "id", item.id);
    json["tool"] = std::string(AITools::id(item.tool));
    putName(json, "name", item.name);
    json["kind"] = std::string(AIModelKinds::rawValue(item.kind));
    json["bytes"] = item.bytes();
    json["sharedBytes"] = item.sharedBytes;
    putNames(json, "sharedWith", item.sharedWith);
    json["requiresAdministrator"] = item.requiresAdministrator;
    if (!item.removedBy) json["removedBy"] = nullptr;
    else if (const auto* command = std::get_if<AIModelItem::ByCommand>(&*item.removedBy)) {
        nlohmann::ordered_json remover;
        putName(remover, "command", command->command);
        json["removedBy"] = std::move(remover);
    } else {
        json["removedBy"] = {{"app", appOf(item.tool)}};
    }
    return json;
}

void printItems(const AIModelInventory& inventory) {
    for (const AIModelInventory::ToolGroup& group : inventory.byTool()) {
        std::printf("%s, %s\n", std::string(AITools::title(group.tool)).c_str(), ByteFormat::string(group.bytes).c_str());
        for (const AIModelItem* item : group.items) {
            std::printf("  %s  %s%s\n", ByteFormat::padded(item->bytes(), 9).c_str(), printable(item->name).c_str(),
                        item->requiresAdministrator ? " (needs an administrator)" : "");
            if (!item->detail.empty()) std::printf("      %s\n", printable(item->detail).c_str());
            if (item->sharedBytes > 0) {
                std::string with;
                for (const std::string& name : item->sharedWith) with += (with.empty() ? "" : ", ") + printable(name);
                std::printf("      and %s it shares with %s\n", ByteFormat::string(item->sharedBytes).c_str(), with.c_str());
            }
            if (const std::optional<std::string> remover = removerText(*item)) std::printf("      removed by %s\n", printable(*remover).c_str());
        }
    }
}

} // namespace

int runAI(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, aiOptions);
    if (!arguments.positionals.empty()) throw UsageError("ai takes no path, not \"" + arguments.positionals.front() + "\"");
    const std::string root = systemRoot(arguments);
    AIModelFinder::Settings settings;
    // Docker answers for this machine only, never for one described under --root.
    if (root == "/") {
        const std::vector<std::string> folders = DesktopMachine::fromEnvironment(root).programFolders;
        settings.dockerModels = [folders] { return DockerAnswers::ask(folders, {"model", "ls", "--json"}); };
    }
    const AIModelInventory inventory = AIModelFinder(AIModelPlaces::fromEnvironment(root), settings).find();
    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const AIModelItem& item : inventory.items) list.push_back(itemJson(item));
        printJson({{"items", std::move(list)}, {"totalBytes", inventory.totalBytes()}});
    } else {
        if (inventory.items.empty()) {
            std::printf("No downloaded AI models were found.\n");
            return exitSuccess;
        }
        printItems(inventory);
        std::printf("%s in all, each shared file counted once.\n", ByteFormat::string(inventory.totalBytes()).c_str());
    }
    return exitSuccess;
}

} // namespace tessel::cli
