// Synced folders, read from each sync client's own configuration in a fake
// home, and the guard keeping what is in them: as configured, by the usual
// folder name when a configuration can't be read, and through links.
#include "FifoRelease.h"
#include "ScopedEnvironment.h"
#include "TrashKit/CloudFolders.h"
#include "TrashTestSupport.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// The guard reads the clients' configurations in the home, as the environment places them.
class SyncClients : public TrashHome {
protected:
    ScopedEnvironment environment;
    CloudFolders::Places places{home, home + "/.config", home + "/.local/state"};

    SyncClients() {
        environment.set("XDG_CONFIG_HOME", places.configHome);
        environment.set("XDG_STATE_HOME", places.stateHome);
        environment.set("XDG_DATA_HOME", dataHome);
    }
    void write(const std::string& relative, const std::string& text) { writeText(home + "/" + relative, text); }

    // Each folder found as "client path", with "(usual)" for one assumed from its name.
    std::vector<std::string> found() const {
        std::vector<std::string> lines;
        for (const CloudFolders::Folder& each : CloudFolders::find(places, disk))
            lines.push_back(std::string(each.client) + " " + each.path + (each.configured ? "" : " (usual)"));
        return lines;
    }
    std::vector<std::string> usual() const {
        std::vector<std::string> lines;
        for (const char* client : {"Dropbox", "Nextcloud", "ownCloud", "OneDrive", "MEGA", "Insync"})
            lines.push_back(std::string(client) + " " + home + "/" + client + " (usual)");
        return lines;
    }
};

// Dropbox syncs ~/Box, OneDrive ~/od.
class SyncedHome : public SyncClients {
protected:
    std::string dropbox = home + "/Box";
    void SetUp() override {
        write(".dropbox/info.json", R"({"personal": {"path": ")" + dropbox + R"("}})");
        write(".config/onedrive/config", "sync_dir = \"~/od\"\n");
        put(dropbox + "/Photos/a.jpg");
    }
};

} // namespace

TEST_F(SyncClients, EachClientsOwnConfigurationNamesItsFolders) {
    write(".dropbox/info.json", R"json({"personal": {"path": "/data/Dropbox", "host": 4242},
                                    "business": {"path": "/data/Dropbox (Work)", "is_team": true}})json");
    // Values as QSettings writes them: quoted, escaped, a comment after them.
    write(".config/Nextcloud/nextcloud.cfg", "[Accounts]\n0\\version=1\n0\\Folders\\1\\localPath=/data/Nextcloud/\n"
                                             "1\\FoldersWithPlaceholders\\2\\localPath=\"~/Team files\"\n"
                                             "2\\Folders\\1\\localPath=\"/data/Caf\\xe9 \\\"bar\\\"\"  ; a comment\n"
                                             "2\\Folders\\2\\localPath=/data/\\xd83d\\xde00\r\n"
                                             "2\\Folders\\3\\localPath = /data/back\\\\slash \n");
    write(".config/ownCloud/owncloud.cfg", "[Accounts]\n0\\Folders\\1\\localPath=owncloud-here\n");
    write(".config/onedrive/config", "# sync_dir = \"~/old\"\nsync_dir = \"~/OneDrive Business\"\n");
    write(".local/state/syncthing/config.xml",
          R"(<configuration><folder id="a" path="/data/music"/><defaults><folder id="" path="~"/></defaults></configuration>)");
    write(".config/syncthing/config.xml", R"(<configuration><folder id="b" path="~/Sync &amp; more"></folder></configuration>)");
    const std::vector<std::string> expected{
        "Dropbox /data/Dropbox (Work)", "Dropbox /data/Dropbox", // an object's members come back sorted by key
        "Nextcloud /data/Nextcloud", "Nextcloud " + home + "/Team files", "Nextcloud /data/Caf\xc3\xa9 \"bar\"",
        "Nextcloud /data/\xf0\x9f\x98\x80", // two halves of a surrogate pair are one character
        "Nextcloud /data/back\\slash", "ownCloud " + home + "/owncloud-here", "OneDrive " + home + "/OneDrive Business",
        "Syncthing /data/music", "Syncthing " + home + "/Sync & more", // not the template folder in <defaults>
        "MEGA " + home + "/MEGA (usual)", "Insync " + home + "/Insync (usual)"};
    EXPECT_EQ(found(), expected);
}

