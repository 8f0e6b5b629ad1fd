#include <cstdio>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "ScanStep.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/HangingMounts.h"
#include "DiskScanKit/ScanReport.h"
#include "DiskScanKit/ScanWords.h"
#include "DiskScanKit/TextFormat.h"

namespace tessel::cli {

namespace {

constexpr int listedItems = 10;

const std::vector<OptionSpec> scanOptions = withScanOptions({{"json", false}});

void printReport(const ScanResult& result, const ScanReport::Inventory& inventory) {
    auto items = [](const std::vector<FileNode*>& nodes) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const FileNode* node : nodes) {
            nlohmann::ordered_json item;
            putName(item, "path", node->path());
            item["bytes"] = node->totalBytes();
            list.push_back(std::move(item));
        }
        return list;
    };
    nlohmann::ordered_json report;
    putName(report, "root", result.root->path());
    report.update(nlohmann::ordered_json{
        {"bytes", result.bytes},
        {"files", result.files},
        {"directories", result.directories},
        {"hardLinksSkipped", result.hardLinksSkipped},
        {"hardLinkBytesSkipped", result.hardLinkBytesSkipped},
        {"unreadableDirectories", result.unreadableDirectories},
        {"cloudOnlyDirectories", result.cloudOnlyDirectories},
    });
    putNames(report, "stalledPaths", result.stalledPaths);
    report["duration"] = result.duration;
    report["largestFolders"] = items(inventory.folders);
    report["largestFiles"] = items(inventory.files);
    printJson(report);
}

void printList(const char* title, const std::vector<FileNode*>& nodes) {
    if (nodes.empty()) return;
    std::printf("\n%s\n", title);
    printRows(nodes, "  ");
}

void printText(const ScanResult& result, const ScanReport::Inventory& inventory) {
    std::printf("%s\n", printable(result.root->path()).c_str());
    std::printf("  %s in %s and %s, scanned in %s\n", ByteFormat::string(result.bytes).c_str(),
                TextFormat::counted(result.files, "file", "files").c_str(),
                TextFormat::counted(result.directories, "folder", "folders").c_str(), TextFormat::seconds(result.duration).c_str());
    if (result.hardLinksSkipped > 0)
        std::printf("  %s counted once (%s not counted twice)\n",
                    TextFormat::counted(result.hardLinksSkipped, "extra hard link", "extra hard links").c_str(),
                    ByteFormat::string(result.hardLinkBytesSkipped).c_str());
    printList("Largest folders", inventory.folders);
    printList("Largest files", inventory.files);

    std::vector<std::string> warnings;
    if (result.unreadableDirectories > 0)
        warnings.push_back(ScanWords::unreadableTitle(result.unreadableDirectories) + ". " +
                           ScanWords::unreadableDetail(result.unreadableDirectories));
    if (result.cloudOnlyDirectories > 0) warnings.push_back(ScanWords::cloudOnly(result.cloudOnlyDirectories));
    if (!result.stalledPaths.empty()) {
        warnings.push_back(ScanWords::stalledTitle(static_cast<std::int64_t>(result.stalledPaths.size())) + ":");
        for (const std::string& path : result.stalledPaths)
            warnings.push_back("  " + printable(ScanWords::stalledFolder(path, HangingMounts::holding(path))));
    }
    if (!warnings.empty()) {
        std::printf("\nWarnings\n");
        for (const std::string& warning : warnings) std::printf("  %s\n", warning.c_str());
    }
}

} // namespace

int runScan(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, scanOptions);
    if (arguments.positionals.size() != 1) throw UsageError("scan wants one folder");
    std::optional<ScanResult> result = scanWithProgress(arguments.positionals.front(), scanOptionsFrom(arguments));
    if (!result) return exitFailure;

    ScanReport::Inventory inventory = ScanReport::inventory(*result->root, listedItems);
    if (arguments.has("json"))
        printReport(*result, inventory);
    else
        printText(*result, inventory);
    return exitSuccess;
}

} // namespace tessel::cli
