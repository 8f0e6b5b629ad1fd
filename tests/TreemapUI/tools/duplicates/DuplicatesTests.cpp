// The duplicates room: its choices on their own (which copy stays and why,
// what ticks free, the order, a group after some of it went), and the model
// on a real folder: the comparison off the main thread, the one-copy-stays
// rule, "Keep the Oldest", and removal through the Trash and back.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "DiskScanKit/DiskScanner.h"
#include "Fixture.h"
#include "removal/RemovalHome.h"
#include "tools/duplicates/DuplicatesModel.h"

using namespace tessel;
using namespace tessel::test;
using namespace std::chrono_literals;

namespace {

DuplicateFile copy(std::string path, std::int64_t bytes, int daysOld = 0) {
    DuplicateFile file;
    file.path = std::move(path);
    file.logicalSize = bytes;
    file.allocatedBytes = bytes;
    file.unsharedBytes = bytes;
    file.modified = std::chrono::system_clock::time_point(std::chrono::hours(24 * (1000 - daysOld)));
    return file;
}

DuplicateGroup groupOf(std::vector<DuplicateFile> files, std::string id = "g") {
    const std::int64_t size = files.empty() ? 0 : files.front().logicalSize;
    return DuplicateGroup(std::move(id), size, std::move(files), "/home/ann");
}

// Contents that follow from `seed`, so only files written with the same seed are alike.
void writeSeeded(const std::string& path, std::int64_t bytes, int seed) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    ASSERT_GE(fd, 0) << path;
    std::vector<unsigned char> block(65536);
    for (std::size_t at = 0; at < block.size(); ++at) block[at] = static_cast<unsigned char>((at * 31 + static_cast<std::size_t>(seed) * 7919) >> 3);
    for (std::int64_t left = bytes; left > 0;) {
        const auto chunk = static_cast<std::size_t>(std::min<std::int64_t>(left, static_cast<std::int64_t>(block.size())));
        ASSERT_EQ(write(fd, block.data(), chunk), static_cast<ssize_t>(chunk));
        left -= static_cast<std::int64_t>(chunk);
    }
    close(fd);
}

void makeOld(const std::string& path, int days) {
    const timespec when{time(nullptr) - days * 86400L, 0};
    const timespec times[2]{when, when};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0) << path;
}

} // namespace

TEST(DuplicateChoicesKeeper, OldestIsTheEarliestAndTiesGoToTheKeeperRule) {
    const DuplicateGroup group = groupOf({copy("/home/ann/Downloads/a.bin", 10, 5), copy("/home/ann/Documents/a.bin", 10, 5),
                                          copy("/home/ann/Desktop/a copy.bin", 10, 1)});
    ASSERT_EQ(group.files[0].path, "/home/ann/Documents/a.bin");
    EXPECT_EQ(DuplicateWords::keeperIndex(group, DuplicateWords::Keeping::original), 0u);
    // Documents and Downloads are equally old: the keeper rule's order breaks the tie.
    EXPECT_EQ(group.files[DuplicateWords::keeperIndex(group, DuplicateWords::Keeping::oldest)].path, "/home/ann/Documents/a.bin");
    const DuplicateGroup older = groupOf({copy("/home/ann/Documents/a.bin", 10, 2), copy("/home/ann/Downloads/a.bin", 10, 9)});
    EXPECT_EQ(older.files[DuplicateWords::keeperIndex(older, DuplicateWords::Keeping::oldest)].path, "/home/ann/Downloads/a.bin");
}

