// Where one disk ends and another begins: a scan enters the subvolumes of its
// own btrfs, once each, and nothing else mounted inside it; at the top of a
// disk it leaves the per-user trash folders out unless asked for. Both need
// real mounts, so root: a loop-mounted btrfs image, and a tmpfs.
#include <gtest/gtest.h>

#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>

#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"
#include "LoopVolume.h"
#include "ScanOptionsFixture.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// mkfs.btrfs refuses less than about 110 MB.
LoopRecipe btrfs() { return {"mkfs.btrfs", {"-q", "-f"}, "btrfs-progs", 128 * 1048576}; }

// A machine's btrfs as many distributions lay it out: subvolume @ mounted as
// the system (`root`), @home on /home, and a nested subvolume for containers.
// @home is mounted a second time, a folder of it is bound elsewhere, and the
// whole file system is mounted too; a tmpfs and a second btrfs sit inside.
class DefaultBtrfsLayout : public testing::Test {
protected:
    void SetUp() override {
        disk_.emplace(folder_, "disk", btrfs());
        if (!disk_->failure().empty()) GTEST_SKIP() << disk_->failure();
        const std::string system = *disk_ / "@";
        const std::string homes = *disk_ / "@home";
        ASSERT_EQ(LoopVolume::run({"btrfs", "-q", "subvolume", "create", system}), "");
        ASSERT_EQ(LoopVolume::run({"btrfs", "-q", "subvolume", "create", homes}), "");
        for (const char* name : {"etc", "home", "var/lib", "srv/home-again", "mnt/me", "mnt/whole", "media/other", "tmp"})
            std::filesystem::create_directories(system + "/" + name);
        ASSERT_EQ(LoopVolume::run({"btrfs", "-q", "subvolume", "create", system + "/var/lib/machines"}), "");
        makeFolder(homes + "/me");
        writeFile(system + "/etc/config", 300000);
        writeFile(system + "/var/lib/machines/image", 200000);
        writeFile(homes + "/me/photo", 500000);

        makeFolder(root);
        ASSERT_EQ(disk_->mountImageAgain("subvol=@", root), "");
        ASSERT_EQ(disk_->mountImageAgain("subvol=@home", root + "/home"), "");
        ASSERT_EQ(disk_->mountImageAgain("subvol=@home", root + "/srv/home-again"), "");
        ASSERT_EQ(disk_->bind(root + "/home/me", root + "/mnt/me"), "");
        ASSERT_EQ(disk_->mountImageAgain("subvolid=5", root + "/mnt/whole"), "");
        ASSERT_EQ(disk_->mountTmpfs(root + "/tmp"), "");
        writeFile(root + "/tmp/scratch", 100000);

        other_.emplace(folder_, "other", btrfs());
        ASSERT_EQ(other_->failure(), "");
        writeFile(*other_ / "elsewhere", 100000);
        ASSERT_EQ(other_->bind(other_->path(), root + "/media/other"), "");
    }

    // Declared first, so that everything is unmounted before the folder goes,
    // and the second disk, mounted inside the first, before the first.
    TempFolder folder_;
    std::optional<LoopVolume> disk_;
    std::optional<LoopVolume> other_;
    std::string root = folder_ / "root";
};

} // namespace

