// tessel duplicates: scans a folder, then looks for files with identical
// contents among what it found, as the app's duplicates room does. Each group
// lists the copy that would stay first, then the others, with what each one
// shares; the total is what removing every copy but the first would free,
// which is less than their sizes when copies are hard links or clones.
// Ctrl-C, during the scan or the comparison, stops it and prints what was
// settled so far (nothing, during the scan): a script reading --json always
// gets a whole report. A folder or file on a share that stops answering is
// given up on after the stall timeout; see DuplicateRun.cpp.

#include <signal.h>

#include <atomic>
#include <optional>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "ProgressLine.h"
#include "ScanStep.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/DuplicateWords.h"
#include "DiskScanKit/HangingMounts.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ScanWords.h"
#include "DiskScanKit/TextFormat.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> duplicatesOptions = withScanOptions({{"min-size", true}, {"json", false}});

std::atomic<bool> interrupted{false};

void noteInterrupt(int) { interrupted.store(true); }

// Ctrl-C asks the comparison to stop, for as long as this lives; a second one is left to the default.
class InterruptWatch {
public:
    InterruptWatch() {
        struct sigaction action {};
        action.sa_handler = noteInterrupt;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &previous_);
    }
    ~InterruptWatch() { sigaction(SIGINT, &previous_, nullptr); }
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

private:
    struct sigaction previous_ {};
};

std::string phaseText(const DuplicateScanProgress& now, double elapsed) {
    switch (now.phase) {
    case DuplicateScanProgress::Phase::sizing:
        return "Comparing sizes: " + TextFormat::grouped(now.filesDone) + " of " + TextFormat::grouped(now.filesTotal) + " files";
    case DuplicateScanProgress::Phase::sampling:
        return "Sampling: " + TextFormat::grouped(now.filesDone) + " of " + TextFormat::grouped(now.filesTotal) + " files";
    case DuplicateScanProgress::Phase::hashing:
        return "Reading whole files: " + ByteFormat::string(now.bytesHashed) + " of " +
               ByteFormat::string(now.bytesToHash) + ", " + TextFormat::seconds(elapsed);
    }
    return {};
}

nlohmann::ordered_json groupJson(const DuplicateGroup& group) {
    nlohmann::ordered_json files = nlohmann::ordered_json::array();
    for (const DuplicateFile& file : group.files) {
        nlohmann::ordered_json entry;
        putName(entry, "path", file.path);
        entry["allocatedBytes"] = file.allocatedBytes;
        entry["sharing"] = std::string(sharingName(file.sharing.kind));
        putNames(entry, "otherNames", file.otherNames);
        files.push_back(std::move(entry));
    }
    return {{"id", group.id},
            {"logicalSize", group.logicalSize},
            {"reclaimableBytes", group.reclaimableBytes},
            {"files", files}};
}

void printGroup(const DuplicateGroup& group, const std::string& home) {
    std::printf("%s copies of %s, %s to free\n",
                TextFormat::grouped(static_cast<std::int64_t>(group.files.size())).c_str(),
                ByteFormat::string(group.logicalSize).c_str(), ByteFormat::string(group.reclaimableBytes).c_str());
    bool keeper = true;
    for (const DuplicateFile& file : group.files) {
        std::printf("  %s %s  %s\n", keeper ? "keep" : "    ", ByteFormat::padded(file.allocatedBytes, 9).c_str(),
                    printable(file.path).c_str());
        if (keeper)
            std::printf("                  %s\n",
                        DuplicateWords::keeperReason(group, 0, DuplicateWords::Keeping::original, home).c_str());
        const std::string sharing = sharingWords(file);
        if (!sharing.empty()) std::printf("                  %s\n", sharing.c_str());
        for (const std::string& name : file.otherNames)
            std::printf("                  also named %s\n", printable(name).c_str());
        const std::string removal = hardLinkRemovalWords(file);
        if (!keeper && !removal.empty()) std::printf("                  %s\n", removal.c_str());
        keeper = false;
    }
}

void printSummary(const DuplicateReport& report, const std::vector<std::string>& stalledFolders, std::int64_t minimum) {
    std::printf("%s\n", DuplicateWords::summary(report.groups, report, minimum).c_str());
    for (const std::string& path : stalledFolders)
        std::printf("%s\n", printable(ScanWords::stalledFolder(path, HangingMounts::holding(path))).c_str());
    for (const std::string& path : report.stalledPaths)
        std::printf("%s\n", printable(DuplicateWords::stalledFile(path, HangingMounts::holding(path))).c_str());
    std::printf("%s examined in %s.\n", TextFormat::counted(report.filesExamined, "file", "files").c_str(),
                TextFormat::seconds(report.duration).c_str());
}

} // namespace

int runDuplicates(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, duplicatesOptions);
    if (arguments.positionals.size() != 1) throw UsageError("duplicates wants one folder");
    const std::int64_t minimum = arguments.integer("min-size", 1).value_or(DuplicateFinder::toolMinimumBytes);

    ScanOptions options = scanOptionsFrom(arguments);
    // Files below the listing size get no node, so the scan must list everything the finder may compare.
    if (!arguments.value("threshold")) options.fileNodeThreshold = std::min(options.fileNodeThreshold, minimum);
    interrupted.store(false);
    const auto isCancelled = [] { return interrupted.load(); };
    std::optional<InterruptWatch> watch;
    watch.emplace();
    const std::optional<ScanResult> scan = scanWithProgress(arguments.positionals.front(), options, isCancelled);
    if (!scan && !interrupted.load()) return exitFailure;

    const std::string home = Paths::homeFolder();
    const DuplicateFinder finder(minimum, DuplicateFinder::toolSampleBytes, DuplicateFinder::defaultWorkerCount(), home,
                                 options.stallTimeout);
    DuplicateReport report;
    if (scan) {
        const std::vector<std::string> paths = DuplicateFinder::candidatePaths(*scan->root, minimum, home);
        ProgressLine line;
        DuplicateFinder::Progress progress;
        if (line.shown())
            progress = [&line](const DuplicateScanProgress& now) { line.update(phaseText(now, line.elapsed())); };
        report = finder.find(paths, progress, isCancelled);
        line.clear();
    } else {
        report.wasCancelled = true;
    }
    watch.reset();
    const std::vector<std::string> stalledFolders = scan ? scan->stalledPaths : std::vector<std::string>{};

    if (arguments.has("json")) {
        // The folders the scan gave up on, then the files the comparison did.
        std::vector<std::string> stalled = stalledFolders;
        stalled.insert(stalled.end(), report.stalledPaths.begin(), report.stalledPaths.end());
        nlohmann::ordered_json groups = nlohmann::ordered_json::array();
        for (const DuplicateGroup& group : report.groups) groups.push_back(groupJson(group));
        nlohmann::ordered_json out{{"groups", groups},
                                   {"totalReclaimableBytes", report.totalReclaimableBytes},
                                   {"filesExamined", report.filesExamined},
                                   {"unreadable", report.unreadable}};
        putNames(out, "stalledPaths", stalled);
        out["wasCancelled"] = report.wasCancelled;
        out["duration"] = report.duration;
        printJson(out);
    } else {
        for (const DuplicateGroup& group : report.groups) {
            printGroup(group, home);
            std::printf("\n");
        }
        printSummary(report, stalledFolders, minimum);
    }
    return report.wasCancelled ? exitFailure : exitSuccess;
}

} // namespace tessel::cli
