// tessel volumes, run as the real tool on a machine described under --root,
// with a home of its own: the JSON a script reads, the lines a person reads,
// names kept to the byte, and a mount table that can't be read. Which disks
// are listed and how they are named is tested with the disk list.

#include <gtest/gtest.h>

#include "DescribedMachine.h"
#include "DiskScanKit/NameBytes.h"
#include "Fixture.h"
#include "ToolRun.h"

namespace tessel::cli {
namespace {

using nlohmann::json;

struct DescribedDesktop : ::testing::Test {
    void SetUp() override {
        machine.mountTable("27 1 8:2 /@ / rw - btrfs /dev/sda2 rw,subvol=/@\n"
                           "28 27 8:2 /@home /home rw - btrfs /dev/sda2 rw,subvol=/@home\n"
                           "31 27 8:33 / /media/me/odd rw - vfat /dev/sdc1 rw\n");
        for (const char* name : {"sda2", "sdc1"}) machine.device(name);
        machine.label("caf\\xe9", "sdc1"); // a Latin-1 label udev could not keep as text
    }
    Outcome run(std::vector<std::string> words) { return runTessel(std::move(words), As::usual, "/home/me"); }

    test::TempFolder folder;
    test::DescribedMachine machine{folder.path()};
};

} // namespace

TEST_F(DescribedDesktop, EachDiskWithItsFiguresOrWhyItHasNone) {
    const json volumes = runJson({"volumes", "--json", "--root", machine.root()}, As::usual, "/home/me").at("volumes");
    ASSERT_EQ(volumes.size(), 2u) << volumes;
    const json& root = volumes[0];
    EXPECT_EQ(root.size(), 11u) << root;
    EXPECT_EQ(root.at("mountPoint"), "/");
    EXPECT_EQ(root.at("device"), "/dev/sda2");
    EXPECT_EQ(root.at("fileSystem"), "btrfs");
    EXPECT_EQ(root.at("isRoot"), true);
    EXPECT_EQ(root.at("holdsHome"), true) << "/home/me is on the btrfs of \"/\"";
    // DIR itself stands for "/": its size is read there.
    EXPECT_EQ(root.at("usedBytes").get<std::int64_t>() + root.at("availableBytes").get<std::int64_t>() +
                  root.at("reservedBytes").get<std::int64_t>(),
              root.at("totalBytes").get<std::int64_t>());
    EXPECT_TRUE(root.at("capacityFailure").is_null());
    const json& odd = volumes[1];
    EXPECT_EQ(odd.at("nameBytes"), Base64::encode("caf\xe9"));
    EXPECT_EQ(odd.at("holdsHome"), false);
    EXPECT_TRUE(odd.at("totalBytes").is_null());
    EXPECT_EQ(odd.at("capacityFailure"), "statvfs(" + machine / "/media/me/odd" + "): No such file or directory");

    const Outcome text = run({"volumes", "--root=" + machine.root()});
    ASSERT_EQ(text.status, 0) << text.err;
    EXPECT_NE(text.out.find("(/): btrfs on /dev/sda2, holds the home folder\n  "), std::string::npos) << text.out;
    EXPECT_NE(text.out.find("caf\\xe9 (/media/me/odd): vfat on /dev/sdc1\n  size unknown: statvfs("), std::string::npos)
        << text.out;
}

TEST_F(DescribedDesktop, UnreadableMountTableAndStrayWordsAreRefused) {
    test::TempFolder empty;
    expectOneErrorLine(run({"volumes", "--root", empty.path()}), 1, empty / "proc/self/mountinfo");
    expectOneErrorLine(run({"volumes", machine.root()}), 2, "no path");
    expectOneErrorLine(run({"volumes", "--root="}), 2, "--root");
}

TEST(VolumesOfThisMachine, TheStartupDiskIsListedFirst) {
    const json volumes = runJson({"volumes", "--json"}).at("volumes");
    ASSERT_FALSE(volumes.empty());
    EXPECT_EQ(volumes[0].at("mountPoint"), "/");
    EXPECT_EQ(volumes[0].at("isRoot"), true);
}

} // namespace tessel::cli
