// What a name says a file is, the items the map is made of, the three lenses
// that regroup a whole tree (apps, biggest folders and file kinds), and the
// search that lights part of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DiskScanKit/FileNode.h"
#include "TreemapLayout/FileKind.h"
#include "TreemapLayout/MapItem.h"
#include "TreemapLayout/MapLens.h"
#include "TreeBuilder.h"

using namespace tessel;
using Tag = MapItem::Kind::Tag;
using test::namesOf;

namespace {

// Trees whose totals add up as a scan's do: every size is pushed up to the root.
struct TreeFixture : testing::Test, test::TreeBuilder {};

struct MapItemMaking : TreeFixture {};
struct MapLensApps : TreeFixture {};
struct MapLensFolders : TreeFixture {};
struct MapLensTypes : TreeFixture {};
struct MapLensSearch : TreeFixture {};

} // namespace

TEST(FileKindLookup, TheLastExtensionDecidesInAnyCaseAndBundlesByTheirs) {
    EXPECT_EQ(FileKinds::of("HOLIDAY.MP4"), FileKind::videos);
    EXPECT_EQ(FileKinds::of("backup.tar.gz"), FileKind::archives);
    for (const char* other : {"notes.qqq", "Makefile", "trailing."}) EXPECT_EQ(FileKinds::of(other), FileKind::other) << other;
    EXPECT_EQ(FileKinds::bundle("Safari.APP"), FileKind::apps);
    EXPECT_FALSE(FileKinds::bundle("clip.mp4")) << "a file's kind is no bundle's";
    EXPECT_FALSE(FileKinds::bundle("Projects"));
    for (FileKind kind : FileKinds::all()) EXPECT_EQ(FileKinds::fromRawValue(FileKinds::rawValue(kind)), kind);
}

TEST_F(MapItemMaking, FoldersAppsPackagesAndFilesAreToldApart) {
    EXPECT_EQ(MapItem::fromNode(folder(root, "Mail.app", 10)).kind, MapItem::Kind::app());
    EXPECT_EQ(MapItem::fromNode(folder(root, "Trip.photoslibrary", 10)).kind, MapItem::Kind::package(FileKind::images));
    EXPECT_EQ(MapItem::fromNode(folder(root, "Tool.xcodeproj", 10)).kind, MapItem::Kind::package(FileKind::other));
    EXPECT_EQ(MapItem::fromNode(folder(root, "Music", 10)).kind, MapItem::Kind::folder());
    EXPECT_EQ(MapItem::fromNode(file(root, "a.MOV", 10)).kind, MapItem::Kind::file(FileKind::videos));
}

TEST_F(MapItemMaking, SmallFilesAndMoreCountAndSumWhatTheyStandFor) {
    EXPECT_FALSE(MapItem::smallFiles(folder(root, "empty")));
    EXPECT_EQ(MapItem::smallFiles(folder(root, "one", 5, 1))->name, "1 smaller file");
    const MapItem many = *MapItem::smallFiles(folder(root, "many", 30, 7));
    EXPECT_EQ(many.bytes, 30);
    EXPECT_EQ(many.kind, MapItem::Kind::smallFiles(7));
    const MapItem more = MapItem::more({MapItem::fromNode(file(root, "a", 3)), MapItem::fromNode(file(root, "b", 4))});
    EXPECT_EQ(more.bytes, 7);
    EXPECT_EQ(more.kind, MapItem::Kind::more(2));
    EXPECT_EQ(namesOf(more.contents()), (std::vector<std::string>{"a", "b"}));
}

TEST_F(MapItemMaking, AFolderHoldsItsSizedChildrenAndSmallFilesLargestFirst) {
    FileNode* home = folder(root, "home", 20, 4);
    file(home, "zero", 0);
    file(home, "small.txt", 5);
    folder(home, "docs", 40);
    const MapItem item = MapItem::fromNode(home);
    EXPECT_EQ(namesOf(item.contents()), (std::vector<std::string>{"docs", "4 smaller files", "small.txt"}));
    EXPECT_TRUE(item.opens());
}

TEST_F(MapItemMaking, AGroupHoldsItsMembersLargestFirstAndOpensUnlikeSingleThings) {
    const MapItem group = MapItem::group({file(root, "a.mp4", 1), file(root, "b.mp4", 9)}, FileKind::videos, 10);
    EXPECT_EQ(namesOf(group.contents()), (std::vector<std::string>{"b.mp4", "a.mp4"}));
    EXPECT_TRUE(group.opens());
    EXPECT_FALSE(MapItem::fromNode(file(root, "c.mp4", 1)).opens());
    FileNode* app = folder(root, "Big.app");
    folder(app, "Contents", 5);
    EXPECT_FALSE(MapItem::fromNode(app).opens());
}

