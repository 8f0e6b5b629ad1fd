// What removed apps left behind, in a fixture home beside installed apps,
// packages and running programs that must keep theirs; the grades word for
// word; and how a leftover's name is read into an owner.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "DescribedLinux.h"
#include "UninstallKit/OrphanEvidence.h"
#include "UninstallKit/OrphanHunter.h"

using namespace tessel;
namespace fs = std::filesystem;

namespace {

constexpr std::int64_t day = 86'400;
constexpr std::int64_t now = 1'800'000'000;

// Everything in `path`, itself included, last changed `days` ago.
void age(const std::string& path, std::int64_t days) {
    const timespec when[2] = {{now - days * day, 0}, {now - days * day, 0}};
    if (fs::is_directory(path))
        for (const auto& entry : fs::recursive_directory_iterator(path))
            utimensat(AT_FDCWD, entry.path().c_str(), when, AT_SYMLINK_NOFOLLOW);
    utimensat(AT_FDCWD, path.c_str(), when, AT_SYMLINK_NOFOLLOW);
}

InstalledApp installed(const std::string& name, const std::string& identifier, const std::string& bundlePath) {
    InstalledApp app;
    app.name = name;
    app.bundleIdentifier = identifier;
    app.desktopId = identifier + ".desktop";
    app.bundlePath = bundlePath;
    return app;
}

struct Orphans : DescribedLinux {
    std::string home() const { return machine.home; }
    // A folder with a file in it, or a file for a name with an ending, aged.
    void leave(const std::string& path, std::int64_t days) const {
        const std::string at = home() + "/" + path;
        if (fs::path(path).has_extension() && !path.ends_with(".Viewer") && !path.ends_with(".Player"))
            write(at, "x");
        else
            write(at + "/data", "x");
        age(at, days);
    }
    std::map<std::string, OrphanItem> find(OrphanHunter::Knowledge knowledge) const {
        const auto folders = ResidueLocation::LinuxFolders{home(), home() + "/.config", home() + "/.local/share", home() + "/.cache",
                                                           home() + "/.local/state", machine.root};
        const OrphanHunter hunter(std::move(knowledge), ResidueLocation::onLinux(folders), [](const std::string&) { return 4096; });
        std::map<std::string, OrphanItem> found;
        for (OrphanItem& item : hunter.find(now)) found[item.path.substr(item.path.find("home/") + 5)] = std::move(item);
        return found;
    }
};

TEST_F(Orphans, EachLeftoverIsGradedOnTheLadderAndOnlyTheQuietDisposableIsTicked) {
    leave(".cache/org.gone.Viewer", 40);
    leave(".cache/org.gone.Player", 29);
    leave(".var/app/org.gone.Viewer", 400);
    leave(".config/org.gone.Viewer.json", 90);
    write(home() + "/.config/autostart/org.gone.Viewer.desktop", "[Desktop Entry]\nType=Application\nName=V\nExec=/opt/gone/viewer\n");
    write(home() + "/.config/systemd/user/org.gone.Sync.service", "[Service]\nExecStart=-/usr/bin/viewer --sync\n");
    fs::create_directories(home() + "/.local/state");
    fs::create_symlink("/nowhere/at/all", home() + "/.local/state/org.gone.Link");

    OrphanHunter::Knowledge knowledge = OrphanEvidence::ofLinux(machine, {}, nullptr, {}, {});
    const std::map<std::string, OrphanItem> found = find(std::move(knowledge));
    ASSERT_EQ(found.size(), 7u);
    const OrphanItem& cache = found.at(".cache/org.gone.Viewer");
    EXPECT_EQ(cache.confidence, MatchConfidence::exact);
    EXPECT_EQ(cache.reason, "Caches are rebuilt whenever an app needs them, and no installed app, package or helper comes from "
                            "org.gone. Unchanged for 40 days.");
    EXPECT_TRUE(cache.isTicked());
    EXPECT_EQ(cache.owner.name, "Gone");
    EXPECT_EQ(found.at(".cache/org.gone.Player").confidence, MatchConfidence::possible);
    EXPECT_NE(found.at(".cache/org.gone.Player").reason.find("It changed 29 days ago, so something may still be using it."), std::string::npos);
    EXPECT_FALSE(found.at(".cache/org.gone.Player").isTicked());
    const OrphanItem& sandbox = found.at(".var/app/org.gone.Viewer");
    EXPECT_EQ(sandbox.confidence, MatchConfidence::strong) << "however old, it may hold documents";
    EXPECT_EQ(sandbox.category, OrphanCategory::mayHoldDocuments);
    EXPECT_EQ(found.at(".config/org.gone.Viewer.json").confidence, MatchConfidence::exact) << "a settings file";
    EXPECT_EQ(found.at(".config/autostart/org.gone.Viewer.desktop").reason,
              "No installed app, package or helper comes from org.gone. What it starts could not be read, so it may still be doing something.");
    EXPECT_EQ(found.at(".config/systemd/user/org.gone.Sync.service").confidence, MatchConfidence::likely)
        << "a helper whose program is there is still never ticked";
    EXPECT_EQ(found.at(".local/state/org.gone.Link").confidence, MatchConfidence::possible);
    EXPECT_NE(found.at(".local/state/org.gone.Link").reason.find("It is a link to /nowhere/at/all, which is no longer there."),
              std::string::npos);
}

TEST_F(Orphans, WhatAnythingInstalledOrRunningExplainsIsNoLeftoverButAnAppInTheTrashExplainsNothing) {
    for (const char* path : {".cache/org.example.Editor", ".cache/org.example.Editor.Thumbnails", ".cache/org.tools.Daemon.Index",
                             ".cache/org.running.Clock", ".cache/org.trashed.Paint", ".cache/htop", ".cache/spotify",
                             ".config/spotify", ".cache/oldtool"})
        leave(path, 100);
    write(machine.root + "/etc/oldtool/oldtool.conf", "x");
    OrphanHunter::Knowledge knowledge;
    knowledge.installedApps = {installed("Editor", "org.example.Editor", "/usr/bin/viewer"),
                               installed("Paint", "org.trashed.Paint", home() + "/.local/share/Trash/files/Paint.AppImage")};
    knowledge.softwareNames = {"org.tools.daemon", "htop"};
    knowledge.running.launchedApps = {"org.running.Clock"};
    knowledge.removed = {{"spotify-client", {"spotify-client", "The package manager's log says spotify-client was removed."}},
                         {"oldtool", {"oldtool", "The package manager's log says oldtool was removed."}}};
    knowledge.keptConfigurations = {"oldtool"};
    const std::map<std::string, OrphanItem> found = find(std::move(knowledge));

    std::vector<std::string> paths;
    for (const auto& [path, item] : found) paths.push_back(path);
    EXPECT_EQ(paths, (std::vector<std::string>{".cache/oldtool", ".cache/org.trashed.Paint", ".cache/spotify", ".config/spotify"}))
        << "the removed tool's settings in /etc stay until it is purged";
    EXPECT_EQ(found.at(".cache/spotify").owner.name, "spotify-client");
    EXPECT_NE(found.at(".cache/spotify").reason.find("log says spotify-client was removed"), std::string::npos);
    EXPECT_EQ(found.at(".config/spotify").confidence, MatchConfidence::strong) << "a settings folder may hold what the app saved";
}

TEST_F(Orphans, TheMacsFoldersKeepTheirCategories) {
    const std::vector<ResidueLocation> mac = ResidueLocation::onMac(home());
    std::map<std::string, OrphanCategory> categories;
    for (const ResidueLocation& location : mac) categories[location.label] = OrphanHunter::categoryOf(location, true);
    EXPECT_EQ(categories.at("Caches"), OrphanCategory::disposable);
    EXPECT_EQ(categories.at("Saved State"), OrphanCategory::disposable);
    EXPECT_EQ(categories.at("Container"), OrphanCategory::mayHoldDocuments);
    EXPECT_EQ(categories.at("Application Support"), OrphanCategory::mayHoldDocuments);
    EXPECT_EQ(categories.at("Launch Daemon"), OrphanCategory::launchd);
    EXPECT_EQ(categories.at("Helper Tool"), OrphanCategory::software);
    leave("Library/Caches/com.gone.Mail", 31);
    leave("Library/Containers/com.gone.Mail", 900);
    const OrphanHunter hunter({}, mac, [](const std::string&) { return 1; });
    const std::vector<OrphanItem> items = hunter.find(now);
    ASSERT_EQ(items.size(), 2u);
    EXPECT_TRUE(items[0].isTicked() && items[0].locationLabel == "Caches");
    EXPECT_NE(items[1].reason.find("A container holds everything a sandboxed app saved"), std::string::npos);
    EXPECT_EQ(OrphanHunter::describe(day - 1), "less than a day");
    EXPECT_EQ(OrphanHunter::describe(75 * day), "2 months");
    EXPECT_EQ(OrphanHunter::describe(800 * day), "2 years");
}

TEST_F(Orphans, TheMachineTellsWhatWentByItsLogAndByEntriesWhoseProgramIsGone) {
    EXPECT_EQ(OrphanEvidence::removedInLog("2024-03-01 10:00:00 remove spotify-client:amd64 1:1.2 <none>\n"
                                           "2024-03-01 10:00:01 status installed viewer:amd64 1\n"
                                           "2024-03-02 09:00:00 purge oldtool 2 <none>\ngarbage\n"),
              (std::set<std::string>{"oldtool", "spotify-client"}));
    write("/var/log/dpkg.log", "2024-03-01 10:00:00 remove viewer:amd64 1 <none>\n2024-03-01 10:00:00 remove gonetool:amd64 1 <none>\n");
    app(home() + "/.local/share/applications/appimagekit-notes.desktop", "Notes", "Exec=" + home() + "/Apps/Notes.AppImage %U\n");
    app("/usr/share/applications/org.shipped.Tool.desktop", "Tool");
    std::vector<InstalledApp> apps = AppCatalog::installedApps(machine).apps;
    const PackageReceipt viewer{"viewer", "1", std::nullopt, false, "ii"};
    const OrphanHunter::Knowledge knowledge = OrphanEvidence::ofLinux(machine, apps, nullptr, {viewer}, {});
    EXPECT_TRUE(knowledge.removed.contains("notes")) << "its AppImage is gone";
    EXPECT_TRUE(knowledge.removed.contains("gonetool"));
    EXPECT_FALSE(knowledge.removed.contains("viewer")) << "removed once, installed again";
    EXPECT_EQ(knowledge.installedApps.size(), 1u);
    EXPECT_TRUE(knowledge.softwareNames.contains("viewer") && knowledge.softwareNames.contains("flatpak")) << "programs on the PATH";
    EXPECT_EQ(knowledge.programOf(home() + "/.local/share/applications/appimagekit-notes.desktop"), std::nullopt);
    write(home() + "/sync.service", "[Unit]\nDescription=x\n[Service]\nExecStart=@-viewer --sync\n");
    EXPECT_EQ(knowledge.programOf(home() + "/sync.service"), "/usr/bin/viewer");
}

TEST(LeftoverOwners, ANameIsReadIntoAVendorItsDomainAndAChannel) {
    const auto spotify = LeftoverOwner::read("com.spotify.client");
    ASSERT_TRUE(spotify);
    EXPECT_EQ(spotify->name, "Spotify");
    EXPECT_EQ(spotify->domain, "spotify.com");
    EXPECT_EQ(spotify->key, "com.spotify");
    const auto beta = LeftoverOwner::read("org.mozilla.firefox.beta");
    EXPECT_EQ(beta->name, "Mozilla");
    EXPECT_EQ(beta->channel, "Beta");
    EXPECT_EQ(LeftoverOwner::read("com.discordapp.Discord")->name, "Discord");
    EXPECT_EQ(LeftoverOwner::read("org.gimp2.Editor")->name, "GIMP");
    EXPECT_EQ(LeftoverOwner::read("notes.app"), std::nullopt);
    EXPECT_EQ(LeftoverOwner::prettifyWord("x11"), "X11") << "fewer than three letters keep their digits";
    EXPECT_EQ(LeftoverOwner::prettifyWord("macos"), "macOS");
    EXPECT_TRUE(LeftoverOwner::isInTrash("/home/a/.local/share/Trash/files/X.AppImage"));
    EXPECT_TRUE(LeftoverOwner::isInTrash("/media/disk/.Trash-1000/files/x"));
    EXPECT_FALSE(LeftoverOwner::isInTrash("/home/a/Trash/x"));
}

} // namespace