TEST(DuplicateChoicesKeeper, TheReasonNamesWhatSetTheKeeperApart) {
    const auto reason = [](std::vector<DuplicateFile> files, DuplicateWords::Keeping keeping = DuplicateWords::Keeping::original) {
        const DuplicateGroup group = groupOf(std::move(files));
        return DuplicateWords::keeperReason(group, DuplicateWords::keeperIndex(group, keeping), keeping, "/home/ann");
    };
    EXPECT_EQ(reason({copy("/home/ann/Desktop/a.bin", 1), copy("/home/ann/Documents/Taxes/a.bin", 1)}),
              "Kept: it is filed in a folder inside Documents.");
    EXPECT_EQ(reason({copy("/home/ann/Downloads/a.bin", 1), copy("/home/ann/Music/a.bin", 1)}), "Kept: it sits in Music.");
    EXPECT_EQ(reason({copy("/home/ann/Downloads/a.bin", 1), copy("/home/ann/stuff/a.bin", 1)}),
              "Kept: the other copies came in through Downloads.");
    EXPECT_EQ(reason({copy("/home/ann/stuff/a copy.bin", 1), copy("/home/ann/stuff/a.bin", 1)}),
              "Kept: its name doesn't look like a copy.");
    EXPECT_EQ(reason({copy("/home/ann/stuff/b.bin", 1), copy("/home/ann/stuff/a.bin", 1)}),
              "Kept: the first by name, since nothing else tells the copies apart.");
    DuplicateFile linkedElsewhere = copy("/home/ann/Downloads/a.bin", 1);
    linkedElsewhere.linkCount = 2;
    EXPECT_EQ(reason({copy("/home/ann/Documents/Taxes/a.bin", 1), linkedElsewhere}),
              "Kept: it has another name outside the folder compared, so removing it would free nothing.");
    DuplicateFile cloned = copy("/home/ann/Downloads/a.bin", 1);
    cloned.cloneStream = CloneStream{{1, 9}, std::nullopt};
    EXPECT_EQ(reason({copy("/home/ann/Documents/Taxes/a.bin", 1), cloned}),
              "Kept: it shares all its blocks with clones outside this group, so removing it would free nothing.");
    EXPECT_TRUE(reason({copy("/home/ann/a.bin", 1, 3), copy("/home/ann/b.bin", 1, 1)}, DuplicateWords::Keeping::oldest)
                    .starts_with("Kept as the oldest copy, last changed "));
}

TEST(DuplicateChoicesTicks, AHardLinkFreesOnlyWithAllItsNames) {
    DuplicateFile linked = copy("/home/ann/b/a.bin", 100);
    linked.linkCount = 2;
    linked.otherNames = {"/home/ann/c/a.bin"};
    DuplicateFile partlyKnown = copy("/home/ann/d/a.bin", 100);
    partlyKnown.linkCount = 3;
    partlyKnown.otherNames = {"/home/ann/e/a.bin"};
    const DuplicateGroup group = groupOf({copy("/home/ann/Documents/a.bin", 100), linked, partlyKnown});
    EXPECT_EQ(DuplicateChoices::freedBy(group, {"/home/ann/b/a.bin"}), 100) << "ticking a copy ticks all its names";
    EXPECT_EQ(DuplicateChoices::freedBy(group, {"/home/ann/d/a.bin"}), 0) << "a third name stays somewhere";
    EXPECT_EQ(DuplicateChoices::freedBy(group, {}), 0);
    EXPECT_EQ(DuplicateChoices::namesOf(linked), (std::vector<std::string>{"/home/ann/b/a.bin", "/home/ann/c/a.bin"}));
}

TEST(DuplicateChoicesTicks, AGroupAfterSomeOfItWent) {
    const DuplicateGroup group = groupOf({copy("/h/Documents/a", 100), copy("/h/x/a", 100), copy("/h/y/a", 100)});
    ASSERT_EQ(group.reclaimableBytes, 200);
    const std::optional<DuplicateGroup> two = DuplicateChoices::without(group, {"/h/y/a"});
    ASSERT_TRUE(two);
    EXPECT_EQ(two->files.size(), 2u);
    EXPECT_EQ(two->reclaimableBytes, 100);
    EXPECT_FALSE(DuplicateChoices::without(group, {"/h/y/a", "/h/x/a"})) << "one copy left is no group";

    DuplicateFile linked = copy("/h/x/b", 100);
    linked.linkCount = 2;
    linked.otherNames = {"/h/z/b"};
    linked.sharing = {Sharing::Kind::hardLinked, 2};
    const std::optional<DuplicateGroup> unlinked = DuplicateChoices::without(groupOf({copy("/h/Documents/b", 100), linked}), {"/h/z/b"});
    ASSERT_TRUE(unlinked);
    EXPECT_EQ(unlinked->files[1].linkCount, 1);
    EXPECT_EQ(unlinked->files[1].sharing.kind, Sharing::Kind::unshared);
    EXPECT_EQ(unlinked->reclaimableBytes, 100) << "with its other name gone, the copy frees its bytes alone";
}

