// Folders a user may not read. Root reads everything, so these run only as an
// ordinary user; scripts/run-unprivileged runs them as one when the tests run as root.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;

#define SKIP_AS_ROOT() \
    if (geteuid() == 0) GTEST_SKIP() << "root reads every folder; scripts/run-unprivileged runs this as an ordinary user"

TEST(UnprivilegedScan, UnreadableFolderIsCountedAndLeftOut) {
    SKIP_AS_ROOT();
    TempFolder t;
    writeText(t / "open/file", std::string(100000, 'o'));
    writeText(t / "closed/file", std::string(200000, 'c'));
    chmod((t / "closed").c_str(), 0);
    const ScanResult result = DiskScanner::scan(t.path());
    EXPECT_EQ(result.unreadableDirectories, 1);
    EXPECT_EQ(result.bytes, allocatedOf(t / "open/file"));
    EXPECT_EQ(findNode(*result.root, "closed")->reading(), FolderReading::unreadable);
    EXPECT_EQ(findNode(*result.root, "open")->reading(), FolderReading::complete);
    EXPECT_TRUE(totalsAddUp(*result.root));
}

TEST(UnprivilegedScan, VolumeTrashIsEnteredThroughTheUsersOwnFolder) {
    SKIP_AS_ROOT();
    TempFolder t;
    const std::string thrown = t / (".Trashes/" + std::to_string(getuid()) + "/thrown away");
    writeText(thrown, std::string(150000, 't'));
    chmod((t / ".Trashes").c_str(), 0333); // can pass through, can't list: as on a real volume
    EXPECT_EQ(DiskScanner::scan(t.path()).bytes, 0);
    const ScanResult entered = DiskScanner::scan(t.path(), ScanOptions().includingVolumeTrash());
    EXPECT_EQ(entered.unreadableDirectories, 0);
    EXPECT_EQ(entered.bytes, allocatedOf(thrown));
}
