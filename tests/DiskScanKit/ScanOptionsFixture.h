#pragma once
// Scan options the scanner suites start from: two workers, whatever the
// machine, so that every run exercises the threads the same way.

#include <optional>

#include "DiskScanKit/DiskScanner.h"

namespace tessel::test {

inline ScanOptions plainOptions(std::optional<std::int64_t> fileNodeThreshold = std::nullopt) {
    ScanOptions options;
    options.workerCount = 2;
    if (fileNodeThreshold) options.fileNodeThreshold = *fileNodeThreshold;
    return options;
}

} // namespace tessel::test
