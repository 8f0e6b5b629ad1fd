// The tool on a FUSE file system that stops answering, run as a person runs it:
// tessel scan and tessel duplicates give up within their stall timeout and
// exit, Ctrl-C ends tessel duplicates at once with a whole JSON report, and
// no reader process is left waiting once the daemon is gone. Skipped, with
// the reason, where FUSE can't be mounted.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <set>
#include <thread>

#include <nlohmann/json.hpp>

#include "DiskScanKit/ReaderHelper.h"
#include "HangingFuse.h"

using namespace tessel;
using namespace tessel::test;

namespace {

using Clock = std::chrono::steady_clock;

struct TimedRun {
    int status = -1;
    std::string out, err;
    double seconds = 0; // from start, or from `poke` when given
    bool ended = false;
};

std::string readBack(int fd) {
    std::string text(static_cast<std::size_t>(lseek(fd, 0, SEEK_END)), '\0');
    if (pread(fd, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) text = "(could not be read back)";
    close(fd);
    return text;
}

// Runs the tool with its output in memory files. `poke`, when given, runs
// `pokeAfter` seconds in with the tool's process id, and the time is then
// counted from it. A tool still running after `deadline` seconds is left.
TimedRun runTimed(std::vector<std::string> words, double deadline, double pokeAfter = 0,
                  const std::function<void(pid_t)>& poke = {}) {
    words.insert(words.begin(), TESSEL_BINARY);
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    const int out = memfd_create("tool-out", MFD_CLOEXEC);
    const int err = memfd_create("tool-err", MFD_CLOEXEC);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out, 1);
    posix_spawn_file_actions_adddup2(&actions, err, 2);
    pid_t tool = 0;
    const int failed = posix_spawn(&tool, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    TimedRun run;
    if (failed != 0) return run;
    auto start = Clock::now();
    bool poked = !poke;
    int status = 0;
    for (;;) {
        const double elapsed = std::chrono::duration<double>(Clock::now() - start).count();
        if (!poked && elapsed >= pokeAfter) {
            poke(tool);
            poked = true;
            start = Clock::now();
        }
        if (waitpid(tool, &status, WNOHANG) == tool) {
            run.ended = true;
            break;
        }
        if (elapsed > deadline) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    run.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (run.ended) run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    run.out = readBack(out);
    run.err = readBack(err);
    return run;
}

// The reader processes of this build now alive and not yet ended (zombies are ended).
std::set<pid_t> readersAlive() {
    std::set<pid_t> alive;
    const std::string program = ReaderHelper::programPath();
    for (const std::string& name : entryNames("/proc")) {
        const pid_t pid = static_cast<pid_t>(std::atoi(name.c_str()));
        if (pid <= 0) continue;
        char exe[4096];
        const ssize_t length = readlink(("/proc/" + name + "/exe").c_str(), exe, sizeof exe);
        if (length > 0 && std::string(exe, static_cast<std::size_t>(length)) == program) alive.insert(pid);
    }
    return alive;
}

class ToolOnHangingMount : public testing::Test {
protected:
    void SetUp() override {
        if (!fuse.failure().empty()) GTEST_SKIP() << fuse.failure();
        before = readersAlive();
    }
    // Readers the tool left stuck end once the daemon is gone; none of this test's is left waiting.
    void TearDown() override {
        if (!fuse.failure().empty()) return;
        fuse.stop();
        std::set<pid_t> left;
        for (int tries = 0; tries < 250; ++tries) {
            left.clear();
            for (pid_t pid : readersAlive())
                if (!before.contains(pid)) left.insert(pid);
            if (left.empty()) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        EXPECT_TRUE(left.empty()) << left.size() << " reader processes still waiting after the daemon ended";
    }
    HangingFuse fuse;
    std::set<pid_t> before;
};

TEST_F(ToolOnHangingMount, ScanExitsWithinItsStallTimeoutNamingTheQuietFolder) {
    const TimedRun json = runTimed({"scan", "--stall-timeout", "2", "--json", fuse.path()}, 20);
    ASSERT_TRUE(json.ended) << "tessel scan was still running after 20 s";
    EXPECT_LT(json.seconds, 2 + 2.0);
    EXPECT_EQ(json.status, 0) << json.err;
    const nlohmann::json report = nlohmann::json::parse(json.out);
    EXPECT_EQ(report["stalledPaths"], nlohmann::json::array({fuse / "quiet"}));
    EXPECT_EQ(report["files"], 5);
    EXPECT_EQ(report["bytes"], 2 * 4096 + 3 * 1048576);

    const TimedRun text = runTimed({"scan", "--stall-timeout", "1", fuse.path()}, 20);
    ASSERT_TRUE(text.ended);
    EXPECT_NE(text.out.find(fuse / "quiet" + " did not answer: it is on a FUSE file system mounted at " + fuse.path() +
                            ", and what it holds is left out."),
              std::string::npos)
        << text.out;
}

TEST_F(ToolOnHangingMount, DuplicatesExitsWithinItsStallTimeoutCountingTheStuckFileUnreadable) {
    const TimedRun run = runTimed({"duplicates", "--stall-timeout", "2", "--min-size", "1000", "--json", fuse / "files"}, 20);
    ASSERT_TRUE(run.ended) << "tessel duplicates was still running after 20 s";
    EXPECT_LT(run.seconds, 2 + 2.0);
    EXPECT_EQ(run.status, 0) << run.err;
    const nlohmann::json report = nlohmann::json::parse(run.out);
    EXPECT_EQ(report["unreadable"], 1);
    EXPECT_EQ(report["stalledPaths"], nlohmann::json::array({fuse / "files/stuck.bin"}));
    ASSERT_EQ(report["groups"].size(), 1u);
    EXPECT_EQ(report["groups"][0]["files"].size(), 2u);

    const TimedRun text = runTimed({"duplicates", "--stall-timeout", "1", "--min-size", "1000", fuse / "files"}, 20);
    EXPECT_NE(text.out.find(fuse / "files/stuck.bin" + " stopped answering while it was read: it is on a FUSE file system"),
              std::string::npos)
        << text.out;
}

TEST_F(ToolOnHangingMount, InterruptEndsDuplicatesWithinASecondWithAWholeReport) {
    // The stall timeout is long: only Ctrl-C can end the wait for the stuck file.
    const TimedRun run = runTimed({"duplicates", "--min-size", "1000", "--json", fuse / "files"}, 20, 1.5,
                                  [](pid_t tool) { kill(tool, SIGINT); });
    ASSERT_TRUE(run.ended) << "tessel duplicates was still running 20 s after Ctrl-C";
    EXPECT_LT(run.seconds, 1.0);
    EXPECT_EQ(run.status, 1);
    nlohmann::json report;
    ASSERT_NO_THROW(report = nlohmann::json::parse(run.out)) << run.out;
    EXPECT_EQ(report["wasCancelled"], true);
    EXPECT_EQ(report["stalledPaths"], nlohmann::json::array());
}

} // namespace
