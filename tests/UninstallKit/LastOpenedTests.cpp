// When the apps of a described machine were last opened: its mount table
// under the root, programs with set access times, and a home with the
// desktop's records (recent files, GNOME Shell's statistics, KDE's database).
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <ctime>
#include <map>

#include "DescribedLinux.h"
#include "FifoRelease.h"
#include "ScopedEnvironment.h"
#include "UninstallKit/LastOpened.h"
#include "UninstallKit/RecentlyUsed.h"
#include "UninstallKit/UnusedApps.h"

namespace tessel {
namespace {

constexpr std::int64_t day = 24 * 60 * 60;

struct OpenedApps : DescribedLinux {
    const std::int64_t now = std::time(nullptr);
    // Times a test sets by path on this machine; every other file is read as it is, as if installed 1000 days ago.
    std::map<std::string, FileTimes> times;

    void SetUp() override {
        DescribedLinux::SetUp();
        write("/proc/self/mountinfo", "20 1 8:1 / / rw,relatime - ext4 /dev/sda1 rw\n"
                                      "21 20 8:2 / /opt rw,noatime - ext4 /dev/sda2 rw\n"
                                      "22 20 11:0 / /media/disc ro,relatime - iso9660 /dev/sr0 ro\n");
    }
    OpeningEvidence evidence() const {
        OpeningEvidence read = LastOpenedReader::read(machine, now);
        read.times = [this](const std::string& path, bool follow) -> std::optional<FileTimes> {
            if (const auto set = times.find(path); set != times.end()) return set->second;
            std::optional<FileTimes> real = LastOpenedReader::fileTimes(path, follow);
            if (real) real->changed -= 1000 * day;
            return real;
        };
        return read;
    }
    void accessedAt(const std::string& path, std::int64_t seconds) const {
        const timespec set[2] = {{static_cast<time_t>(seconds), 0}, {0, UTIME_OMIT}};
        ASSERT_EQ(utimensat(AT_FDCWD, local(path).c_str(), set, 0), 0) << path;
    }
    FoundApp found(const std::string& name, bool isRunning = false) const {
        for (InstalledApp& app : listing().apps)
            if (app.name == name) return {std::move(app), std::nullopt, isRunning};
        throw std::runtime_error("no app named " + name);
    }
    LastOpened opened(const std::string& name, const OpeningEvidence& read) const {
        return LastOpenedReader::lastOpened(found(name), read, machine);
    }
    static std::string iso(std::int64_t seconds) {
        char text[32];
        const std::time_t when = seconds;
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&when));
        return text;
    }
    void recentFiles(const std::vector<std::pair<std::string, std::int64_t>>& applications) const {
        std::string xml = "<?xml version=\"1.0\"?>\n<xbel version=\"1.0\" xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\">\n"
                          "<bookmark href=\"file:///home/me/notes.txt\"><info><metadata owner=\"http://freedesktop.org\"><bookmark:applications>\n";
        for (const auto& [application, when] : applications) xml += application + " modified=\"" + iso(when) + "\" count=\"2\"/>\n";
        write(machine.dataHome + "/recently-used.xbel", xml + "</bookmark:applications></metadata></info></bookmark></xbel>\n");
    }
    void gnomeSaw(const std::string& desktopId, std::int64_t when) const {
        write(machine.dataHome + "/gnome-shell/application_state",
              "<?xml version=\"1.0\"?>\n<application-state>\n  <context id=\"\">\n    <application id=\"" + desktopId +
                  "\" score=\"3\" last-seen=\"" + std::to_string(when) + "\"/>\n  </context>\n</application-state>\n");
    }
};

// KDE's database as kactivitymanagerd keeps it: WAL mode, held open; what it
// writes while open stays in the WAL until a checkpoint, which never comes here.
class LiveActivities {
public:
    explicit LiveActivities(const std::string& file) {
        std::filesystem::create_directories(file.substr(0, file.rfind('/')));
        EXPECT_EQ(sqlite3_open(file.c_str(), &db_), SQLITE_OK);
        run("PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0; CREATE TABLE ResourceScoreCache (usedActivity TEXT, "
            "initiatingAgent TEXT, targettedResource TEXT, scoreType INTEGER, cachedScore FLOAT, firstUpdate INTEGER, "
            "lastUpdate INTEGER, PRIMARY KEY(usedActivity, initiatingAgent, targettedResource))");
    }
    ~LiveActivities() { sqlite3_close(db_); }
    void used(const std::string& agent, const std::string& resource, std::int64_t when) {
        run("INSERT INTO ResourceScoreCache VALUES ('act', '" + agent + "', '" + resource + "', 0, 1.0, 0, " + std::to_string(when) + ")");
    }

private:
    void run(const std::string& sql) { EXPECT_EQ(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db_); }
    sqlite3* db_ = nullptr;
};

