// The disk list over a machine described in a test folder: each file system
// once however often it is mounted, only local disks, names from labels, the
// disk that holds the home, and a mount table that can't be read.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

#include "DescribedMachine.h"
#include "FifoRelease.h"
#include "Fixture.h"
#include "SystemStatsKit/DiskVolumes.h"
#include "SystemStatsKit/VolumeSampler.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// A laptop with btrfs subvolumes, a data disk mounted twice (once a folder of
// it), an NTFS disk through ntfs-3g, mounts that are not disks, and lines that can't be read.
const char* const laptop =
    "garbage\n"
    "28 1 x:y / /x rw - ext4 /dev/sdb1 rw\n"
    "29 1 8:3 / /y rw ext4 /dev/sdc1 rw\n"
    "27 1 8:2 /@ / rw,relatime shared:1 - btrfs /dev/sda2 rw,subvol=/@\n"
    "28 27 8:2 /@home /home rw,relatime shared:2 - btrfs /dev/sda2 rw,subvol=/@home\n"
    "30 27 8:1 / /boot/efi rw - vfat /dev/sda1 rw\n"
    "40 27 8:17 /www /var/www rw - ext4 /dev/sdb1 rw\n"
    "41 27 8:17 / /srv/data rw - ext4 /dev/sdb1 rw\n"
    "42 27 8:33 / /media/me/Windows rw - fuseblk /dev/sdc1 rw,user_id=0\n"
    "43 27 253:1 / /srv/vault rw - xfs /dev/mapper/vault rw\n"
    "50 27 0:45 / /tmp rw - tmpfs tmpfs rw\n"
    "53 27 0:47 / /home/me/remote rw - fuse.sshfs me@host: rw\n"
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
        for (const char* place : {"/home/me", "/srv/data/me", "/boot/efi", "/home/links"}) machine.folder(place);
        std::filesystem::create_symlink("../../srv/data/me", machine / "/home/links/me");
    }

    std::vector<DiskVolume> volumes(const std::string& home = "/home/me") const {
        DiskVolumeListing listing = DiskVolumes::list(machine.root(), home);
        EXPECT_EQ(listing.failure, "");
        return listing.volumes;
    }

    TempFolder folder;
    DescribedMachine machine{folder.path()};
};

} // namespace

// Subvolumes and a bind mount of a folder give way to the whole file system.
TEST_F(DescribedLaptop, EachLocalDiskOnceStartupDiskFirstNamedByItsLabel) {
    std::vector<std::string> listed;
    for (const DiskVolume& volume : volumes()) listed.push_back(volume.mountPoint + " " + volume.name);
    EXPECT_EQ(listed, (std::vector<std::string>{"/ Startup Disk", "/boot/efi /boot/efi", "/media/me/Windows /media/me/Windows",
                                                "/mnt/with space /mnt/with space", "/srv/data Data Disk",
                                                "/srv/vault Vault"}))
        << "/dev/mapper/vault and the label both lead to dm-1";
}

TEST_F(DescribedLaptop, HomeIsHeldByTheFileSystemOfItsMountWhereItReallyIs) {
    const std::vector<std::pair<std::string, std::optional<std::string>>> cases{
        {"/home/me", "/"}, {"/srv/data/me", "/srv/data"}, {"/home/links/me", "/srv/data"}, {"/tmp/me", std::nullopt},
        {"", std::nullopt}};
    for (const auto& [home, disk] : cases) EXPECT_EQ(DiskVolumes::homeDisk(volumes(home)), disk) << home;
}

TEST_F(DescribedLaptop, CapacityIsReadUnderTheRootOrSaysWhyNot) {
    const std::vector<DiskVolume> list = volumes(); // "/boot/efi" is a folder of the machine, the Windows disk none
    ASSERT_TRUE(list[1].capacity) << list[1].capacityFailure;
    EXPECT_EQ(list[1].capacity->name, "/boot/efi");
    EXPECT_FALSE(list[2].capacity);
    EXPECT_NE(list[2].capacityFailure.find("statvfs(" + machine / "/media/me/Windows"), std::string::npos);
}

TEST(DiskVolumesUnreadableTable, AMissingAFifoOrAHugeTableSaysWhichAndIsNeverWaitedOn) {
    TempFolder folder;
    DescribedMachine machine(folder.path());
    const std::string table = machine / "/proc/self/mountinfo";
    EXPECT_NE(DiskVolumes::list(machine.root(), "/home/me").failure.find("lstat(" + table), std::string::npos);
    machine.folder("/proc/self");
    ASSERT_EQ(mkfifo(table.c_str(), 0644), 0);
    {
        const FifoRelease guard(table);
        EXPECT_NE(DiskVolumes::list(machine.root(), "/home/me").failure.find(table), std::string::npos);
        EXPECT_FALSE(guard.hadToRelease()) << "the list waited on " << table;
    }
    std::filesystem::remove(table);
    writeSparseFile(table, (16 << 20) + 1);
    EXPECT_NE(DiskVolumes::list(machine.root(), "/home/me").failure.find(table), std::string::npos);
}

TEST(VolumeSamplerLive, TheRootOfThisMachineHasFiguresThatAddUp) {
    std::optional<VolumeCapacity> capacity = VolumeSampler("/").sample();
    ASSERT_TRUE(capacity);
    EXPECT_FALSE(capacity->name.empty());
    EXPECT_EQ(capacity->used() + capacity->reserved + capacity->available, capacity->total);
}
