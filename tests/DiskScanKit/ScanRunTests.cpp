// The run's moving parts: progress pacing, cancellation, and the watchdog that
// gives up on a silent folder.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <thread>

#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

// Holds any thread that reads `path` until released, like a network share that
// stopped answering. Shared by pointer: an abandoned thread may still be inside.
struct Gate {
    std::string path;
    std::promise<void> opening;
    std::shared_future<void> opened = opening.get_future().share();
    std::atomic<int> waiting{0};

    void passThrough(const std::string& reading) {
        if (reading != path) return;
        ++waiting;
        opened.wait();
        --waiting;
    }
    // Returns once every held thread has left.
    void release() {
        if (opened.wait_for(milliseconds(0)) != std::future_status::ready) opening.set_value();
        for (int i = 0; i < 200 && waiting > 0; ++i) std::this_thread::sleep_for(milliseconds(10));
    }
};

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

class StallingTree : public testing::Test {
protected:
    void SetUp() override {
        for (const char* file : {"a/file", "b/file", "slow/file", "slow/inner/file"})
            writeText(folder / file, std::string(200000, 'x'));
    }
    void TearDown() override { gate->release(); } // before the fixture goes
    ScanOptions gatedOptions(int workers, double stallTimeout) {
        gate = std::make_shared<Gate>();
        gate->path = folder / "slow";
        ScanOptions options;
        options.workerCount = workers;
        options.stallTimeout = stallTimeout;
        options.beforeReading = [gate = gate](const std::string& path) { gate->passThrough(path); };
        return options;
    }

    TempFolder folder;
    std::shared_ptr<Gate> gate;
};

} // namespace

TEST_F(StallingTree, SilentFolderIsGivenUpAndTheRestIsCounted) {
    for (int workers : {2, 1}) { // a lone worker is replaced
        const auto start = Clock::now();
        const ScanResult result = DiskScanner::scan(folder.path(), gatedOptions(workers, 0.3));
        EXPECT_LT(secondsSince(start), 0.3 + 3.0) << "within the stall timeout and about a second";
        EXPECT_EQ(result.stalledPaths, std::vector<std::string>{folder / "slow"});
        EXPECT_EQ(result.bytes, allocatedOf(folder / "a/file") + allocatedOf(folder / "b/file"));
        FileNode* slow = findNode(*result.root, "slow");
        ASSERT_NE(slow, nullptr);
        EXPECT_EQ(slow->reading(), FolderReading::stalled) << "the folder remembers it did not answer";

        // The abandoned reader wakes up later and must leave the finished tree alone.
        gate->release();
        std::this_thread::sleep_for(milliseconds(100));
        EXPECT_TRUE(slow->children().empty());
        EXPECT_EQ(result.root->totalBytes(), result.bytes);
    }
}

TEST_F(StallingTree, CancellingDoesNotWaitForTheStallTimeout) {
    const auto start = Clock::now();
    try {
        DiskScanner::scan(folder.path(), gatedOptions(2, 30), {}, [&] { return gate->waiting > 0; });
        FAIL() << "a cancelled scan must not return a result";
    } catch (const DiskScanError& error) {
        EXPECT_EQ(error.kind(), DiskScanError::Kind::cancelled);
    }
    EXPECT_LT(secondsSince(start), 5.0) << "about a second, never the 30-second stall timeout";
}

TEST(ScanProgress, ReportsAreSpacedByTheIntervalAndNeverAhead) {
    TempFolder t;
    for (int i = 0; i < 40; ++i) writeText(t / ("f" + std::to_string(i) + "/x"), "x");
    ScanOptions options;
    options.progressInterval = 0.004;
    // Each folder takes a moment, so that several reports fall due.
    options.beforeReading = [](const std::string&) { std::this_thread::sleep_for(milliseconds(1)); };
    std::mutex lock;
    std::vector<std::pair<Clock::time_point, ScanProgress>> reports;
    const ScanResult result = DiskScanner::scan(t.path(), options, [&](const ScanProgress& progress) {
        std::lock_guard guard(lock);
        reports.emplace_back(Clock::now(), progress);
    });
    ASSERT_GE(reports.size(), 3u);
    for (std::size_t i = 1; i < reports.size(); ++i) {
        EXPECT_GE(reports[i].first - reports[i - 1].first, std::chrono::microseconds(3900));
        EXPECT_GE(reports[i].second.directories, reports[i - 1].second.directories);
    }
    EXPECT_LE(reports.back().second.bytes, result.bytes);
}
