#pragma once
// Turns a folder into a tree of allocated sizes.

#include <cstdint>
#include <functional>
#include <string>

#include "DiskScanKit/ScanOptions.h"
#include "DiskScanKit/ScanRecords.h"

namespace tessel::DiskScanner {

using Progress = std::function<void(const ScanProgress&)>;
using IsCancelled = std::function<bool()>;

// Blocks until the scan ends. `progress` and `isCancelled` are called on the
// scan's threads or on the caller's, never under a lock of the scan's.
// Throws DiskScanError. A thread abandoned on a folder that never answered may
// outlive the call; it will call nothing but `options.beforeReading`.
ScanResult scan(const std::string& root, const ScanOptions& options = {},
                const Progress& progress = {}, const IsCancelled& isCancelled = {});

// Bytes on disk of a file, or of everything in a folder; 0 when unreadable.
std::int64_t allocatedSize(const std::string& path);

} // namespace tessel::DiskScanner