TEST_F(OpenedApps, TheNewestEvidenceWinsAndSaysWhereItCameFrom) {
    app("/usr/share/applications/viewer.desktop", "Viewer", "Exec=viewer %F\n");
    accessedAt("/usr/bin/viewer", now - 10 * day);
    app("/usr/share/applications/org.example.Maps.desktop", "Maps", "Exec=/usr/bin/flatpak run org.example.Maps\nX-Flatpak=org.example.Maps\n");
    program("/opt/editor/bin/editor");
    accessedAt("/opt/editor/bin/editor", now - 1 * day);
    app("/usr/share/applications/editor.desktop", "Editor", "Exec=/opt/editor/bin/editor\n");
    program("/usr/bin/reader");
    times[machine.root + "/usr/bin/reader"] = {now - 300 * day, now - 200 * day, {}};
    app("/usr/share/applications/org.example.Reader.desktop", "Reader", "Exec=reader\n");
    recentFiles({{"<bookmark:application name=\"Viewer Tool\" exec=\"&apos;viewer %u&apos;\"", now - 30 * day},
                 {"<bookmark:application name=\"editor\" exec=\"&apos;not-its-program %u&apos;\"", now - 50 * day},
                 {"<bookmark:application name=\"Flatpak\" exec=\"&apos;flatpak %u&apos;\"", now - 1 * day}});
    gnomeSaw("org.example.Maps.desktop", now - 40 * day);
    auto kde = std::make_unique<LiveActivities>(machine.dataHome + "/kactivitymanagerd/resources/database");
    kde->used(":global", "applications:org.example.Maps.desktop", now - 20 * day);
    kde->used("org.example.Reader", "file:///home/me/book.pdf", now - 5 * day);

    test::ScopedEnvironment environment;
    environment.set("TMPDIR", folder / "copies");
    std::filesystem::create_directories(folder / "copies");
    const OpeningEvidence read = evidence();
    EXPECT_TRUE(read.records.unreadable.empty()) << read.records.unreadable.front().second;
    const auto expectOpened = [&](const LastOpened& last, std::int64_t date, OpeningSource source, const std::string& app) {
        EXPECT_EQ(last.date, date) << app;
        EXPECT_EQ(last.source, source) << app << ": " << (last.source ? OpeningSources::word(*last.source) : last.why);
    };
    expectOpened(opened("Viewer", read), now - 10 * day, OpeningSource::accessTime, "the program read after the list's record");
    expectOpened(opened("Maps", read), now - 20 * day, OpeningSource::kdeActivities,
                 "KDE's row still in the WAL beats GNOME's; the launcher's record is no Flatpak app's");
    expectOpened(opened("Editor", read), now - 50 * day, OpeningSource::recentFiles, "by name: the noatime disk says nothing");
    expectOpened(opened("Reader", read), now - 5 * day, OpeningSource::kdeActivities, "the agent that opened a file");
    EXPECT_EQ(opened("Reader", read).notSince, now - 200 * day) << "not read since its last change, and an opening told apart";
    expectOpened(LastOpenedReader::lastOpened(found("Editor", true), read, machine), now, OpeningSource::running, "Editor, running");

    kde.reset(); // closed: its WAL is written back and gone, the database still in WAL mode
    expectOpened(opened("Maps", evidence()), now - 20 * day, OpeningSource::kdeActivities, "Maps, from the closed database");
    EXPECT_TRUE(std::filesystem::is_empty(folder / "copies")) << "the database's private copies go once read";
}

TEST_F(OpenedApps, WhenNothingSpeaksTheSentenceSaysWhatKeptEachPieceSilent) {
    program("/opt/tool/bin/tool");
    app("/usr/share/applications/tool.desktop", "Tool", "Exec=/opt/tool/bin/tool\n");
    program("/media/disc/player");
    app("/usr/share/applications/player.desktop", "Player", "Exec=/media/disc/player\n");
    app("/usr/share/applications/org.example.Maps.desktop", "Maps", "Exec=/usr/bin/flatpak run org.example.Maps\nX-Flatpak=org.example.Maps\n");
    program("/usr/bin/fresh");
    times[machine.root + "/usr/bin/fresh"] = {now - 3 * day, now - 3 * day, {}};
    app("/usr/share/applications/fresh.desktop", "Fresh", "Exec=fresh\n");
    program("/usr/bin/python3");
    write("/usr/share/script/run.py", "print()\n");
    accessedAt("/usr/bin/python3", now);
    accessedAt("/usr/share/script/run.py", now - 100 * day);
    app("/usr/share/applications/script.desktop", "Script", "Exec=python3 -u /usr/share/script/run.py\n");

    const std::string prefix = "Nothing on this machine records when it was last opened: ";
    const OpeningEvidence bare = evidence();
    EXPECT_EQ(opened("Tool", bare).why,
              prefix + "the disk holding its program is mounted with noatime, and the desktop keeps no record of the apps in use.");
    EXPECT_EQ(opened("Player", bare).why, prefix + "its program is on a read-only file system, which keeps no access times, "
                                                   "and the desktop keeps no record of the apps in use.");
    EXPECT_EQ(opened("Maps", bare).why, prefix + "it runs sandboxed, from a read-only copy that keeps no access times, "
                                                 "and the desktop keeps no record of the apps in use.");
    const LastOpened fresh = opened("Fresh", bare);
    EXPECT_EQ(fresh.date, std::nullopt) << "an access time no later than the last change is no opening";
    EXPECT_EQ(fresh.notSince, now - 3 * day);
    EXPECT_EQ(fresh.why, LastOpenedReader::notReadSince);
    EXPECT_EQ(opened("Script", bare).date, now - 100 * day) << "the script's access time, not the interpreter's";

    gnomeSaw("other.desktop", now);
    EXPECT_EQ(opened("Tool", evidence()).why, prefix + "the disk holding its program is mounted with noatime, "
                                                        "and the desktop's records of the apps in use don't mention it.");
    std::filesystem::remove(local("/proc/self/mountinfo"));
    EXPECT_EQ(opened("Fresh", evidence()).why, prefix + "the mount table can't be read, so its program's access time proves "
                                                        "nothing, and the desktop's records of the apps in use don't mention it.");
}

