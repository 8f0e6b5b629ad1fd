// tessel volumes, run as the real tool on a machine described under --root,
// with a home of its own: the JSON a script reads, the lines a person reads,
// names kept to the byte, and a mount table that can't be read.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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
                           "29 27 8:17 / /media/me/Photos rw - exfat /dev/sdb1 rw\n"
                           "30 27 8:17 / /run/media/me/Photos\\040too rw - exfat /dev/sdb1 rw\n"
                           "31 27 8:33 / /media/me/odd rw - vfat /dev/sdc1 rw\n"
                           "40 27 0:45 / /tmp rw - tmpfs tmpfs rw\n");
        for (const char* name : {"sda2", "sdb1", "sdc1"}) machine.device(name);
        machine.label("Photos", "sdb1");
        machine.label("caf\\xe9", "sdc1"); // a Latin-1 label udev could not keep as text
        machine.folder("/media/me/Photos");
    }
    Outcome run(std::vector<std::string> words) { return runTessel(std::move(words), As::usual, "/home/me"); }

    test::TempFolder folder;
    test::DescribedMachine machine{folder.path()};
};

} // namespace

TEST_F(DescribedDesktop, JsonListsEachDiskOnceWithItsFigures) {
    const Outcome outcome = run({"volumes", "--json", "--root", machine.root()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json volumes = json::parse(outcome.out).at("volumes");
    ASSERT_EQ(volumes.size(), 3u);

    const json& root = volumes[0];
    EXPECT_EQ(root["name"], "Startup Disk");
    EXPECT_EQ(root["mountPoint"], "/");
    EXPECT_EQ(root["device"], "/dev/sda2");
    EXPECT_EQ(root["fileSystem"], "btrfs");
    EXPECT_EQ(root["isRoot"], true);
    EXPECT_EQ(root["holdsHome"], true) << "/home/me is on the btrfs of \"/\"";
    // DIR itself stands for "/": its size is read there.
    ASSERT_TRUE(root["totalBytes"].is_number()) << root.dump();
    EXPECT_EQ(root["usedBytes"].get<std::int64_t>() + root["availableBytes"].get<std::int64_t>() +
                  root["reservedBytes"].get<std::int64_t>(),
              root["totalBytes"].get<std::int64_t>());
    EXPECT_TRUE(root["capacityFailure"].is_null());

    const json& photos = volumes[1];
    EXPECT_EQ(photos["name"], "Photos");
    EXPECT_EQ(photos["mountPoint"], "/media/me/Photos") << "the shorter of its two mount points";
    EXPECT_EQ(photos["holdsHome"], false);

    const json& odd = volumes[2];
    EXPECT_EQ(odd["nameBytes"], Base64::encode("caf\xe9"));
    EXPECT_TRUE(odd["totalBytes"].is_null());
    EXPECT_TRUE(odd["reservedBytes"].is_null());
    EXPECT_EQ(odd["capacityFailure"], "statvfs(" + machine / "/media/me/odd" + "): No such file or directory");
}

TEST_F(DescribedDesktop, TextNamesEachDiskWhereItIsMountedAndWhatItHolds) {
    const Outcome outcome = run({"volumes", "--root=" + machine.root()});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.out.find("Startup Disk (/): btrfs on /dev/sda2, holds the home folder\n"), std::string::npos)
        << outcome.out;
    EXPECT_NE(outcome.out.find("Photos (/media/me/Photos): exfat on /dev/sdb1\n"), std::string::npos);
    EXPECT_NE(outcome.out.find(" used of "), std::string::npos);
    EXPECT_NE(outcome.out.find("  size unknown: statvfs("), std::string::npos);
    EXPECT_EQ(outcome.out.find("tmpfs"), std::string::npos);
    EXPECT_EQ(outcome.out.find("Photos too"), std::string::npos);
}

TEST_F(DescribedDesktop, UnreadableMountTableAndStrayWordsAreRefused) {
    test::TempFolder empty;
    expectOneErrorLine(run({"volumes", "--root", empty.path()}), 1, empty / "proc/self/mountinfo");
    expectOneErrorLine(run({"volumes", machine.root()}), 2, "no path");
    expectOneErrorLine(run({"volumes", "--root="}), 2, "--root");
    expectOneErrorLine(run({"volumes", "--all"}), 2, "all");
}

TEST(VolumesOfThisMachine, TheStartupDiskIsListedFirst) {
    const Outcome outcome = runTessel({"volumes", "--json"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const json volumes = json::parse(outcome.out).at("volumes");
    ASSERT_FALSE(volumes.empty());
    EXPECT_EQ(volumes[0]["mountPoint"], "/");
    EXPECT_EQ(volumes[0]["isRoot"], true);
}

} // namespace tessel::cli
