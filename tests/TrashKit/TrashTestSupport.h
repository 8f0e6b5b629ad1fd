#pragma once
// A home with its own Trash, for the tests that really move files: nothing
// of the user's Trash is touched.

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <stdexcept>
#include <string>

#include "DiskScanKit/AnchoredPath.h"
#include "Fixture.h"
#include "linux/FreedesktopTrash.h"
#include "TrashKit/DeletionGuard.h"

namespace tessel::test {

struct TrashHome {
    TempFolder folder;
    std::string home = folder / "home";
    std::string dataHome = home + "/.local/share";
    std::string trash = dataHome + "/Trash";
    FreedesktopTrash bin{{home, dataHome, geteuid(), [] { return std::time(nullptr); }}};
    DeletionGuard::Context context{home, std::nullopt, Platform::linuxOS, trash};

    TrashHome() { makeFolder(home); }
};

// The path followed to its folder, as the trash service hands items to a Trash.
inline AnchoredPath anchored(const std::string& path) {
    std::variant<AnchoredPath, AnchoredPath::Failure> found = AnchoredPath::resolve(path);
    if (const AnchoredPath::Failure* failed = std::get_if<AnchoredPath::Failure>(&found))
        throw std::runtime_error(failed->message);
    return std::move(std::get<AnchoredPath>(found));
}

// A tmpfs mounted for one test, as a second disk; unmounted at the end.
struct SecondDisk {
    std::string path;
    bool mounted = false;
    explicit SecondDisk(std::string where, const char* options = "size=8m") : path(std::move(where)) {
        makeFolder(path);
        mounted = mount("tessel-test", path.c_str(), "tmpfs", 0, options) == 0;
    }
    ~SecondDisk() {
        if (mounted) umount2(path.c_str(), MNT_DETACH);
    }
};

// What a file is: its bytes, its mode and its modification time, to prove nothing changed.
struct FileState {
    std::string bytes;
    mode_t mode = 0;
    long long modified = 0;
    bool operator==(const FileState&) const = default;
};

inline FileState stateOf(const std::string& path) {
    FileState state;
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return state;
    state.mode = info.st_mode;
    state.modified = static_cast<long long>(info.st_mtim.tv_sec) * 1000000000LL + info.st_mtim.tv_nsec;
    if (FILE* file = std::fopen(path.c_str(), "rb")) {
        char buffer[65536];
        for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, file)) > 0;) state.bytes.append(buffer, got);
        std::fclose(file);
    }
    return state;
}

inline std::string readText(const std::string& path) { return stateOf(path).bytes; }

} // namespace tessel::test
