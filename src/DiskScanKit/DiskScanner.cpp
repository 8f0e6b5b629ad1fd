#include "DiskScanKit/DiskScanner.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <limits>

#include "DiskScanKit/HangingMounts.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ReaderHelper.h"
#include "ScanRun.h"

namespace tessel::DiskScanner {

namespace {

// What the root is, asked of a reader process: the root lies on a file system
// that may hang, by its path, and looking at it here could hang this process.
// None when no reader process can be had.
std::optional<ScanRoot> rootThroughReader(const std::string& root, const std::string& path, const MountEntry& mount,
                                          const ScanOptions& options, const IsCancelled& isCancelled) {
    std::unique_ptr<ReaderHelper> reader = ReaderHelper::start();
    if (!reader) return std::nullopt;
    const std::optional<ReaderHelper::Status> status = reader->status(path, [&](double silent) {
        return silent < options.stallTimeout && !(isCancelled && isCancelled());
    });
    if (isCancelled && isCancelled()) throw DiskScanError::cancelled();
    ScanRoot facts;
    facts.mayHang = true;
    if (!status) {
        facts.device = mount.device;
        facts.stalled = true;
        return facts;
    }
    if (status->code != 0) throw DiskScanError::rootNotFound(root);
    if (!S_ISDIR(status->mode)) throw DiskScanError::rootNotADirectory(path);
    facts.device = status->device;
    facts.isTop = status->mountRoot;
    return facts;
}

} // namespace

ScanResult scan(const std::string& root, const ScanOptions& options, const Progress& progress,
                const IsCancelled& isCancelled) {
    const std::string path = Paths::absolute(root);
    std::optional<ScanRoot> known;
    if (const std::optional<MountEntry> mount = HangingMounts::holding(path);
        mount && (HangingMounts::mayHang(mount->fileSystem) || HangingMounts::mayHang(mount->device)))
        known = rootThroughReader(root, path, *mount, options, isCancelled);
    if (!known) {
        struct stat info {};
        if (lstat(path.c_str(), &info) != 0) throw DiskScanError::rootNotFound(root);
        if (!S_ISDIR(info.st_mode)) throw DiskScanError::rootNotADirectory(path);
        known.emplace();
        known->device = static_cast<std::uint64_t>(info.st_dev);
        known->isTop = Subvolumes::isTop(path);
        known->btrfs = Subvolumes::btrfsIdentity(AT_FDCWD, path.c_str());
        known->mayHang = HangingMounts::mayHang(known->device);
    }
    ScanRoot facts = std::move(*known);
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
