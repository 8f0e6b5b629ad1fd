#pragma once
// A home with its own Trash, for the tests that really move files: nothing
// of the user's Trash is touched.

#include <gtest/gtest.h>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>

#include "DiskScanKit/AnchoredPath.h"
#include "Fixture.h"
#include "linux/FreedesktopTrash.h"
#include "TrashKit/TrashService.h"

namespace tessel::test {

class TrashHome : public testing::Test {
protected:
    TempFolder folder;
    std::string home = folder / "home";
    std::string dataHome = home + "/.local/share";
    std::string trash = dataHome + "/Trash";
    std::string user = std::to_string(geteuid());
    FreedesktopTrash bin{{home, dataHome, geteuid(), [] { return std::time(nullptr); }}};
    DeletionGuard::Context context{home, std::nullopt, Platform::linuxOS, trash};
    LocalFileManager disk;
    TrashService service{disk, bin, 10};

    TrashHome() { makeFolder(home); }

    // A file of `bytes` at `path`, its folders made first.
    static std::string put(const std::string& path, std::int64_t bytes = 10) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        writeFile(path, bytes);
        return path;
    }
    std::optional<DeletionRefusal> judged(const std::string& path, bool isDirectory) const {
        return DeletionGuard::refusal({path, 0, isDirectory}, context, disk, "");
    }
    // Handed to the service as if a plan had allowed them: the service must judge them again itself.
    TrashOutcome forced(std::vector<DeletionCandidate> allowed) { return service.trash({std::move(allowed), {}}, context); }
    // Why the service, handed `path` as allowed, left it in place: the words of its refusal.
    std::string whyKept(const std::string& path, bool isDirectory) {
        const TrashOutcome outcome = forced({{path, 0, isDirectory}});
        return outcome.failures.empty() ? "moved" : outcome.failures[0].message;
    }
    static std::string words(DeletionRefusal refusal) { return std::string(DeletionRefusals::explanation(refusal)); }
};

// The path followed to its folder, as the trash service hands items to a Trash.
inline AnchoredPath anchored(const std::string& path) { return std::get<AnchoredPath>(AnchoredPath::resolve(path)); }

// A tmpfs mounted for one test, as a second disk; unmounted at the end.
struct SecondDisk {
    std::string path;
    bool mounted = false;
    explicit SecondDisk(std::string where) : path(std::move(where)) {
        std::filesystem::create_directories(path);
        mounted = mount("tessel-test", path.c_str(), "tmpfs", 0, "size=8m") == 0;
    }
    ~SecondDisk() {
        if (mounted) umount2(path.c_str(), MNT_DETACH);
    }
};

// A file's bytes, mode and modification time, to prove nothing changed.
inline std::string stateOf(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return "missing";
    return readText(path) + " mode " + std::to_string(info.st_mode) + " time " + std::to_string(info.st_mtim.tv_sec) +
           "." + std::to_string(info.st_mtim.tv_nsec);
}

} // namespace tessel::test
