#include "TrashKit/DockTiles.h"
#include "TrashTestSupport.h"

using namespace tessel;
using namespace tessel::test;
using Names = std::vector<std::string>;

namespace {

// A tile of the Dock: a file URL, or a plain path when `type` is 0.
std::string tileAt(const std::string& location, const std::string& label, int type = 15) {
    return "<dict><key>tile-data</key><dict><key>file-label</key><string>" + label +
           "</string><key>file-data</key><dict><key>_CFURLString</key><string>" + location +
           "</string><key>_CFURLStringType</key><integer>" + std::to_string(type) + "</integer></dict></dict></dict>";
}

} // namespace

class DockFixture : public testing::Test {
protected:
    // A Dock of these tiles, Notes also among the recent apps.
    void writeDock(const std::string& tiles) {
        writeText(file, "<plist><dict><key>tilesize</key><integer>48</integer><key>persistent-apps</key><array>" + tiles +
                            "</array><key>recent-apps</key><array>" + tileAt("/Applications/Notes.app", "Notes", 0) +
                            "</array></dict></plist>");
    }
    void SetUp() override {
        std::string tiles;
        for (const std::string& name : all) tiles += tileAt("file:///Applications/" + name + ".app/", name);
        writeDock(tiles);
    }
    Names labels(const std::string& section) {
        Names names;
        const PropertyList tiles = *preferences.read().get(section);
        for (std::size_t i = 0; i < tiles.size(); ++i) names.push_back(DockTiles::label(tiles.at(i)));
        return names;
    }

    const Names all{"Mail", "Notes", "Maps", "Music", "Photos"};
    TempFolder temp;
    std::string file = temp / "com.apple.dock.plist";
    FileDockPreferences preferences{file};
    int restarts = 0;
    DockTiles dock{preferences, [this] { ++restarts; }};
};

TEST(DockTilePaths, FileUrlsArePercentDecodedAndOtherUrlsHaveNoPath) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {tileAt("file:///Applications/My%20App.app/", ""), "/Applications/My App.app"},
        {tileAt("file://localhost/Applications/A.app/", ""), "/Applications/A.app"},
        {tileAt("/Applications/B.app/", "", 0), "/Applications/B.app"}, {tileAt("https://example.com/A.app", ""), ""},
        {tileAt("file://server/Applications/A.app", ""), ""}, {tileAt("file:///Applications/Bad%zz.app", ""), ""}};
    for (const auto& [tile, path] : cases) EXPECT_EQ(DockTiles::path(*PropertyList::parse("<plist>" + tile + "</plist>")), path) << tile;
    EXPECT_EQ(DockTiles::key("/Applications/./Mail.APP/"), "/applications/mail.app");
}

TEST_F(DockFixture, TilesTakenFromEverySectionComeBackAtTheirIndexesWhateverTheOrder) {
    const Names forwards{"/Applications/Notes.app", "/applications/music.app/"};
    const Names backwards{forwards.rbegin(), forwards.rend()};
    dock.remove(std::vector<std::pair<std::string, std::string>>{{forwards[0], "/trash/0"}, {forwards[1], "/trash/1"}});
    EXPECT_EQ(labels("persistent-apps"), (Names{"Mail", "Maps", "Photos"}));
    EXPECT_TRUE(labels("recent-apps").empty());
    dock.restore(backwards);
    EXPECT_EQ(labels("persistent-apps"), all);
    EXPECT_EQ(labels("recent-apps"), Names{"Notes"});
    // Separate removals, undone newest first.
    dock.removeApps({backwards[0]});
    dock.removeApps({backwards[1]});
    dock.restore({backwards[1]});
    dock.restore({backwards[0]});
    EXPECT_EQ(labels("persistent-apps"), all);
    EXPECT_EQ(preferences.read().get("tilesize")->asInteger(), 48) << "what is not a tile stays";
}

TEST_F(DockFixture, ATileAlreadyBackIsNotRestoredTwiceNorAnythingRewrittenForNothing) {
    const std::string before = readText(file);
    dock.removeApps({"/Applications/Chess.app", "/Applications/Mail.app/Contents/Info.plist"});
    EXPECT_EQ(readText(file), before);
    dock.removeApps({"/Applications/Maps.app", "/Applications/Mail.app"});
    std::string tiles; // the user put Maps back himself
    for (const char* name : {"Notes", "Music", "Photos", "Maps"}) tiles += tileAt("/Applications/" + std::string(name) + ".app", name, 0);
    writeDock(tiles);
    dock.restore({"/Applications/Maps.app", "/Applications/Mail.app"});
    EXPECT_EQ(labels("persistent-apps"), (Names{"Mail", "Notes", "Music", "Photos", "Maps"}));
    EXPECT_EQ(restarts, 2);
}

TEST_F(DockFixture, OrphansLeaveOutDisksThatComeAndGoAndAreRemovedForGood) {
    makeFolder(temp / "Here.app");
    std::string tiles;
    for (const std::string& path : {temp / "Here.app", temp / "Gone.app", std::string("/Volumes/Backup/Old.app"),
                                    std::string("/media/me/Stick/Old.app"), temp / "gone.txt"})
        tiles += tileAt(path, "", 0);
    writeDock(tiles);
    const std::vector<DockTiles::Orphan> orphans = dock.orphans(LocalFileManager());
    EXPECT_EQ(orphans, (std::vector<DockTiles::Orphan>{{"Gone", temp / "Gone.app"}}));
    dock.remove(orphans);
    dock.restore({temp / "Gone.app"});
    EXPECT_EQ(preferences.read().get("persistent-apps")->size(), 4U);
}

TEST_F(DockFixture, PreferencesThatCannotBeReadAreNeverOverwritten) {
    writeText(file, "<plist><dict>");
    EXPECT_FALSE(preferences.write(PropertyList::dictionary()));
    EXPECT_EQ(readText(file), "<plist><dict>");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(temp.path()), {}), 1); // no temporary left
}
