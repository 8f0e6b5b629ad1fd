// Whatever road leads to a protected place, the guard refuses it for the
// reason it gets when named directly, and the Trash moves only what was
// judged: links along a path, ".." after a link, a home reached through a
// link, the folders that hold the home, mount points, a folder swapped for a
// link while the trash is at work, other disks reached through links, and
// names and paths longer than the system's own calls take.
#include <fcntl.h>

#include <atomic>
#include <set>
#include <thread>
#include <tuple>

#include "ScopedEnvironment.h"
#include "TrashTestSupport.h"

using namespace tessel;
using namespace tessel::test;
using R = DeletionRefusal;

namespace {

// ~/hop links to the home, ~/lnk to ~/sub/dir, ~/etclink to /etc, ~/tl to the Trash.
class LinkedHome : public TrashHome {
protected:
    std::string documents = home + "/Documents";

    void SetUp() override {
        put(documents + "/keep.txt", 100);
        put(home + "/victim", 10);
        put(home + "/sub/victim", 20);
        makeFolder(home + "/sub/dir");
        put(trash + "/files/old");
        makeSymlink(home, home + "/hop");
        makeSymlink("sub/dir", home + "/lnk");
        makeSymlink("/etc", home + "/etclink");
        makeSymlink(trash, home + "/tl");
    }
};

} // namespace

TEST_F(LinkedHome, AProtectedPlaceReachedThroughALinkIsRefusedForItsOwnReasonAndStays) {
    const std::vector<std::tuple<std::string, bool, R>> cases{
        {home + "/hop/Documents", true, R::protectedFolder},  {home + "/hop/hop/.local", true, R::protectedFolder},
        {home + "/etclink/passwd", false, R::systemPath},     {home + "/tl/files/old", false, R::inTrash},
        {home + "/sub/..", true, R::protectedFolder},         {home + "/lnk/../../..", true, R::protectedFolder},
    };
    for (const auto& [path, isDirectory, reason] : cases) EXPECT_EQ(whyKept(path, isDirectory), words(reason)) << path;
    EXPECT_EQ(judged(home + "/hop", false), std::nullopt) << "the link itself may go, as a link";
}

TEST_F(LinkedHome, AHomeReachedThroughALinkIsTheHomeByEitherName) {
    const std::string alias = folder / "alias";
    makeSymlink(home, alias);
    EXPECT_EQ(judged(alias + "/Documents", true), R::protectedFolder) << "named through the link";
    context.home = alias + "/";
    context.homeTrash.clear();
    ScopedEnvironment environment;
    environment.set("XDG_DATA_HOME", alias + "/.local/share");
    EXPECT_EQ(judged(documents, true), R::protectedFolder) << "named by its real path";
    EXPECT_EQ(judged(trash + "/files/old", false), R::inTrash);
    EXPECT_EQ(judged(home + "/victim", false), std::nullopt);
}

TEST_F(LinkedHome, DotDotAfterALinkMovesWhatTheKernelNamesAndPutsItBackThere) {
    ASSERT_EQ(whyKept(home + "/lnk/../victim", false), "moved");
    EXPECT_EQ(readText(home + "/victim").size(), 10u) << "the file the text names stays";
    EXPECT_NE(readText(trash + "/info/victim.trashinfo").find("Path=" + home + "/sub/victim\n"), std::string::npos);
    ASSERT_EQ(service.undoLast().restored.size(), 1u);
    EXPECT_EQ(readText(home + "/sub/victim").size(), 20u) << "back where it really stood";
}

// Another disk, mounted in the home: its top stays, and no Trash is made for it on the
// way; an item on it, reached through a link, goes to the Trash at its top.
TEST_F(LinkedHome, AnotherDisksTopStaysAndWhatIsOnItGoesToItsOwnTrash) {
    SecondDisk other(home + "/mnt");
    if (!other.mounted) GTEST_SKIP() << "mounting a tmpfs needs root; other disks are not tested here";
    put(other.path + "/deep/sub/file", 3000);
    makeSymlink(other.path, home + "/dl");
    for (const std::string& path : {other.path, home + "/hop/mnt", home + "/dl/."})
        EXPECT_EQ(whyKept(path, true), words(R::volumeRoot)) << path;
    EXPECT_FALSE(disk.exists(other.path + "/.Trash-" + user)) << "a Trash was made for nothing";
    ASSERT_EQ(whyKept(home + "/dl/deep/sub/file", false), "moved");
    EXPECT_NE(readText(other.path + "/.Trash-" + user + "/info/file.trashinfo").find("\nPath=deep/sub/file\n"),
              std::string::npos);
    ASSERT_EQ(service.undoLast().restored.size(), 1u);
}

