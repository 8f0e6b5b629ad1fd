#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "Fixture.h"
#include "TrashKit/DockTiles.h"
#include "TrashKit/TrashService.h"

using namespace tessel;
using namespace tessel::test;
using Moves = std::vector<std::pair<std::string, std::string>>;

namespace {

PropertyList tileAt(const std::string& location, const std::string& label, std::int64_t type = 15) {
    PropertyList file = PropertyList::dictionary();
    file.set("_CFURLString", PropertyList::text(location));
    file.set("_CFURLStringType", PropertyList::integer(type));
    PropertyList data = PropertyList::dictionary();
    data.set("file-data", file);
    data.set("file-label", PropertyList::text(label));
    PropertyList tile = PropertyList::dictionary();
    tile.set("tile-data", data);
    return tile;
}

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

// A Dock of Mail, Notes, Maps, Music and Photos, Notes also among the recent apps.
class DockFixture : public testing::Test {
protected:
    void SetUp() override {
        PropertyList persistent = PropertyList::array();
        for (const char* name : {"Mail", "Notes", "Maps", "Music", "Photos"})
            persistent.append(tileAt("file:///Applications/" + std::string(name) + ".app/", name));
        PropertyList recent = PropertyList::array();
        recent.append(tileAt("/Applications/Notes.app", "Notes", 0));
        PropertyList domain = PropertyList::dictionary();
        domain.set("persistent-apps", persistent);
        domain.set("recent-apps", recent);
        domain.set("tilesize", PropertyList::integer(48));
        ASSERT_TRUE(preferences.write(domain));
    }

    std::vector<std::string> labels(const std::string& section) {
        std::vector<std::string> names;
        const PropertyList tiles = *preferences.read().get(section);
        for (std::size_t i = 0; i < tiles.size(); ++i) names.push_back(DockTiles::label(tiles.at(i)));
        return names;
    }

