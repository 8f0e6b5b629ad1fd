// Synced folders, read from each sync client's own configuration in a fake
// home, and the guard keeping what is in them: as configured, by the usual
// folder name when a configuration can't be read, and through links.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "FifoRelease.h"
#include "ScopedEnvironment.h"
#include "TrashKit/CloudFolders.h"
#include "TrashKit/TrashService.h"
#include "TrashTestSupport.h"

using namespace tessel;
using namespace tessel::test;

namespace {

void makeParents(const std::string& path) { std::filesystem::create_directories(std::filesystem::path(path).parent_path()); }

void writeFileAt(const std::string& path, std::int64_t bytes) {
    makeParents(path);
    writeFile(path, bytes);
}

// Where each client keeps its configuration, below the home.
const std::map<std::string, std::string> configurationOf{
    {"Dropbox", ".dropbox/info.json"},
    {"Nextcloud", ".config/Nextcloud/nextcloud.cfg"},
    {"ownCloud", ".config/ownCloud/owncloud.cfg"},
    {"OneDrive", ".config/onedrive/config"},
    {"Syncthing", ".local/state/syncthing/config.xml"},
};

class SyncClients : public testing::Test {
protected:
    TempFolder home;
    CloudFolders::Places places{home.path(), home / ".config", home / ".local/state"};
    LocalFileManager disk;

    void write(const std::string& relative, const std::string& text) { writeText(home / relative, text); }

    // Each folder found as "client path", with "(usual)" for one assumed from its name.
    std::vector<std::string> found() const {
        std::vector<std::string> lines;
        for (const CloudFolders::Folder& folder : CloudFolders::find(places, disk))
            lines.push_back(std::string(folder.client) + " " + folder.path + (folder.configured ? "" : " (usual)"));
        return lines;
    }

    std::vector<std::string> usual() const {
        std::vector<std::string> lines;
        for (const char* client : {"Dropbox", "Nextcloud", "ownCloud", "OneDrive", "MEGA", "Insync"})
            lines.push_back(std::string(client) + " " + (home / client) + " (usual)");
        return lines;
    }
};

} // namespace

TEST_F(SyncClients, EachClientsOwnConfigurationNamesItsFolders) {
    write(".dropbox/info.json", R"json({"personal": {"path": "/data/Dropbox", "host": 4242},
                                   "business": {"path": "/data/Dropbox (Work)", "is_team": true}})json");
    write(".config/Nextcloud/nextcloud.cfg", "[General]\nclientVersion=3.9.0\n\n[Accounts]\n0\\version=1\n"
                                             "0\\Folders\\1\\localPath=/data/Nextcloud/\n"
                                             "0\\Folders\\1\\journalPath=.sync_1.db\n"
                                             "1\\FoldersWithPlaceholders\\2\\localPath=\"~/Team files\"\n");
    write(".config/ownCloud/owncloud.cfg", "[Accounts]\n0\\Folders\\1\\localPath=owncloud-here\n");
    write(".config/onedrive/config", "# sync_dir = \"~/old\"\nsync_dir = \"~/OneDrive Business\"\nmonitor_interval = \"300\"\n");
    write(".local/state/syncthing/config.xml",
          R"(<configuration version="37"><folder id="a" label="Music" path="/data/music" type="sendreceive"/>
             <defaults><folder id="" path="~"/></defaults></configuration>)");
    write(".config/syncthing/config.xml",
          R"(<?xml version="1.0"?><configuration><folder id="b" path="~/Sync &amp; more"></folder></configuration>)");
    const std::vector<std::string> expected{
        "Dropbox /data/Dropbox (Work)", // an object's members come back sorted by key
        "Dropbox /data/Dropbox",
        "Nextcloud /data/Nextcloud",
        "Nextcloud " + (home / "Team files"),
        "ownCloud " + (home / "owncloud-here"),
        "OneDrive " + (home / "OneDrive Business"),
        "Syncthing /data/music",
        "Syncthing " + (home / "Sync & more"),
        "MEGA " + (home / "MEGA") + " (usual)",
        "Insync " + (home / "Insync") + " (usual)",
    };
    EXPECT_EQ(found(), expected) << "the template folder in <defaults> is no synced folder";
}

