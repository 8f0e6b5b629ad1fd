// Whatever road leads to a protected place, the guard refuses it for the
// reason it gets when named directly, and the Trash moves only what was
// judged: links along a path, ".." after a link, a home reached through a
// link, the folders that hold the home, mount points, a folder swapped for a
// link while the trash is at work, other disks reached through links, and
// names and paths longer than the system's own calls take.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "TrashKit/TrashService.h"
#include "TrashTestSupport.h"

using namespace tessel;
using namespace tessel::test;

namespace {

class LinkedHome : public testing::Test {
protected:
    TrashHome home;
    LocalFileManager disk;
    TrashService service{disk, home.bin, 10};
    std::string documents = home.home + "/Documents";

    void SetUp() override {
        makeFolder(documents);
        writeFile(documents + "/keep.txt", 100);
        makeFolder(home.home + "/sub");
        makeFolder(home.home + "/sub/dir");
        writeFile(home.home + "/victim", 10);
        writeFile(home.home + "/sub/victim", 20);
        makeSymlink(home.home, home.home + "/hop");
        makeSymlink("sub/dir", home.home + "/lnk");
        makeSymlink("/etc", home.home + "/etclink");
    }

    std::optional<DeletionRefusal> judged(const std::string& path, bool isDirectory,
                                          const DeletionGuard::Context* context = nullptr) {
        return DeletionGuard::refusal({path, 0, isDirectory}, context != nullptr ? *context : home.context, disk, "");
    }

    // Handed to the service as if a plan had allowed it: the service must judge it again itself.
    TrashOutcome forced(const std::string& path, bool isDirectory) {
        DeletionPlan plan;
        plan.allowed = {{path, 0, isDirectory}};
        return service.trash(plan, home.context);
    }

    static std::string words(DeletionRefusal refusal) { return std::string(DeletionRefusals::explanation(refusal)); }
};

} // namespace

TEST_F(LinkedHome, ALinkToAProtectedPlaceIsRefusedForThatPlacesReason) {
    std::filesystem::create_directories(home.trash + "/files");
    writeFile(home.trash + "/files/old", 10);
    makeSymlink(home.trash, home.home + "/tl");
    struct Case {
        std::string path;
        bool isDirectory;
        DeletionRefusal reason;
        std::string stays;
    };
    const std::vector<Case> cases{
        {home.home + "/hop/Documents", true, DeletionRefusal::protectedFolder, documents + "/keep.txt"},
        {home.home + "/hop/hop/.local", true, DeletionRefusal::protectedFolder, home.dataHome},
        {home.home + "/etclink/passwd", false, DeletionRefusal::systemPath, "/etc/passwd"},
        {home.home + "/tl/files/old", false, DeletionRefusal::inTrash, home.trash + "/files/old"},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(judged(each.path, each.isDirectory), each.reason) << each.path;
        const TrashOutcome outcome = forced(each.path, each.isDirectory);
        EXPECT_TRUE(outcome.receipts.empty()) << each.path;
        ASSERT_EQ(outcome.failures.size(), 1u) << each.path;
        EXPECT_EQ(outcome.failures[0].message, words(each.reason));
        EXPECT_TRUE(disk.exists(each.stays)) << each.stays;
    }
    EXPECT_EQ(judged(home.home + "/hop", false), std::nullopt) << "the link itself may go, as a link";
}

TEST_F(LinkedHome, AHomeReachedThroughALinkIsTheHomeByEitherName) {
    const std::string alias = home.folder / "alias";
    makeSymlink(home.home, alias);
    DeletionGuard::Context throughLink = home.context;
    throughLink.home = alias + "/";
    throughLink.homeTrash.clear();
    setenv("XDG_DATA_HOME", (alias + "/.local/share").c_str(), 1);
    EXPECT_EQ(judged(home.home, true, &throughLink), DeletionRefusal::protectedFolder) << "named by its real path";
    EXPECT_EQ(judged(home.home + "/Documents", true, &throughLink), DeletionRefusal::protectedFolder);
    EXPECT_EQ(judged(alias + "/Documents", true), DeletionRefusal::protectedFolder) << "named through the link";
    std::filesystem::create_directories(home.trash + "/files");
    writeFile(home.trash + "/files/x", 10);
    EXPECT_EQ(judged(home.trash + "/files/x", false, &throughLink), DeletionRefusal::inTrash);
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(judged(home.home + "/victim", false, &throughLink), std::nullopt);
}

