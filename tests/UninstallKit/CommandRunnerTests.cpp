// A helper program run with a deadline: its output when it answers in time,
// nothing otherwise, and nothing of it left afterwards: no process, no file.
#include <gtest/gtest.h>

#include <dirent.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include "Fixture.h"
#include "UninstallKit/CommandRunner.h"

using namespace tessel;
using namespace std::chrono_literals;

namespace {

class Runner : public testing::Test {
protected:
    test::TempFolder scratch;
    std::string previousTemporary = std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "";

    void SetUp() override {
        test::makeFolder(scratch / "tmp");
        setenv("TMPDIR", (scratch / "tmp").c_str(), 1);
    }
    void TearDown() override {
        if (previousTemporary.empty()) unsetenv("TMPDIR");
        else setenv("TMPDIR", previousTemporary.c_str(), 1);
    }

    static std::optional<std::string> shell(const std::string& script, CommandRunner::Limits limits = {}) {
        return CommandRunner::output("/bin/sh", {"-c", script}, limits);
    }
    int filesLeftInTemporary() const {
        int count = 0;
        DIR* folder = opendir((scratch / "tmp").c_str());
        while (dirent* entry = readdir(folder))
            if (std::string(entry->d_name) != "." && std::string(entry->d_name) != "..") ++count;
        closedir(folder);
        return count;
    }
    // Whether the process whose id the script wrote to `file` is gone, given a moment to go.
    static bool goneAfterAMoment(const std::string& file) {
        std::ifstream in(file);
        pid_t pid = 0;
        in >> pid;
        if (pid <= 0) return false;
        for (int i = 0; i < 100; ++i) {
            if (isDead(pid)) return true;
            std::this_thread::sleep_for(20ms);
        }
        return false;
    }
    // Gone, or a zombie that only waits for whoever adopted it to collect it.
    static bool isDead(pid_t pid) {
        if (kill(pid, 0) != 0 && errno == ESRCH) return true;
        std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
        std::string line;
        std::getline(stat, line);
        const std::size_t close = line.rfind(')');
        return close != std::string::npos && close + 2 < line.size() && line[close + 2] == 'Z';
    }
};

} // namespace

TEST_F(Runner, AnAnswerInTimeIsWhatWasPrintedEvenWhenItIsLarge) {
    EXPECT_EQ(shell("printf 'one\\ntwo'"), "one\ntwo");
    const std::optional<std::string> large = shell("head -c 3000000 /dev/zero");
    ASSERT_TRUE(large) << "a file takes what a pipe could not hold";
    EXPECT_EQ(large->size(), 3'000'000u);
    EXPECT_EQ(shell("printf x >&2; printf y"), "y") << "standard error is not the answer";
    EXPECT_EQ(filesLeftInTemporary(), 0);
}

TEST_F(Runner, FailuresAreNoAnswer) {
    EXPECT_EQ(shell("printf partial; exit 3"), std::nullopt);
    EXPECT_EQ(CommandRunner::output(scratch / "no-such-program", {}), std::nullopt);
    EXPECT_EQ(shell("kill -9 $$"), std::nullopt);
    EXPECT_EQ(shell("head -c 2000 /dev/zero", {.timeout = 10s, .outputBytes = 1000}), std::nullopt);
    EXPECT_EQ(filesLeftInTemporary(), 0);
}

TEST_F(Runner, AHelperThatOutlivesItsLimitLeavesNothingBehind) {
    const std::string child = scratch / "child.pid", stubborn = scratch / "stubborn.pid";
    // A shell whose background child would outlive it, and a child that will not hear SIGTERM.
    EXPECT_EQ(shell("sleep 30 & echo $! > " + child + "; (trap '' TERM; exec sleep 30) & echo $! > " + stubborn +
                        "; wait",
                    {.timeout = 300ms}),
              std::nullopt);
    EXPECT_TRUE(goneAfterAMoment(child));
    EXPECT_TRUE(goneAfterAMoment(stubborn));
    EXPECT_EQ(filesLeftInTemporary(), 0);
}

TEST_F(Runner, WhatAHelperLeftRunningGoesWhenItEnds) {
    const std::string child = scratch / "child.pid";
    EXPECT_EQ(shell("sleep 30 & echo $! > " + child + "; printf done"), "done");
    EXPECT_TRUE(goneAfterAMoment(child));
}