TEST_F(SyncClients, QtSettingsValuesAreReadBackAsQtWroteThem) {
    write(".config/Nextcloud/nextcloud.cfg",
          "[Accounts]\n"
          "0\\Folders\\1\\localPath=\"/data/Caf\\xe9 \\\"bar\\\"\"  ; a comment\n"
          "0\\Folders\\2\\localPath=/data/\\xd83d\\xde00\r\n"
          "0\\Folders\\3\\localPath = /data/back\\\\slash \n");
    const std::vector<std::string> all = found();
    ASSERT_GE(all.size(), 4u);
    EXPECT_EQ(all[1], "Nextcloud /data/Caf\xc3\xa9 \"bar\"") << "after Dropbox's usual folder";
    EXPECT_EQ(all[2], "Nextcloud /data/\xf0\x9f\x98\x80") << "two halves of a surrogate pair are one character";
    EXPECT_EQ(all[3], "Nextcloud /data/back\\slash");
}

TEST_F(SyncClients, MissingOrMalformedConfigurationsFallBackToTheUsualFolder) {
    EXPECT_EQ(found(), usual()) << "Syncthing has no usual folder to assume";
    const std::map<std::string, std::vector<std::string>> junk{
        {"Dropbox",
         {"", "{\"personal\": {\"path\": ", "[\"/data/Dropbox\"]", R"({"personal": {"path": 5}})",
          R"({"personal": {"path": "/"}})", R"({"personal": {"path": "/data/\u0000x"}})", std::string(100000, '['),
          std::string("\x00\xff\xfe{\x01", 5)}},
        {"Nextcloud", {"[Accounts]\n0\\Folders\\1\\localPath=\n", "localPath", std::string("\xff\x00\n=\n", 5)}},
        {"OneDrive", {"sync_dir", "# sync_dir = \"~/elsewhere\"\n", "sync_dir = \"\"\n"}},
        {"Syncthing", {"<configuration><folder path=\"/data/x\"", "<defaults><folder path=\"/data/x\"/></defaults>"}},
    };
    for (const auto& [client, texts] : junk)
        for (const std::string& text : texts) {
            write(configurationOf.at(client), text);
            EXPECT_EQ(found(), usual()) << client << ": " << text.substr(0, 60);
            std::filesystem::remove(home / configurationOf.at(client));
        }
}

TEST_F(SyncClients, AFifoALinkOrAHugeFileInPlaceOfAConfigurationIsNeverRead) {
    makeParents(home / ".dropbox/info.json");
    ASSERT_EQ(mkfifo((home / ".dropbox/info.json").c_str(), 0644), 0);
    const FifoRelease guard(home / ".dropbox/info.json");
    // A link to a configuration that would name a folder: it is not followed.
    write("elsewhere.cfg", "[Accounts]\n0\\Folders\\1\\localPath=/data/Nextcloud\n");
    makeParents(home / ".config/Nextcloud/nextcloud.cfg");
    makeSymlink(home / "elsewhere.cfg", home / ".config/Nextcloud/nextcloud.cfg");
    makeParents(home / ".config/onedrive/config");
    writeSparseFile(home / ".config/onedrive/config", 64 << 20);
    std::filesystem::create_directories(home / ".local/state/syncthing/config.xml");

    EXPECT_EQ(found(), usual());
    EXPECT_FALSE(guard.hadToRelease()) << "the FIFO was opened and waited on";
}

namespace {

// A home whose sync clients keep their folders in places of their choosing,
// with the guard reading their configurations from the environment.
class SyncedHome : public testing::Test {
protected:
    TrashHome home;
    LocalFileManager disk;
    ScopedEnvironment environment;
    std::string dropbox = home.home + "/Box";

    void SetUp() override {
        environment.set("XDG_CONFIG_HOME", home.home + "/.config");
        environment.set("XDG_STATE_HOME", home.home + "/.local/state");
        environment.set("XDG_DATA_HOME", home.dataHome);
        writeText(home.home + "/.dropbox/info.json", R"({"personal": {"path": ")" + dropbox + R"("}})");
        makeFolder(dropbox);
        makeFolder(dropbox + "/Photos");
        writeFile(dropbox + "/Photos/a.jpg", 100);
    }

