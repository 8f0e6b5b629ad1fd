#include "ToolRun.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>

namespace tessel::cli {

namespace {

[[noreturn]] void fail(const char* call) { throw std::system_error(errno, std::generic_category(), call); }

std::string drain(int fd) {
    std::string text;
    char buffer[65536];
    for (ssize_t got; (got = read(fd, buffer, sizeof buffer)) != 0;) {
        if (got > 0) text.append(buffer, static_cast<std::size_t>(got));
        else if (errno != EINTR) break; // EIO: a terminal whose far side has closed
    }
    close(fd);
    return text;
}

// This process's environment, with the home folder and the data, configuration,
// state and cache folders below it replaced when `home` is given, so that the
// home describes them all.
std::vector<std::string> environmentFor(const std::string& home, As as) {
    std::vector<std::pair<std::string, std::string>> replaced;
    if (!home.empty())
        replaced = {{"HOME=", home}, {"XDG_DATA_HOME=", home + "/.local/share"}, {"XDG_CONFIG_HOME=", home + "/.config"},
                    {"XDG_STATE_HOME=", home + "/.local/state"}, {"XDG_CACHE_HOME=", home + "/.cache"}};
    // The leak check runs on a thread of its own, which can't start either.
    const char* asan = std::getenv("ASAN_OPTIONS");
    if (as == As::withoutThreads) replaced.emplace_back("ASAN_OPTIONS=", (asan != nullptr ? std::string(asan) + ":" : "") + "detect_leaks=0");
    std::vector<std::string> variables;
    for (char** entry = environ; *entry != nullptr; ++entry)
        if (std::none_of(replaced.begin(), replaced.end(), [&](const auto& name) { return std::string_view(*entry).starts_with(name.first); }))
            variables.emplace_back(*entry);
    for (const auto& [name, value] : replaced) variables.push_back(name + value);
    return variables;
}

} // namespace

Outcome runTessel(std::vector<std::string> words, As as, const std::string& home) {
    words.insert(words.begin(), TESSEL_BINARY);
    std::vector<std::string> variables = environmentFor(home, as);
    std::vector<char*> argv, envp;
    for (std::string& word : words) argv.push_back(word.data());
    for (std::string& variable : variables) envp.push_back(variable.data());
    argv.push_back(nullptr);
    envp.push_back(nullptr);

    const int out = memfd_create("tessel-stdout", MFD_CLOEXEC);
    int err[2];
    if (out < 0) fail("memfd_create");
    if (as != As::terminal) {
        if (pipe2(err, O_CLOEXEC) != 0) fail("pipe2");
    } else {
        // Opened here, not in the child: a master whose far side was never open reads as hung up.
        err[0] = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (err[0] < 0 || grantpt(err[0]) != 0 || unlockpt(err[0]) != 0) fail("posix_openpt");
        if ((err[1] = open(ptsname(err[0]), O_WRONLY | O_NOCTTY | O_CLOEXEC)) < 0) fail("open pts");
    }
    const pid_t child = fork();
    if (child < 0) fail("fork");
    if (child == 0) {
        // Nothing but async-signal-safe calls between fork and exec in a threaded process.
        const int in = open("/dev/null", O_RDONLY);
        if (in < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err[1], 2) < 0) _exit(126);
        const bool asNobody = as == As::nobody || (as == As::withoutThreads && geteuid() == 0);
        if (asNobody && (setgroups(0, nullptr) != 0 || setgid(65534) != 0 || setuid(65534) != 0)) _exit(126);
        const struct rlimit oneProcess {1, 1};
        if (as == As::withoutThreads && setrlimit(RLIMIT_NPROC, &oneProcess) != 0) _exit(126);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    close(err[1]);
    Outcome run;
    run.err = drain(err[0]);
    int status = 0;
    if (waitpid(child, &status, 0) != child) fail("waitpid");
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    lseek(out, 0, SEEK_SET);
    run.out = drain(out);
    return run;
}

nlohmann::json runJson(std::vector<std::string> words, As as, const std::string& home) {
    const Outcome run = runTessel(std::move(words), as, home);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "") << "nothing but failures belongs on a standard error that is a pipe";
    return nlohmann::json::parse(run.out);
}

void expectOneErrorLine(const Outcome& run, int status, const std::string& mention) {
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.starts_with("tessel: ") && run.err.find('\n') + 1 == run.err.size()) << run.err;
    EXPECT_NE(run.err.find(mention), std::string::npos) << run.err;
}

} // namespace tessel::cli
