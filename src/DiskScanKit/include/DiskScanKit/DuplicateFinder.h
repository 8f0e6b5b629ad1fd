#pragma once
// Finds files with the same contents among paths taken from a scanned tree.
// Most files are ruled out by size, most of the rest by two small samples,
// and only the survivors are read whole; a set of clones is read once and a
// hard link is never its own candidate.

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "DiskScanKit/DuplicateGroup.h"
#include "DiskScanKit/FileNode.h"
#include "Base/Platform.h"

namespace tessel {

struct DuplicateScanProgress {
    enum class Phase { sizing, sampling, hashing };
    Phase phase = Phase::sizing;
    int filesDone = 0;
    int filesTotal = 0;
    std::int64_t bytesHashed = 0;
    std::int64_t bytesToHash = 0;
    bool operator==(const DuplicateScanProgress&) const = default;
};

class DuplicateFinder {
public:
    // What the duplicates tool uses.
    static constexpr std::int64_t toolMinimumBytes = 1000000;
    static constexpr int toolSampleBytes = 16384;

    using Progress = std::function<void(const DuplicateScanProgress&)>;
    using IsCancelled = std::function<bool()>;

    // Each of the first three is raised to at least 1. A file whose reading
    // makes no progress for `stallTimeout` seconds is given up on, where it
    // lies on a file system that may hang.
    DuplicateFinder(std::int64_t minimumBytes, int sampleBytes, int workerCount, std::string home,
                    double stallTimeout = defaultStallTimeout);

    static constexpr double defaultStallTimeout = 30;

    // The active processors, clamped to 1...4: disks gain nothing from more readers.
    static int defaultWorkerCount();

    // The files of the tree worth comparing: at least `minimumBytes` on disk,
    // outside the places never offered to a tool.
    static std::vector<std::string> candidatePaths(const FileNode& root, std::int64_t minimumBytes,
                                                   const std::string& home);

    // Blocks until done or cancelled. `progress` is called on worker threads.
    DuplicateReport find(const std::vector<std::string>& paths, const Progress& progress = {},
                         const IsCancelled& isCancelled = {}) const;

    std::int64_t minimumBytes() const { return minimumBytes_; }
    int sampleBytes() const { return sampleBytes_; }
    int workerCount() const { return workerCount_; }
    const std::string& home() const { return home_; }
    double stallTimeout() const { return stallTimeout_; }

private:
    std::int64_t minimumBytes_;
    int sampleBytes_;
    int workerCount_;
    std::string home_;
    double stallTimeout_;
};

// The places no tool offers to remove anything from: stores other programs
// keep and rely on.
namespace NeverScanRules {
// Folders never entered, wherever they are.
const std::array<std::string_view, 18>& managedFolderNames();
// True when nothing under `path` may be offered: the system's own trees,
// other users' homes, and the parts of `home` that programs manage.
bool excludesEverything(std::string_view path, std::string_view home, Platform platform = currentPlatform());
} // namespace NeverScanRules

} // namespace tessel
