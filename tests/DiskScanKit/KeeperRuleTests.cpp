// The keeper rule: places, copied-looking names and folders, where the user's
// part of a path begins, and the natural order that breaks ties.
#include <gtest/gtest.h>

#include <tuple>

#include "DiskScanKit/DuplicateGroup.h"

using namespace tessel;
using KeeperRule::Place;
using KeeperRule::Rank;
using Paths = std::vector<std::string>;

namespace {

const std::string home = "/Users/me";

Rank rankOf(const std::string& path, const std::string& homeFolder = home) {
    return KeeperRule::rank(path, KeeperRule::folders(homeFolder));
}

Place placeOf(const std::string& path, const std::string& homeFolder = home) {
    return rankOf(path, homeFolder).place;
}

std::vector<DuplicateFile> filesAt(const Paths& paths) {
    std::vector<DuplicateFile> files;
    for (const std::string& path : paths) {
        DuplicateFile file;
        file.path = path;
        files.push_back(file);
    }
    return files;
}

// The paths in the order the rule keeps them, best first.
Paths keeperOrder(const Paths& paths, const std::string& homeFolder = home) {
    Paths order;
    for (const DuplicateFile& file : KeeperRule::ordered(filesAt(paths), homeFolder)) order.push_back(file.path);
    return order;
}

std::size_t startOf(const Paths& lowerComponents, const Paths& homeFolders = {"users", "me"}) {
    return KeeperRule::startingPoint(lowerComponents, homeFolders);
}

} // namespace

namespace tessel::KeeperRule {
// Readable failures: the place by name.
void PrintTo(Place place, std::ostream* out) {
    constexpr const char* names[] = {"organised", "standardFolder", "elsewhere", "downloads"};
    *out << names[static_cast<std::size_t>(place)];
}
} // namespace tessel::KeeperRule

TEST(KeeperPlace, EachPathFallsInOnePlaceWithoutRegardToCase) {
    const std::vector<std::tuple<std::string, std::string, Place>> cases{
        {"/Users/me/Documents/Projects/report.pdf", home, Place::organised},
        {"/Users/me/Videos/Trip/a.jpg", home, Place::organised},
        {"/Users/me/Documents/report.pdf", home, Place::standardFolder},
        {"/Users/me/Music/a.mp3", home, Place::standardFolder},
        {"/USERS/ME/DOCUMENTS/a.pdf", home, Place::standardFolder},
        {"/Users/me/Projects/Trip/a.jpg", home, Place::elsewhere},
        {"/Users/me/a.jpg", home, Place::elsewhere},
        {"/Users/me/Work/Documents/a.pdf", home, Place::elsewhere},
        {"/Users/me/Public/a.jpg", home, Place::elsewhere},
        {"/Users/me/Library/Documents/a.jpg", home, Place::elsewhere},
        {"/home/Ana/Música/a.mp3", home, Place::elsewhere}, // only the English names are known
        {"/Users/me/Downloads/Sorted/Keep/a.zip", home, Place::downloads},
        {"/Users/me/downloads/a.pdf", home, Place::downloads},
        {"/Users/me/Work/Downloads/a.zip", home, Place::elsewhere},
        {"/root/Documents/a.pdf", "/root", Place::standardFolder},
        {"/var/lib/alice/Documents/Work/a.pdf", "/var/lib/alice", Place::organised},
    };
    for (const auto& [path, homeFolder, place] : cases) EXPECT_EQ(placeOf(path, homeFolder), place) << path;
    EXPECT_EQ(keeperOrder({"/Users/me/Downloads/report.pdf", "/Users/me/zz/report.pdf", "/Users/me/Documents/report.pdf",
                           "/Users/me/Documents/Projects/report.pdf"}),
              (Paths{"/Users/me/Documents/Projects/report.pdf", "/Users/me/Documents/report.pdf",
                     "/Users/me/zz/report.pdf", "/Users/me/Downloads/report.pdf"}));
}

TEST(KeeperStartingPoint, HomeFolderIsSkipped) {
    EXPECT_EQ(KeeperRule::folders("/Users/Me/"), (Paths{"users", "me"}));
    EXPECT_EQ(startOf({"srv", "me", "documents", "a"}, {"srv", "me"}), 2u);
}

