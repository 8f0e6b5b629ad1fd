// The Trash as other desktop programs read it: the .trashinfo records, the
// names, directorysizes, the Trash of a second disk and its safety checks,
// and a round trip through an independent implementation (trash-cli).
#include <cstdlib>
#include <regex>

#include "ScopedEnvironment.h"
#include "TrashTestSupport.h"

using namespace tessel;
using namespace tessel::test;

namespace {

class FreedesktopTrashTest : public TrashHome {
protected:
    std::string trashed(const std::string& path) {
        const std::variant<std::string, TrashError> moved = bin.trashItem(anchored(path));
        if (const TrashError* error = std::get_if<TrashError>(&moved)) return "error: " + error->message;
        return std::get<std::string>(moved);
    }
    bool putBack(const std::string& trashedPath, const std::string& path) {
        return std::holds_alternative<std::monostate>(bin.putBack(anchored(trashedPath), anchored(path)));
    }
};

using FreedesktopTrashHome = FreedesktopTrashTest;
using FreedesktopTrashDisks = FreedesktopTrashTest;

} // namespace

TEST(FreedesktopTrashNames, PathsArePercentEncodedByteForByte) {
    const std::string raw = std::string("/home/me/a b%/\xc3\xbc\n\xff") + "x~_.-";
    EXPECT_EQ(FreedesktopTrash::encode(raw), "/home/me/a%20b%25/%C3%BC%0A%FFx~_.-");
    EXPECT_EQ(FreedesktopTrash::decode(FreedesktopTrash::encode(raw)), raw);
    EXPECT_FALSE(FreedesktopTrash::decode("%4"));
    EXPECT_FALSE(FreedesktopTrash::decode("%zz"));
}

TEST(FreedesktopTrashNames, DeletionDateIsLocalTimeWithoutAZone) {
    ScopedEnvironment environment;
    environment.set("TZ", "Asia/Kolkata");
    tzset();
    EXPECT_EQ(FreedesktopTrash::deletionDate(0), "1970-01-01T05:30:00");
    environment.unset("TZ");
    tzset();
}

TEST_F(FreedesktopTrashHome, RecordsAbsolutePathAndDateThenMovesByRename) {
    const std::string path = put(home + "/odd name \xff.txt");
    const ino_t inode = anchored(path).status().value().st_ino;
    ASSERT_EQ(trashed(path), trash + "/files/odd name \xff.txt");
    EXPECT_EQ(anchored(trash + "/files/odd name \xff.txt").status().value().st_ino, inode) << "renamed, not copied";
    const std::string record = trash + "/info/odd name \xff.txt.trashinfo";
    EXPECT_TRUE(std::regex_match(readText(record), std::regex("\\[Trash Info\\]\nPath=" + home + "/odd%20name%20%FF.txt\n"
                                                              "DeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n")))
        << readText(record);
    EXPECT_EQ(anchored(record).status().value().st_mode & 0777, 0600u);
}

TEST_F(FreedesktopTrashHome, NamesNeverCollideAndPutBackTakesItsRecordAwayButNeverOverwrites) {
    const std::string first = trashed(put(home + "/a/.bashrc", 10));
    const std::string second = trashed(put(home + "/b/.bashrc", 20));
    EXPECT_EQ(second, trash + "/files/.bashrc 2");
    ASSERT_TRUE(putBack(second, home + "/b/.bashrc"));
    EXPECT_EQ(readText(home + "/b/.bashrc").size(), 20u);
    EXPECT_FALSE(disk.exists(trash + "/info/.bashrc 2.trashinfo"));
    EXPECT_FALSE(putBack(first, put(home + "/a/.bashrc", 5))) << "never over what stands there";
    EXPECT_EQ(readText(home + "/a/.bashrc").size(), 5u);
}

TEST_F(FreedesktopTrashHome, AFolderHasItsDirectorySizesLineUntilPutBack) {
    put(home + "/photos 2024/a.jpg", 50000);
    ASSERT_EQ(trashed(home + "/photos 2024"), trash + "/files/photos 2024");
    std::smatch match;
    const std::string sizes = readText(trash + "/directorysizes");
    ASSERT_TRUE(std::regex_match(sizes, match, std::regex("(\\d+) (\\d+) photos%202024\n"))) << sizes;
    EXPECT_GE(std::stoll(match[1]), 50000);
    ASSERT_TRUE(putBack(trash + "/files/photos 2024", home + "/photos 2024"));
    EXPECT_EQ(readText(trash + "/directorysizes"), "");
}

// A disk's own Trash is .Trash/<uid> only where .Trash is a real sticky folder,
// else .Trash-<uid>; a disk inside a disk has its own; with neither usable the item stays.
TEST_F(FreedesktopTrashDisks, EachDiskHasItsOwnTrashAndASharedOneOnlyWhenARealStickyFolder) {
    SecondDisk outer(folder / "disk");
    if (!outer.mounted) GTEST_SKIP() << "mounting a tmpfs needs root; other disks' Trash is not tested here";
    SecondDisk inner(outer.path + "/deep/inner"), linked(folder / "linked");
    makeFolder(outer.path + "/.Trash");
    EXPECT_EQ(trashed(put(outer.path + "/a")), outer.path + "/.Trash-" + user + "/files/a") << "not sticky";
    chmod((outer.path + "/.Trash").c_str(), 01777);
    EXPECT_EQ(trashed(put(outer.path + "/b")), outer.path + "/.Trash/" + user + "/files/b");
    EXPECT_EQ(trashed(put(inner.path + "/c")), inner.path + "/.Trash-" + user + "/files/c");
    makeFolder(folder / "elsewhere");
    chmod((folder / "elsewhere").c_str(), 01777);
    makeSymlink(folder / "elsewhere", linked.path + "/.Trash");
    put(linked.path + "/.Trash-" + user, 1); // a plain file where its own Trash would be made
    const std::string kept = put(linked.path + "/keep", 100);
    EXPECT_NE(trashed(kept).find("Nothing was copied or deleted."), std::string::npos) << "a link is never followed";
    EXPECT_EQ(readText(kept).size(), 100u);
}

TEST_F(FreedesktopTrashHome, TrashCliListsAndRestoresWhatWeMoved) {
    if (std::system("command -v trash-list >/dev/null 2>&1 && command -v trash-restore >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "trash-cli is not installed (scripts/install-deps installs it)";
    const std::string path = put(home + "/work/draft one.txt", 1234);
    const std::string before = stateOf(path);
    ASSERT_EQ(trashed(path), trash + "/files/draft one.txt");
    const std::string environment = "HOME='" + home + "' XDG_DATA_HOME='" + dataHome + "'";
    ASSERT_EQ(std::system((environment + " trash-list > '" + folder / "listed'").c_str()), 0);
    EXPECT_NE(readText(folder / "listed").find(" " + path), std::string::npos) << readText(folder / "listed");
    // trash-restore asks which of the items trashed from here to restore: the first.
    ASSERT_EQ(std::system(("cd '" + home + "/work' && echo 0 | " + environment + " trash-restore >/dev/null").c_str()), 0);
    EXPECT_EQ(stateOf(path), before);
}
