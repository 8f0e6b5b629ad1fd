// A FUSE file system that stops answering, read in this process: the scan
// gives up on the folder that never lists and the duplicate finder on the file
// that never reads past 64 KiB, each within its stall timeout, and neither
// leaves a thread or a reader process waiting once the daemon is gone.
// Skipped, with the reason, where FUSE can't be mounted.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/ReaderHelper.h"
#include "Fixture.h"
#include "HangingFuse.h"

using namespace tessel;
using namespace tessel::test;

namespace {

double since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::size_t threadsOfThisProcess() { return entryNames("/proc/self/task").size(); }

class HangingMount : public testing::Test {
protected:
    void SetUp() override {
        if (!fuse.failure().empty()) GTEST_SKIP() << fuse.failure();
        threadsBefore = threadsOfThisProcess();
    }

    // Once the daemon is gone every request it held fails, so whatever still
    // waited on one ends: no thread of this process and no reader is left.
    void expectNothingLeftWaiting() {
        fuse.stop();
        const auto start = std::chrono::steady_clock::now();
        while (since(start) < 5 && (ReaderHelper::stillRunning() > 0 || threadsOfThisProcess() > threadsBefore))
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(ReaderHelper::stillRunning(), 0u) << "a reader process is still waiting";
        EXPECT_LE(threadsOfThisProcess(), threadsBefore) << "a thread of the test is still waiting";
    }

    HangingFuse fuse;
    std::size_t threadsBefore = 0;
};

TEST_F(HangingMount, ScanGivesUpOnTheFolderThatNeverListsAndCountsTheRest) {
    ScanOptions options;
    options.stallTimeout = 1;
    options.workerCount = 2;
    options.fileNodeThreshold = 0;
    const auto start = std::chrono::steady_clock::now();
    const ScanResult result = DiskScanner::scan(fuse.path(), options);
    EXPECT_LT(since(start), 1 + 1.5);
    EXPECT_EQ(result.stalledPaths, std::vector<std::string>{fuse / "quiet"});
    EXPECT_EQ(result.files, 5);
    EXPECT_EQ(result.bytes, 2 * 4096 + 3 * 1048576);
    ASSERT_NE(findNode(*result.root, "quiet"), nullptr);
    EXPECT_EQ(findNode(*result.root, "quiet")->reading(), FolderReading::stalled);
    EXPECT_NE(findNode(*result.root, "plain/deeper/a.txt"), nullptr);
    expectNothingLeftWaiting();
}

TEST_F(HangingMount, ScanOfTheQuietFolderItselfStandsAsStalled) {
    ScanOptions options;
    options.stallTimeout = 1;
    const ScanResult result = DiskScanner::scan(fuse / "quiet", options);
    EXPECT_EQ(result.stalledPaths, std::vector<std::string>{fuse / "quiet"});
    EXPECT_EQ(result.bytes, 0);
    EXPECT_EQ(result.directories, 1);
    expectNothingLeftWaiting();
}

TEST_F(HangingMount, CancellingTheScanDoesNotWaitForTheStallTimeout) {
    ScanOptions options;
    options.stallTimeout = 60;
    std::atomic<bool> cancelled{false};
    const auto start = std::chrono::steady_clock::now();
    std::thread canceller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        cancelled = true;
    });
    EXPECT_THROW(DiskScanner::scan(fuse.path(), options, {}, [&] { return cancelled.load(); }), DiskScanError);
    canceller.join();
    EXPECT_LT(since(start), 0.5 + 1.5);
    expectNothingLeftWaiting();
}

TEST(HangingMountTop, TheFolderHoldingAMountThatHangsIsListedWithoutLookingAtIt) {
    HangingFuse fuse(HangingFuse::Top::hangs);
    if (!fuse.failure().empty()) GTEST_SKIP() << fuse.failure();
    ScanOptions options;
    options.stallTimeout = 1;
    const ScanResult result = DiskScanner::scan(fuse.holder(), options);
    EXPECT_TRUE(result.stalledPaths.empty()) << result.stalledPaths.front();
    EXPECT_EQ(result.directories, 1) << "the mount is another device, left out";
    fuse.stop();
}

TEST(HangingMountTop, AFolderReachedThroughALinkIntoTheMountIsReadByTheReader) {
    HangingFuse fuse(HangingFuse::Top::hangs);
    if (!fuse.failure().empty()) GTEST_SKIP() << fuse.failure();
    // By its text the root lies on the local disk; looking at it in this
    // process would ask the share about its top folder, which never answers.
    TempFolder elsewhere;
    makeSymlink(fuse.holder(), elsewhere / "link");
    const std::string root = elsewhere / "link/mnt";
    ScanOptions options;
    options.stallTimeout = 1;
    const auto start = std::chrono::steady_clock::now();
    const ScanResult result = DiskScanner::scan(root, options);
    EXPECT_LT(since(start), 1 + 1.5);
    EXPECT_EQ(result.stalledPaths, std::vector<std::string>{root});
    fuse.stop();
}

TEST_F(HangingMount, DuplicateFinderGivesUpOnTheFileThatStopsAndFindsTheOthers) {
    const std::vector<std::string> paths{fuse / "files/a.bin", fuse / "files/stuck.bin", fuse / "files/b.bin"};
    const auto start = std::chrono::steady_clock::now();
    const DuplicateReport report = DuplicateFinder(1000, 16384, 2, "/nowhere", 1).find(paths);
    EXPECT_LT(since(start), 1 + 1.5);
    EXPECT_EQ(report.stalledPaths, std::vector<std::string>{fuse / "files/stuck.bin"});
    EXPECT_EQ(report.unreadable, 1);
    EXPECT_FALSE(report.wasCancelled);
    ASSERT_EQ(report.groups.size(), 1u);
    std::set<std::string> members;
    for (const DuplicateFile& file : report.groups.front().files) members.insert(file.path);
    EXPECT_EQ(members, (std::set<std::string>{fuse / "files/a.bin", fuse / "files/b.bin"}));
    expectNothingLeftWaiting();
}

TEST_F(HangingMount, CancellingTheComparisonDoesNotWaitForTheStuckRead) {
    const std::vector<std::string> paths{fuse / "files/a.bin", fuse / "files/stuck.bin", fuse / "files/b.bin"};
    std::atomic<bool> cancelled{false};
    const auto start = std::chrono::steady_clock::now();
    std::thread canceller([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        cancelled = true;
    });
    const DuplicateReport report =
        DuplicateFinder(1000, 16384, 2, "/nowhere", 60).find(paths, {}, [&] { return cancelled.load(); });
    canceller.join();
    EXPECT_LT(since(start), 0.5 + 0.5);
    EXPECT_TRUE(report.wasCancelled);
    EXPECT_TRUE(report.stalledPaths.empty()) << "a read cancelled is not a read that stalled";
    expectNothingLeftWaiting();
}

} // namespace
