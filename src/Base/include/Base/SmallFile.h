#pragma once
// Reading a whole small file that sits in a folder someone else can write to:
// a settings file, the kernel's mount table, or the same paths under a test
// folder that describes a whole machine. Such a path may name a FIFO, whose
// open waits for a writer; a device, whose read may never end; a link to
// either; or a file far too big to hold.
//
// So: lstat first, so a device is never even opened; then open without
// following a link and without waiting, and check again on the descriptor,
// as the entry may have been swapped in between. Only then is O_NONBLOCK
// cleared and the file read, to its end or one byte past `limit`, whichever
// comes first. The end is what counts, not the size lstat gave: the files of
// /proc say 0 bytes and hold more.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

namespace tessel {

struct SmallFileRead {
    std::optional<std::string> text;
    // Why there is no text, naming the call and the path: "open(/x): No such
    // file or directory", "/x is not a regular file". Empty when read.
    std::string failure;
};

inline SmallFileRead readSmallFile(const std::string& path, std::int64_t limit) {
    auto failed = [&path](const char* call) {
        return SmallFileRead{std::nullopt, std::string(call) + "(" + path + "): " + std::strerror(errno)};
    };
    auto refused = [&path](const std::string& why) { return SmallFileRead{std::nullopt, path + " " + why}; };
    const std::string tooLarge = "holds more than " + std::to_string(limit) + " bytes";

    struct stat seen {};
    if (lstat(path.c_str(), &seen) != 0) return failed("lstat");
    if (!S_ISREG(seen.st_mode)) return refused("is not a regular file");
    if (seen.st_size > limit) return refused(tooLarge);
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) return failed("open");
    struct stat info {};
    const int flags = fcntl(fd, F_GETFL);
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || flags < 0 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) {
        close(fd);
        return refused("is not a regular file");
    }
    std::string bytes;
    char block[16384];
    for (;;) {
        const ssize_t got = read(fd, block, sizeof block);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            SmallFileRead failure = failed("read");
            close(fd);
            return failure;
        }
        if (got == 0) break;
        if (static_cast<std::int64_t>(bytes.size()) + got > limit) {
            close(fd);
            return refused(tooLarge);
        }
        bytes.append(block, static_cast<std::size_t>(got));
    }
    close(fd);
    return SmallFileRead{std::move(bytes), {}};
}

} // namespace tessel
