#pragma once
// The scan that every scanning command runs before it answers: the engine's
// options as each of them takes them, and the scan itself with its progress
// line and its one line of failure.

#include <optional>
#include <string>
#include <vector>

#include "Arguments.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/ScanOptions.h"
#include "DiskScanKit/ScanRecords.h"

namespace tessel::cli {

// `own` followed by --workers, --threshold, --cross-devices, --include-trash
// and --stall-timeout.
std::vector<OptionSpec> withScanOptions(std::vector<OptionSpec> own);
ScanOptions scanOptionsFrom(const Arguments& arguments);

// Scans `path`, with progress on standard error when it is a terminal. A scan
// that fails has printed its "tessel: " line and gives nothing; one that
// `isCancelled` stopped gives nothing and prints nothing.
std::optional<ScanResult> scanWithProgress(const std::string& path, const ScanOptions& options,
                                           const DiskScanner::IsCancelled& isCancelled = {});

} // namespace tessel::cli
