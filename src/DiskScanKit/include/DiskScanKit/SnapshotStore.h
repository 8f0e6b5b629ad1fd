#pragma once
// The snapshots on disk: one folder per scanned root, one JSON file per scan,
// written atomically and pruned to the newest few.

#include <cstdint>
#include <optional>
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

// A file in a root's folder that looks like a snapshot but can't be read as one.
struct UnreadableSnapshot {
    std::string path; // the file
    std::string reason; // a sentence: "It is not a regular file."

    bool operator==(const UnreadableSnapshot&) const = default;
};

// A root's folder, read: the snapshots of that root, newest first, and the
// files that could not be read, newest name first. Files of another root that
// shares the folder are in neither.
struct SnapshotListing {
    std::vector<SnapshotInfo> readable;
    std::vector<UnreadableSnapshot> unreadable;
};

// The snapshot a new scan is compared with, and those passed over on the way to it.
struct SnapshotBaseline {
    std::optional<SnapshotInfo> info;
    std::optional<ScanSnapshot> snapshot;
    std::vector<UnreadableSnapshot> passedOver;
};

class SnapshotStore {
public:
    static constexpr int keptPerRoot = 20;
    // A snapshot file larger than this is refused unread; see SnapshotStore.cpp.
    static constexpr std::int64_t largestFile = 64'000'000;

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
    // The root's folder: every "*.json" not starting with "." is either read or
    // told as unreadable with the reason. Never throws, never waits on a file.
    SnapshotListing listing(const std::string& rootPath) const;
    // The readable part of `listing` alone.
    std::vector<SnapshotInfo> snapshots(const std::string& rootPath) const;
    // Throws SnapshotError whose words are the reason, as in UnreadableSnapshot.
    ScanSnapshot load(const SnapshotInfo& info) const;
    // The newest of `readable` (newest first) other than the file `except`
    // that loads whole; those that don't are passed over with their reasons.
    SnapshotBaseline baseline(const std::vector<SnapshotInfo>& readable, const std::string& except) const;
    // Removes all but the newest `keeping` of the root's snapshots, ignoring
    // failures. Lossy copies that an older build wrote of a root that is not
    // UTF-8 count among them. Files it can't read are never removed: they may
    // not be ours.
    void prune(const std::string& rootPath, int keeping = keptPerRoot) const;

private:
    std::string folderFor(const std::string& rootPath) const;

    std::string directory_;
    const FileManager& files_;
};

} // namespace tessel