TEST_F(LinkedHome, DotDotAfterALinkMovesWhatTheKernelNames) {
    const TrashOutcome outcome = forced(home.home + "/lnk/../victim", false);
    ASSERT_EQ(outcome.receipts.size(), 1u) << outcome.failures.at(0).message;
    EXPECT_EQ(outcome.receipts[0].realPath, home.home + "/sub/victim");
    EXPECT_EQ(outcome.receipts[0].originalPath, home.home + "/lnk/../victim") << "as the tool named it";
    EXPECT_FALSE(disk.exists(home.home + "/sub/victim"));
    EXPECT_EQ(readText(home.home + "/victim").size(), 10u) << "the file the text names stays";
    EXPECT_NE(readText(home.trash + "/info/victim.trashinfo").find("Path=" + home.home + "/sub/victim\n"),
              std::string::npos);
    ASSERT_EQ(service.undoLast().restored.size(), 1u);
    EXPECT_EQ(readText(home.home + "/sub/victim").size(), 20u) << "back where it really stood";
}

TEST_F(LinkedHome, EveryFolderThatHoldsTheHomeStays) {
    for (std::string folder = home.home; folder != "/"; folder = folder.substr(0, folder.rfind('/'))) {
        if (folder.empty()) break;
        EXPECT_EQ(judged(folder, true), DeletionRefusal::protectedFolder) << folder;
    }
    EXPECT_EQ(judged(home.home + "/..", true), DeletionRefusal::protectedFolder);
    EXPECT_EQ(judged(home.home + "/lnk/../../..", true), DeletionRefusal::protectedFolder)
        << "the home's parent, reached through a link";
    const TrashOutcome outcome = forced(home.home + "/sub/..", true);
    ASSERT_EQ(outcome.failures.size(), 1u);
    EXPECT_TRUE(disk.isFolder(home.home));
}

TEST_F(LinkedHome, AMountPointStaysAndNothingIsMadeOnTheWay) {
    SecondDisk mounted(home.home + "/mnt");
    if (!mounted.mounted) GTEST_SKIP() << "mounting a tmpfs needs root; mount points are not tested here";
    writeFile(mounted.path + "/inside", 10);
    makeSymlink(mounted.path, home.home + "/to-mnt");
    EXPECT_EQ(judged(mounted.path, true), DeletionRefusal::volumeRoot);
    EXPECT_EQ(judged(home.home + "/hop/mnt", true), DeletionRefusal::volumeRoot);
    EXPECT_EQ(judged(home.home + "/to-mnt/.", true), DeletionRefusal::volumeRoot);
    const TrashOutcome outcome = forced(mounted.path, true);
    ASSERT_EQ(outcome.failures.size(), 1u);
    EXPECT_EQ(outcome.failures[0].message, "The top of a disk.");
    EXPECT_TRUE(disk.exists(mounted.path + "/inside"));
    const std::string user = std::to_string(geteuid());
    for (const std::string& made : {home.home + "/.Trash-" + user, mounted.path + "/.Trash-" + user, home.trash})
        EXPECT_FALSE(disk.exists(made)) << made << " was made for nothing";
}