TEST(KeeperStartingPoint, HomesDisksAndHomesOnDisksAreSkippedButNeverTheFileName) {
    const std::vector<std::pair<Paths, std::size_t>> cases{
        {{"users", "someone", "documents", "a"}, 2},
        {{"users", "shared", "documents", "a"}, 2},
        {{"home", "ana", "documents", "a"}, 2},
        {{"volumes", "backup", "documents", "a"}, 2},
        {{"mnt", "data", "documents", "a"}, 2},
        {{"media", "me", "stick", "documents", "a"}, 3},
        {{"run", "media", "me", "stick", "documents", "a"}, 4},
        {{"volumes", "old mac", "users", "me", "documents", "a"}, 4},
        {{"media", "me", "backup", "home", "me", "documents", "a"}, 5},
        {{"users", "me"}, 0},
        {{"volumes", "disk", "a"}, 2},
        {{"media", "me", "a"}, 0},
    };
    for (const auto& [components, start] : cases) EXPECT_EQ(startOf(components), start) << testing::PrintToString(components);
    EXPECT_EQ(startOf({"home", "notes"}, {}), 0u);
    EXPECT_EQ(placeOf("/Users/Shared/Documents/a.pdf"), Place::standardFolder);
    EXPECT_EQ(placeOf("/Volumes/Backup/Documents/a.pdf"), Place::standardFolder);
    EXPECT_EQ(placeOf("/media/me/Stick/Pictures/Trip/a.jpg"), Place::organised);
    EXPECT_EQ(placeOf("/Volumes/Old Mac/Users/me/Documents/Taxes/a.pdf"), Place::organised);
}

TEST(KeeperStartingPoint, NoKnownPrefixStartsAtTheRoot) {
    EXPECT_EQ(startOf({"srv", "share", "documents", "a"}), 0u);
    EXPECT_EQ(placeOf("/Documents/Work/a.pdf", "/nowhere"), Place::organised);
    EXPECT_EQ(placeOf("/srv/Documents/a.pdf"), Place::elsewhere);
}

TEST(KeeperNames, CounterIsDigitsInParenthesesAtTheEnd) {
    for (const char* name : {"report (1)", "report (2)", "report(12)", "report (999)", "Copy (3)"})
        EXPECT_TRUE(KeeperRule::endsWithCounter(name)) << name;
    for (const char* name : {"report", "report 2", "report (2) final", "report ()", "report (a)", "report (2a)",
                             "report )", "report 2)", "Holiday (2019)", "report (1000)"})
        EXPECT_FALSE(KeeperRule::endsWithCounter(name)) << name;
}

TEST(KeeperNames, CopyWordsOfFileManagersAreWholeWordsInAnyCase) {
    for (const char* name : {"report copy 2", "report (another copy)", "report - Copy", "Copy of report",
                             "report (conflicted copy 2024)", "RELATÓRIO - CÓPIA", "Bericht_KOPIE", "report\u2013copy"})
        EXPECT_TRUE(KeeperRule::hasCopyMarker(name, false)) << name;
    for (const char* name : {"Copyright", "photocopy", "copying notes", "Copia2", "report", "cópias"})
        EXPECT_FALSE(KeeperRule::hasCopyMarker(name, false)) << name;
}

TEST(KeeperNames, BackupWordsOnlyWhenAskedFor) {
    for (const char* name : {"Old Town", "backup", "Photo Backups", "OLD"}) {
        EXPECT_FALSE(KeeperRule::hasCopyMarker(name, false)) << name;
        EXPECT_TRUE(KeeperRule::hasCopyMarker(name, true)) << name;
    }
    EXPECT_FALSE(KeeperRule::hasCopyMarker("oldies", true));
    EXPECT_FALSE(KeeperRule::hasCopyMarker("backupify", true));
}

TEST(KeeperNames, FileNameIsJudgedWithoutItsExtensionAndWithoutBackupWords) {
    EXPECT_TRUE(rankOf("/Users/me/Documents/report (2).pdf").nameLooksCopied);
    EXPECT_TRUE(rankOf("/Users/me/Documents/archive (2).tar.gz").nameLooksCopied);
    EXPECT_TRUE(rankOf("/Users/me/Documents/report copy.pdf").nameLooksCopied);
    EXPECT_FALSE(rankOf("/Users/me/Documents/report.pdf").nameLooksCopied);
    EXPECT_FALSE(rankOf("/Users/me/Pictures/Old Town.jpg").nameLooksCopied);
    EXPECT_FALSE(rankOf("/Users/me/Documents/notes.copy").nameLooksCopied);
    EXPECT_FALSE(rankOf("/Users/me/Movies/Holiday (2019).mkv").nameLooksCopied);
    EXPECT_TRUE(rankOf("/Users/me/.profile (2)").nameLooksCopied);
}