TEST_F(DefaultBtrfsLayout, EverySubvolumeIsScannedOnceAndNothingElse) {
    const ScanResult result = DiskScanner::scan(root, plainOptions(0));
    EXPECT_EQ(result.bytes,
              allocatedOf(root + "/etc/config") + allocatedOf(root + "/var/lib/machines/image") +
                  allocatedOf(root + "/home/me/photo"));
    EXPECT_EQ(result.files, 3);
    EXPECT_EQ(result.unreadableDirectories, 0);
    FileNode& tree = *result.root;
    EXPECT_NE(findNode(tree, "var/lib/machines/image"), nullptr) << "a subvolume that is not mounted";

    // @home is met three times, at its top twice, and entered at one of them.
    int photos = 0;
    for (const char* place : {"home/me/photo", "srv/home-again/me/photo", "mnt/whole/@home/me/photo"})
        photos += findNode(tree, place) != nullptr;
    EXPECT_EQ(photos, 1);
    EXPECT_EQ(findNode(tree, "mnt/me/photo"), nullptr) << "a folder of @home bound elsewhere";
    EXPECT_EQ(findNode(tree, "mnt/whole/@/etc"), nullptr) << "the scan's own subvolume seen again";
    EXPECT_EQ(findNode(tree, "tmp/scratch"), nullptr) << "a tmpfs";
    EXPECT_EQ(findNode(tree, "media/other/elsewhere"), nullptr) << "another btrfs";
}

TEST_F(DefaultBtrfsLayout, ASubvolumeScannedAloneHoldsItsOwnAndItsNestedOnes) {
    EXPECT_EQ(DiskScanner::scan(root + "/home", plainOptions(0)).bytes, allocatedOf(root + "/home/me/photo"));
    EXPECT_EQ(DiskScanner::scan(root + "/var", plainOptions(0)).bytes, allocatedOf(root + "/var/lib/machines/image"));
}

TEST(DiskTopTrash, PerUserTrashesAtADisksTopAreLeftOutUnlessAskedFor) {
    TempFolder t;
    const std::string disk = t / "disk";
    makeFolder(disk);
    if (geteuid() != 0) GTEST_SKIP() << "mounting a tmpfs needs root";
    if (mount("tessel-test", disk.c_str(), "tmpfs", 0, "size=4m") != 0)
        GTEST_SKIP() << "a tmpfs could not be mounted here: mount(" << disk << "): " << std::strerror(errno);
    struct Unmount {
        std::string path;
        ~Unmount() { umount2(path.c_str(), MNT_DETACH); }
    } unmount{disk};
    for (const char* name : {".Trash-1000", ".Trash-1000/files", ".Trash", ".Trash/1000", ".Trash-1000x", "docs",
                             "docs/.Trash-1000"})
        makeFolder(disk + "/" + name);
    writeFile(disk + "/.Trash-1000/files/a", 100000);
    writeFile(disk + "/.Trash/1000/b", 100000);
    writeFile(disk + "/.Trash-1000x/c", 100000);
    writeFile(disk + "/docs/.Trash-1000/d", 100000);
    writeFile(disk + "/kept", 100000);
    const std::int64_t kept =
        allocatedOf(disk + "/.Trash-1000x/c") + allocatedOf(disk + "/docs/.Trash-1000/d") + allocatedOf(disk + "/kept");
    const std::int64_t trashed = allocatedOf(disk + "/.Trash-1000/files/a") + allocatedOf(disk + "/.Trash/1000/b");

    ScanOptions options = plainOptions(0);
    const ScanResult top = DiskScanner::scan(disk, options);
    EXPECT_EQ(top.bytes, kept);
    EXPECT_EQ(findNode(*top.root, ".Trash-1000"), nullptr);
    EXPECT_EQ(findNode(*top.root, ".Trash"), nullptr);
    EXPECT_NE(findNode(*top.root, "docs/.Trash-1000/d"), nullptr) << "a folder's .Trash-1000 is no disk's trash";

    EXPECT_EQ(DiskScanner::scan(disk, options.includingVolumeTrash()).bytes, kept + trashed);
    EXPECT_EQ(DiskScanner::scan(disk + "/docs", options).bytes, allocatedOf(disk + "/docs/.Trash-1000/d"));

    // Met inside another disk's scan, the tmpfs's top is a top too.
    options.crossDeviceBoundaries = true;
    EXPECT_EQ(DiskScanner::scan(t.path(), options).bytes, kept);
    EXPECT_EQ(DiskScanner::scan(t.path(), options.includingVolumeTrash()).bytes, kept + trashed);
}