TEST_F(LinkedHome, AnItemReachedThroughALinkGoesToItsOwnDisksTrash) {
    SecondDisk other(home.folder / "other");
    if (!other.mounted) GTEST_SKIP() << "mounting a tmpfs needs root; other disks are not tested here";
    makeFolder(other.path + "/deep");
    makeFolder(other.path + "/deep/sub");
    writeFile(other.path + "/deep/sub/file", 3000);
    makeSymlink(other.path + "/deep", home.home + "/dl");
    const std::string user = std::to_string(geteuid());

    const TrashOutcome outcome = forced(home.home + "/dl/sub/file", false);
    ASSERT_EQ(outcome.receipts.size(), 1u) << outcome.failures.at(0).message;
    EXPECT_EQ(outcome.receipts[0].trashedPath, other.path + "/.Trash-" + user + "/files/file");
    EXPECT_EQ(readText(other.path + "/.Trash-" + user + "/info/file.trashinfo").substr(0, 36),
              "[Trash Info]\nPath=deep/sub/file\nDele");
    EXPECT_FALSE(disk.exists(other.path + "/deep/sub/.Trash-" + user)) << "no Trash where nobody looks";
    ASSERT_EQ(service.undoLast().restored.size(), 1u);
    EXPECT_EQ(readText(other.path + "/deep/sub/file").size(), 3000u);
}

