#pragma once
// Running another program from a test: in a process group of its own, with its
// output kept and a deadline after which the whole group is killed, so that a
// hung program never outlives the test.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace tessel::test {

struct ChildOutcome {
    int status = -1; // exit status, or 128 + the signal (SIGKILL past the deadline)
    std::string out;
    std::string err;
};

// `words[0]` is a path or a name looked up in PATH.
inline ChildOutcome runChild(const std::vector<std::string>& words, std::chrono::milliseconds deadline) {
    std::vector<char*> argv;
    for (const std::string& word : words) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    const int out = memfd_create("child-stdout", MFD_CLOEXEC);
    const int err = memfd_create("child-stderr", MFD_CLOEXEC);
    if (out < 0 || err < 0) throw std::system_error(errno, std::generic_category(), "memfd_create");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out, 1);
    posix_spawn_file_actions_adddup2(&actions, err, 2);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP); // a group of its own, numbered as the child
    pid_t child = 0;
    const int failed = posix_spawnp(&child, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (failed != 0) throw std::system_error(failed, std::generic_category(), "posix_spawnp(" + words[0] + ")");

    ChildOutcome outcome;
    const auto giveUpAt = std::chrono::steady_clock::now() + deadline;
    int status = 0;
    for (pid_t ended; (ended = waitpid(child, &status, WNOHANG)) != child;) {
        if (ended < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "waitpid");
        if (std::chrono::steady_clock::now() >= giveUpAt) killpg(child, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    for (auto [fd, text] : {std::pair{out, &outcome.out}, {err, &outcome.err}}) {
        text->resize(static_cast<std::size_t>(lseek(fd, 0, SEEK_END)));
        if (pread(fd, text->data(), text->size(), 0) != static_cast<ssize_t>(text->size()))
            *text = "(could not be read back)";
        close(fd);
    }
    return outcome;
}

} // namespace tessel::test
