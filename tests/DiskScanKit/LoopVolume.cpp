#include "LoopVolume.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>

#include "ChildProcess.h"

namespace tessel::test {

namespace {

constexpr std::chrono::seconds commandDeadline{60};

std::string systemProgram(const std::string& name) {
    for (const std::string& candidate : {findProgram(name), "/usr/sbin/" + name, "/sbin/" + name})
        if (!candidate.empty() && access(candidate.c_str(), X_OK) == 0) return candidate;
    return "";
}

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

} // namespace

LoopVolume::LoopVolume(const TempFolder& folder, const std::string& name, LoopRecipe recipe)
    : image_(folder / (name + ".img")), path_(folder / name) {
    failure_ = make(recipe);
}

LoopVolume::~LoopVolume() {
    for (auto mount = mounts_.rbegin(); mount != mounts_.rend(); ++mount)
        if (umount2(mount->c_str(), 0) != 0) umount2(mount->c_str(), MNT_DETACH);
    // mount asks the loop device to let go on unmount; this is for when it didn't.
    const std::string losetup = systemProgram("losetup");
    if (losetup.empty()) return;
    try {
        const ChildOutcome attached = runChild({losetup, "-j", image_}, commandDeadline);
        for (std::size_t start = 0; start < attached.out.size();) {
            std::size_t end = attached.out.find('\n', start);
            if (end == std::string::npos) end = attached.out.size();
            const std::string line = attached.out.substr(start, end - start);
            if (const std::size_t colon = line.find(':'); colon != std::string::npos)
                runChild({losetup, "-d", line.substr(0, colon)}, commandDeadline);
            start = end + 1;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "could not let go of the loop device of %s: %s\n", image_.c_str(), error.what());
    }
}

std::string LoopVolume::run(const std::vector<std::string>& words) {
    std::vector<std::string> command = words;
    command.front() = systemProgram(words.front());
    if (command.front().empty()) return words.front() + " is not installed";
    const ChildOutcome outcome = runChild(command, commandDeadline);
    if (outcome.status == 0) return "";
    const std::string said = firstLine(outcome.err.empty() ? outcome.out : outcome.err);
    return words.front() + " failed (" + (said.empty() ? "status " + std::to_string(outcome.status) : said) + ")";
}

std::string LoopVolume::mountImageAgain(const std::string& options, const std::string& where) {
    // mount finds the loop device that already holds the image and uses it again.
    std::string failure = run({"mount", "-o", "loop," + options, image_, where});
    if (failure.empty()) mounts_.push_back(where);
    return failure;
}

std::string LoopVolume::bind(const std::string& folder, const std::string& where) {
    if (mount(folder.c_str(), where.c_str(), nullptr, MS_BIND, nullptr) != 0)
        return "mount(" + folder + ", " + where + ", bind): " + std::strerror(errno);
    mounts_.push_back(where);
    return "";
}

std::string LoopVolume::mountTmpfs(const std::string& where) {
    if (mount("tessel-test", where.c_str(), "tmpfs", 0, "size=4m") != 0)
        return "mount(tmpfs, " + where + "): " + std::strerror(errno);
    mounts_.push_back(where);
    return "";
}

std::string LoopVolume::make(const LoopRecipe& recipe) {
    if (geteuid() != 0) return "a loop-mounted " + recipe.mkfs.substr(5) + " image needs root";
    if (systemProgram(recipe.mkfs).empty())
        return recipe.mkfs + " is not installed (" + recipe.package + "; scripts/install-deps installs it)";
    const int fd = open(image_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0 || ftruncate(fd, recipe.imageBytes) != 0) {
        const std::string reason = std::strerror(errno);
        if (fd >= 0) close(fd);
        return "could not make the image " + image_ + ": " + reason;
    }
    close(fd);
    std::vector<std::string> mkfs{recipe.mkfs};
    mkfs.insert(mkfs.end(), recipe.mkfsOptions.begin(), recipe.mkfsOptions.end());
    mkfs.push_back(image_);
    if (std::string failure = run(mkfs); !failure.empty()) return failure;
    makeFolder(path_);
    if (std::string failure = run({"mount", "-o", "loop", image_, path_}); !failure.empty())
        return "the image could not be loop-mounted here: " + failure;
    mounts_.push_back(path_);
    return "";
}

} // namespace tessel::test
