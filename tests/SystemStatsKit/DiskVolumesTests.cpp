// The disk list over a machine described in a test folder: each file system
// once however often it is mounted, only local disks, names from labels, the
// disk that holds the home, and a mount table that can't be read.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "DescribedMachine.h"
#include "FifoRelease.h"
#include "Fixture.h"
#include "SystemStatsKit/DiskVolumes.h"
#include "SystemStatsKit/VolumeSampler.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// A laptop with btrfs subvolumes, a data disk mounted twice, an NTFS disk
// through ntfs-3g, and everything a Linux machine mounts that is not a disk.
const char* const laptop =
    "22 1 0:21 / /proc rw,relatime - proc proc rw\n"
    "24 1 0:6 / /dev rw - devtmpfs devtmpfs rw,size=1k\n"
    "27 1 8:2 /@ / rw,relatime shared:1 - btrfs /dev/sda2 rw,subvol=/@\n"
    "28 27 8:2 /@home /home rw,relatime shared:2 - btrfs /dev/sda2 rw,subvol=/@home\n"
    "29 27 8:2 /@/var/lib/machines /var/lib/machines rw - btrfs /dev/sda2 rw\n"
    "30 27 8:1 / /boot/efi rw - vfat /dev/sda1 rw\n"
    "40 27 8:17 /www /var/www rw - ext4 /dev/sdb1 rw\n"
    "41 27 8:17 / /srv/data rw - ext4 /dev/sdb1 rw\n"
    "42 27 8:33 / /media/me/Windows rw - fuseblk /dev/sdc1 rw,user_id=0\n"
    "43 27 253:1 / /srv/vault rw - xfs /dev/mapper/vault rw\n"
    "50 27 0:45 / /tmp rw - tmpfs tmpfs rw\n"
    "51 27 0:46 / /var/lib/docker/overlay2/x/merged rw - overlay overlay rw\n"
    "52 27 7:0 / /snap/core/1 ro - squashfs /dev/loop0 ro\n"
    "53 27 0:47 / /home/me/remote rw - fuse.sshfs me@host: rw\n"
    "54 27 0:48 / /mnt/share rw - nfs4 host:/share rw\n"
    "55 27 0:49 / /mnt/with\\040space rw - ext4 /dev/sdd1 rw\n";

class DescribedLaptop : public testing::Test {
protected:
    void SetUp() override {
        machine.mountTable(laptop);
        for (const char* name : {"sda1", "sda2", "sdb1", "sdc1", "dm-1"}) machine.device(name);
        machine.folder("/dev/mapper");
        std::filesystem::create_symlink("../dm-1", machine / "/dev/mapper/vault");
        machine.label("Data\\x20Disk", "sdb1");
        machine.label("Vault", "dm-1");
        machine.label("Elsewhere", "sdz9");
        for (const char* place : {"/home/me", "/srv/data/me", "/boot/efi"}) machine.folder(place);
    }

    std::vector<DiskVolume> volumes(const std::string& home = "/home/me") const {
        DiskVolumeListing listing = DiskVolumes::list(machine.root(), home);
        EXPECT_EQ(listing.failure, "");
        return listing.volumes;
    }

    static const DiskVolume* at(const std::vector<DiskVolume>& volumes, const std::string& mountPoint) {
        auto found = std::find_if(volumes.begin(), volumes.end(),
                                  [&](const DiskVolume& volume) { return volume.mountPoint == mountPoint; });
        return found == volumes.end() ? nullptr : &*found;
    }

    TempFolder folder;
    DescribedMachine machine{folder.path()};
};

} // namespace

TEST_F(DescribedLaptop, EachLocalDiskOnceStartupDiskFirst) {
    std::vector<std::string> mountPoints;
    for (const DiskVolume& volume : volumes()) mountPoints.push_back(volume.mountPoint);
    EXPECT_EQ(mountPoints, (std::vector<std::string>{"/", "/boot/efi", "/media/me/Windows", "/mnt/with space",
                                                     "/srv/data", "/srv/vault"}));
}

TEST_F(DescribedLaptop, BtrfsSubvolumesAreOneDiskAtTheStartupDisk) {
    const std::vector<DiskVolume> list = volumes();
    const DiskVolume* root = at(list, "/");
    ASSERT_NE(root, nullptr);
    EXPECT_TRUE(root->isRoot);
    EXPECT_EQ(root->fileSystem, "btrfs");
    EXPECT_EQ(root->device, "/dev/sda2");
    EXPECT_EQ(root->name, "Startup Disk");
    EXPECT_EQ(at(list, "/home"), nullptr);
    EXPECT_EQ(at(list, "/var/lib/machines"), nullptr);
}

TEST_F(DescribedLaptop, BindMountOfAFolderGivesWayToTheWholeFileSystem) {
    const std::vector<DiskVolume> list = volumes();
    EXPECT_EQ(at(list, "/var/www"), nullptr) << "shorter, but only one folder of the disk";
    const DiskVolume* data = at(list, "/srv/data");
    ASSERT_NE(data, nullptr);
    EXPECT_FALSE(data->isRoot);
}