TEST_F(SyncClients, AConfigurationThatNamesNoUsableFolderFallsBackToTheUsualOne) {
    EXPECT_EQ(found(), usual()) << "none at all; Syncthing has no usual folder to assume";
    const std::vector<std::pair<std::string, std::string>> junk{
        {".dropbox/info.json", "{\"personal\": {\"path\": "}, {".config/onedrive/config", "# sync_dir = \"~/elsewhere\"\n"},
        {".dropbox/info.json", R"({"personal": {"path": "/"}})"}, // the whole disk is never taken for synced
        {".config/Nextcloud/nextcloud.cfg", "[Accounts]\n0\\Folders\\1\\localPath=\n"},
        {".local/state/syncthing/config.xml", "<configuration><folder path=\"/data/x\""}};
    for (const auto& [configuration, text] : junk) {
        write(configuration, text);
        EXPECT_EQ(found(), usual()) << configuration << ": " << text;
        std::filesystem::remove(home + "/" + configuration);
    }
}

TEST_F(SyncClients, AFifoALinkOrAHugeFileInPlaceOfAConfigurationIsNeverRead) {
    makeFolder(home + "/.dropbox");
    ASSERT_EQ(mkfifo((home + "/.dropbox/info.json").c_str(), 0644), 0);
    const FifoRelease guard(home + "/.dropbox/info.json");
    write("elsewhere.cfg", "[Accounts]\n0\\Folders\\1\\localPath=/data/Nextcloud\n"); // a link to it is not followed
    std::filesystem::create_directories(home + "/.config/Nextcloud");
    makeSymlink(home + "/elsewhere.cfg", home + "/.config/Nextcloud/nextcloud.cfg");
    makeFolder(home + "/.config/onedrive");
    writeSparseFile(home + "/.config/onedrive/config", 64 << 20);
    EXPECT_EQ(found(), usual());
    EXPECT_FALSE(guard.hadToRelease()) << "the FIFO was opened and waited on";
}

TEST_F(SyncedHome, WithinAConfiguredOrAUsualFolderIsCloudSynced) {
    const std::vector<std::tuple<std::string, bool, std::optional<DeletionRefusal>>> cases{
        {dropbox + "/Photos/a.jpg", false, DeletionRefusal::cloudSynced},
        {home + "/od", true, DeletionRefusal::cloudSynced},                 // the synced folder itself
        {home + "/MEGA/inside/file", false, DeletionRefusal::cloudSynced},  // a client of no readable configuration
        {home + "/Nextcloud/old.zip", false, DeletionRefusal::cloudSynced}, // no configuration: the usual folder
        {home + "/Dropbox/old.zip", false, std::nullopt},                   // Dropbox syncs ~/Box
        {home + "/Boxes/x", false, std::nullopt},                           // within at a component boundary only
    };
    for (const auto& [path, isDirectory, refusal] : cases) {
        isDirectory ? makeFolder(path) : (void)put(path);
        EXPECT_EQ(judged(path, isDirectory), refusal) << path;
    }
}

TEST_F(SyncedHome, ALinkIntoASyncedFolderOrASyncedFolderThatIsALinkIsJudgedByBothNames) {
    makeSymlink(dropbox + "/Photos", home + "/pics");
    EXPECT_EQ(judged(home + "/pics/a.jpg", false), DeletionRefusal::cloudSynced);
    EXPECT_EQ(judged(home + "/pics", false), std::nullopt) << "the link itself may go, as a link";
    // ~/Box is configured, and really lives elsewhere: the link by its configured name, the files by their real path.
    const std::string real = folder / "disk/Box";
    makeFolder(folder / "disk");
    std::filesystem::rename(dropbox, real);
    makeSymlink(real, dropbox);
    EXPECT_EQ(judged(dropbox, false), DeletionRefusal::cloudSynced);
    EXPECT_EQ(judged(real + "/Photos/a.jpg", false), DeletionRefusal::cloudSynced);
}
