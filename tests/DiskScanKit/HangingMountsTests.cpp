// Which mount a path lies on, with its links followed, in a mount table the
// test writes: a folder of the temporary folder stands for a share that may
// hang, and a link inside it points back out, so that a lookup that looked
// inside the share would give the local disk instead of the share.
#include <gtest/gtest.h>

#include "DiskScanKit/HangingMounts.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;

namespace {

MountEntry mount(const std::string& point, const std::string& fileSystem, std::uint64_t device) {
    MountEntry entry;
    entry.mountPoint = point;
    entry.fileSystem = fileSystem;
    entry.device = device;
    return entry;
}

class MountOfAPath : public testing::Test {
protected:
    void SetUp() override {
        makeFolder(temp / "share");
        makeFolder(temp / "local");
        makeFolder(temp / "local/inner");
        makeSymlink(temp / "local", temp / "share/back-out");
        table = {mount("/", "ext4", 1), mount(temp / "share", "fuse.sshfs", 2)};
    }

    std::string mountOf(const std::string& path) const {
        const std::optional<MountEntry> mount =
            HangingMounts::holdingIn(table, path, [](const MountEntry& entry) { return entry.fileSystem.starts_with("fuse."); });
        return mount ? mount->fileSystem : "none";
    }

    TempFolder temp;
    std::vector<MountEntry> table;
};

TEST_F(MountOfAPath, ALinkIntoTheShareLeadsToTheShare) {
    makeSymlink(temp / "share", temp / "local/absolute");
    makeSymlink("../share/sub", temp / "local/relative");
    makeSymlink("relative", temp / "local/chained");
    EXPECT_EQ(mountOf(temp / "local/absolute/x"), "fuse.sshfs");
    EXPECT_EQ(mountOf(temp / "local/relative"), "fuse.sshfs");
    EXPECT_EQ(mountOf(temp / "local/chained/deeper"), "fuse.sshfs");
    EXPECT_EQ(mountOf(temp / "local/inner/../absolute"), "fuse.sshfs");
}

TEST_F(MountOfAPath, ALinkWithALongNameThatIsNotUtf8IsFollowed) {
    const std::string name(255, '\xff');
    makeSymlink(temp / "share", temp / ("local/" + name));
    EXPECT_EQ(mountOf(temp / ("local/" + name + "/x")), "fuse.sshfs");
}

TEST_F(MountOfAPath, NothingInsideTheShareIsLookedAt) {
    // Following share/back-out would reach the local disk; it must never be read.
    EXPECT_EQ(mountOf(temp / "share/back-out/inner"), "fuse.sshfs");
    EXPECT_EQ(mountOf(temp / "share"), "fuse.sshfs");
}

TEST_F(MountOfAPath, LocalPathsAndLinksThatLeaveTheShareStayLocal) {
    makeSymlink(temp / "local/inner", temp / "local/sideways");
    makeSymlink("loop", temp / "local/loop");
    EXPECT_EQ(mountOf(temp / "local/inner"), "ext4");
    EXPECT_EQ(mountOf(temp / "local/sideways/file"), "ext4");
    EXPECT_EQ(mountOf(temp / "local/missing/deeper"), "ext4");
    EXPECT_EQ(mountOf(temp / "local/loop/x"), "ext4") << "a loop of links ends, judged by its text";
    EXPECT_EQ(mountOf(temp / "local/inner/../../share"), "fuse.sshfs") << "\"..\" goes up from where the links led";
}

} // namespace