    std::optional<DeletionRefusal> judged(const std::string& path, bool isDirectory) {
        return DeletionGuard::refusal({path, 0, isDirectory}, home.context, disk, "");
    }
};

// Counts the configurations read.
struct CountingFiles : FileManager {
    mutable int reads = 0;
    std::optional<std::string> contents(const std::string& path, std::int64_t limit) const override {
        ++reads;
        return FileManager::contents(path, limit);
    }
};

} // namespace

TEST_F(SyncedHome, WithinAConfiguredOrAUsualFolderIsCloudSynced) {
    writeText(home.home + "/.config/onedrive/config", "sync_dir = \"~/od\"\n");
    for (const char* folder : {"od", "MEGA"}) {
        const std::string path = home.home + "/" + folder;
        writeFileAt(path + "/inside/file", 10);
        EXPECT_EQ(judged(path + "/inside/file", false), DeletionRefusal::cloudSynced) << path;
        EXPECT_EQ(judged(path, true), DeletionRefusal::cloudSynced) << "the synced folder itself: " << path;
    }
    EXPECT_EQ(judged(dropbox + "/Photos/a.jpg", false), DeletionRefusal::cloudSynced);
}

TEST_F(SyncedHome, AFolderOfTheUsualNameIsOnlyAFolderWhenTheClientSyncsElsewhere) {
    writeFileAt(home.home + "/Dropbox/old.zip", 10);
    EXPECT_EQ(judged(home.home + "/Dropbox/old.zip", false), std::nullopt) << "Dropbox syncs ~/Box";
    EXPECT_EQ(judged(home.home + "/Dropbox", true), std::nullopt);
    writeFileAt(home.home + "/Nextcloud/old.zip", 10);
    EXPECT_EQ(judged(home.home + "/Nextcloud/old.zip", false), DeletionRefusal::cloudSynced)
        << "no Nextcloud configuration: its usual folder is taken to be synced";
    writeFileAt(home.home + "/Boxes/x", 10);
    EXPECT_EQ(judged(home.home + "/Boxes/x", false), std::nullopt) << "within at a component boundary only";
}

TEST_F(SyncedHome, ALinkIntoASyncedFolderOrASyncedFolderThatIsALinkIsJudgedByBothNames) {
    makeSymlink(dropbox + "/Photos", home.home + "/pics");
    makeSymlink(dropbox, home.folder / "outside");
    EXPECT_EQ(judged(home.home + "/pics/a.jpg", false), DeletionRefusal::cloudSynced);
    EXPECT_EQ(judged(home.folder / "outside/Photos", true), DeletionRefusal::cloudSynced);
    EXPECT_EQ(judged(home.home + "/pics", false), std::nullopt) << "the link itself may go, as a link";

    // ~/Box is configured, and really lives elsewhere: the link by its configured name, the files by their real path.
    const std::string real = home.folder / "disk/Box";
    makeFolder(home.folder / "disk");
    std::filesystem::rename(dropbox, real);
    makeSymlink(real, dropbox);
    EXPECT_EQ(judged(dropbox, false), DeletionRefusal::cloudSynced);
    EXPECT_EQ(judged(real + "/Photos/a.jpg", false), DeletionRefusal::cloudSynced);
    EXPECT_EQ(judged(home.home + "/pics/a.jpg", false), DeletionRefusal::cloudSynced);
}

TEST_F(SyncedHome, ConfigurationsAreReadOncePerPlanNotPerCandidate) {
    CountingFiles files;
    std::vector<DeletionCandidate> candidates;
    for (int i = 0; i < 40; ++i) {
        const std::string path = home.home + "/file " + std::to_string(i);
        writeFile(path, 10);
        candidates.push_back({path, 10, false});
    }
    candidates.push_back({dropbox + "/Photos/a.jpg", 100, false});
    const DeletionPlan plan = DeletionGuard::plan(candidates, home.context, files, "");
    EXPECT_EQ(plan.allowed.size(), 40u);
    ASSERT_EQ(plan.refused.size(), 1u);
    EXPECT_EQ(plan.refused[0].second, DeletionRefusal::cloudSynced);
    const int perPlan = files.reads;
    EXPECT_LE(perPlan, 6) << "one read per configuration";
    files.reads = 0;
    TrashService service(files, home.bin, 10);
    EXPECT_EQ(service.trash(plan, home.context).receipts.size(), 40u);
    EXPECT_EQ(files.reads, perPlan) << "and once per trash run";
}