TEST(DuplicateChoicesOrder, EachOrderWithStableTies) {
    std::vector<DuplicateGroup> groups{groupOf({copy("/h/b/zeta", 10), copy("/h/c/zeta", 10)}, "1"),
                                       groupOf({copy("/h/b/alpha", 50), copy("/h/c/alpha", 50)}, "2"),
                                       groupOf({copy("/h/b/Mid", 10), copy("/h/c/Mid", 10), copy("/h/d/Mid", 10)}, "3")};
    const auto ids = [&] {
        std::string text;
        for (const DuplicateGroup& group : groups) text += group.id;
        return text;
    };
    DuplicateChoices::sort(groups, DuplicateChoices::Order::reclaimable);
    EXPECT_EQ(ids(), "231") << "50, then 20, then 10";
    DuplicateChoices::sort(groups, DuplicateChoices::Order::copies);
    EXPECT_EQ(ids(), "321") << "three copies first; equal counts by path";
    DuplicateChoices::sort(groups, DuplicateChoices::Order::name);
    EXPECT_EQ(ids(), "231") << "names without regard to case";
    DuplicateChoices::sort(groups, DuplicateChoices::Order::size);
    EXPECT_EQ(ids(), "231");
    EXPECT_EQ(DuplicateChoices::orderFrom("copies"), DuplicateChoices::Order::copies);
    EXPECT_EQ(DuplicateChoices::orderFrom("nonsense"), DuplicateChoices::Order::reclaimable);
}

namespace {

class DuplicatesRoom : public RemovalHome {
protected:
    QTemporaryDir settingsFolder;
    QSettings settings{settingsFolder.filePath("settings.ini"), QSettings::IniFormat};
    RemovalRoad road{environment, tree};

    void SetUp() override {
        for (const char* place : {"", "/Documents", "/Documents/Projects", "/Downloads", "/Desktop", "/Music", "/Backup"})
            makeFolder(home + place);
        writeSeeded(home + "/Documents/Projects/plan.bin", 1'500'000, 1);
        writeSeeded(home + "/Downloads/plan (1).bin", 1'500'000, 1);
        writeSeeded(home + "/Desktop/plan copy.bin", 1'500'000, 1);
        writeSeeded(home + "/Music/song.bin", 2'000'000, 2);
        writeSeeded(home + "/Backup/song.bin", 2'000'000, 2);
        writeSeeded(home + "/Music/other.bin", 2'000'000, 3);
    }
    DuplicatesModel::Environment roomEnvironment() { return {home, &settings, 2, DuplicateFinder::toolMinimumBytes}; }
    static void lookAndWait(DuplicatesModel& model) {
        model.look();
        ASSERT_EQ(model.state(), DuplicatesModel::State::Working);
        QSignalSpy changed(&model, &DuplicatesModel::stateChanged);
        ASSERT_TRUE(changed.wait(10000));
        ASSERT_EQ(model.state(), DuplicatesModel::State::Done);
    }
    static QVariantList filesOf(DuplicatesModel& model, int row) {
        return model.groups()->data(model.groups()->index(row), DuplicateGroupList::filesRole).toList();
    }
};

} // namespace

TEST_F(DuplicatesRoom, FindsTheGroupsOffTheMainThreadWithTheExtraCopiesTicked) {
    DuplicatesModel model(roomEnvironment(), tree, road);
    EXPECT_EQ(model.state(), DuplicatesModel::State::Waiting);
    model.look();
    EXPECT_EQ(model.state(), DuplicatesModel::State::Waiting) << "nothing to look in before a scan";
    scanHome();
    EXPECT_EQ(model.state(), DuplicatesModel::State::Ready);
    lookAndWait(model);

    ASSERT_EQ(model.groups()->rowCount(), 2);
    const QVariantList plan = filesOf(model, 0);
    ASSERT_EQ(plan.size(), 3);
    EXPECT_EQ(plan[0].toMap()["path"].toString().toStdString(), home + "/Documents/Projects/plan.bin");
    EXPECT_TRUE(plan[0].toMap()["isKeeper"].toBool());
    EXPECT_FALSE(plan[0].toMap()["ticked"].toBool());
    EXPECT_EQ(plan[0].toMap()["folder"].toString(), "~/Documents/Projects");
    EXPECT_TRUE(plan[1].toMap()["ticked"].toBool());
    EXPECT_EQ(model.tickedCount(), 3);
    const std::int64_t expected = allocatedOf(home + "/Downloads/plan (1).bin") + allocatedOf(home + "/Desktop/plan copy.bin") +
                                  allocatedOf(home + "/Backup/song.bin");
    EXPECT_EQ(model.tickedBytes(), expected);
    EXPECT_TRUE(model.summary().startsWith("2 groups of identical files.")) << model.summary().toStdString();

    model.look();
    EXPECT_EQ(model.state(), DuplicatesModel::State::Done) << "a tree is looked at once unless asked again";
}

