// LargestNodes, Packages, the inventory and the Full Disk Access probe.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>

#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/FullDiskAccess.h"
#include "DiskScanKit/LargestNodes.h"
#include "DiskScanKit/Packages.h"
#include "DiskScanKit/ScanReport.h"
#include "TreeBuilder.h"

using namespace tessel;
using test::TreeBuilder;

namespace {

std::vector<std::string> paths(const std::vector<FileNode*>& nodes) {
    std::vector<std::string> list;
    for (FileNode* node : nodes) list.push_back(node->path());
    return list;
}

} // namespace

TEST(LargestNodes, CapacityZeroKeepsAndCountsNothing) {
    TreeBuilder t;
    LargestNodes selection(0);
    selection.offer(t.file(t.root, "f", 10), 1);
    EXPECT_TRUE(selection.sorted().empty());
    EXPECT_EQ(selection.offered(), 0);
}

TEST(LargestNodes, RanksByBytesThenDepthThenNameThenOrder) {
    TreeBuilder t;
    FileNode* deep = t.folder(t.root, "deep");
    FileNode* b = t.file(t.root, "b", 5);
    FileNode* a = t.file(t.root, "a", 5);
    FileNode* deeperLoses = t.file(deep, "0", 5);
    FileNode* big = t.file(deep, "z", 9);
    FileNode* twin = t.file(t.root, "a", 5);
    LargestNodes selection(10);
    selection.offer(b, 1);
    selection.offer(deeperLoses, 2);
    selection.offer(a, 1);
    selection.offer(big, 2);
    selection.offer(twin, 1);
    EXPECT_EQ(selection.sorted(), (std::vector<FileNode*>{big, a, twin, b, deeperLoses}));
}

TEST(LargestNodes, KeepsOnlyTheBestWhenFull) {
    TreeBuilder t;
    std::vector<FileNode*> files;
    for (int i = 0; i < 50; ++i) files.push_back(t.file(t.root, "f", (i * 37) % 50));
    LargestNodes selection(3);
    for (FileNode* file : files) selection.offer(file, 1);
    std::vector<FileNode*> best = selection.sorted();
    ASSERT_EQ(best.size(), 3u);
    EXPECT_EQ(best[0]->totalBytes(), 49);
    EXPECT_EQ(best[1]->totalBytes(), 48);
    EXPECT_EQ(best[2]->totalBytes(), 47);
    EXPECT_EQ(selection.offered(), 50);
}

TEST(Packages, KnownByExtensionInAnyCase) {
    EXPECT_TRUE(Packages::isPackage("Xcode.APP"));
    EXPECT_TRUE(Packages::isPackage("Old Mac.backup"));
    EXPECT_FALSE(Packages::isPackage("backup")) << "no extension at all";
    EXPECT_FALSE(Packages::isPackage("notes.txt"));
}

TEST(Packages, InsidePackageLooksAboveTheLastComponentOnly) {
    EXPECT_TRUE(Packages::isInsidePackage("/Users/a/X.app/Contents/Info.plist"));
    EXPECT_FALSE(Packages::isInsidePackage("/Users/a/X.app"));
    EXPECT_FALSE(Packages::isInsidePackage("/Users/a/apps/x"));
}

TEST(Inventory, CountsEverythingAndListsTheLargest) {
    TreeBuilder t;
    t.root->setAggregatedFiles(0, 4);
    FileNode* docs = t.folder(t.root, "docs", 0, 3);
    t.file(docs, "big", 100);
    FileNode* media = t.folder(t.root, "media", 0, 1);
    t.file(media, "movie", 300);
    t.file(t.root, "", 500); // a file kept without its name
    ScanReport::Inventory inventory = ScanReport::inventory(*t.root, 10);
    EXPECT_EQ(inventory.folderCount, 2);
    EXPECT_EQ(inventory.fileCount, 4 + 3 + 1 + 3);
    EXPECT_EQ(paths(inventory.folders), (std::vector<std::string>{"/r/media", "/r/docs"}));
    EXPECT_EQ(paths(inventory.files), (std::vector<std::string>{"/r/media/movie", "/r/docs/big"}))
        << "the root is not listed and a nameless file is counted but not listed";
}