TEST(KeeperNames, CopiedLookingNameGoesAfterTheOriginalInTheSamePlaceButPlaceComesFirst) {
    // Natural order alone would put "report (1)" and "report copy" first.
    EXPECT_EQ(keeperOrder({"/Users/me/Documents/report (1).pdf", "/Users/me/Documents/report copy.pdf",
                           "/Users/me/Documents/report.pdf"}),
              (Paths{"/Users/me/Documents/report.pdf", "/Users/me/Documents/report (1).pdf",
                     "/Users/me/Documents/report copy.pdf"}));
    EXPECT_EQ(keeperOrder({"/Users/me/Downloads/report.pdf", "/Users/me/Documents/Work/report copy.pdf"}),
              (Paths{"/Users/me/Documents/Work/report copy.pdf", "/Users/me/Downloads/report.pdf"}));
}

TEST(KeeperFolders, CopiedLookingAndUnnamedFoldersOfTheUsersPartAreCounted) {
    const std::vector<std::tuple<std::string, std::string, int>> cases{
        {"/Users/me/Documents/old/backup/a.pdf", home, 2},
        {"/Users/me/Documents/Photos (2)/a.pdf", home, 1},
        {"/Users/me/Documents/Stuff - Kopie/Backups/a.pdf", home, 2},
        {"/Users/me/Documents/Work/Taxes/a.pdf", home, 0},
        {"/Users/me/Documents/untitled folder 2/a.pdf", home, 1},
        {"/Users/me/Documents/New folder (3)/a.pdf", home, 1},
        {"/Users/me/Documents/New Folders Project/a.pdf", home, 0},
        {"/Users/me/Documents/untitled/a.pdf", home, 0},
        {"/Volumes/Backup/Documents/a.pdf", home, 0},
        {"/home/old/Documents/a.pdf", "/home/old", 0},
        {"/Users/me/Documents/copy", home, 0}, // the file, not a folder
        {"/srv/backup/a.pdf", home, 1},
    };
    for (const auto& [path, homeFolder, count] : cases) EXPECT_EQ(rankOf(path, homeFolder).copiedFolders, count) << path;
}

TEST(KeeperFolders, FewerCopiedFoldersGoFirst) {
    EXPECT_EQ(keeperOrder({"/Users/me/Documents/backup/a.pdf", "/Users/me/Documents/Work/a.pdf"}),
              (Paths{"/Users/me/Documents/Work/a.pdf", "/Users/me/Documents/backup/a.pdf"}));
    // A copied-looking name weighs more than a copied-looking folder.
    EXPECT_EQ(keeperOrder({"/Users/me/Documents/Work/a copy.pdf", "/Users/me/Documents/old/a.pdf"}),
              (Paths{"/Users/me/Documents/old/a.pdf", "/Users/me/Documents/Work/a copy.pdf"}));
}

TEST(KeeperNaturalOrder, DigitRunsCompareByValueAndLettersWithoutRegardToCase) {
    EXPECT_LT(KeeperRule::naturalCompare("file 9", "file 10"), 0);
    EXPECT_GT(KeeperRule::naturalCompare("a10b", "a2b"), 0);
    EXPECT_EQ(KeeperRule::naturalCompare("a007", "a7"), 0);
    EXPECT_LT(KeeperRule::naturalCompare("x 99999999999999999999999", "x 100000000000000000000000"), 0);
    EXPECT_LT(KeeperRule::naturalCompare("v1.9", "v1.10"), 0);
    EXPECT_LT(KeeperRule::naturalCompare("alpha", "Zeta"), 0);
    EXPECT_EQ(KeeperRule::naturalCompare("File 9", "file 9"), 0);
    EXPECT_EQ(KeeperRule::naturalCompare("ÉCOLE", "école"), 0);
    EXPECT_EQ(KeeperRule::naturalCompare("ŁÓDŹ", "łódź"), 0);
    EXPECT_LT(KeeperRule::naturalCompare("a", "ab"), 0);
    EXPECT_GT(KeeperRule::naturalCompare("ab", "a"), 0);
}

TEST(KeeperNaturalOrder, BreaksTiesBetweenEqualRanksAndByteOrderSettlesWhatItCallsEqual) {
    EXPECT_EQ(keeperOrder({"/Users/me/Documents/Work/file 10.pdf", "/Users/me/Documents/Work/File 9.pdf"}),
              (Paths{"/Users/me/Documents/Work/File 9.pdf", "/Users/me/Documents/Work/file 10.pdf"}));
    const Rank upper = rankOf("/Users/me/Documents/Report.pdf");
    const Rank lower = rankOf("/Users/me/Documents/report.pdf");
    EXPECT_TRUE(KeeperRule::precedes(upper, lower));
    EXPECT_FALSE(KeeperRule::precedes(lower, upper));
    EXPECT_FALSE(KeeperRule::precedes(upper, upper));
}