TEST_F(MapLensApps, FindsAppsAnywhereLargestFirstButNotInSystemAreas) {
    folder(folder(root, "Applications"), "Small.app", 10);
    folder(folder(folder(root, "home"), "Tools"), "Big.app", 50);
    folder(folder(root, "Library"), "Hidden.app", 90);
    folder(folder(folder(root, "site"), "node_modules"), "Dep.app", 90);
    folder(folder(root, ".Trash"), "Old.app", 90);
    folder(folder(folder(root, "Outer.app"), "Contents"), "Helper.app", 30); // not looked inside
    const std::vector<MapItem> apps = MapLens::apps(root, Platform::macOS);
    EXPECT_EQ(namesOf(apps), (std::vector<std::string>{"Big.app", "Outer.app", "Small.app"}));
    EXPECT_EQ(apps.front().kind, MapItem::Kind::app());
}

TEST_F(MapLensApps, OnLinuxFlatpaksSnapsAndAppImagesAreApps) {
    FileNode* disk = rootAt("/");
    folder(folder(folder(folder(folder(disk, "var"), "lib"), "flatpak"), "app"), "org.gimp.GIMP", 40);
    folder(folder(disk, "snap"), "firefox", 30);
    FileNode* me = folder(folder(disk, "home"), "me");
    file(me, "Editor.AppImage", 20);
    folder(folder(me, "snap"), "firefox", 5); // a snap's data in the home is not the snap
    folder(folder(me, "app"), "notes", 5);
    EXPECT_EQ(namesOf(MapLens::apps(disk, Platform::linuxOS)),
              (std::vector<std::string>{"org.gimp.GIMP", "firefox", "Editor.AppImage"}));
    EXPECT_TRUE(MapLens::apps(disk, Platform::macOS).empty());
    // A scan of the snap or Flatpak folder itself finds its apps.
    FileNode* snaps = rootAt("/snap");
    folder(snaps, "firefox", 30);
    FileNode* flatpak = rootAt("/var/lib/flatpak");
    folder(folder(flatpak, "app"), "org.gimp.GIMP", 40);
    EXPECT_EQ(namesOf(MapLens::apps(snaps, Platform::linuxOS)), (std::vector<std::string>{"firefox"}));
    EXPECT_EQ(namesOf(MapLens::apps(flatpak, Platform::linuxOS)), (std::vector<std::string>{"org.gimp.GIMP"}));
}

TEST_F(MapLensApps, KnownAppsStandByAllTheirHomesUnderTheirOwnName) {
    FileNode* disk = rootAt("/");
    FileNode* usr = folder(disk, "usr");
    folder(folder(usr, "lib"), "chromium", 290);
    folder(folder(usr, "share"), "chromium", 7);
    folder(folder(disk, "opt"), "editor", 60);
    folder(folder(folder(folder(folder(disk, "var"), "lib"), "flatpak"), "app"), "org.gimp.GIMP", 40);
    const std::vector<MapLens::KnownApp> known{
        {"Chromium Web Browser", {"/usr/share/chromium", "/usr/lib/chromium", "/usr/bin/gone"}},
        {"Editor", {"/opt/editor"}},
        {"GNU Image Manipulation Program", {"/var/lib/flatpak/app/org.gimp.GIMP"}},
        {"Not Here", {"/opt/gone"}},
    };
    const std::vector<MapItem> apps = MapLens::apps(disk, Platform::linuxOS, known);
    EXPECT_EQ(namesOf(apps), (std::vector<std::string>{"Chromium Web Browser", "Editor", "GNU Image Manipulation Program"}))
        << "system areas hold known apps too; a known app found by its place keeps its name and is not listed twice";
    const MapItem& chromium = apps.front();
    EXPECT_EQ(chromium.bytes, 297) << "every home counts";
    EXPECT_TRUE(chromium.gathers());
    std::vector<std::string> opened;
    for (const MapItem& home : chromium.contents()) opened.push_back(home.node->path());
    EXPECT_EQ(opened, (std::vector<std::string>{"/usr/lib/chromium", "/usr/share/chromium"}));
    EXPECT_EQ(apps[1].node->path(), "/opt/editor") << "an app with one home is that home";

    const std::vector<MapItem> belowUsrLib = MapLens::apps(FileNode::atPath(*disk, "/usr/lib"), Platform::linuxOS, known);
    ASSERT_EQ(namesOf(belowUsrLib), (std::vector<std::string>{"Chromium Web Browser"})) << "only homes below the place shown";
    EXPECT_EQ(belowUsrLib.front().bytes, 290);
}

