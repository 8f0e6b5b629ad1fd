// tessel search: items under a folder found by name, size and kind.
//
// Every mistake in the options is caught before the scan starts, so a typo
// costs nothing but the error line. The search itself is FileSearch's; this
// file only turns words into a query and results into rows or JSON.

#include <cstdio>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "ScanStep.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/FileSearch.h"
#include "DiskScanKit/TextFormat.h"

namespace tessel::cli {

namespace {

constexpr int defaultLimit = 20;

const std::vector<OptionSpec> searchOptions = withScanOptions(
    {{"json", false}, {"limit", true}, {"min", true}, {"max", true}, {"kind", true}, {"sort", true}});

FileQuery queryFrom(const Arguments& arguments) {
    FileQuery query;
    query.text = arguments.positionals.at(1);
    if (auto minimum = arguments.integer("min", 0)) query.minimumBytes = *minimum;
    query.maximumBytes = arguments.integer("max", 0);
    if (query.maximumBytes && *query.maximumBytes < query.minimumBytes)
        throw UsageError("--max is below --min, so nothing could match");
    if (auto kind = arguments.value("kind")) {
        if (*kind == "files") query.kind = FileQuery::Kind::filesOnly;
        else if (*kind == "folders") query.kind = FileQuery::Kind::foldersOnly;
        else throw UsageError("--kind wants files or folders, not \"" + *kind + "\"");
    }
    if (auto sort = arguments.value("sort")) {
        if (*sort == "largest") query.sort = FileQuery::Sort::largestFirst;
        else if (*sort == "smallest") query.sort = FileQuery::Sort::smallestFirst;
        else if (*sort == "name") query.sort = FileQuery::Sort::nameAscending;
        else throw UsageError("--sort wants largest, smallest or name, not \"" + *sort + "\"");
    }
    return query;
}

void printText(const SearchResults& found) {
    printRows(found.matches, "");
    std::string total = TextFormat::counted(found.totalMatched, "match", "matches") + ", " +
                        ByteFormat::string(found.totalBytes) + " in all";
    if (found.truncated) total += "; showing " + TextFormat::grouped(static_cast<std::int64_t>(found.matches.size()));
    std::printf("%s\n", total.c_str());
}

void printReport(const SearchResults& found) {
    printJson({
        {"totalMatched", found.totalMatched},
        {"totalBytes", found.totalBytes},
        {"truncated", found.truncated},
        {"matches", nodeItems(found.matches)},
    });
}

} // namespace

int runSearch(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, searchOptions);
    if (arguments.positionals.size() != 2) throw UsageError("search wants a folder and the text to look for");
    const FileQuery query = queryFrom(arguments);
    const int limit = listLimit(arguments, defaultLimit);
    const ScanOptions options = scanOptionsFrom(arguments);

    std::optional<ScanResult> result = scanWithProgress(arguments.positionals.front(), options);
    if (!result) return exitFailure;

    const SearchResults found = FileSearch::run(query, *result->root, limit);
    if (arguments.has("json"))
        printReport(found);
    else
        printText(found);
    return exitSuccess;
}

} // namespace tessel::cli
