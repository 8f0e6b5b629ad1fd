// tessel largest: the biggest files, or folders, under a folder.
//
// Folders come from FileNode::largestDescendants with folders only. Files
// can't: without that filter it ranks folders and files together, and a
// folder is never smaller than what it holds, so the top rows would be the
// folders above the big files. Files therefore come from FileSearch limited
// to files, which ranks by the same rule, so both lists order ties alike.

#include <cstdio>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "ScanStep.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/FileSearch.h"

namespace tessel::cli {

namespace {

constexpr int defaultLimit = 20;

const std::vector<OptionSpec> largestOptions =
    withScanOptions({{"json", false}, {"limit", true}, {"folders", false}});

} // namespace

int runLargest(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, largestOptions);
    if (arguments.positionals.size() != 1) throw UsageError("largest wants one folder");
    const int limit = listLimit(arguments, defaultLimit);
    const bool folders = arguments.has("folders");
    const ScanOptions options = scanOptionsFrom(arguments);

    std::optional<ScanResult> result = scanWithProgress(arguments.positionals.front(), options);
    if (!result) return exitFailure;

    std::vector<FileNode*> nodes;
    if (folders) {
        nodes = result->root->largestDescendants(limit, true);
    } else {
        FileQuery query;
        query.kind = FileQuery::Kind::filesOnly;
        nodes = FileSearch::run(query, *result->root, limit).matches;
    }

    if (arguments.has("json")) {
        printJson({{"items", nodeItems(nodes)}});
    } else if (nodes.empty() && limit > 0) {
        // An empty answer would look like a fault; say why there is none.
        if (folders)
            std::printf("No folders to list: this folder holds none.\n");
        else
            std::printf("No files to list: none here is as large as %s, the smallest file listed on its own "
                        "(see --threshold).\n",
                        ByteFormat::string(options.fileNodeThreshold).c_str());
    } else {
        printRows(nodes, "");
    }
    return exitSuccess;
}

} // namespace tessel::cli
