// The keeper rule: places, copied-looking names and folders, where the user's
// part of a path begins, copies held elsewhere, and the order that breaks ties.
#include <gtest/gtest.h>

#include <tuple>

#include "DiskScanKit/DuplicateGroup.h"

using namespace tessel;
using KeeperRule::Place;
using Paths = std::vector<std::string>;

namespace {

DuplicateFile fileAt(const std::string& path, int linkCount = 1, Paths otherNames = {}) {
    DuplicateFile file;
    file.path = path;
    file.linkCount = linkCount;
    file.otherNames = std::move(otherNames);
    return file;
}

} // namespace

TEST(KeeperRank, PlaceNameAndCopiedFoldersOfEachPath) {
    // Path, home, place, whether the name looks copied, copied-looking folders.
    const std::vector<std::tuple<std::string, std::string, Place, bool, int>> cases{
        {"/Users/me/Documents/Projects/report (2).pdf", "/Users/me", Place::organised, true, 0},
        {"/Users/me/Videos/Trip/archive (2).tar.gz", "/Users/me", Place::organised, true, 0},
        {"/USERS/ME/DOCUMENTS/report copy.pdf", "/Users/me", Place::standardFolder, true, 0},
        {"/Users/me/Projects/Old Town.jpg", "/Users/me", Place::elsewhere, false, 0},
        {"/Users/me/Work/Documents/notes.copy", "/Users/me", Place::elsewhere, false, 0},
        {"/Users/me/Downloads/Sorted/Holiday (2019).mkv", "/Users/me", Place::downloads, false, 0},
        {"/var/lib/alice/Documents/Work/a.pdf", "/var/lib/alice", Place::organised, false, 0},
        {"/media/me/Stick/Pictures/old/backup/a.jpg", "/Users/me", Place::organised, false, 2},
        {"/Users/me/Documents/A - Kopie/B (2)/untitled folder 2/untitled/a.pdf", "/Users/me", Place::organised, false, 3},
        {"/Users/me/Documents/New Folders Project/a.pdf", "/Users/me", Place::organised, false, 0},
        {"/home/old/Documents/copy", "/home/old", Place::standardFolder, true, 0},
    };
    for (const auto& [path, home, place, copiedName, folders] : cases) {
        const KeeperRule::Rank got = KeeperRule::rank(path, KeeperRule::folders(home));
        EXPECT_EQ(std::tuple(got.place, got.nameLooksCopied, got.copiedFolders), std::tuple(place, copiedName, folders)) << path;
    }
}

TEST(KeeperRank, HomesDisksAndHomesOnDisksAreSkippedButNeverTheFileName) {
    const std::vector<std::tuple<Paths, Paths, std::size_t>> cases{
        {{"srv", "me", "documents", "a"}, {"srv", "me"}, 2},
        {{"users", "someone", "documents", "a"}, {"users", "me"}, 2},
        {{"home", "ana", "documents", "a"}, {}, 2},
        {{"run", "media", "me", "stick", "documents", "a"}, {}, 4},
        {{"volumes", "old mac", "users", "me", "documents", "a"}, {}, 4},
        {{"srv", "share", "documents", "a"}, {}, 0},
        {{"users", "me"}, {"users", "me"}, 0},
        {{"media", "me", "a"}, {}, 0},
    };
    for (const auto& [components, home, start] : cases)
        EXPECT_EQ(KeeperRule::startingPoint(components, home), start) << testing::PrintToString(components);
}

TEST(KeeperNames, CountersAndCopyWordsAreWholeWordsInAnyCaseAndBackupWordsOnlyWhenAskedFor) {
    for (const char* name : {"report (1)", "report(12)", "report (999)"}) EXPECT_TRUE(KeeperRule::endsWithCounter(name)) << name;
    for (const char* name : {"report 2", "report (2) final", "report ()", "report (2a)", "Holiday (2019)"})
        EXPECT_FALSE(KeeperRule::endsWithCounter(name)) << name;
    for (const char* name : {"report copy 2", "Copy of report", "RELATÓRIO - CÓPIA", "Bericht_KOPIE", "report\u2013copy"})
        EXPECT_TRUE(KeeperRule::hasCopyMarker(name, false)) << name;
    for (const char* name : {"Copyright", "photocopy", "Copia2", "cópias", "Old Town"})
        EXPECT_FALSE(KeeperRule::hasCopyMarker(name, false)) << name;
    EXPECT_TRUE(KeeperRule::hasCopyMarker("Photo Backups", true));
    EXPECT_FALSE(KeeperRule::hasCopyMarker("oldies", true));
}

TEST(KeeperNaturalOrder, DigitRunsCompareByValueAndLettersWithoutRegardToCase) {
    const std::vector<std::tuple<std::string, std::string, int>> cases{
        {"file 9", "file 10", -1}, {"a10b", "a2b", 1}, {"a007", "a7", 0}, {"alpha", "Zeta", -1}, {"ÉCOLE", "école", 0},
        {"x 99999999999999999999999", "x 100000000000000000000000", -1}, {"ŁÓDŹ", "łódź", 0}, {"a", "ab", -1},
    };
    for (const auto& [a, b, order] : cases) EXPECT_EQ(KeeperRule::naturalCompare(a, b), order) << a << " vs " << b;
}

TEST(KeeperOrder, EachPartOfTheRankDecidesOnlyWhereThoseBeforeItTie) {
    // Best first; given in the opposite order.
    const std::vector<Paths> cases{
        {"/Users/me/Documents/Projects/r.pdf", "/Users/me/Documents/r.pdf", "/Users/me/zz/r.pdf", "/Users/me/Downloads/r.pdf"},
        // Natural order alone would put "r (1)" and "r copy" first.
        {"/Users/me/Documents/r.pdf", "/Users/me/Documents/r (1).pdf", "/Users/me/Documents/r copy.pdf"},
        {"/Users/me/Documents/Work/r copy.pdf", "/Users/me/Downloads/r.pdf"},
        {"/Users/me/Documents/old/a.pdf", "/Users/me/Documents/Work/a copy.pdf", "/Users/me/Documents/backup/a copy.pdf"},
        {"/Users/me/Documents/Work/File 9.pdf", "/Users/me/Documents/Work/file 10.pdf"},
        {"/Users/me/Documents/Report.pdf", "/Users/me/Documents/report.pdf"},
    };
    for (const Paths& best : cases) {
        std::vector<DuplicateFile> files;
        for (auto path = best.rbegin(); path != best.rend(); ++path) files.push_back(fileAt(*path));
        Paths order;
        for (const DuplicateFile& file : KeeperRule::ordered(files, "/Users/me")) order.push_back(file.path);
        EXPECT_EQ(order, best);
    }
}

TEST(KeeperHeldElsewhere, ACopyWithANameOutsideTheGroupOrAFullCloneWithoutItsWholeSet) {
    std::vector<DuplicateFile> files{fileAt("/a", 3, {"/a2"}), fileAt("/b", 2, {"/b2"}), fileAt("/c"), fileAt("/d", 2),
                                     fileAt("/whole1"), fileAt("/whole2"), fileAt("/part"), fileAt("/unknown")};
    files[4].cloneStream = files[5].cloneStream = CloneStream{{7, 1}, 2};
    files[6].cloneStream = CloneStream{{7, 2}, 3};
    files[7].cloneStream = CloneStream{{7, 3}, std::nullopt};
    EXPECT_EQ(KeeperRule::heldElsewhere(files), (std::vector<bool>{true, false, false, true, false, false, true, true}));
}
