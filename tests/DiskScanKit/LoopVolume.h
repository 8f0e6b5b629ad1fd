#pragma once
// A real file system for a test, made in a sparse image file and loop-mounted
// inside the test's temporary folder: XFS with reflink for clones, btrfs for
// subvolumes. Making one needs root and the file system's tools; when either
// is missing, `failure()` says so in a sentence the test skips with. Whatever
// happens in the test, every mount it made is undone, the latest first, and
// the loop device let go, when this goes.

#include <sys/mount.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "ChildProcess.h"
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
    LoopVolume(const TempFolder& folder, const std::string& name, const LoopRecipe& recipe)
        : image_(folder / (name + ".img")), path_(folder / name), failure_(make(recipe)) {}
    ~LoopVolume() {
        for (auto mount = mounts_.rbegin(); mount != mounts_.rend(); ++mount)
            if (umount2(mount->c_str(), 0) != 0) umount2(mount->c_str(), MNT_DETACH);
        // mount asks the loop device to let go on unmount; this is for when it didn't.
        const std::string losetup = systemProgram("losetup");
        try {
            std::istringstream attached(losetup.empty() ? "" : runChild({losetup, "-j", image_}, deadline).out);
            for (std::string line; std::getline(attached, line);)
                runChild({losetup, "-d", line.substr(0, line.find(':'))}, deadline);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "could not let go of the loop device of %s: %s\n", image_.c_str(), error.what());
        }
    }
    LoopVolume(const LoopVolume&) = delete;
    LoopVolume& operator=(const LoopVolume&) = delete;

    // Why there is no volume; empty when it is mounted.
    const std::string& failure() const { return failure_; }
    const std::string& path() const { return path_; }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

    // Runs `words`, its first a program found as root's are (in PATH, else
    // /usr/sbin or /sbin); the first line of what it said when it failed, else empty.
    static std::string run(const std::vector<std::string>& words) {
        std::vector<std::string> command = words;
        command.front() = systemProgram(words.front());
        if (command.front().empty()) return words.front() + " is not installed";
        const ChildOutcome outcome = runChild(command, deadline);
        if (outcome.status == 0) return "";
        const std::string& told = outcome.err.empty() ? outcome.out : outcome.err;
        const std::string said = told.empty() ? "status " + std::to_string(outcome.status) : told.substr(0, told.find('\n'));
        return words.front() + " failed (" + said + ")";
    }
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
    static constexpr std::chrono::seconds deadline{60};

    static std::string systemProgram(const std::string& name) {
        const char* path = std::getenv("PATH");
        std::istringstream folders(std::string(path != nullptr ? path : "/usr/bin:/bin") + ":/usr/sbin:/sbin");
        for (std::string folder; std::getline(folders, folder, ':');)
            if (!folder.empty() && access((folder + "/" + name).c_str(), X_OK) == 0) return folder + "/" + name;
        return "";
    }
    std::string remembered(std::string failure, const std::string& where) {
        if (failure.empty()) mounts_.push_back(where);
        return failure;
    }
    std::string make(const LoopRecipe& recipe) {
        if (geteuid() != 0) return "a loop-mounted " + recipe.mkfs.substr(5) + " image needs root";
        if (systemProgram(recipe.mkfs).empty())
            return recipe.mkfs + " is not installed (" + recipe.package + "; scripts/install-deps installs it)";
        std::error_code error;
        std::ofstream{image_};
        std::filesystem::resize_file(image_, static_cast<std::uintmax_t>(recipe.imageBytes), error);
        if (error) return "could not make the image " + image_ + ": " + error.message();
        std::vector<std::string> mkfs{recipe.mkfs};
        mkfs.insert(mkfs.end(), recipe.mkfsOptions.begin(), recipe.mkfsOptions.end());
        mkfs.push_back(image_);
        if (std::string failure = run(mkfs); !failure.empty()) return failure;
        makeFolder(path_);
        if (std::string failure = remembered(run({"mount", "-o", "loop", image_, path_}), path_); !failure.empty())
            return "the image could not be loop-mounted here: " + failure;
        return "";
    }

    std::string image_;
    std::string path_;
    std::vector<std::string> mounts_; // in the order made
    std::string failure_;
};

} // namespace tessel::test