TEST_F(DescribedLaptop, NamesComeFromLabelsThroughLinksElseTheMountPoint) {
    const std::vector<DiskVolume> list = volumes();
    EXPECT_EQ(at(list, "/srv/data")->name, "Data Disk");
    EXPECT_EQ(at(list, "/srv/vault")->name, "Vault") << "/dev/mapper/vault and the label both lead to dm-1";
    EXPECT_EQ(at(list, "/boot/efi")->name, "/boot/efi");
    EXPECT_EQ(at(list, "/media/me/Windows")->fileSystem, "fuseblk");
}

TEST_F(DescribedLaptop, HomeIsHeldByTheFileSystemOfItsMount) {
    std::vector<DiskVolume> list = volumes("/home/me");
    for (const DiskVolume& volume : list) EXPECT_EQ(volume.holdsHome, volume.mountPoint == "/") << volume.mountPoint;
    EXPECT_EQ(DiskVolumes::homeDisk(list), "/");

    list = volumes("/srv/data/me");
    EXPECT_EQ(DiskVolumes::homeDisk(list), "/srv/data");
    EXPECT_EQ(std::count_if(list.begin(), list.end(), [](const DiskVolume& volume) { return volume.holdsHome; }), 1);
}

TEST_F(DescribedLaptop, HomeReachedThroughALinkIsFoundWhereItReallyIs) {
    machine.folder("/home/links");
    std::filesystem::create_symlink("../../srv/data/me", machine / "/home/links/me");
    EXPECT_EQ(DiskVolumes::homeDisk(volumes("/home/links/me")), "/srv/data");
}

TEST_F(DescribedLaptop, HomeOnNoLocalDiskIsHeldByNone) {
    EXPECT_FALSE(DiskVolumes::homeDisk(volumes("/tmp/me")));
    EXPECT_FALSE(DiskVolumes::homeDisk(volumes("")));
}

TEST_F(DescribedLaptop, CapacityIsReadUnderTheRootOrSaysWhyNot) {
    const std::vector<DiskVolume> list = volumes();
    const DiskVolume* efi = at(list, "/boot/efi");
    ASSERT_TRUE(efi->capacity) << efi->capacityFailure;
    EXPECT_GT(efi->capacity->total, 0);
    EXPECT_EQ(efi->capacity->used() + efi->capacity->reserved + efi->capacity->available, efi->capacity->total);
    EXPECT_EQ(efi->capacity->name, efi->name);
    const DiskVolume* windows = at(list, "/media/me/Windows");
    EXPECT_FALSE(windows->capacity);
    EXPECT_EQ(windows->capacityFailure,
              "statvfs(" + machine / "/media/me/Windows" + "): No such file or directory");
}

TEST(DiskVolumesUnreadableTable, MissingFifoAndHugeTablesSayWhy) {
    TempFolder folder;
    DescribedMachine machine(folder.path());
    const std::string table = machine / "/proc/self/mountinfo";
    EXPECT_EQ(DiskVolumes::list(machine.root(), "/home/me").failure,
              "lstat(" + table + "): No such file or directory");

    machine.folder("/proc/self");
    ASSERT_EQ(mkfifo(table.c_str(), 0644), 0);
    {
        const FifoRelease guard(table);
        DiskVolumeListing fifo = DiskVolumes::list(machine.root(), "/home/me");
        EXPECT_FALSE(guard.hadToRelease()) << "the list waited on " << table;
        EXPECT_EQ(fifo.failure, table + " is not a regular file");
        EXPECT_TRUE(fifo.volumes.empty());
    }

    std::filesystem::remove(table);
    {
        std::ofstream huge(table, std::ios::binary);
        const std::string line = "27 1 8:2 / / rw - ext4 /dev/sda2 rw\n";
        for (std::size_t written = 0; written <= (16u << 20); written += line.size()) huge << line;
    }
    EXPECT_EQ(DiskVolumes::list(machine.root(), "/home/me").failure, table + " holds more than 16777216 bytes");
}

TEST(DiskVolumesUnreadableTable, LinesThatCantBeReadAreSkipped) {
    const std::vector<MountEntry> table = MountTable::parse("garbage\n"
                                                            "27 1 8:2 / / rw - ext4 /dev/sda2 rw\n"
                                                            "28 1 x:y / /x rw - ext4 /dev/sdb1 rw\n"
                                                            "29 1 8:3 / /y rw ext4 /dev/sdc1 rw\n");
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table[0].mountPoint, "/");
}

TEST(VolumeSamplerLive, TheRootOfThisMachineHasFiguresThatAddUp) {
    std::optional<VolumeCapacity> capacity = VolumeSampler("/").sample();
    ASSERT_TRUE(capacity);
    EXPECT_FALSE(capacity->name.empty());
    EXPECT_EQ(capacity->used() + capacity->reserved + capacity->available, capacity->total);
}
