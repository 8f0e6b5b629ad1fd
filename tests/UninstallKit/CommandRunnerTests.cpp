// A helper program run with a deadline: its output when it answers in time,
// nothing otherwise, and nothing of it left afterwards: no process, no file.
#include <gtest/gtest.h>

#include <signal.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "Fixture.h"
#include "ScopedEnvironment.h"
#include "UninstallKit/CommandRunner.h"

using namespace tessel;
using namespace std::chrono_literals;

namespace {

class Runner : public testing::Test {
protected:
    test::TempFolder scratch;
    test::ScopedEnvironment environment;

    void SetUp() override {
        test::makeFolder(scratch / "tmp");
        environment.set("TMPDIR", scratch / "tmp");
    }
    void TearDown() override { EXPECT_TRUE(std::filesystem::is_empty(scratch / "tmp")) << "a temporary file was left"; }

    static std::optional<std::string> shell(const std::string& script, CommandRunner::Limits limits = {}) {
        return CommandRunner::output("/bin/sh", {"-c", script}, limits);
    }
    // Whether the process whose id the script wrote to `file` is gone, or a zombie that only waits for
    // whoever adopted it to collect it, given a moment to go.
    static bool goneAfterAMoment(const std::string& file) {
        const std::string pid = std::to_string(std::stoi(test::readText(file)));
        for (int i = 0; i < 100; std::this_thread::sleep_for(20ms), ++i) {
            if (kill(std::stoi(pid), 0) != 0 && errno == ESRCH) return true;
            std::ifstream in("/proc/" + pid + "/stat");
            std::string stat;
            std::getline(in, stat);
            if (stat.find(") Z") != std::string::npos) return true;
        }
        return false;
    }
};

} // namespace

TEST_F(Runner, AnAnswerInTimeIsWhatWasPrintedEvenWhenItIsLarge) {
    EXPECT_EQ(shell("printf 'one\\ntwo'"), "one\ntwo");
    EXPECT_EQ(shell("head -c 3000000 /dev/zero").value_or("").size(), 3'000'000u) << "a file takes what a pipe could not hold";
    EXPECT_EQ(shell("printf x >&2; printf y"), "y") << "standard error is not the answer";
}

TEST_F(Runner, FailuresAreNoAnswer) {
    EXPECT_EQ(shell("printf partial; exit 3"), std::nullopt);
    EXPECT_EQ(CommandRunner::output(scratch / "no-such-program", {}), std::nullopt);
    EXPECT_EQ(shell("kill -9 $$"), std::nullopt);
    EXPECT_EQ(shell("head -c 2000 /dev/zero", {.timeout = 10s, .outputBytes = 1000}), std::nullopt);
}

TEST_F(Runner, AHelperThatOutlivesItsLimitOrLeavesAChildRunningLeavesNothingBehind) {
    const std::string child = scratch / "child.pid", stubborn = scratch / "stubborn.pid", left = scratch / "left.pid";
    // A shell whose background child would outlive it, and a child that will not hear SIGTERM.
    EXPECT_EQ(shell("sleep 30 & echo $! > " + child + "; (trap '' TERM; exec sleep 30) & echo $! > " + stubborn + "; wait",
                    {.timeout = 300ms}),
              std::nullopt);
    EXPECT_EQ(shell("sleep 30 & echo $! > " + left + "; printf done"), "done");
    for (const std::string& pid : {child, stubborn, left}) EXPECT_TRUE(goneAfterAMoment(pid)) << pid;
}
