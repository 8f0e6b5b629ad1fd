#pragma once
// The small parts a duplicate run shares among its workers: the progress
// meter, the cursor that hands out items, and each worker's read buffer.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <optional>
#include <span>

#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/DuplicateFinder.h"

namespace tessel {

inline double uptimeSeconds() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// Counts files and bytes for one phase at a time, and passes them on at most
// every `interval` seconds. Delivery happens inside the lock, so reports
// arrive one at a time and in order, and a phase never appears after the next.
class ProgressMeter {
public:
    using Report = std::function<void(const DuplicateScanProgress&)>;

    explicit ProgressMeter(Report report, double interval = 0.1) : report_(std::move(report)), interval_(interval) {}

    // Resets the counters for a new phase and reports at once.
    void begin(DuplicateScanProgress::Phase phase, std::size_t files, std::int64_t bytes) {
        std::lock_guard guard(lock_);
        state_.phase = phase;
        state_.filesTotal = static_cast<int>(files);
        state_.filesDone = 0;
        state_.bytesHashed = 0;
        state_.bytesToHash = bytes;
        deliver();
    }

    void add(std::size_t files, std::int64_t bytes) {
        std::lock_guard guard(lock_);
        state_.filesDone += static_cast<int>(files);
        state_.bytesHashed = checkedAdd(state_.bytesHashed, bytes);
        if (uptimeSeconds() - lastReport_ >= interval_) deliver();
    }

private:
    void deliver() {
        lastReport_ = uptimeSeconds();
        if (report_) report_(state_);
    }

    const Report report_;
    const double interval_;
    std::mutex lock_;
    DuplicateScanProgress state_;
    double lastReport_ = 0;
};

// Hands out 0, 1, 2, ... count-1, each once, to whichever worker asks first.
class WorkCursor {
public:
    explicit WorkCursor(std::size_t count) : count_(count) {}

    std::optional<std::size_t> next() {
        std::lock_guard guard(lock_);
        if (nextItem_ >= count_) return std::nullopt;
        return nextItem_++;
    }

private:
    std::mutex lock_;
    const std::size_t count_;
    std::size_t nextItem_ = 0;
};

// One worker's read buffer, page-aligned so the kernel copies whole pages.
class WorkerBuffer {
public:
    explicit WorkerBuffer(std::size_t bytes) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        size_ = (bytes + page - 1) / page * page;
        data_ = static_cast<std::byte*>(std::aligned_alloc(page, size_));
        if (data_ == nullptr) size_ = 0;
    }
    ~WorkerBuffer() { std::free(data_); }
    WorkerBuffer(const WorkerBuffer&) = delete;
    WorkerBuffer& operator=(const WorkerBuffer&) = delete;

    // Empty when the memory couldn't be had.
    std::span<std::byte> bytes() const { return {data_, size_}; }

private:
    std::byte* data_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace tessel
