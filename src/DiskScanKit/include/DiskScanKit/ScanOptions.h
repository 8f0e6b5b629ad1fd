#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>

#include "Base/Platform.h"

namespace tessel {

using NameSet = std::set<std::string, std::less<>>;

struct ScanOptions {
    // More readers than this only queue behind one another in the kernel.
    static constexpr int maximumWorkerCount = 64;
    static int defaultWorkerCount();
    static const NameSet& defaultSkippedPaths();
    static const NameSet& skippedPathsOn(Platform platform);
    static const NameSet& defaultSkippedNames();

    // Brought within 1...maximumWorkerCount when a run starts.
    int workerCount = defaultWorkerCount();
    std::int64_t bufferSize = 131072;
    bool retainFileNames = true;
    bool crossDeviceBoundaries = false;
    // Files smaller than this leave no node, only two counters on their folder.
    std::int64_t fileNodeThreshold = 1048576;
    NameSet skippedPaths = defaultSkippedPaths();
    NameSet skippedNames = defaultSkippedNames();
    double progressInterval = 0.1;
    double stallTimeout = 30;
    std::function<void(const std::string& path)> beforeReading;
    // The Trash folders at the top of a disk (isTopTrashName) are entered.
    bool entersVolumeTrash = false;

    // The same options with volume trashes entered.
    ScanOptions includingVolumeTrash() const;
    // A Trash that a disk other than the home's keeps at its top folder:
    // ".Trash", one folder per user inside, or ".Trash-" and a user's number.
    static bool isTopTrashName(std::string_view name);
};

} // namespace tessel