TEST_F(OpenedApps, AddedIsTheEarliestBirthOfEntryProgramAndPackageFolderAndTheUsersAppsAreOffered) {
    app("/usr/share/applications/viewer.desktop", "Viewer");
    app("/usr/share/applications/hidden.desktop", "Hidden", "Exec=viewer\nNoDisplay=true\n");
    write("/usr/share/doc/viewer/copyright", "");
    times[machine.root + "/usr/share/applications/viewer.desktop"] = {now, now - 10 * day, now - 10 * day};
    times[machine.root + "/usr/bin/viewer"] = {now, now - 10 * day, {}};
    times[machine.root + "/usr/share/doc/viewer"] = {now, now - 5 * day, now - 400 * day};
    const OpeningEvidence read = evidence();
    FoundApp viewer = found("Viewer");
    EXPECT_EQ(LastOpenedReader::added(viewer.app, read, machine), now - 10 * day) << "no package: the entry's birth, the program's change";
    viewer.app.source = "dpkg";
    viewer.app.package = "viewer";
    EXPECT_EQ(LastOpenedReader::added(viewer.app, read, machine), now - 400 * day) << "the package's folder outlives its upgrades";

    FoundApp system = viewer;
    system.app.isSystemApp = true;
    const std::vector<UnusedAppEntry> offered = UnusedApps::entries({viewer, system, found("Hidden")}, read, machine);
    ASSERT_EQ(offered.size(), 1u) << "neither the system's own app nor one kept out of menus";
    EXPECT_EQ(offered[0].added, now - 400 * day);
}

TEST_F(OpenedApps, HostileRecordsAreRefusedWithoutHangingAndTheOthersStillSpeak) {
    app("/usr/share/applications/org.example.Maps.desktop", "Maps", "Exec=/usr/bin/flatpak run org.example.Maps\nX-Flatpak=org.example.Maps\n");
    const std::string xbel = machine.dataHome + "/recently-used.xbel";
    std::filesystem::create_directories(machine.dataHome);
    ASSERT_EQ(mkfifo(xbel.c_str(), 0600), 0);
    test::FifoRelease release(xbel);
    write(machine.dataHome + "/gnome-shell/application_state", "<application-state><context><application id=");
    write(machine.dataHome + "/kactivitymanagerd/resources/database", std::string(8192, 'x'));
    OpeningEvidence read = evidence();
    EXPECT_FALSE(release.hadToRelease()) << "the pipe was opened to wait for a writer";
    ASSERT_EQ(read.records.unreadable.size(), 3u);
    EXPECT_NE(read.records.unreadable[0].second.find("is not a regular file"), std::string::npos) << read.records.unreadable[0].second;
    EXPECT_NE(read.records.unreadable[1].second.find("is not readable XML"), std::string::npos) << read.records.unreadable[1].second;
    EXPECT_NE(read.records.unreadable[2].second.find("not a database"), std::string::npos) << read.records.unreadable[2].second;
    EXPECT_FALSE(read.records.any());

    std::filesystem::remove(xbel);
    test::writeSparseFile(xbel, RecentlyUsed::sizeLimit + 1);
    gnomeSaw("org.example.Maps.desktop", now - 7 * day);
    read = evidence();
    ASSERT_EQ(read.records.unreadable.size(), 2u);
    EXPECT_NE(read.records.unreadable[0].second.find("holds more than 16777216 bytes"), std::string::npos);
    EXPECT_EQ(opened("Maps", read).date, now - 7 * day) << "a record that reads still counts";
}

} // namespace
} // namespace tessel
