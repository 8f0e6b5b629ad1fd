// The run's moving parts: progress pacing, cancellation, the watchdog that
// gives up on a silent folder, and the names of the threads.
#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;
using Clock = std::chrono::steady_clock;

namespace {

// Holds any thread that reads `path` until released, like a network share that
// stopped answering. Shared by pointer: an abandoned thread may still be inside.
struct Gate {
    std::string path;
    std::mutex lock;
    std::condition_variable opened;
    bool open = false;
    std::atomic<int> waiting{0};

    void passThrough(const std::string& reading) {
        if (reading != path) return;
        ++waiting;
        std::unique_lock guard(lock);
        opened.wait(guard, [this] { return open; });
        --waiting;
    }
    void release() {
        {
            std::lock_guard guard(lock);
            open = true;
        }
        opened.notify_all();
    }
};

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class StallingTree : public testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"a", "b", "slow", "slow/inner"}) makeFolder(folder / name);
        writeFile(folder / "a/file", 200000);
        writeFile(folder / "b/file", 300000);
        writeFile(folder / "slow/file", 400000);
        writeFile(folder / "slow/inner/file", 500000);
        gate->path = folder / "slow";
    }
    void TearDown() override {
        gate->release();
        // Let an abandoned thread finish before its fixture goes.
        for (int i = 0; i < 200 && gate->waiting > 0; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ScanOptions gatedOptions(int workers, double stallTimeout) {
        ScanOptions options;
        options.workerCount = workers;
        options.stallTimeout = stallTimeout;
        options.beforeReading = [gate = gate](const std::string& path) { gate->passThrough(path); };
        return options;
    }

    TempFolder folder;
    std::shared_ptr<Gate> gate = std::make_shared<Gate>();
};

} // namespace

TEST_F(StallingTree, SilentFolderIsGivenUpAndTheRestIsCounted) {
    auto start = Clock::now();
    ScanResult result = DiskScanner::scan(folder.path(), gatedOptions(2, 0.5));
    EXPECT_LT(secondsSince(start), 0.5 + 3.0) << "within the stall timeout and about a second";
    EXPECT_EQ(result.stalledPaths, std::vector<std::string>{folder / "slow"});
    EXPECT_EQ(result.bytes, allocatedOf(folder / "a/file") + allocatedOf(folder / "b/file"));
    FileNode* slow = findNode(*result.root, "slow");
    ASSERT_NE(slow, nullptr);
    EXPECT_EQ(slow->totalBytes(), 0);
    EXPECT_TRUE(slow->children().empty());
    EXPECT_EQ(slow->reading(), FolderReading::stalled) << "the folder remembers it did not answer";
    EXPECT_EQ(findNode(*result.root, "a")->reading(), FolderReading::complete);
    EXPECT_EQ(result.directories, 4) << "the root, a, b, and the stalled folder";
    EXPECT_TRUE(totalsAddUp(*result.root));

    // The abandoned reader wakes up later and must leave the finished tree alone.
    gate->release();
    for (int i = 0; i < 200 && gate->waiting > 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_TRUE(slow->children().empty());
    EXPECT_EQ(result.root->totalBytes(), result.bytes);
}

TEST_F(StallingTree, OneWorkerIsReplacedAndTheWalkGoesOn) {
    ScanResult result = DiskScanner::scan(folder.path(), gatedOptions(1, 0.3));
    EXPECT_EQ(result.stalledPaths.size(), 1u);
    EXPECT_EQ(result.bytes, allocatedOf(folder / "a/file") + allocatedOf(folder / "b/file"));
}

TEST_F(StallingTree, CancellingDoesNotWaitForTheStallTimeout) {
    std::atomic<bool> cancelled{false};
    std::thread canceller([&] {
        while (gate->waiting == 0) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        cancelled = true;
    });
    auto start = Clock::now();
    EXPECT_THROW(
        {
            try {
                DiskScanner::scan(folder.path(), gatedOptions(2, 30), {}, [&] { return cancelled.load(); });
            } catch (const DiskScanError& error) {
                EXPECT_EQ(error.kind(), DiskScanError::Kind::cancelled);
                throw;
            }
        },
        DiskScanError);
    canceller.join();
    EXPECT_LT(secondsSince(start), 5.0) << "about a second, never the 30-second stall timeout";
}

TEST(ScanProgress, ReportsAreSpacedByTheIntervalAndNeverAhead) {
    TempFolder t;
    for (int i = 0; i < 300; ++i) {
        std::string name = t / ("f" + std::to_string(i));
        makeFolder(name);
        writeFile(name + "/x", 4096);
    }
    ScanOptions options;
    options.progressInterval = 0.001;
    // Each folder takes a moment, so that several reports fall due.
    options.beforeReading = [](const std::string&) { std::this_thread::sleep_for(std::chrono::microseconds(300)); };
    std::mutex lock;
    std::vector<std::pair<Clock::time_point, ScanProgress>> reports;
    ScanResult result = DiskScanner::scan(t.path(), options, [&](const ScanProgress& progress) {
        std::lock_guard guard(lock);
        reports.emplace_back(Clock::now(), progress);
    });
    ASSERT_GE(reports.size(), 3u);
    ASSERT_LT(reports.size(), 302u);
    for (std::size_t i = 1; i < reports.size(); ++i) {
        EXPECT_GE(secondsSince(reports[i - 1].first) - secondsSince(reports[i].first), 0.0009);
        EXPECT_GE(reports[i].second.directories, reports[i - 1].second.directories);
    }
    EXPECT_LE(reports.back().second.bytes, result.bytes);
    EXPECT_LE(reports.back().second.files, result.files);
}

TEST(ScanCancel, CancelledAfterTheFirstReportThrowsCancelled) {
    TempFolder t;
    for (int i = 0; i < 50; ++i) makeFolder(t / ("f" + std::to_string(i)));
    std::atomic<bool> cancelled{false};
    ScanOptions options;
    options.progressInterval = 0;
    try {
        DiskScanner::scan(t.path(), options, [&](const ScanProgress&) { cancelled = true; },
                          [&] { return cancelled.load(); });
        FAIL() << "a cancelled scan must not return a result";
    } catch (const DiskScanError& error) {
        EXPECT_EQ(error.kind(), DiskScanError::Kind::cancelled);
    }
}

TEST(ScanThreads, WorkersCarryTheirNames) {
    TempFolder t;
    makeFolder(t / "sub");
    std::mutex lock;
    std::vector<std::string> names;
    ScanOptions options;
    options.workerCount = 0; // raised to one
    options.beforeReading = [&](const std::string&) {
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof name);
        std::lock_guard guard(lock);
        names.emplace_back(name);
    };
    DiskScanner::scan(t.path(), options);
    ASSERT_EQ(names.size(), 2u);
    for (const std::string& name : names) EXPECT_EQ(name, "DiskScanner.wo0");
}
