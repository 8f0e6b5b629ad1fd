#include "LoopVolume.h"

#include <sys/mount.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "ChildProcess.h"

namespace tessel::test {

namespace {

constexpr std::chrono::seconds commandDeadline{60};

std::string systemProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(std::string(path != nullptr ? path : "/usr/bin:/bin") + ":/usr/sbin:/sbin");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (!folder.empty() && access((folder + "/" + name).c_str(), X_OK) == 0) return folder + "/" + name;
    return "";
}

} // namespace

LoopVolume::LoopVolume(const TempFolder& folder, const std::string& name, const LoopRecipe& recipe)
    : image_(folder / (name + ".img")), path_(folder / name), failure_(make(recipe)) {}

LoopVolume::~LoopVolume() {
    for (auto mount = mounts_.rbegin(); mount != mounts_.rend(); ++mount)
        if (umount2(mount->c_str(), 0) != 0) umount2(mount->c_str(), MNT_DETACH);
    // mount asks the loop device to let go on unmount; this is for when it didn't.
    const std::string losetup = systemProgram("losetup");
    try {
        std::istringstream attached(losetup.empty() ? "" : runChild({losetup, "-j", image_}, commandDeadline).out);
        for (std::string line; std::getline(attached, line);)
            runChild({losetup, "-d", line.substr(0, line.find(':'))}, commandDeadline);
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
    const std::string& told = outcome.err.empty() ? outcome.out : outcome.err;
    const std::string said = told.substr(0, told.find('\n'));
    return words.front() + " failed (" + (said.empty() ? "status " + std::to_string(outcome.status) : said) + ")";
}

std::string LoopVolume::make(const LoopRecipe& recipe) {
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

} // namespace tessel::test
