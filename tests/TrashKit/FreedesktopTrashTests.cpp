// The Trash as other desktop programs read it: the .trashinfo records, the
// names, directorysizes, the Trash of a second disk and its safety checks,
// and a round trip through an independent implementation (trash-cli).
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <regex>

#include "TrashTestSupport.h"

using namespace tessel;
using namespace tessel::test;

namespace {

std::string trashedPathOf(const std::variant<std::string, TrashError>& moved) {
    if (const TrashError* error = std::get_if<TrashError>(&moved)) return "error: " + error->message;
    return std::get<std::string>(moved);
}

std::string shellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

} // namespace

TEST(FreedesktopTrashNames, PathsArePercentEncodedByteForByte) {
    const std::string raw = std::string("/home/me/a b%/\xc3\xbc\n\xff") + "x~_.-";
    const std::string encoded = FreedesktopTrash::encode(raw);
    EXPECT_EQ(encoded, "/home/me/a%20b%25/%C3%BC%0A%FFx~_.-");
    EXPECT_EQ(FreedesktopTrash::decode(encoded), raw);
    EXPECT_FALSE(FreedesktopTrash::decode("%4"));
    EXPECT_FALSE(FreedesktopTrash::decode("%zz"));
}

TEST(FreedesktopTrashNames, DeletionDateIsLocalTimeWithoutAZone) {
    setenv("TZ", "Asia/Kolkata", 1);
    tzset();
    EXPECT_EQ(FreedesktopTrash::deletionDate(0), "1970-01-01T05:30:00");
    unsetenv("TZ");
    tzset();
}

TEST(FreedesktopTrashHome, RecordsAbsolutePathAndDateThenMovesByRename) {
    TrashHome home;
    const std::string path = home.home + "/odd name \xff.txt";
    writeFile(path, 4000);
    struct stat before {};
    lstat(path.c_str(), &before);
    const std::string trashed = trashedPathOf(home.bin.trashItem(anchored(path)));
    ASSERT_EQ(trashed, home.trash + "/files/odd name \xff.txt");
    struct stat after {};
    ASSERT_EQ(lstat(trashed.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino) << "renamed, not copied";
    const std::string info = readText(home.trash + "/info/odd name \xff.txt.trashinfo");
    EXPECT_TRUE(std::regex_match(info, std::regex("\\[Trash Info\\]\nPath=" + home.home +
                                                  "/odd%20name%20%FF.txt\nDeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n")))
        << info;
    struct stat infoMode {};
    lstat((home.trash + "/info/odd name \xff.txt.trashinfo").c_str(), &infoMode);
    EXPECT_EQ(infoMode.st_mode & 0777, 0600u);
}

TEST(FreedesktopTrashHome, NamesNeverCollideAndPutBackTakesItsRecordAway) {
    TrashHome home;
    makeFolder(home.home + "/a");
    makeFolder(home.home + "/b");
    writeFile(home.home + "/a/.bashrc", 10);
    writeFile(home.home + "/b/.bashrc", 20);
    const std::string first = trashedPathOf(home.bin.trashItem(anchored(home.home + "/a/.bashrc")));
    const std::string second = trashedPathOf(home.bin.trashItem(anchored(home.home + "/b/.bashrc")));
    EXPECT_EQ(first, home.trash + "/files/.bashrc");
    EXPECT_EQ(second, home.trash + "/files/.bashrc 2");
    ASSERT_TRUE(std::holds_alternative<std::monostate>(home.bin.putBack(anchored(second), anchored(home.home + "/b/.bashrc"))));
    EXPECT_EQ(readText(home.home + "/b/.bashrc").size(), 20u);
    EXPECT_FALSE(LocalFileManager().exists(home.trash + "/info/.bashrc 2.trashinfo"));
    EXPECT_TRUE(LocalFileManager().exists(home.trash + "/info/.bashrc.trashinfo"));
    writeFile(home.home + "/a/.bashrc", 5);
    EXPECT_TRUE(std::holds_alternative<TrashError>(home.bin.putBack(anchored(first), anchored(home.home + "/a/.bashrc"))))
        << "never over what stands there";
    EXPECT_EQ(readText(home.home + "/a/.bashrc").size(), 5u);
}

TEST(FreedesktopTrashHome, AFolderHasItsDirectorySizesLine) {
    TrashHome home;
    makeFolder(home.home + "/photos 2024");
    writeFile(home.home + "/photos 2024/a.jpg", 50000);
    const std::string trashed = trashedPathOf(home.bin.trashItem(anchored(home.home + "/photos 2024")));
    ASSERT_EQ(trashed, home.trash + "/files/photos 2024");
    const std::string sizes = readText(home.trash + "/directorysizes");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(sizes, match, std::regex("(\\d+) (\\d+) photos%202024\n"))) << sizes;
    EXPECT_GE(std::stoll(match[1]), 50000);
    ASSERT_TRUE(std::holds_alternative<std::monostate>(home.bin.putBack(anchored(trashed), anchored(home.home + "/photos 2024"))));
    EXPECT_EQ(readText(home.trash + "/directorysizes"), "");
}

