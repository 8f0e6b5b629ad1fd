#pragma once
// The snapshots on disk: one folder per scanned root, one JSON file per scan,
// written atomically and pruned to the newest few.

#include <cstdint>
#include <string>
#include <vector>

#include "DiskScanKit/ScanSnapshot.h"

namespace tessel {

class FileManager;

struct SnapshotInfo {
    std::string path; // the file
    std::string rootPath;
    double date = 0; // seconds since the reference date
    std::int64_t totalBytes = 0;

    bool operator==(const SnapshotInfo&) const = default;
};

class SnapshotStore {
public:
    static constexpr int keptPerRoot = 20;

    // Reads through `files`, which must outlive the store; writes its own files directly.
    SnapshotStore(std::string directory, const FileManager& files);

    // $XDG_DATA_HOME (or ~/.local/share), then Tessel/Snapshots.
    static std::string defaultDirectory();
    // The folder of a root: the 64-bit FNV-1a hash of its standardised path, in hex.
    static std::string folderName(const std::string& rootPath);
    // "yyyy-MM-ddTHH-mm-ss-SSSZ" in UTC, "-", eight characters of a fresh UUID, ".json".
    static std::string fileName(double date);

    const std::string& directory() const { return directory_; }

    // Throws SnapshotError naming the call and the path.
    SnapshotInfo save(const ScanSnapshot& snapshot) const;
    // Newest first; files that can't be read, or belong to another root, are left out.
    std::vector<SnapshotInfo> snapshots(const std::string& rootPath) const;
    // Throws SnapshotError.
    ScanSnapshot load(const SnapshotInfo& info) const;
    // Removes all but the newest `keeping` of the root's snapshots, ignoring failures.
    void prune(const std::string& rootPath, int keeping = keptPerRoot) const;

private:
    std::string folderFor(const std::string& rootPath) const;

    std::string directory_;
    const FileManager& files_;
};

} // namespace tessel