TEST(Inventory, PackageContentsAreCountedButNotListed) {
    TreeBuilder t;
    FileNode* app = t.folder(t.root, "Big.app", 0, 2);
    FileNode* contents = t.folder(app, "Contents");
    t.file(contents, "binary", 900);
    t.file(t.root, "notes", 10);
    ScanReport::Inventory inventory = ScanReport::inventory(*t.root, 10);
    EXPECT_EQ(paths(inventory.folders), (std::vector<std::string>{"/r/Big.app"}));
    EXPECT_EQ(paths(inventory.files), (std::vector<std::string>{"/r/notes"}));
    EXPECT_EQ(inventory.folderCount, 2);
    EXPECT_EQ(inventory.fileCount, 4);
}

TEST(Inventory, ProgressFollowsTheBytesPassedAndEndsWhole) {
    TreeBuilder t;
    t.loose(t.root, 100);
    FileNode* docs = t.folder(t.root, "docs", 300);
    t.file(docs, "a", 100);
    t.file(t.root, "big", 500);
    std::vector<double> told;
    ScanReport::inventory(*t.root, 10, [&](double fraction) { told.push_back(fraction); });
    ASSERT_FALSE(told.empty());
    EXPECT_DOUBLE_EQ(told.front(), 0.1) << "the root's own small files come first";
    EXPECT_TRUE(std::adjacent_find(told.begin(), told.end(), std::greater_equal<>()) == told.end()) << "always rising";
    EXPECT_DOUBLE_EQ(told.back(), 1.0);

    TreeBuilder many;
    for (int i = 0; i < 5000; ++i) many.file(many.root, "f" + std::to_string(i), 7);
    told.clear();
    ScanReport::inventory(*many.root, 10, [&](double fraction) { told.push_back(fraction); });
    EXPECT_EQ(told.size(), 100u) << "once at each whole percent, not once a node";

    TreeBuilder empty;
    told.clear();
    ScanReport::inventory(*empty.root, 10, [&](double fraction) { told.push_back(fraction); });
    EXPECT_EQ(told, std::vector<double>{1.0}) << "a tree of no bytes is done at once";
}

TEST(Inventory, NegativeLimitListsNothing) {
    TreeBuilder t;
    t.file(t.root, "f", 10);
    ScanReport::Inventory inventory = ScanReport::inventory(*t.root, -5);
    EXPECT_TRUE(inventory.files.empty());
    EXPECT_EQ(inventory.fileCount, 1);
}

namespace {
struct FakeFileManager : FileManager {
    std::map<std::string, bool> folders; // path -> can list
    bool isFolder(const std::string& path) const override { return folders.contains(path); }
    bool canList(const std::string& path) const override {
        auto found = folders.find(path);
        return found != folders.end() && found->second;
    }
};
} // namespace

TEST(FullDiskAccess, FirstExistingProbeDecides) {
    FakeFileManager files;
    EXPECT_EQ(FullDiskAccess::status("/Users/a", files), FullDiskAccessStatus::undetermined);
    files.folders["/Users/a/Library/Safari"] = false;
    EXPECT_EQ(FullDiskAccess::status("/Users/a", files), FullDiskAccessStatus::denied);
    files.folders["/Users/a/Library/Application Support/com.apple.TCC"] = true;
    EXPECT_EQ(FullDiskAccess::status("/Users/a", files), FullDiskAccessStatus::granted);
}

TEST(FullDiskAccess, ALinuxHomeHasNothingToJudgeBy) {
    LocalFileManager files;
    EXPECT_EQ(FullDiskAccess::status("/nonexistent-home", files), FullDiskAccessStatus::undetermined);
}