TEST_F(MapLensFolders, SplitsTheLargestUntilTheTargetStandsNoneInsideAnother) {
    FileNode* a = folder(root, "a");
    folder(a, "x", 60);
    folder(a, "y", 30);
    folder(root, "b", 50);
    folder(root, "c", 10);
    EXPECT_EQ(namesOf(MapLens::folders(root, 4)), (std::vector<std::string>{"x", "b", "y", "c"}));
    test::TreeBuilder five;
    for (const char* name : {"a", "b", "c", "d", "e"}) five.folder(five.root, name, name[0] - 'a' + 1);
    const std::vector<MapItem> items = MapLens::folders(five.root, 3);
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"e", "d", "c", "2 more items"})) << "the rest folded";
    EXPECT_EQ(items.back().bytes, 3);
}

TEST_F(MapLensFolders, NeverSplitsAFolderSmallerThanOneStandingNorOneWhoseOnlySubfolderIsEmpty) {
    folder(root, "big", 100);
    FileNode* split = folder(root, "split");
    folder(split, "p", 20);
    folder(split, "q", 20);
    EXPECT_EQ(namesOf(MapLens::folders(root, 5)), (std::vector<std::string>{"big", "split"}));
    test::TreeBuilder photos;
    photos.folder(photos.folder(photos.root, "photos", 90), "empty");
    photos.folder(photos.root, "b", 10);
    EXPECT_EQ(namesOf(MapLens::folders(photos.root, 4)), (std::vector<std::string>{"photos", "b"}));
}

TEST_F(MapLensTypes, SumsEachKindAcrossTheTree) {
    file(folder(root, "a"), "x.mp4", 100);
    file(folder(folder(root, "b"), "c"), "y.MKV", 50);
    file(root, "z.pdf", 10);
    const std::vector<MapItem> items = MapLens::types(root);
    EXPECT_EQ(namesOf(items), (std::vector<std::string>{"Videos", "Documents"}));
    EXPECT_EQ(items.front().bytes, 150);
    EXPECT_EQ(items.front().memberNodes.size(), 2u);
}

TEST_F(MapLensTypes, APackageCountsAsItsBundleKindAndTheSmallFilesOfEveryFolderMakeOneItem) {
    file(folder(root, "Trip.photoslibrary", 20, 3), "clip.mov", 300);
    loose(root, 5);
    folder(folder(root, "a", 7, 2), "b", 8, 3);
    const std::vector<MapItem> items = MapLens::types(root);
    ASSERT_EQ(items.size(), 2u) << testing::PrintToString(namesOf(items));
    EXPECT_EQ(items[0].name, "Images");
    EXPECT_EQ(items[0].bytes, 320) << "the package is not entered";
    EXPECT_EQ(items[1].bytes, 20);
    EXPECT_EQ(items[1].kind, MapItem::Kind::smallFiles(6));
}

TEST_F(MapLensSearch, TheLimitKeepsTheLargestWhileEveryMatchIsCountedAndLit) {
    FileNode* a = folder(root, "a");
    FileNode* deep = folder(folder(a, "b"), "c");
    file(deep, "clip-1.mp4", 30);
    file(a, "clip-2.mp4", 50);
    FileNode* quiet = folder(root, "quiet");
    file(quiet, "notes.txt", 10);
    std::optional<MapLens::Found> found = MapLens::search(root, NameMatcher("CLIP"), 1);
    ASSERT_TRUE(found);
    EXPECT_EQ(namesOf(found->items), (std::vector<std::string>{"clip-2.mp4"}));
    EXPECT_EQ(found->total, 2);
    EXPECT_EQ(found->bytes, 80);
    EXPECT_TRUE(found->lights(*deep)) << "every folder above an unlisted match lights too";
    EXPECT_FALSE(found->lights(*quiet));
    EXPECT_FALSE(MapLens::search(root, NameMatcher("clip"), 1, [] { return true; })) << "a cancelled search answers nothing";
}