TEST_F(LinkedHome, AFolderSwappedForALinkNeverRedirectsAMove) {
    // ~/flip is a real folder with a Documents of its own, ~/flipped a link to
    // the home; a thread swaps the two names as fast as it can, so ~/flip/Documents
    // is now and then the home's own Documents.
    const std::string flip = home + "/flip", flipped = home + "/flipped";
    makeFolder(flip);
    makeSymlink(home, flipped);
    const int realFolder = open(flip.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    std::atomic<bool> stop{false};
    std::thread swapper([&] {
        while (!stop.load()) renameat2(AT_FDCWD, flip.c_str(), AT_FDCWD, flipped.c_str(), RENAME_EXCHANGE);
    });
    std::set<std::string> outcomes;
    for (int round = 0; round < 400 && disk.exists(documents + "/keep.txt"); ++round) {
        mkdirat(realFolder, "Documents", 0755); // the folder's own, wherever its name is now
        outcomes.insert(whyKept(flip + "/Documents", true) == "moved" ? "moved" : "refused");
    }
    stop.store(true);
    swapper.join();
    close(realFolder);
    EXPECT_TRUE(disk.exists(documents + "/keep.txt")) << "the home's Documents was moved";
    EXPECT_EQ(outcomes.size(), 2u) << "the race was never run";
}

TEST_F(LinkedHome, AName255BytesLongAndNotUtf8GoesAndComesBackByteExact) {
    const std::string name = std::string(120, 'n') + "\xff\xfe" + std::string(129, 'm') + ".txt";
    const std::string sibling = name.substr(0, 250) + "x.txt"; // the same once shortened for the Trash
    const std::string before = stateOf(put(home + "/" + name, 700));
    const TrashOutcome outcome = forced({{home + "/" + name, 0, false}, {put(home + "/" + sibling), 0, false}});
    ASSERT_EQ(outcome.receipts.size(), 2u) << outcome.failures.at(0).message;
    const std::string trashedName = outcome.receipts[0].trashedPath.substr(trash.size() + 7);
    EXPECT_NE(readText(trash + "/info/" + trashedName + ".trashinfo").find(FreedesktopTrash::encode(name) + "\n"),
              std::string::npos) << "the record keeps the whole name";
    ASSERT_EQ(service.undoLast().restored.size(), 2u);
    EXPECT_EQ(stateOf(home + "/" + name), before);
}

TEST_F(LinkedHome, APathDeeperThanPathMaxGoesAndComesBack) {
    ASSERT_EQ(makeDeepChain(home, std::string(200, 'd'), 25), 25);
    std::string deep = home;
    for (int i = 0; i < 25; ++i) deep += "/" + std::string(200, 'd');
    deep += "/bottom";
    const ino_t inode = anchored(deep).status().value().st_ino;
    ASSERT_EQ(whyKept(deep, false), "moved");
    EXPECT_NE(readText(trash + "/info/bottom.trashinfo").find(FreedesktopTrash::encode(deep) + "\n"), std::string::npos);
    ASSERT_EQ(service.undoLast().restored.size(), 1u);
    EXPECT_EQ(anchored(deep).status().value().st_ino, inode);
}

TEST(TrashNames, LongNamesAreShortenedKeepingTheirExtensionAndWholeCharacters) {
    std::string accented; // "é" is two bytes: 239 bytes of them would end in half of one
    for (int i = 0; i < 125; ++i) accented += "\xc3\xa9";
    const std::vector<std::tuple<std::string, int, std::string>> cases{
        {"report.pdf", 3, "report 3.pdf"},
        {".bashrc", 2, ".bashrc 2"},
        {accented + ".txt", 2, accented.substr(0, 238) + " 2.txt"},
        {"x." + std::string(253, 'e'), 1, "x." + std::string(243, 'e')}, // all extension: cut as a whole
    };
    for (const auto& [name, number, expected] : cases) EXPECT_EQ(FreedesktopTrash::trashName(name, number), expected) << name;
}

using UnprivilegedTrash = TrashHome;

TEST_F(UnprivilegedTrash, AFolderOnTheWayThatCantBeEnteredIsNotPermitted) {
    if (geteuid() == 0) GTEST_SKIP() << "root enters every folder; scripts/run-unprivileged runs this as an ordinary user";
    put(home + "/closed/file");
    makeSymlink(home + "/closed", home + "/to-closed");
    chmod((home + "/closed").c_str(), 0);
    EXPECT_EQ(judged(home + "/to-closed/file", false), R::notPermitted);
    chmod((home + "/closed").c_str(), 0755);
}
