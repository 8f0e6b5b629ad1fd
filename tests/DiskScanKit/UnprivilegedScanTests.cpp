// Folders a user may not read. Root reads everything, so these run only as an
// ordinary user; scripts/run-unprivileged runs them as one when the tests run as root.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;

namespace {
#define SKIP_AS_ROOT()                                                                             \
    if (geteuid() == 0)                                                                            \
    GTEST_SKIP() << "root reads every folder; scripts/run-unprivileged runs this as an ordinary user"
} // namespace

TEST(UnprivilegedScan, UnreadableFolderIsCountedAndLeftOut) {
    SKIP_AS_ROOT();
    TempFolder t;
    makeFolder(t / "open");
    makeFolder(t / "closed");
    writeFile(t / "open/file", 100000);
    writeFile(t / "closed/file", 200000);
    chmod((t / "closed").c_str(), 0);
    ScanResult result = DiskScanner::scan(t.path());
    EXPECT_EQ(result.unreadableDirectories, 1);
    EXPECT_EQ(result.bytes, allocatedOf(t / "open/file"));
    EXPECT_EQ(findNode(*result.root, "closed")->totalBytes(), 0);
    EXPECT_EQ(findNode(*result.root, "closed")->reading(), FolderReading::unreadable);
    EXPECT_EQ(FolderReadings::note(FolderReading::unreadable), "Could not be read");
    EXPECT_EQ(findNode(*result.root, "open")->reading(), FolderReading::complete);
    EXPECT_EQ(result.directories, 3);
    EXPECT_TRUE(totalsAddUp(*result.root));
}

TEST(UnprivilegedScan, VolumeTrashIsEnteredThroughTheUsersOwnFolder) {
    SKIP_AS_ROOT();
    TempFolder t;
    const std::string own = std::to_string(getuid());
    makeFolder(t / ".Trashes");
    makeFolder(t / (".Trashes/" + own));
    writeFile(t / (".Trashes/" + own + "/thrown away"), 150000);
    chmod((t / ".Trashes").c_str(), 0333); // can pass through, can't list: as on a real volume

    ScanResult skipped = DiskScanner::scan(t.path());
    EXPECT_EQ(skipped.bytes, 0);

    ScanOptions options;
    ScanResult entered = DiskScanner::scan(t.path(), options.includingVolumeTrash());
    EXPECT_EQ(entered.unreadableDirectories, 0);
    EXPECT_EQ(entered.bytes, allocatedOf(t / (".Trashes/" + own + "/thrown away")));
    EXPECT_NE(findNode(*entered.root, ".Trashes/" + own), nullptr);
}
