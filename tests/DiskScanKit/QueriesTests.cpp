// LargestNodes, Packages, the inventory and the Full Disk Access probe.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>

#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/FullDiskAccess.h"
#include "DiskScanKit/LargestNodes.h"
#include "DiskScanKit/Packages.h"
#include "DiskScanKit/ScanReport.h"
#include "TreeBuilder.h"

using namespace tessel;
using test::TreeBuilder;
using test::namesOf;
using Names = std::vector<std::string>;

TEST(LargestNodes, RanksByBytesThenDepthThenNameThenOrderAndKeepsOnlyTheBest) {
    TreeBuilder t;
    FileNode* deep = t.folder(t.root, "deep");
    FileNode* b = t.file(t.root, "b", 5);
    FileNode* a = t.file(t.root, "a", 5);
    FileNode* deeperLoses = t.file(deep, "0", 5);
    FileNode* big = t.file(deep, "z", 9);
    FileNode* twin = t.file(t.root, "a", 5);
    LargestNodes selection(4);
    for (auto [node, depth] : {std::pair{b, 1}, {deeperLoses, 2}, {a, 1}, {big, 2}, {twin, 1}, {t.file(t.root, "s", 1), 1}})
        selection.offer(node, depth);
    EXPECT_EQ(selection.sorted(), (std::vector<FileNode*>{big, a, twin, b}));
    EXPECT_EQ(selection.offered(), 6);
    LargestNodes none(0);
    none.offer(big, 2);
    EXPECT_TRUE(none.sorted().empty());
}

TEST(Packages, KnownByExtensionInAnyCaseAndOnlyAboveTheLastComponent) {
    EXPECT_TRUE(Packages::isPackage("Xcode.APP"));
    EXPECT_FALSE(Packages::isPackage("backup")) << "no extension at all";
    EXPECT_TRUE(Packages::isInsidePackage("/Users/a/X.app/Contents/Info.plist"));
    EXPECT_FALSE(Packages::isInsidePackage("/Users/a/X.app"));
}

TEST(Inventory, CountsEverythingAndListsTheLargestOutsidePackages) {
    TreeBuilder t;
    t.loose(t.root, 0, 4);
    t.file(t.folder(t.root, "docs", 0, 3), "big", 100);
    t.file(t.folder(t.root, "media", 0, 1), "movie", 300);
    t.file(t.folder(t.folder(t.root, "Big.app", 0, 2), "Contents"), "binary", 900);
    t.file(t.root, "", 500); // a file kept without its name
    const ScanReport::Inventory inventory = ScanReport::inventory(*t.root, 10);
    EXPECT_EQ(inventory.folderCount, 4);
    EXPECT_EQ(inventory.fileCount, 4 + 3 + 1 + 1 + 1 + 2 + 1 + 1);
    EXPECT_EQ(namesOf(inventory.folders), (Names{"Big.app", "media", "docs"}));
    EXPECT_EQ(namesOf(inventory.files), (Names{"movie", "big"}))
        << "neither a package's insides nor a nameless file is listed";
    EXPECT_TRUE(ScanReport::inventory(*t.root, -5).files.empty());
}

TEST(Inventory, ProgressFollowsTheBytesPassedAndEndsWhole) {
    TreeBuilder t;
    t.loose(t.root, 100);
    t.file(t.folder(t.root, "docs", 300), "a", 100);
    t.file(t.root, "big", 500);
    std::vector<double> told;
    const auto record = [&](double fraction) { told.push_back(fraction); };
    ScanReport::inventory(*t.root, 10, record);
    ASSERT_FALSE(told.empty());
    EXPECT_DOUBLE_EQ(told.front(), 0.1) << "the root's own small files come first";
    EXPECT_TRUE(std::adjacent_find(told.begin(), told.end(), std::greater_equal<>()) == told.end()) << "always rising";
    EXPECT_DOUBLE_EQ(told.back(), 1.0);
    for (int i = 0; i < 5000; ++i) t.file(t.root, "f", 1);
    told.clear();
    ScanReport::inventory(*t.root, 10, record);
    EXPECT_LE(told.size(), 100u) << "at most once a whole percent, not once a node";
    TreeBuilder empty;
    told.clear();
    ScanReport::inventory(*empty.root, 10, record);
    EXPECT_EQ(told, std::vector<double>{1.0}) << "a tree of no bytes is done at once";
}

TEST(FullDiskAccess, FirstExistingProbeDecides) {
    struct FakeFileManager : FileManager {
        std::map<std::string, bool> folders; // path -> can list
        bool isFolder(const std::string& path) const override { return folders.contains(path); }
        bool canList(const std::string& path) const override { return folders.contains(path) && folders.at(path); }
    } files;
    EXPECT_EQ(FullDiskAccess::status("/Users/a", files), FullDiskAccessStatus::undetermined);
    files.folders["/Users/a/Library/Safari"] = false;
    EXPECT_EQ(FullDiskAccess::status("/Users/a", files), FullDiskAccessStatus::denied);
    files.folders["/Users/a/Library/Application Support/com.apple.TCC"] = true;
    EXPECT_EQ(FullDiskAccess::status("/Users/a", files), FullDiskAccessStatus::granted);
}
