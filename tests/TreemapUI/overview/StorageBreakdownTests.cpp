// The categorising walk over hand-built trees, and how the volume's used space
// that no folder accounts for is placed.
#include <gtest/gtest.h>

#include <numeric>

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include "overview/OverviewModel.h"
#include "overview/StorageBreakdown.h"
#include "scan/ScanSummary.h"
#include "scan/ScannedTree.h"
#include "SystemStatsKit/VolumeSampler.h"
#include "TreeBuilder.h"

using namespace tessel;
using Category = StorageBreakdown::Category;
using Totals = std::map<Category, std::int64_t>;

namespace {

// Each test names its own root, as a scan of that place would.
struct TreeFixture : testing::Test, test::NodeBuilder {
    static std::int64_t sum(const Totals& totals) {
        return std::accumulate(totals.begin(), totals.end(), std::int64_t{0},
                               [](std::int64_t s, const auto& entry) { return s + entry.second; });
    }
    static VolumeCapacity volume(std::string name, std::int64_t total, std::int64_t available) {
        VolumeCapacity capacity;
        capacity.name = std::move(name);
        capacity.total = total;
        capacity.available = available;
        return capacity;
    }
};

struct StorageBreakdownWalk : TreeFixture {};
struct StorageBreakdownMake : TreeFixture {};

} // namespace

TEST_F(StorageBreakdownWalk, LinuxHomeSplitsByPlaceAndHiddenFoldersAreOtherUnlessListed) {
    FileNode* home = rootAt("/home/me");
    loose(home, 1);
    folder(home, "Downloads", 100);
    FileNode* pictures = folder(home, "Pictures", 200);
    folder(pictures, "Trips", 50);
    folder(home, ".cache", 30);
    folder(home, ".ssh", 4);
    FileNode* documents = folder(home, "Documents", 7);
    file(documents, "thesis.pdf", 8);
    file(home, "notes.txt", 9);
    FileNode* local = folder(home, ".local");
    folder(local, "state", 5);
    folder(folder(local, "share"), "flatpak", 60);

    Totals totals = StorageBreakdown::categorize(*home, "/home/me", "/home/me", Platform::linuxOS);
    EXPECT_EQ(totals, (Totals{{Category::documents, 1 + 7 + 8 + 9},
                              {Category::downloads, 100},
                              {Category::pictures, 250},
                              {Category::appData, 30 + 5},
                              {Category::other, 4},
                              {Category::applications, 60}}));
    EXPECT_EQ(sum(totals), home->totalBytes());
}

TEST_F(StorageBreakdownWalk, LinuxRootNestsOtherUnderSystemAndLeavesUnlistedFoldersOther) {
    FileNode* root = rootAt("/");
    FileNode* usr = folder(root, "usr", 10);
    folder(usr, "share", 40);
    folder(folder(usr, "local"), "bin", 20);
    FileNode* var = folder(root, "var");
    folder(var, "log", 3);
    folder(folder(var, "lib"), "flatpak", 70);
    folder(root, "srv", 6);
    FileNode* homes = folder(root, "home");
    folder(homes, "someone", 11);
    folder(folder(homes, "me"), "Downloads", 12);

    Totals totals = StorageBreakdown::categorize(*root, "/", "/home/me/", Platform::linuxOS);
    EXPECT_EQ(totals, (Totals{{Category::system, 10 + 40 + 3},
                              {Category::other, 20 + 6 + 11},
                              {Category::applications, 70},
                              {Category::downloads, 12}}));
}

TEST_F(StorageBreakdownWalk, ScanInsideAPlaceTakesThatPlacesKindThroughout) {
    FileNode* trips = rootAt("/home/me/Pictures/Trips");
    folder(folder(trips, "2023"), "Rome", 40);
    file(trips, "map.png", 2);
    EXPECT_EQ(StorageBreakdown::categorize(*trips, "/home/me/Pictures/Trips", "/home/me", Platform::linuxOS),
              (Totals{{Category::pictures, 42}}));

    FileNode* keys = rootAt("/home/me/.ssh/keys");
    loose(keys, 3);
    EXPECT_EQ(StorageBreakdown::categorize(*keys, "/home/me/.ssh/keys", "/home/me", Platform::linuxOS),
              (Totals{{Category::other, 3}}));
}

