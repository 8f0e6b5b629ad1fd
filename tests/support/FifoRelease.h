#pragma once
// For a test that reads a folder holding a FIFO. A reader that opens the FIFO
// without O_NONBLOCK waits for a writer for ever; past `patience` this guard
// opens the FIFO itself, for reading and writing, which wakes such a reader to
// an empty pipe, and keeps doing so until the test is done. The test then
// fails on `hadToRelease` instead of hanging.

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace tessel::test {

class FifoRelease {
public:
    explicit FifoRelease(std::string fifo, std::chrono::milliseconds patience = std::chrono::seconds(10))
        : fifo_(std::move(fifo)), watcher_([this, patience] { watch(patience); }) {}
    ~FifoRelease() {
        {
            std::lock_guard lock(mutex_);
            done_ = true;
        }
        changed_.notify_all();
        watcher_.join();
    }
    FifoRelease(const FifoRelease&) = delete;
    FifoRelease& operator=(const FifoRelease&) = delete;

    bool hadToRelease() const { return released_; }

private:
    void watch(std::chrono::milliseconds patience) {
        std::unique_lock lock(mutex_);
        if (changed_.wait_for(lock, patience, [this] { return done_; })) return;
        do {
            released_ = true;
            const int fd = open(fifo_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
            if (fd >= 0) close(fd);
        } while (!changed_.wait_for(lock, std::chrono::milliseconds(100), [this] { return done_; }));
    }

    std::string fifo_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool done_ = false;
    std::atomic<bool> released_{false};
    std::thread watcher_;
};

} // namespace tessel::test