TEST_F(DuplicatesRoom, OneCopyAlwaysStays) {
    DuplicatesModel model(roomEnvironment(), tree, road);
    scanHome();
    lookAndWait(model);
    model.toggle(1, 0);
    EXPECT_EQ(model.tickedCount(), 3) << "the keeper of a group whose other copy is ticked can't be ticked too";
    model.toggle(1, 1);
    EXPECT_EQ(model.tickedCount(), 2);
    model.toggle(1, 0);
    EXPECT_EQ(model.tickedCount(), 3) << "with the other copy kept, the keeper may go";
    EXPECT_TRUE(filesOf(model, 1)[0].toMap()["ticked"].toBool());
    model.toggle(7, 0);
    model.toggle(1, 9);
    EXPECT_EQ(model.tickedCount(), 3) << "rows and files that don't exist change nothing";
}

TEST_F(DuplicatesRoom, KeepTheOldestAndTheOrderIsRemembered) {
    makeOld(home + "/Downloads/plan (1).bin", 400);
    DuplicatesModel model(roomEnvironment(), tree, road);
    scanHome();
    lookAndWait(model);
    model.keepOldest();
    EXPECT_EQ(model.keeping(), "oldest");
    QVariantList plan = filesOf(model, 0);
    EXPECT_EQ(plan[0].toMap()["path"].toString().toStdString(), home + "/Downloads/plan (1).bin");
    EXPECT_FALSE(plan[0].toMap()["ticked"].toBool());
    EXPECT_TRUE(plan[1].toMap()["ticked"].toBool() && plan[2].toMap()["ticked"].toBool());
    model.keepOriginal();
    EXPECT_EQ(filesOf(model, 0)[0].toMap()["path"].toString().toStdString(), home + "/Documents/Projects/plan.bin");

    model.setOrder("name");
    EXPECT_EQ(settings.value("tessel.sort.duplicates").toString(), "name");
    EXPECT_EQ(model.groups()->data(model.groups()->index(0), DuplicateGroupList::titleRole).toString(), "plan.bin");
    DuplicatesModel again(roomEnvironment(), tree, road);
    EXPECT_EQ(again.order(), "name");
}

TEST_F(DuplicatesRoom, RemovalGoesToTheTrashAndTheGroupsFollowItBack) {
    DuplicatesModel model(roomEnvironment(), tree, road);
    scanHome();
    lookAndWait(model);
    model.removeTicked();
    waitForPlan(road);
    ASSERT_TRUE(road.hasPlan());
    EXPECT_EQ(road.allowedRows().size(), 3);
    road.confirm();
    waitFor(road);
    EXPECT_EQ(model.groups()->rowCount(), 0) << "each group is down to the copy that stays";
    EXPECT_EQ(model.tickedCount(), 0);
    EXPECT_TRUE(files.exists(home + "/Documents/Projects/plan.bin"));
    EXPECT_FALSE(files.exists(home + "/Backup/song.bin"));

    road.undo();
    waitFor(road);
    EXPECT_TRUE(files.exists(home + "/Backup/song.bin"));
    ASSERT_EQ(model.groups()->rowCount(), 2);
    EXPECT_EQ(model.tickedCount(), 0) << "what came back is not ticked to go again";
}

TEST_F(DuplicatesRoom, ANewTreeDropsTheOldAnswer) {
    DuplicatesModel model(roomEnvironment(), tree, road);
    scanHome();
    model.look();
    scanHome();
    EXPECT_EQ(model.state(), DuplicatesModel::State::Ready);
    QTest::qWait(300);
    EXPECT_EQ(model.state(), DuplicatesModel::State::Ready) << "the first run's answer arrived for a tree that is gone";
    EXPECT_EQ(model.groups()->rowCount(), 0);
}
