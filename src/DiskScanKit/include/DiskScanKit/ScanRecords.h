#pragma once
// What a scan reports while it runs, what it leaves behind, and how it fails.

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "DiskScanKit/FileNode.h"

namespace tessel {

struct ScanProgress {
    std::int64_t directories = 0;
    std::int64_t files = 0;
    std::int64_t bytes = 0;
    bool operator==(const ScanProgress&) const = default;
};

struct ScanResult {
    // Keeps the whole tree alive; nodes are compared by identity.
    std::shared_ptr<FileNode> root;
    std::int64_t directories = 0;
    std::int64_t files = 0;
    std::int64_t bytes = 0;
    std::int64_t hardLinkBytesSkipped = 0;
    std::int64_t hardLinksSkipped = 0;
    std::int64_t unreadableDirectories = 0;
    double duration = 0;
    std::vector<std::string> stalledPaths;
    std::int64_t cloudOnlyDirectories = 0;
    bool operator==(const ScanResult&) const = default;
};

class DiskScanError : public std::exception {
public:
    enum class Kind { rootNotFound, rootNotADirectory, cancelled };

    static DiskScanError rootNotFound(std::string path) { return {Kind::rootNotFound, std::move(path)}; }
    static DiskScanError rootNotADirectory(std::string path) {
        return {Kind::rootNotADirectory, std::move(path)};
    }
    static DiskScanError cancelled() { return {Kind::cancelled, {}}; }

    Kind kind() const { return kind_; }
    const std::string& path() const { return path_; }
    // The sentence a person reads when a scan fails.
    const char* what() const noexcept override { return message_.c_str(); }

private:
    DiskScanError(Kind kind, std::string path);
    Kind kind_;
    std::string path_;
    std::string message_;
};

} // namespace tessel
