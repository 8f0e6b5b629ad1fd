// Running a helper program with a deadline.
//
// The child's standard output is a file, not a pipe, so that a large output
// can never fill a pipe and stall the child while we wait for it to end. The
// file is made with O_TMPFILE: it has no name, so there is nothing to remove
// and nothing left if this process dies midway (where the file system can't
// make such a file, a named one is unlinked at once, to the same end).
//
// The child starts in a process group of its own, so that on a timeout the
// whole group goes: a shell's children too. It is asked with SIGTERM first,
// and after a grace period told with SIGKILL. When the child ends on its own,
// whatever it left running in its group is killed as well: a helper we ran
// must not outlive the question we asked it.
//
// The wait is a poll on a pidfd, which wakes the moment the child ends; where
// the kernel has no pidfds it falls back to looking every 10 ms.

#include "UninstallKit/CommandRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <thread>

#include "DiskScanKit/UniqueFd.h"

extern char** environ;

namespace tessel::CommandRunner {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds gracePeriod{1000};

std::string temporaryFolder() {
    const char* folder = std::getenv("TMPDIR");
    return folder != nullptr && folder[0] == '/' ? folder : "/tmp";
}

int unnamedFile() {
    const std::string folder = temporaryFolder();
    const int fd = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (fd >= 0 || (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL)) return fd;
    std::string name = folder + "/tessel-XXXXXX.out";
    const int named = ::mkostemps(name.data(), 4, O_CLOEXEC);
    if (named >= 0) ::unlink(name.c_str());
    return named;
}

// Waits for `pid` to end until `deadline`; its wait status, or none if it is still running.
std::optional<int> waitUntil(pid_t pid, int pidfd, Clock::time_point deadline) {
    for (;;) {
        int status = 0;
        const pid_t ended = ::waitpid(pid, &status, WNOHANG);
        if (ended == pid) return status;
        if (ended < 0 && errno != EINTR) return -1;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) return std::nullopt;
        if (pidfd >= 0) {
            pollfd ready{pidfd, POLLIN, 0};
            ::poll(&ready, 1, static_cast<int>(left.count()));
        } else {
            std::this_thread::sleep_for(std::min(left, std::chrono::milliseconds(10)));
        }
    }
}

std::optional<std::string> readAll(int fd, std::size_t limit) {
    struct stat status {};
    if (::fstat(fd, &status) != 0 || static_cast<std::size_t>(status.st_size) > limit) return std::nullopt;
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t got = ::pread(fd, text.data() + done, text.size() - done, static_cast<off_t>(done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return std::nullopt;
        done += static_cast<std::size_t>(got);
    }
    return text;
}

} // namespace

std::optional<std::string> output(const std::string& program, const std::vector<std::string>& arguments, Limits limits) {
    const UniqueFd out(unnamedFile());
    if (out.get() < 0) return std::nullopt;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out.get(), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    // Its own group, the signals a program expects at its start, nothing blocked.
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    for (int signal : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGCHLD}) sigaddset(&defaults, signal);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes,
                             static_cast<short>(POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF));

    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int failed = ::posix_spawn(&pid, program.c_str(), &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (failed != 0) return std::nullopt;

    const UniqueFd pidfd(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    std::optional<int> status = waitUntil(pid, pidfd.get(), Clock::now() + limits.timeout);
    if (!status) {
        ::kill(-pid, SIGTERM);
        status = waitUntil(pid, pidfd.get(), Clock::now() + gracePeriod);
        if (!status) {
            ::kill(-pid, SIGKILL);
            while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
        ::kill(-pid, SIGKILL);
        return std::nullopt;
    }
    // Whatever it started and left behind in its group goes with it.
    ::kill(-pid, SIGKILL);
    if (!WIFEXITED(*status) || WEXITSTATUS(*status) != 0) return std::nullopt;
    return readAll(out.get(), limits.outputBytes);
}

} // namespace tessel::CommandRunner