TEST_F(LinkedHome, AFolderSwappedForALinkNeverRedirectsAMove) {
    // ~/flip is a real folder with a Documents of its own, ~/flipped a link to
    // the home; a thread swaps the two names as fast as it can, so ~/flip/Documents
    // is now and then the home's own Documents.
    const std::string flip = home.home + "/flip";
    const std::string flipped = home.home + "/flipped";
    makeFolder(flip);
    makeSymlink(home.home, flipped);
    const int realFolder = open(flip.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_GE(realFolder, 0);
    struct stat homeDocuments {};
    ASSERT_EQ(lstat(documents.c_str(), &homeDocuments), 0);

    std::atomic<bool> stop{false};
    std::thread swapper([&] {
        while (!stop.load())
            renameat2(AT_FDCWD, flip.c_str(), AT_FDCWD, flipped.c_str(), RENAME_EXCHANGE);
    });
    int moved = 0;
    int refused = 0;
    for (int round = 0; round < 400; ++round) {
        mkdirat(realFolder, "Documents", 0755); // the folder's own, wherever its name is now
        const TrashOutcome outcome = forced(flip + "/Documents", true);
        moved += static_cast<int>(outcome.receipts.size());
        refused += static_cast<int>(outcome.failures.size());
        for (const TrashReceipt& receipt : outcome.receipts)
            EXPECT_NE(receipt.realPath, documents) << "the home's Documents was taken for the folder's own";
        struct stat now {};
        ASSERT_EQ(lstat(documents.c_str(), &now), 0) << "the home's Documents moved";
        ASSERT_EQ(now.st_ino, homeDocuments.st_ino);
    }
    stop.store(true);
    swapper.join();
    close(realFolder);
    EXPECT_EQ(readText(documents + "/keep.txt").size(), 100u);
    // Both states were met, or the race was never run.
    EXPECT_GT(moved, 0);
    EXPECT_GT(refused, 0);
}

TEST_F(LinkedHome, AVeryLongNameGoesAndComesBackByteExact) {
    // 255 bytes, the most a name may have, with bytes that are not UTF-8.
    const std::string name = std::string(120, 'n') + "\xff\xfe" + std::string(129, 'm') + ".txt";
    ASSERT_EQ(name.size(), 255u);
    const std::string sibling = name.substr(0, 250) + "x.txt";
    writeFile(home.home + "/" + name, 700);
    writeFile(home.home + "/" + sibling, 800);
    const FileState before = stateOf(home.home + "/" + name);

    DeletionPlan plan;
    plan.allowed = {{home.home + "/" + name, 700, false}, {home.home + "/" + sibling, 800, false}};
    const TrashOutcome outcome = service.trash(plan, home.context);
    ASSERT_EQ(outcome.receipts.size(), 2u) << outcome.failures.at(0).message;
    for (const TrashReceipt& receipt : outcome.receipts) {
        const std::string trashedName = receipt.trashedPath.substr(receipt.trashedPath.rfind('/') + 1);
        EXPECT_LE(trashedName.size() + 10, std::size_t{NAME_MAX}) << "room for .trashinfo";
        EXPECT_TRUE(trashedName.ends_with(".txt")) << trashedName;
        const std::string record = readText(home.trash + "/info/" + trashedName + ".trashinfo");
        EXPECT_NE(record.find("Path=" + FreedesktopTrash::encode(receipt.realPath) + "\n"), std::string::npos);
    }
    EXPECT_NE(outcome.receipts[0].trashedPath, outcome.receipts[1].trashedPath);
    ASSERT_EQ(service.undoLast().restored.size(), 2u);
    EXPECT_EQ(stateOf(home.home + "/" + name), before);
    EXPECT_EQ(readText(home.home + "/" + sibling).size(), 800u);
}

TEST_F(LinkedHome, APathLongerThanTheSystemTakesGoesAndComesBack) {
    const std::string level(200, 'd');
    ASSERT_EQ(makeDeepChain(home.home, level, 25), 25);
    std::string deep = home.home;
    for (int i = 0; i < 25; ++i) deep += "/" + level;
    deep += "/bottom";
    ASSERT_GT(deep.size(), 5000u);
    const struct stat before = *anchored(deep).status();

    const TrashOutcome outcome = forced(deep, false);
    ASSERT_EQ(outcome.receipts.size(), 1u) << outcome.failures.at(0).message;
    EXPECT_FALSE(anchored(deep).status()) << "gone from its place";
    const std::string record = readText(home.trash + "/info/bottom.trashinfo");
    const std::size_t start = record.find("Path=") + 5;
    EXPECT_EQ(FreedesktopTrash::decode(record.substr(start, record.find('\n', start) - start)), deep)
        << "the record names the whole path";
    ASSERT_EQ(service.undoLast().restored.size(), 1u);
    const std::optional<struct stat> after = anchored(deep).status();
    ASSERT_TRUE(after);
    EXPECT_EQ(after->st_ino, before.st_ino);
    EXPECT_EQ(after->st_size, 10000);
}

TEST(TrashNames, LongNamesAreShortenedKeepingTheirExtension) {
    EXPECT_EQ(FreedesktopTrash::trashName("report.pdf", 1), "report.pdf");
    EXPECT_EQ(FreedesktopTrash::trashName("report.pdf", 3), "report 3.pdf");
    EXPECT_EQ(FreedesktopTrash::trashName(".bashrc", 2), ".bashrc 2");
    const std::string longName = std::string(250, 'a') + ".mkv";
    const std::string first = FreedesktopTrash::trashName(longName, 1);
    const std::string second = FreedesktopTrash::trashName(longName, 2);
    EXPECT_EQ(first.size(), 245u);
    EXPECT_TRUE(first.ends_with(".mkv"));
    EXPECT_EQ(second.size(), 245u);
    EXPECT_TRUE(second.ends_with(" 2.mkv"));
    EXPECT_NE(first, second);
    // A cut never splits a character: "é" is two bytes.
    std::string accented;
    for (int i = 0; i < 125; ++i) accented += "\xc3\xa9";
    const std::string cut = FreedesktopTrash::trashName(accented + ".txt", 1);
    EXPECT_EQ(cut.size() % 2, 0u) << "241 bytes of é would end in half of one";
    EXPECT_TRUE(cut.ends_with(".txt"));
    // A name that is all extension is cut as a whole.
    const std::string dotted = "x." + std::string(253, 'e');
    EXPECT_EQ(FreedesktopTrash::trashName(dotted, 1), dotted.substr(0, 245));
}

TEST(UnprivilegedTrash, AFolderOnTheWayThatCantBeEnteredIsNotPermitted) {
    if (geteuid() == 0) GTEST_SKIP() << "root enters every folder; scripts/run-unprivileged runs this as an ordinary user";
    TrashHome home;
    makeFolder(home.home + "/closed");
    writeFile(home.home + "/closed/file", 10);
    makeSymlink(home.home + "/closed", home.home + "/to-closed");
    chmod((home.home + "/closed").c_str(), 0);
    LocalFileManager disk;
    EXPECT_EQ(DeletionGuard::refusal({home.home + "/to-closed/file", 10, false}, home.context, disk, ""),
              DeletionRefusal::notPermitted);
    chmod((home.home + "/closed").c_str(), 0755);
}
