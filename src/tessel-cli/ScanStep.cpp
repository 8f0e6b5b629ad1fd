#include "ScanStep.h"

#include "Command.h"
#include "ProgressLine.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/TextFormat.h"

namespace tessel::cli {

std::vector<OptionSpec> withScanOptions(std::vector<OptionSpec> own) {
    own.insert(own.end(), {
                              {"workers", true},
                              {"threshold", true},
                              {"cross-devices", false},
                              {"include-trash", false},
                              {"stall-timeout", true},
                          });
    return own;
}

ScanOptions scanOptionsFrom(const Arguments& arguments) {
    ScanOptions options;
    options.progressInterval = 0.25;
    if (auto workers = arguments.integer("workers", 1)) {
        if (*workers > ScanOptions::maximumWorkerCount)
            throw UsageError("--workers takes at most " + std::to_string(ScanOptions::maximumWorkerCount) +
                             " threads, not " + std::to_string(*workers));
        options.workerCount = static_cast<int>(*workers);
    }
    if (auto threshold = arguments.integer("threshold", 0)) options.fileNodeThreshold = *threshold;
    if (auto stall = arguments.seconds("stall-timeout")) options.stallTimeout = *stall;
    options.crossDeviceBoundaries = arguments.has("cross-devices");
    if (arguments.has("include-trash")) options = options.includingVolumeTrash();
    return options;
}

std::optional<ScanResult> scanWithProgress(const std::string& path, const ScanOptions& options,
                                           const DiskScanner::IsCancelled& isCancelled) {
    ProgressLine line;
    DiskScanner::Progress progress;
    if (line.shown()) {
        progress = [&line](const ScanProgress& now) {
            line.update("Scanning: " + TextFormat::counted(now.directories, "folder", "folders") + ", " +
                        TextFormat::counted(now.files, "file", "files") + ", " + ByteFormat::string(now.bytes) + ", " +
                        TextFormat::seconds(line.elapsed()));
        };
    }
    try {
        ScanResult result = DiskScanner::scan(path, options, progress, isCancelled);
        line.clear();
        return result;
    } catch (const DiskScanError& error) {
        line.clear();
        if (error.kind() == DiskScanError::Kind::cancelled) return std::nullopt;
        // The sentence holds the path as typed, which may hold a newline or an escape.
        printError(printable(error.what()));
        return std::nullopt;
    }
}

} // namespace tessel::cli
