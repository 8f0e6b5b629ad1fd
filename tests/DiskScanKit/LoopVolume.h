#pragma once
// A real file system for a test, made in a sparse image file and loop-mounted
// inside the test's temporary folder: XFS with reflink for clones, btrfs for
// subvolumes. Making one needs root and the file system's tools; when either
// is missing, `failure()` says so in a sentence the test skips with. Whatever
// happens in the test, every mount it made is undone, the latest first, and
// the loop device let go, when this goes.

#include <sys/types.h>

#include <string>
#include <vector>

#include "Fixture.h"

namespace tessel::test {

struct LoopRecipe {
    std::string mkfs;                      // "mkfs.xfs"
    std::vector<std::string> mkfsOptions;  // before the image's path
    std::string package;                   // where mkfs comes from, for the skip message
    off_t imageBytes = 0;                  // the smallest the tool accepts; sparse
};

class LoopVolume {
public:
    // Makes `name`.img in `folder` and mounts it at `name`.
    LoopVolume(const TempFolder& folder, const std::string& name, const LoopRecipe& recipe);
    ~LoopVolume();
    LoopVolume(const LoopVolume&) = delete;
    LoopVolume& operator=(const LoopVolume&) = delete;

    // Why there is no volume; empty when it is mounted.
    const std::string& failure() const { return failure_; }
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

    // Runs `words`, its first a program found as root's are (in PATH, else
    // /usr/sbin or /sbin); the first line of what it said when it failed,
    // else empty.
    static std::string run(const std::vector<std::string>& words);
    // Each mount is undone when this goes; each returns what `run` does.
    // The image mounted again at `where`, with mount's `options` ("subvol=@home").
    std::string mountImageAgain(const std::string& options, const std::string& where) {
        return remembered(run({"mount", "-o", "loop," + options, image_, where}), where);
    }
    // `folder` shown again at `where`.
    std::string bind(const std::string& folder, const std::string& where) {
        return remembered(run({"mount", "--bind", folder, where}), where);
    }
    // A tmpfs of a few megabytes at `where`, as a machine mounts one on /tmp.
    std::string mountTmpfs(const std::string& where) {
        return remembered(run({"mount", "-t", "tmpfs", "-o", "size=4m", "tessel-test", where}), where);
    }

private:
    std::string make(const LoopRecipe& recipe);
    std::string remembered(std::string failure, const std::string& where) {
        if (failure.empty()) mounts_.push_back(where);
        return failure;
    }

    std::string image_;
    std::string path_;
    std::vector<std::string> mounts_; // in the order made
    std::string failure_;
};

} // namespace tessel::test
