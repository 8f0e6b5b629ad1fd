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
#include <sstream>
#include <system_error>

#include <gtest/gtest.h>

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

// The environment, with the home folder and the data, configuration, state
// and cache folders below it replaced, so that the home describes them all.
std::vector<std::string> environmentWithHome(const std::string& home) {
    const std::vector<std::pair<std::string, std::string>> replaced{{"HOME=", ""},
                                                                    {"XDG_DATA_HOME=", "/.local/share"},
                                                                    {"XDG_CONFIG_HOME=", "/.config"},
                                                                    {"XDG_STATE_HOME=", "/.local/state"},
                                                                    {"XDG_CACHE_HOME=", "/.cache"}};
    std::vector<std::string> variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string variable = *entry;
        if (std::none_of(replaced.begin(), replaced.end(), [&](const auto& name) { return variable.starts_with(name.first); }))
            variables.push_back(variable);
    }
    for (const auto& [name, below] : replaced) variables.push_back(name + home + below);
    return variables;
}

} // namespace

Outcome runTessel(std::vector<std::string> words, As as, const std::string& home) {
    words.insert(words.begin(), TESSEL_BINARY);
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    std::vector<std::string> variables = home.empty() ? std::vector<std::string>() : environmentWithHome(home);
    if (as == As::withoutThreads) {
        // The leak check runs on a thread of its own, which can't start either.
        if (variables.empty())
            for (char** entry = environ; *entry != nullptr; ++entry) variables.emplace_back(*entry);
        std::erase_if(variables, [](const std::string& variable) { return variable.starts_with("ASAN_OPTIONS="); });
        const char* asan = std::getenv("ASAN_OPTIONS");
        variables.push_back(std::string("ASAN_OPTIONS=") + (asan != nullptr ? std::string(asan) + ":" : "") +
                            "detect_leaks=0");
    }
    std::vector<char*> envp;
    for (std::string& variable : variables) envp.push_back(variable.data());
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
        if (variables.empty()) execv(argv[0], argv.data());
        else execve(argv[0], argv.data(), envp.data());
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

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

void expectOneErrorLine(const Outcome& run, int status, const std::string& mention) {
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.starts_with("tessel: ")) << run.err;
    EXPECT_TRUE(run.err.ends_with('\n')) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_NE(run.err.find(mention), std::string::npos) << run.err;
}

} // namespace tessel::cli