TEST(KeeperOrdered, EqualRanksKeepTheirOrderAndFilesKeepTheirFields) {
    std::vector<DuplicateFile> files = filesAt({"/Users/me/Downloads/a.pdf", "/Users/me/Documents/a.pdf",
                                                "/Users/me/Documents/a.pdf", "/Users/me/Documents/a.pdf"});
    for (std::size_t i = 0; i < files.size(); ++i) files[i].allocatedBytes = static_cast<std::int64_t>(i + 1) * 4096;
    const std::vector<DuplicateFile> sorted = KeeperRule::ordered(files, home);
    ASSERT_EQ(sorted.size(), 4u);
    EXPECT_EQ(sorted[0].allocatedBytes, 2 * 4096);
    EXPECT_EQ(sorted[1].allocatedBytes, 3 * 4096);
    EXPECT_EQ(sorted[2].allocatedBytes, 4 * 4096);
    EXPECT_EQ(sorted[3].path, "/Users/me/Downloads/a.pdf");
    EXPECT_TRUE(KeeperRule::ordered({}, home).empty());
}

TEST(KeeperOrdered, LinuxHomeFolderOrdersLikeAMacOne) {
    EXPECT_EQ(keeperOrder({"/home/ana/Downloads/song.mp3", "/home/ana/Music/Live/song (1).mp3",
                           "/home/ana/Music/song.mp3", "/home/ana/.cache/player/song.mp3"},
                          "/home/ana"),
              (Paths{"/home/ana/Music/Live/song (1).mp3", "/home/ana/Music/song.mp3",
                     "/home/ana/.cache/player/song.mp3", "/home/ana/Downloads/song.mp3"}));
}

namespace {

DuplicateFile linked(const std::string& path, int linkCount, Paths otherNames) {
    DuplicateFile file;
    file.path = path;
    file.linkCount = linkCount;
    file.otherNames = std::move(otherNames);
    return file;
}

DuplicateFile clone(const std::string& path, std::uint64_t id, std::optional<int> setSize) {
    DuplicateFile file;
    file.path = path;
    file.cloneStream = CloneStream{{7, id}, setSize};
    return file;
}

} // namespace

TEST(KeeperHeldElsewhere, AHardLinkIsHeldOnlyByANameTheGroupDoesNotList) {
    const std::vector<DuplicateFile> files{linked("/a", 3, {"/a2"}), linked("/b", 2, {"/b2"}), linked("/c", 1, {}),
                                           linked("/d", 2, {})};
    EXPECT_EQ(KeeperRule::heldElsewhere(files), (std::vector<bool>{true, false, false, true}));
}

TEST(KeeperHeldElsewhere, AFullCloneIsHeldUnlessTheGroupHoldsItsWholeSet) {
    const std::vector<DuplicateFile> files{clone("/whole1", 1, 2), clone("/whole2", 1, 2), clone("/part", 2, 3),
                                           clone("/unknown", 3, std::nullopt), filesAt({"/plain"})[0]};
    EXPECT_EQ(KeeperRule::heldElsewhere(files), (std::vector<bool>{false, false, true, true, false}));
}

TEST(KeeperHeldElsewhere, OutranksPlaceNameAndFolders) {
    std::vector<DuplicateFile> files = filesAt({"/Users/me/Documents/Taxes/2023.pdf", "/Users/me/Downloads/old/2023 copy.pdf"});
    files[1].linkCount = 2;
    EXPECT_EQ(KeeperRule::ordered(files, home)[0].path, "/Users/me/Downloads/old/2023 copy.pdf");
    // Every name in the group: the place decides again.
    files[1].otherNames = {"/Users/me/Downloads/2023.pdf"};
    EXPECT_EQ(KeeperRule::ordered(files, home)[0].path, "/Users/me/Documents/Taxes/2023.pdf");
}

TEST(KeeperHeldElsewhere, AmongCopiesHeldElsewhereThePlaceDecides) {
    std::vector<DuplicateFile> files = filesAt({"/Users/me/Downloads/a.pdf", "/Users/me/Documents/a.pdf", "/Users/me/x/a.pdf"});
    files[0].linkCount = 2;
    files[1].linkCount = 2;
    EXPECT_EQ(KeeperRule::ordered(files, home)[0].path, "/Users/me/Documents/a.pdf");
    EXPECT_EQ(KeeperRule::ordered(files, home)[1].path, "/Users/me/Downloads/a.pdf");
}
