// What a name says a file is, the items the map is made of, the three lenses
// that regroup a whole tree (apps, biggest folders and file kinds), and the
// search that lights part of it.
#include <gtest/gtest.h>

#include <algorithm>

#include "DiskScanKit/FileNode.h"
#include "TreemapLayout/FileKind.h"
#include "TreemapLayout/MapItem.h"
#include "TreemapLayout/MapLens.h"
#include "TreeBuilder.h"

using namespace tessel;
using test::namesOf;
using Names = std::vector<std::string>;

namespace {

// Trees whose totals add up as a scan's do: every size is pushed up to the root.
struct MapLensTree : testing::Test, test::TreeBuilder {
    // The folder at `path` below `from`, made with the folders on the way where they are not yet.
    FileNode* at(FileNode* from, const std::string& path, std::int64_t looseBytes = 0) {
        for (std::size_t start = 0, slash = 0; slash != std::string::npos; start = slash + 1) {
            slash = path.find('/', start);
            const std::string name = path.substr(start, slash - start);
            const auto children = from->children();
            const auto found = std::find_if(children.begin(), children.end(), [&](FileNode* c) { return c->name() == name; });
            from = found != children.end() ? *found : folder(from, name);
        }
        return looseBytes > 0 ? loose(from, looseBytes) : from;
    }
};

} // namespace

TEST(FileKindLookup, TheLastExtensionDecidesInAnyCaseAndBundlesByTheirs) {
    EXPECT_EQ(FileKinds::of("HOLIDAY.MP4"), FileKind::videos);
    EXPECT_EQ(FileKinds::of("backup.tar.gz"), FileKind::archives);
    for (const char* other : {"notes.qqq", "Makefile", "trailing."}) EXPECT_EQ(FileKinds::of(other), FileKind::other) << other;
    EXPECT_EQ(FileKinds::bundle("Safari.APP"), FileKind::apps);
    EXPECT_FALSE(FileKinds::bundle("clip.mp4")) << "a file's kind is no bundle's";
    for (FileKind kind : FileKinds::all()) EXPECT_EQ(FileKinds::fromRawValue(FileKinds::rawValue(kind)), kind);
}

TEST_F(MapLensTree, FoldersAppsPackagesAndFilesAreToldApartAndOnlyGroupsAndFoldersOpen) {
    EXPECT_EQ(MapItem::fromNode(folder(root, "Mail.app", 10)).kind, MapItem::Kind::app());
    EXPECT_EQ(MapItem::fromNode(folder(root, "Trip.photoslibrary", 10)).kind, MapItem::Kind::package(FileKind::images));
    EXPECT_EQ(MapItem::fromNode(folder(root, "Tool.xcodeproj", 10)).kind, MapItem::Kind::package(FileKind::other));
    EXPECT_EQ(MapItem::fromNode(file(root, "a.MOV", 10)).kind, MapItem::Kind::file(FileKind::videos));
    const MapItem group = MapItem::group({file(root, "a.mp4", 1), file(root, "b.mp4", 9)}, FileKind::videos, 10);
    EXPECT_EQ(namesOf(group.contents()), (Names{"b.mp4", "a.mp4"}));
    EXPECT_TRUE(group.opens());
    EXPECT_FALSE(MapItem::fromNode(file(root, "c.mp4", 1)).opens());
    EXPECT_FALSE(MapItem::fromNode(at(root, "Big.app/Contents", 5)).opens());
}

TEST_F(MapLensTree, AFolderHoldsItsSizedChildrenAndSmallFilesLargestFirstAndMoreSumsWhatItStandsFor) {
    FileNode* home = folder(root, "home", 20, 4);
    file(home, "zero", 0);
    file(home, "small.txt", 5);
    folder(home, "docs", 40);
    EXPECT_EQ(namesOf(MapItem::fromNode(home).contents()), (Names{"docs", "4 smaller files", "small.txt"}));
    EXPECT_EQ(MapItem::smallFiles(folder(root, "one", 5, 1))->name, "1 smaller file");
    EXPECT_FALSE(MapItem::smallFiles(folder(root, "empty")));
    const MapItem more = MapItem::more({MapItem::fromNode(file(root, "a", 3)), MapItem::fromNode(file(root, "b", 4))});
    EXPECT_EQ(more.bytes, 7);
    EXPECT_EQ(namesOf(more.contents()), (Names{"a", "b"}));
}

TEST_F(MapLensTree, AppsAreFoundAnywhereLargestFirstButNotInSystemAreasNorInsideApps) {
    at(root, "Applications/Small.app", 10);
    at(root, "home/Tools/Big.app", 50);
    for (const char* hidden : {"Library/Hidden.app", "site/node_modules/Dep.app", ".Trash/Old.app"}) at(root, hidden, 90);
    at(root, "Outer.app/Contents/Helper.app", 30);
    EXPECT_EQ(namesOf(MapLens::apps(root, Platform::macOS)), (Names{"Big.app", "Outer.app", "Small.app"}));
}

