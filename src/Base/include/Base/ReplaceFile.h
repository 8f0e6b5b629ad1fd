#pragma once
// Replacing a file whole: the bytes go to a new file beside it, under a name
// made with O_EXCL so that no other file (or link planted there) is ever
// written through, and are synced; only then is it renamed over the old one.
// A reader sees the old contents or the new, never a part, and a failure
// leaves the old file as it was. A file that was there keeps its mode; a new
// one gets `modeForNew`, less the umask.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>

namespace tessel {

// 0 when replaced, else the errno of the first step that failed.
inline int replaceFileWhole(const std::string& path, std::string_view bytes, mode_t modeForNew = 0666) {
    std::string temporary;
    int fd = -1;
    std::mt19937 generator{std::random_device{}()};
    for (int attempt = 0; attempt < 16 && fd < 0; ++attempt) {
        char suffix[24];
        std::snprintf(suffix, sizeof suffix, ".%08x.partial", static_cast<unsigned>(generator()));
        temporary = path + suffix;
        fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, modeForNew);
        if (fd < 0 && errno != EEXIST) return errno;
    }
    if (fd < 0) return EEXIST;
    int error = 0;
    struct stat old {};
    if (::stat(path.c_str(), &old) == 0 && ::fchmod(fd, old.st_mode & 07777) != 0) error = errno;
    for (std::size_t done = 0; done < bytes.size() && error == 0;) {
        const ssize_t wrote = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (wrote > 0) done += static_cast<std::size_t>(wrote);
        else if (wrote < 0 && errno != EINTR) error = errno;
    }
    if (error == 0 && ::fsync(fd) != 0) error = errno;
    if (::close(fd) != 0 && error == 0) error = errno;
    if (error == 0 && ::rename(temporary.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) ::unlink(temporary.c_str());
    return error;
}

} // namespace tessel