TEST(FreedesktopTrashDisks, ASecondDiskGetsATrashAtItsTopWithRelativePaths) {
    TrashHome home;
    SecondDisk disk(home.folder / "disk");
    if (!disk.mounted) GTEST_SKIP() << "mounting a tmpfs needs root; the second-disk Trash is not tested here";
    makeFolder(disk.path + "/deep");
    // A disk inside the disk: its own top is where the device changes, not the outer mount.
    SecondDisk inner(disk.path + "/deep/inner");
    writeFile(disk.path + "/deep/film.mkv", 100);
    writeFile(inner.path + "/notes.txt", 100);
    const std::string user = std::to_string(geteuid());
    EXPECT_EQ(trashedPathOf(home.bin.trashItem(anchored(disk.path + "/deep/film.mkv"))),
              disk.path + "/.Trash-" + user + "/files/film.mkv");
    EXPECT_EQ(readText(disk.path + "/.Trash-" + user + "/info/film.mkv.trashinfo").substr(0, 35),
              "[Trash Info]\nPath=deep/film.mkv\nDel");
    EXPECT_EQ(trashedPathOf(home.bin.trashItem(anchored(inner.path + "/notes.txt"))),
              inner.path + "/.Trash-" + user + "/files/notes.txt");
}

TEST(FreedesktopTrashDisks, ASharedTrashCountsOnlyWhenRealAndSticky) {
    TrashHome home;
    SecondDisk disk(home.folder / "disk");
    if (!disk.mounted) GTEST_SKIP() << "mounting a tmpfs needs root; the shared-Trash checks are not tested here";
    const std::string user = std::to_string(geteuid());
    // A .Trash without the sticky bit is passed over.
    makeFolder(disk.path + "/.Trash");
    writeFile(disk.path + "/a", 10);
    EXPECT_EQ(trashedPathOf(home.bin.trashItem(anchored(disk.path + "/a"))), disk.path + "/.Trash-" + user + "/files/a");
    // Made sticky, it is used, with a folder of the user's inside.
    chmod((disk.path + "/.Trash").c_str(), 01777);
    writeFile(disk.path + "/b", 10);
    EXPECT_EQ(trashedPathOf(home.bin.trashItem(anchored(disk.path + "/b"))), disk.path + "/.Trash/" + user + "/files/b");
    // A .Trash that is a link to somewhere else is never followed.
    SecondDisk other(home.folder / "other");
    makeFolder(home.folder / "elsewhere");
    chmod((home.folder / "elsewhere").c_str(), 01777);
    makeSymlink(home.folder / "elsewhere", other.path + "/.Trash");
    writeFile(other.path + "/c", 10);
    EXPECT_EQ(trashedPathOf(home.bin.trashItem(anchored(other.path + "/c"))), other.path + "/.Trash-" + user + "/files/c");
    EXPECT_FALSE(LocalFileManager().exists(home.folder / ("elsewhere/" + user)));
}

TEST(FreedesktopTrashDisks, NoUsableTrashLeavesTheItemInPlace) {
    TrashHome home;
    SecondDisk disk(home.folder / "disk");
    if (!disk.mounted) GTEST_SKIP() << "mounting a tmpfs needs root; the unusable-Trash case is not tested here";
    // The name of the user's Trash is taken by a plain file: no Trash can be made.
    writeFile(disk.path + "/.Trash-" + std::to_string(geteuid()), 1);
    writeFile(disk.path + "/keep", 100);
    const auto moved = home.bin.trashItem(anchored(disk.path + "/keep"));
    ASSERT_TRUE(std::holds_alternative<TrashError>(moved));
    EXPECT_NE(std::get<TrashError>(moved).message.find("Nothing was copied or deleted."), std::string::npos);
    EXPECT_EQ(readText(disk.path + "/keep").size(), 100u);
}

TEST(FreedesktopTrashInterop, TrashCliListsAndRestoresWhatWeMoved) {
    if (std::system("command -v trash-list >/dev/null 2>&1 && command -v trash-restore >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "trash-cli is not installed (scripts/install-deps installs it)";
    TrashHome home;
    makeFolder(home.home + "/work");
    const std::string path = home.home + "/work/draft one.txt";
    writeFile(path, 1234);
    const FileState before = stateOf(path);
    ASSERT_EQ(trashedPathOf(home.bin.trashItem(anchored(path))), home.trash + "/files/draft one.txt");

    const std::string environment = "HOME=" + shellQuoted(home.home) + " XDG_DATA_HOME=" + shellQuoted(home.dataHome);
    const std::string listed = home.folder / "listed.txt";
    ASSERT_EQ(std::system((environment + " trash-list > " + shellQuoted(listed)).c_str()), 0);
    EXPECT_NE(readText(listed).find(" " + path), std::string::npos) << readText(listed);
    // trash-restore asks which of the items trashed from here to restore: the first.
    ASSERT_EQ(std::system(("cd " + shellQuoted(home.home + "/work") + " && echo 0 | " + environment +
                           " trash-restore > /dev/null")
                              .c_str()),
              0);
    EXPECT_EQ(stateOf(path), before);
}
