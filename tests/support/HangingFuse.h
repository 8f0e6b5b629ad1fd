#pragma once
// A FUSE file system that stops answering, for the tests of what Tessel does
// when a mount hangs: hanging_fs.py beside this file, mounted inside a
// temporary folder of its own. Its folder "quiet" never lists, and its file
// "files/stuck.bin" never answers a read past 64 KiB; "files/a.bin" and
// "files/b.bin" are two equal files of 1 MiB, and "plain" a small tree that
// answers (two files of 4 KiB). Mounting needs root, /dev/fuse and Debian's
// python3-fusepy; when any is missing, `failure()` says so in a sentence the
// test skips with.
//
// Whatever happens in the test, the daemon is killed and the mount detached
// when this goes: a request the daemon never answered then fails at once, so
// no process is left waiting on it, and no hung mount outlives the test.
// The daemon also dies with the test process, should that die first, and
// after `longestTest` in any case: a test that got stuck in the kernel on the
// mount (the very fault these tests look for) can't end by itself, so a
// guard thread ends the mount under it, and the test fails instead of hanging.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Base/MountInfo.h"
#include "Fixture.h"

namespace tessel::test {

class HangingFuse {
public:
    static constexpr std::chrono::seconds longestTest{60};

    // Whether looking at the mount's top folder answers, or hangs like a share that is gone.
    enum class Top { answers, hangs };

    explicit HangingFuse(Top top = Top::answers) : top_(top), mountPoint_(folder_ / "mnt"), failure_(mount()) {
        if (failure_.empty()) guard_ = std::thread([this] { guard(); });
    }
    ~HangingFuse() {
        {
            std::lock_guard lock(lock_);
            ending_ = true;
        }
        ended_.notify_all();
        if (guard_.joinable()) guard_.join();
        stop();
    }
    HangingFuse(const HangingFuse&) = delete;
    HangingFuse& operator=(const HangingFuse&) = delete;

    // Why there is no mount; empty when it is there.
    const std::string& failure() const { return failure_; }
    const std::string& path() const { return mountPoint_; }
    // The folder that holds the mount point, and nothing else.
    const std::string& holder() const { return folder_.path(); }
    std::string operator/(const std::string& relative) const { return mountPoint_ + "/" + relative; }

    // Kills the daemon and detaches the mount: every request it was holding
    // fails from then on. Safe to call twice.
    void stop() {
        std::lock_guard lock(stopLock_);
        if (daemon_ > 0) {
            kill(daemon_, SIGKILL);
            int status = 0;
            while (waitpid(daemon_, &status, 0) < 0 && errno == EINTR) {}
            daemon_ = -1;
        }
        if (mounted_) umount2(mountPoint_.c_str(), MNT_DETACH);
        mounted_ = false;
    }

private:
    static constexpr const char* python = "/usr/bin/python3";

    void guard() {
        std::unique_lock lock(lock_);
        if (ended_.wait_for(lock, longestTest, [this] { return ending_; })) return;
        lock.unlock();
        ADD_FAILURE() << "the test was still on the FUSE mount after " << longestTest.count() << " s: stopping it";
        stop();
    }

    bool inMountTable() const {
        for (const MountEntry& entry : MountTable::current())
            if (entry.mountPoint == mountPoint_) return true;
        return false;
    }

    std::string mount() {
        if (geteuid() != 0) return "mounting a FUSE file system here needs root";
        if (access("/dev/fuse", R_OK | W_OK) != 0) return "/dev/fuse is not available";
        if (access(python, X_OK) != 0) return std::string(python) + " is not installed";
        const std::string script = std::string(TESSEL_TEST_SUPPORT_DIR) + "/hanging_fs.py";
        std::filesystem::create_directory(mountPoint_);
        const std::string log = logFolder_ / "daemon.log";
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        posix_spawn_file_actions_adddup2(&actions, 1, 2);
        std::vector<const char*> argv{python, script.c_str()};
        if (top_ == Top::hangs) argv.push_back("--top-hangs");
        argv.push_back(mountPoint_.c_str());
        argv.push_back(nullptr);
        const int failed =
            posix_spawn(&daemon_, python, &actions, nullptr, const_cast<char* const*>(argv.data()), environ);
        posix_spawn_file_actions_destroy(&actions);
        if (failed != 0) return "could not start " + script;
        // The mount table is read without asking the mount anything.
        for (int tries = 0; tries < 200; ++tries) {
            if (inMountTable()) {
                mounted_ = true;
                return "";
            }
            int status = 0;
            if (waitpid(daemon_, &status, WNOHANG) == daemon_) {
                daemon_ = -1;
                return "the FUSE daemon ended before mounting (python3-fusepy missing?): " + readText(log);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return "the FUSE file system did not appear within 10 seconds";
    }

    TempFolder folder_;
    TempFolder logFolder_;
    Top top_;
    std::string mountPoint_;
    pid_t daemon_ = -1;
    bool mounted_ = false;
    std::string failure_;
    std::mutex stopLock_;
    std::mutex lock_;
    std::condition_variable ended_;
    bool ending_ = false;
    std::thread guard_;
};

} // namespace tessel::test
