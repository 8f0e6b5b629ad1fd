#include "DiskScanKit/DiskScanner.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <limits>

#include "DiskScanKit/Paths.h"
#include "ScanRun.h"

namespace tessel::DiskScanner {

ScanResult scan(const std::string& root, const ScanOptions& options, const Progress& progress,
                const IsCancelled& isCancelled) {
    const std::string path = Paths::absolute(root);
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) throw DiskScanError::rootNotFound(root);
    if (!S_ISDIR(info.st_mode)) throw DiskScanError::rootNotADirectory(path);

    ScanRoot facts;
    facts.device = static_cast<std::uint64_t>(info.st_dev);
    facts.isTop = Subvolumes::isTop(path);
    facts.btrfs = Subvolumes::btrfsIdentity(AT_FDCWD, path.c_str());
    auto run = std::make_shared<ScanRun>(path, std::move(facts), options, progress, isCancelled);
    ScanResult result = run->execute();
    if (isCancelled && isCancelled()) throw DiskScanError::cancelled();
    return result;
}

std::int64_t allocatedSize(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return 0;
    if (!S_ISDIR(info.st_mode)) return static_cast<std::int64_t>(info.st_blocks) * 512;
    ScanOptions options;
    options.workerCount = 2;
    options.bufferSize = 131072;
    options.retainFileNames = false;
    options.crossDeviceBoundaries = false;
    options.fileNodeThreshold = std::numeric_limits<std::int64_t>::max();
    options.progressInterval = 0.1;
    options.stallTimeout = 30;
    try {
        return scan(path, options).bytes;
    } catch (const DiskScanError&) {
        return 0;
    }
}

} // namespace tessel::DiskScanner
