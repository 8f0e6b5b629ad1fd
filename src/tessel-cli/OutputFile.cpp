#include "OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <random>

#include "TerminalText.h"

namespace tessel::cli {

namespace {

// A new file beside `path`, created with O_EXCL and mode 0666 so that the umask
// gives it the mode any program's new file would have.
int createTemporary(const std::string& path, std::string& temporary) {
    std::mt19937 generator{std::random_device{}()};
    for (int attempt = 0; attempt < 16; ++attempt) {
        char suffix[16];
        std::snprintf(suffix, sizeof suffix, ".%08x", static_cast<unsigned>(generator()));
        temporary = path + suffix + ".partial";
        const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    return -1;
}

} // namespace

std::optional<std::string> writeWholeFile(const std::string& path, const std::string& text) {
    const auto failure = [&](int error) { return "could not write " + printable(path) + ": " + std::strerror(error); };
    std::string temporary;
    const int fd = createTemporary(path, temporary);
    if (fd < 0) return failure(errno);
    std::size_t done = 0;
    int error = 0;
    while (done < text.size() && error == 0) {
        const ssize_t wrote = write(fd, text.data() + done, text.size() - done);
        if (wrote > 0) done += static_cast<std::size_t>(wrote);
        else if (wrote < 0 && errno != EINTR) error = errno;
    }
    if (error == 0 && fsync(fd) != 0) error = errno;
    if (close(fd) != 0 && error == 0) error = errno;
    if (error == 0 && rename(temporary.c_str(), path.c_str()) != 0) error = errno;
    if (error == 0) return std::nullopt;
    unlink(temporary.c_str());
    return failure(error);
}

} // namespace tessel::cli