TEST_F(MapLensTree, OnLinuxFlatpaksSnapsAndAppImagesAreAppsAndKnownAppsStandByAllTheirHomes) {
    FileNode* disk = rootAt("/");
    at(disk, "var/lib/flatpak/app/org.gimp.GIMP", 40);
    at(disk, "snap/firefox", 30);
    FileNode* me = at(disk, "home/me");
    file(me, "Editor.AppImage", 20);
    at(me, "snap/firefox", 5); // a snap's data in the home is not the snap
    EXPECT_EQ(namesOf(MapLens::apps(disk, Platform::linuxOS)), (Names{"org.gimp.GIMP", "firefox", "Editor.AppImage"}));
    EXPECT_EQ(namesOf(MapLens::apps(FileNode::atPath(*disk, "/snap"), Platform::linuxOS)), (Names{"firefox"}))
        << "a scan of the snap folder itself finds its apps";
    at(disk, "usr/lib/chromium", 290);
    at(disk, "usr/share/chromium", 7);
    const std::vector<MapLens::KnownApp> known{
        {"Chromium Web Browser", {"/usr/share/chromium", "/usr/lib/chromium", "/usr/bin/gone"}},
        {"GNU Image Manipulation Program", {"/var/lib/flatpak/app/org.gimp.GIMP"}},
        {"Not Here", {"/opt/gone"}}};
    const std::vector<MapItem> apps = MapLens::apps(disk, Platform::linuxOS, known);
    EXPECT_EQ(namesOf(apps), (Names{"Chromium Web Browser", "GNU Image Manipulation Program", "firefox", "Editor.AppImage"}))
        << "system areas hold known apps too; a known app found by its place keeps its name and is not listed twice";
    EXPECT_EQ(apps[0].bytes, 297) << "every home counts";
    EXPECT_EQ(namesOf(apps[0].contents()), (Names{"chromium", "chromium"}));
    EXPECT_EQ(MapLens::apps(FileNode::atPath(*disk, "/usr/lib"), Platform::linuxOS, known).at(0).bytes, 290)
        << "only homes below the place shown";
}

TEST_F(MapLensTree, BiggestFoldersSplitTheLargestUntilTheTargetStandsNoneInsideAnother) {
    at(root, "a/x", 60);
    at(root, "a/y", 30);
    at(root, "b", 50);
    at(root, "c", 10);
    EXPECT_EQ(namesOf(MapLens::folders(root, 4)), (Names{"x", "b", "y", "c"}));
    EXPECT_EQ(namesOf(MapLens::folders(root, 2)), (Names{"a", "b", "1 more item"})) << "the rest folded";
    // Never a folder smaller than one standing, nor one whose only subfolder is empty.
    test::TreeBuilder other;
    other.folder(other.folder(other.root, "photos", 90), "empty");
    other.folder(other.root, "big", 100);
    FileNode* split = other.folder(other.root, "split");
    other.folder(split, "p", 20);
    other.folder(split, "q", 20);
    EXPECT_EQ(namesOf(MapLens::folders(other.root, 5)), (Names{"big", "photos", "split"}));
}

TEST_F(MapLensTree, TypesSumEachKindAcrossTheTreePackagesByTheirBundleAndSmallFilesAsOne) {
    file(at(root, "a"), "x.mp4", 100);
    file(at(root, "b/c"), "y.MKV", 50);
    file(root, "z.pdf", 10);
    file(folder(root, "Trip.photoslibrary", 20, 3), "clip.mov", 300);
    folder(folder(root, "d", 7, 2), "e", 8, 3);
    const std::vector<MapItem> items = MapLens::types(root);
    EXPECT_EQ(namesOf(items), (Names{"Images", "Videos", "5 smaller files", "Documents"}));
    EXPECT_EQ(items[0].bytes, 320) << "the package is not entered";
    EXPECT_EQ(items[1].bytes, 150);
    EXPECT_EQ(items[2].bytes, 15) << "not those inside the package";
}

TEST_F(MapLensTree, TheSearchLimitKeepsTheLargestWhileEveryMatchIsCountedAndLit) {
    FileNode* deep = at(root, "a/b/c");
    file(deep, "clip-1.mp4", 30);
    file(at(root, "a"), "clip-2.mp4", 50);
    FileNode* quiet = folder(root, "quiet");
    file(quiet, "notes.txt", 10);
    std::optional<MapLens::Found> found = MapLens::search(root, NameMatcher("CLIP"), 1);
    ASSERT_TRUE(found);
    EXPECT_EQ(namesOf(found->items), (Names{"clip-2.mp4"}));
    EXPECT_EQ(found->total, 2);
    EXPECT_EQ(found->bytes, 80);
    EXPECT_TRUE(found->lights(*deep)) << "every folder above an unlisted match lights too";
    EXPECT_FALSE(found->lights(*quiet));
    EXPECT_FALSE(MapLens::search(root, NameMatcher("clip"), 1, [] { return true; })) << "a cancelled search answers nothing";
}