    TempFolder temp;
    FileDockPreferences preferences{temp / "com.apple.dock.plist"};
    int restarts = 0;
    DockTiles dock{preferences, [this] { ++restarts; }};
    const std::vector<std::string> all{"Mail", "Notes", "Maps", "Music", "Photos"};
};

TEST(DockTilePaths, FileUrlsArePercentDecodedAndOtherUrlsHaveNoPath) {
    EXPECT_EQ(DockTiles::path(tileAt("file:///Applications/My%20App.app/", "")), "/Applications/My App.app");
    EXPECT_EQ(DockTiles::path(tileAt("file://localhost/Applications/A.app/", "")), "/Applications/A.app");
    EXPECT_EQ(DockTiles::path(tileAt("/Applications/B.app/", "", 0)), "/Applications/B.app");
    EXPECT_EQ(DockTiles::path(tileAt("https://example.com/A.app", "")), "");
    EXPECT_EQ(DockTiles::path(tileAt("file://server/Applications/A.app", "")), "");
    EXPECT_EQ(DockTiles::path(tileAt("file:///Applications/Bad%zz.app", "")), "");
    EXPECT_EQ(DockTiles::path(PropertyList::text("not a tile")), "");
    EXPECT_EQ(DockTiles::key("/Applications/./Mail.APP/"), "/applications/mail.app");
}

TEST_F(DockFixture, AnAppNotInTheDockChangesNothing) {
    const std::string before = slurp(temp / "com.apple.dock.plist");
    dock.removeApps({"/Applications/Chess.app", "/Applications/Mail.app/Contents/Info.plist"});
    dock.remove(Moves{{"/Users/me/notes.txt", "/Users/me/.Trash/notes.txt"}});
    EXPECT_EQ(restarts, 0);
    EXPECT_EQ(slurp(temp / "com.apple.dock.plist"), before);
}

TEST_F(DockFixture, TilesTakenFromEverySectionComeBackAtTheirIndexesWhateverTheOrder) {
    dock.remove(Moves{{"/Applications/Notes.app", "/trash/Notes.app"}, {"/applications/music.app", "/trash/Music.app"}});
    EXPECT_EQ(restarts, 1);
    EXPECT_EQ(labels("persistent-apps"), (std::vector<std::string>{"Mail", "Maps", "Photos"}));
    EXPECT_TRUE(labels("recent-apps").empty());
    EXPECT_EQ(preferences.read().get("tilesize")->asInteger(), 48) << "what is not a tile stays";
    const std::vector<std::string> forwards{"/Applications/Notes.app", "/Applications/Music.app"};
    const std::vector<std::string> backwards{forwards.rbegin(), forwards.rend()};
    dock.restore(backwards);
    for (const auto& taken : {forwards, backwards}) {
        for (const auto& restored : {forwards, backwards}) {
            EXPECT_EQ(labels("persistent-apps"), all);
            EXPECT_EQ(labels("recent-apps"), std::vector<std::string>{"Notes"});
            dock.removeApps(taken);
            dock.restore(restored);
        }
    }
    // Separate removals undone newest first.
    dock.removeApps({"/Applications/Notes.app"});
    dock.removeApps({"/Applications/Music.app"});
    dock.restore({"/Applications/Music.app"});
    dock.restore({"/Applications/Notes.app"});
    EXPECT_EQ(labels("persistent-apps"), all);
    EXPECT_EQ(restarts, 14);
}

TEST_F(DockFixture, RestoringTwiceOrOverATileAlreadyBackDuplicatesNothing) {
    dock.removeApps({"/Applications/Maps.app", "/Applications/Mail.app"});
    PropertyList domain = preferences.read();
    PropertyList tiles = *domain.get("persistent-apps");
    tiles.append(tileAt("file:///Applications/Maps.app/", "Maps again"));
    domain.set("persistent-apps", tiles);
    ASSERT_TRUE(preferences.write(domain));
    dock.restore({"/Applications/Maps.app", "/Applications/Mail.app"});
    dock.restore({"/Applications/Maps.app", "/Applications/Mail.app"});
    EXPECT_EQ(labels("persistent-apps"), (std::vector<std::string>{"Mail", "Notes", "Music", "Photos", "Maps again"}));
    EXPECT_EQ(restarts, 2);
}

TEST_F(DockFixture, OrphansLeaveOutDisksThatComeAndGoAndAreRemovedForGood) {
    std::filesystem::create_directories(temp / "Here.app");
    PropertyList domain = preferences.read();
    PropertyList tiles = PropertyList::array();
    for (const std::string& path : {temp / "Here.app", temp / "Gone.app", std::string("/Volumes/Backup/Old.app"),
                                    std::string("/media/me/Stick/Old.app"), temp / "gone.txt"})
        tiles.append(tileAt(path, "", 0));
    domain.set("persistent-apps", tiles);
    ASSERT_TRUE(preferences.write(domain));
    const std::vector<DockTiles::Orphan> orphans = dock.orphans(LocalFileManager());
    EXPECT_EQ(orphans, (std::vector<DockTiles::Orphan>{{"Gone", temp / "Gone.app"}}));
    dock.remove(orphans);
    EXPECT_EQ(preferences.read().get("persistent-apps")->size(), 4U);
    dock.restore({temp / "Gone.app"});
    EXPECT_EQ(preferences.read().get("persistent-apps")->size(), 4U);
    EXPECT_EQ(restarts, 1);
}

TEST_F(DockFixture, PreferencesThatCannotBeReadAreNeverOverwritten) {
    std::ofstream(temp / "com.apple.dock.plist", std::ios::trunc) << "<plist><dict>";
    EXPECT_TRUE(preferences.read().keys().empty());
    EXPECT_FALSE(preferences.write(PropertyList::dictionary()));
    EXPECT_EQ(slurp(temp / "com.apple.dock.plist"), "<plist><dict>");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(temp.path()), {}), 1); // no temporary left
}

TEST(DockSharedApps, OnlyAppsInApplicationsAndOnlyWithOtherAccounts) {
    const std::vector<TrashReceipt> receipts{{"/Applications/Mail.app", "/t/1", 1, true, {}},
                                             {"/applications/Utilities/Tool.app/", "/t/2", 1, true, {}},
                                             {"/Users/me/Applications/Mine.app", "/t/3", 1, true, {}},
                                             {"/Applications/readme.txt", "/t/4", 1, false, {}}};
    EXPECT_EQ(DockTiles::sharedApps(receipts, true), (std::vector<std::string>{"Mail", "Tool"}));
    EXPECT_TRUE(DockTiles::sharedApps(receipts, false).empty());
    EXPECT_FALSE(DockTiles::otherAccountsExist({".localized", "Shared", "Guest", "me"}, "/Users/me/"));
    EXPECT_TRUE(DockTiles::otherAccountsExist({"Shared", "me", "ann"}, "/Users/me"));
}