TEST_F(StorageBreakdownWalk, MacTablePlacesLibrariesAppsAndSystemFoldersUnderAFakeHome) {
    FileNode* root = rootAt("/");
    folder(root, "Applications", 100);
    folder(root, "Library", 20);
    folder(root, "System", 300);
    folder(root, "private", 9);
    folder(root, "opt", 4);
    folder(folder(root, "usr"), "local", 8);
    folder(root, "Volumes", 2);
    FileNode* home = folder(folder(root, "Users"), "a");
    folder(home, "Library", 50);
    folder(home, "Applications", 7);
    folder(home, "Movies", 30);
    folder(home, ".Trash", 5);

    Totals totals = StorageBreakdown::categorize(*root, "/", "/Users/a", Platform::macOS);
    EXPECT_EQ(totals, (Totals{{Category::applications, 107},
                              {Category::appData, 70},
                              {Category::system, 309},
                              {Category::other, 4 + 8 + 2 + 5},
                              {Category::documents, 30}}));
    // The same tree read with the Linux table knows none of the Mac places.
    EXPECT_EQ(StorageBreakdown::categorize(*root, "/", "/Users/a", Platform::linuxOS).at(Category::other),
              100 + 20 + 300 + 9 + 4 + 8 + 2 + 5);
}

TEST_F(StorageBreakdownMake, UnaccountedUsedSpaceOfTheWholeDiskIsSystem) {
    FileNode* root = rootAt("/");
    folder(root, "usr", 100);
    folder(root, "srv", 200);
    StorageBreakdown breakdown =
        StorageBreakdown::make(*root, volume("Disk", 1000, 600), "/home/me", Platform::linuxOS);
    EXPECT_EQ(breakdown.scanned, 300);
    ASSERT_EQ(breakdown.parts.size(), 2u);
    EXPECT_EQ(breakdown.parts[0].category, Category::other);
    EXPECT_EQ(breakdown.parts[1].category, Category::system);
    EXPECT_EQ(breakdown.parts[1].title, "System");
    EXPECT_EQ(breakdown.parts[1].bytes, 100 + 100);
}

