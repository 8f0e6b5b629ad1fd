// Where one disk ends and another begins: a scan enters the subvolumes of its
// own btrfs, once each, and nothing else mounted inside it; at the top of a
// disk it leaves the per-user trash folders out unless asked for. Both need
// real mounts, so root: a loop-mounted btrfs image, and a tmpfs.
#include <gtest/gtest.h>

#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>

#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"
#include "LoopVolume.h"
#include "ScanOptionsFixture.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// mkfs.btrfs refuses less than about 110 MB.
LoopRecipe btrfs() { return {"mkfs.btrfs", {"-q", "-f"}, "btrfs-progs", 128 * 1048576}; }

} // namespace

// A machine's btrfs as many distributions lay it out: subvolume @ mounted as
// the system, @home on /home, and a nested subvolume for containers. @home is
// mounted a second time, a folder of it is bound elsewhere, and the whole file
// system is mounted too; a tmpfs and a second btrfs sit inside.
TEST(DefaultBtrfsLayout, EverySubvolumeIsScannedOnceAndNothingElse) {
    TempFolder folder; // declared first, so that everything is unmounted before it goes
    LoopVolume disk(folder, "disk", btrfs());
    if (!disk.failure().empty()) GTEST_SKIP() << disk.failure();
    const std::string system = disk / "@", homes = disk / "@home", root = folder / "root";
    ASSERT_EQ(LoopVolume::run({"btrfs", "-q", "subvolume", "create", system}), "");
    ASSERT_EQ(LoopVolume::run({"btrfs", "-q", "subvolume", "create", homes}), "");
    for (const char* name : {"etc", "var/lib", "home", "srv/home-again", "mnt/me", "mnt/whole", "media/other", "tmp"})
        std::filesystem::create_directories(system + "/" + name);
    ASSERT_EQ(LoopVolume::run({"btrfs", "-q", "subvolume", "create", system + "/var/lib/machines"}), "");
    writeText(system + "/etc/config", std::string(300000, 'c'));
    writeText(system + "/var/lib/machines/image", std::string(200000, 'i'));
    writeText(homes + "/me/photo", std::string(500000, 'p'));
    makeFolder(root);
    ASSERT_EQ(disk.mountImageAgain("subvol=@", root), "");
    ASSERT_EQ(disk.mountImageAgain("subvol=@home", root + "/home"), "");
    ASSERT_EQ(disk.mountImageAgain("subvol=@home", root + "/srv/home-again"), "");
    ASSERT_EQ(disk.bind(root + "/home/me", root + "/mnt/me"), "");
    ASSERT_EQ(disk.mountImageAgain("subvolid=5", root + "/mnt/whole"), "");
    ASSERT_EQ(disk.mountTmpfs(root + "/tmp"), "");
    writeText(root + "/tmp/scratch", "x");
    LoopVolume other(folder, "other", btrfs()); // goes first: it is mounted inside the first
    ASSERT_EQ(other.failure(), "");
    writeText(other / "elsewhere", "x");
    ASSERT_EQ(other.bind(other.path(), root + "/media/other"), "");

    const std::int64_t photo = allocatedOf(root + "/home/me/photo"), image = allocatedOf(root + "/var/lib/machines/image");
    const ScanResult result = DiskScanner::scan(root, plainOptions(0));
    EXPECT_EQ(result.bytes, allocatedOf(root + "/etc/config") + image + photo);
    EXPECT_EQ(result.files, 3);
    // @home is met three times, at its top twice, and entered at one of them.
    int photos = 0;
    for (const char* place : {"home/me/photo", "srv/home-again/me/photo", "mnt/whole/@home/me/photo"})
        photos += findNode(*result.root, place) != nullptr;
    EXPECT_EQ(photos, 1);
    EXPECT_NE(findNode(*result.root, "var/lib/machines/image"), nullptr) << "a subvolume that is not mounted";
    // A subvolume scanned alone holds its own and its nested ones.
    EXPECT_EQ(DiskScanner::scan(root + "/home", plainOptions(0)).bytes, photo);
    EXPECT_EQ(DiskScanner::scan(root + "/var", plainOptions(0)).bytes, image);
}

TEST(DiskTopTrash, PerUserTrashesAtADisksTopAreLeftOutUnlessAskedFor) {
    TempFolder t;
    const std::string disk = t / "disk";
    makeFolder(disk);
    if (geteuid() != 0 || mount("tessel-test", disk.c_str(), "tmpfs", 0, "size=4m") != 0)
        GTEST_SKIP() << "mounting a tmpfs needs root";
    struct Unmount {
        std::string path;
        ~Unmount() { umount2(path.c_str(), MNT_DETACH); }
    } unmount{disk};
    const auto put = [&](const std::string& file) {
        writeText(disk + "/" + file, std::string(100000, 'x'));
        return allocatedOf(disk + "/" + file);
    };
    const std::int64_t trashed = put(".Trash-1000/files/a") + put(".Trash/1000/b");
    const std::int64_t kept = put(".Trash-1000x/c") + put("docs/.Trash-1000/d") + put("kept");
    ScanOptions options = plainOptions(0);
    EXPECT_EQ(DiskScanner::scan(disk, options).bytes, kept);
    EXPECT_EQ(DiskScanner::scan(disk, options.includingVolumeTrash()).bytes, kept + trashed);
    EXPECT_EQ(DiskScanner::scan(disk + "/docs", options).bytes, allocatedOf(disk + "/docs/.Trash-1000/d"))
        << "a folder's .Trash-1000 is no disk's trash";
    EXPECT_EQ(DiskScanner::scan(t.path(), options).bytes, 0) << "another file system is not entered unless asked";
    // Met inside another disk's scan, the tmpfs's top is a top too.
    options.crossDeviceBoundaries = true;
    EXPECT_EQ(DiskScanner::scan(t.path(), options).bytes, kept);
    EXPECT_EQ(DiskScanner::scan(t.path(), options.includingVolumeTrash()).bytes, kept + trashed);
}
