// tessel systemdata: what the disk holds outside the home that an ordinary
// scan of it does not explain, each place with its size and who may remove
// it: the command an administrator would run, as Tessel never asks for a
// password. Folders that could not be read are listed, not counted.

#include <cstdio>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "UninstallKit/SystemDataFinder.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> systemDataOptions{{"json", false}, {"root", true}};

nlohmann::ordered_json rowJson(const SystemDataRow& row) {
    nlohmann::ordered_json json;
    putName(json, "id", row.id);
    putName(json, "title", row.title);
    putName(json, "path", row.path);
    json["bytes"] = row.bytes;
    json["canMove"] = row.canMove;
    putName(json, "howToRemove", row.howToRemove);
    return json;
}

} // namespace

int runSystemData(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, systemDataOptions);
    if (!arguments.positionals.empty())
        throw UsageError("systemdata takes no path, not \"" + arguments.positionals.front() + "\"");
    const std::string root = systemRoot(arguments);
    const SystemDataReport report = SystemDataFinder(SystemDataFinder::forMachine(root)).find();
    if (arguments.has("json")) {
        nlohmann::ordered_json rows = nlohmann::ordered_json::array();
        for (const SystemDataRow& row : report.rows) rows.push_back(rowJson(row));
        nlohmann::ordered_json json{{"rows", std::move(rows)}};
        putNames(json, "unreadable", report.unreadable);
        printJson(json);
        return exitSuccess;
    }
    for (const SystemDataRow& row : report.rows) {
        std::printf("%s  %s\n      %s\n      %s\n", ByteFormat::padded(row.bytes, 9).c_str(), printable(row.title).c_str(),
                    printable(row.path).c_str(), printable(row.note).c_str());
        if (!row.howToRemove.empty()) std::printf("      Removed with: %s\n", printable(row.howToRemove).c_str());
    }
    if (report.rows.empty()) std::printf("Nothing outside the home was found to take space.\n");
    else std::printf("%s in %zu %s.\n", ByteFormat::string(report.rowBytes()).c_str(), report.rows.size(), report.rows.size() == 1 ? "place" : "places");
    if (!report.unreadable.empty()) {
        std::printf("Could not be read, so not counted:\n");
        for (const std::string& path : report.unreadable) std::printf("  %s\n", printable(path).c_str());
    }
    return exitSuccess;
}

} // namespace tessel::cli