TEST_F(StorageBreakdownMake, ReserveShownOnItsOwnIsNotSystemButASmallOneIs) {
    FileNode* root = rootAt("/");
    folder(root, "usr", 300);
    VolumeCapacity ext4 = volume("Disk", 1000, 500);
    ext4.reserved = 100; // 10% kept for root: the bar shows it apart
    StorageBreakdown breakdown = StorageBreakdown::make(*root, ext4, "/home/me", Platform::linuxOS);
    ASSERT_EQ(breakdown.parts.size(), 1u);
    EXPECT_EQ(breakdown.parts[0].category, Category::system);
    EXPECT_EQ(breakdown.parts[0].bytes, 300 + 100);

    VolumeCapacity btrfs = volume("Disk", 100'000, 50'000);
    btrfs.reserved = 500; // half a percent: too thin to show, so it counts as used
    breakdown = StorageBreakdown::make(*root, btrfs, "/home/me", Platform::linuxOS);
    ASSERT_EQ(breakdown.parts.size(), 1u);
    EXPECT_EQ(breakdown.parts[0].bytes, 49'500 + 500);
}

TEST_F(StorageBreakdownMake, UnaccountedUsedSpaceOfAFolderScanIsTheRestOfTheVolume) {
    FileNode* home = rootAt("/home/me");
    folder(home, "Downloads", 300);
    StorageBreakdown breakdown =
        StorageBreakdown::make(*home, volume("Data", 1000, 400), "/home/me", Platform::linuxOS);
    ASSERT_EQ(breakdown.parts.size(), 2u);
    EXPECT_EQ(breakdown.parts[1].category, Category::elsewhere);
    EXPECT_EQ(breakdown.parts[1].title, "Rest of Data");
    EXPECT_EQ(breakdown.parts[1].bytes, 300);

    breakdown = StorageBreakdown::make(*home, volume("", 1000, 400), "/home/me", Platform::linuxOS);
    EXPECT_EQ(breakdown.parts.back().title, std::string("Rest of ") + VolumeSampler::unnamedVolume());
}

TEST_F(StorageBreakdownMake, ScanLargerThanUsedAddsNothing) {
    FileNode* root = rootAt("/");
    folder(root, "usr", 500);
    StorageBreakdown clones =
        StorageBreakdown::make(*root, volume("Disk", 1000, 700), "/home/me", Platform::linuxOS);
    ASSERT_EQ(clones.parts.size(), 1u);
    EXPECT_EQ(clones.parts[0].bytes, 500);
}

TEST_F(StorageBreakdownMake, WithoutAVolumeThePartsSumToTheScanAndEmptyKindsAreLeftOut) {
    FileNode* home = rootAt("/home/me");
    loose(home, 5);
    folder(home, "Pictures", 20);
    folder(home, "Downloads");
    StorageBreakdown breakdown = StorageBreakdown::make(*home, std::nullopt, "/home/me", Platform::linuxOS);
    EXPECT_FALSE(breakdown.volume);
    ASSERT_EQ(breakdown.parts.size(), 2u);
    EXPECT_EQ(breakdown.parts[0].title, "Documents");
    EXPECT_EQ(breakdown.parts[1].title, "Pictures");
    EXPECT_EQ(breakdown.parts[0].bytes + breakdown.parts[1].bytes, breakdown.scanned);
}

TEST(StorageBreakdownKeys, EveryKeyLeadsBackToItsCategory) {
    for (Category category : StorageBreakdown::allCategories())
        EXPECT_EQ(StorageBreakdown::category(StorageBreakdown::key(category)), category);
    EXPECT_EQ(StorageBreakdown::key(Category::appData), "appData");
    EXPECT_EQ(StorageBreakdown::category("AppData"), std::nullopt);
    EXPECT_EQ(StorageBreakdown::allCategories().size(), 8u);
}

// The overview at launch, before any scan of this run: the last scan's parts stand until a new tree's do.
struct OverviewAtLaunch : TreeFixture {
    QTemporaryDir dir;
    QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
    ScannedTree scanned;
};

TEST_F(OverviewAtLaunch, TheLastScansPartsStandUntilTheNewTreesAreFigured) {
    ScanSummary last;
    last.path = QStringLiteral("/home/me");
    last.label = QStringLiteral("me");
    last.date = QDateTime::currentDateTime();
    last.parts = {{"other", 5}, {"documents", 30}, {"not a kind any more", 7}, {"pictures", 0}};
    last.save(settings);

    OverviewModel overview(scanned, &settings, "/home/me");
    EXPECT_TRUE(overview.partsFromLastScan());
    QStringList keys;
    for (const QVariant& part : overview.parts()) keys << part.toMap().value("key").toString();
    EXPECT_EQ(keys, (QStringList{"documents", "other"})) << "in the bar's order, known kinds that hold bytes only";

    FileNode* home = rootAt("/home/me");
    folder(home, "Music", 100);
    ScanResult result;
    result.root = FileTree::share(tree, home);
    scanned.replace(std::move(result));
    ASSERT_TRUE(QTest::qWaitFor([&] { return overview.breakdown().has_value(); }, 3000));
    EXPECT_FALSE(overview.partsFromLastScan());
    EXPECT_EQ(overview.parts().front().toMap().value("bytes").toLongLong(), 100);
}
