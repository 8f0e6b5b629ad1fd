#include "ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <thread>

extern char** environ;

namespace tessel::test {

namespace {

[[noreturn]] void fail(const char* call) { throw std::system_error(errno, std::generic_category(), call); }

std::string readAll(int fd) {
    std::string text;
    lseek(fd, 0, SEEK_SET);
    char buffer[65536];
    for (ssize_t got; (got = read(fd, buffer, sizeof buffer)) != 0;) {
        if (got > 0) text.append(buffer, static_cast<std::size_t>(got));
        else if (errno != EINTR) break;
    }
    close(fd);
    return text;
}

std::vector<std::string> mergedEnvironment(const std::vector<std::string>& changes) {
    std::vector<std::string> variables;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string variable = *entry;
        const std::string name = variable.substr(0, variable.find('=') + 1);
        bool replaced = false;
        for (const std::string& change : changes) replaced = replaced || change.starts_with(name);
        if (!replaced) variables.push_back(variable);
    }
    variables.insert(variables.end(), changes.begin(), changes.end());
    return variables;
}

std::vector<char*> pointers(std::vector<std::string>& words) {
    std::vector<char*> list;
    for (std::string& word : words) list.push_back(word.data());
    list.push_back(nullptr);
    return list;
}

} // namespace

std::string findProgram(const std::string& name) {
    if (name.find('/') != std::string::npos) return access(name.c_str(), X_OK) == 0 ? name : "";
    const char* path = std::getenv("PATH");
    std::string folders = path != nullptr ? path : "/usr/bin:/bin";
    for (std::size_t start = 0; start <= folders.size();) {
        std::size_t end = folders.find(':', start);
        if (end == std::string::npos) end = folders.size();
        const std::string candidate = folders.substr(start, end - start) + "/" + name;
        if (end > start && access(candidate.c_str(), X_OK) == 0) return candidate;
        start = end + 1;
    }
    return "";
}

ChildOutcome runChild(const std::vector<std::string>& words, std::chrono::milliseconds deadline,
                      const std::vector<std::string>& environment) {
    std::vector<std::string> argvWords = words;
    argvWords[0] = findProgram(words[0]);
    if (argvWords[0].empty()) throw std::runtime_error("not found: " + words[0]);
    std::vector<std::string> variables = mergedEnvironment(environment);
    std::vector<char*> argv = pointers(argvWords);
    std::vector<char*> envp = pointers(variables);

    const int out = memfd_create("child-stdout", MFD_CLOEXEC);
    const int err = memfd_create("child-stderr", MFD_CLOEXEC);
    if (out < 0 || err < 0) fail("memfd_create");
    const pid_t child = fork();
    if (child < 0) fail("fork");
    if (child == 0) {
        // Only async-signal-safe calls between fork and exec in a threaded process.
        const int in = open("/dev/null", O_RDONLY);
        if (setpgid(0, 0) != 0 || in < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0) _exit(126);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    setpgid(child, child); // also here, so the group exists before either side goes on

    ChildOutcome outcome;
    const auto giveUpAt = std::chrono::steady_clock::now() + deadline;
    siginfo_t info{};
    for (;;) {
        // WNOWAIT leaves the child a zombie, so its id, and the group's, can't be reused yet.
        info.si_pid = 0;
        if (waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 && errno != EINTR)
            fail("waitid");
        if (info.si_pid == child) break;
        if (std::chrono::steady_clock::now() >= giveUpAt) {
            outcome.timedOut = true;
            killpg(child, SIGKILL);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    killpg(child, SIGKILL); // helpers the program left behind in its group
    int status = 0;
    if (waitpid(child, &status, 0) != child) fail("waitpid");
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    outcome.out = readAll(out);
    outcome.err = readAll(err);
    return outcome;
}

} // namespace tessel::test
