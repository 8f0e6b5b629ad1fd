// Reading the desktop's records of the apps in use.
//
// Three records, each kept by one part of a desktop, each knowing apps by
// its own kind of name:
//
// - The list of recently used files (GLib, so every GTK app and many
//   others): each file names the applications that opened it, by their
//   name and the command they gave. "'gnome-text-editor %u'" runs
//   gnome-text-editor; a GApplication gives its app ID instead.
// - GNOME Shell's usage statistics ($XDG_DATA_HOME/gnome-shell/application_state):
//   <application id="org.gnome.Maps.desktop" score="5" last-seen="1700000000"/>,
//   by desktop ID, last-seen in seconds since 1970. The shell rewrites it as
//   apps gain and lose the focus.
// - KDE's activity database ($XDG_DATA_HOME/kactivitymanagerd/resources/database),
//   SQLite, whose ResourceScoreCache keeps per resource and agent the last
//   update in seconds since 1970. An app launched from the desktop is the
//   resource "applications:org.kde.dolphin.desktop"; an app that opened a file
//   is that row's initiating agent ("org.kde.okular", "firefox").
//
// The database is live: kactivitymanagerd holds it open in WAL mode, where
// the latest changes sit in "database-wal" until a checkpoint. Opening it
// "immutable" would never lock it but would miss those changes, and a missed
// recent opening could make a used app look unused. So the file and its WAL
// are copied (each under a size limit, as any file of a folder we don't own)
// into a private folder, and the copy is opened read-only: the live database
// is never locked or written, and nothing recent is lost. The copy goes when
// the query is done.
//
// Worked example: application_state says org.gnome.Maps.desktop was last
// seen at 1700000000 and the recent files' list has Maps opening a file at
// 1710000000 under exec "'org.gnome.Maps %u'": gnomeShell.byDesktopId holds
// the first, recentFiles.byProgram["org.gnome.Maps"] the second; which one
// wins for the app is decided by the reader of last openings, not here.

#include "UninstallKit/AppUseRecords.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <pugixml.hpp>

#include "Base/AsciiCase.h"
#include "DiskScanKit/Paths.h"
#include "RecordFile.h"
#include "UninstallKit/RecentlyUsed.h"

namespace tessel::AppUseRecordsReader {

namespace {

// A query of a hostile database ends after this many steps of SQLite's machine.
constexpr int queryStepLimit = 50'000'000;

void keepLatest(std::map<std::string, std::int64_t>& latest, std::string key, std::int64_t when) {
    if (key.empty()) return;
    auto [at, added] = latest.try_emplace(std::move(key), when);
    if (!added) at->second = std::max(at->second, when);
}

std::string withDesktopSuffix(std::string_view id) {
    return id.ends_with(".desktop") ? std::string(id) : std::string(id) + ".desktop";
}

// A folder of our own for the copy, removed with everything in it when done.
class PrivateFolder {
public:
    PrivateFolder() {
        const char* temporary = std::getenv("TMPDIR");
        std::string pattern = std::string(temporary != nullptr && *temporary == '/' ? temporary : "/tmp") + "/tessel-activities-XXXXXX";
        if (mkdtemp(pattern.data()) != nullptr) path_ = pattern;
        else failure_ = "mkdtemp(" + pattern + "): " + std::strerror(errno);
    }
    ~PrivateFolder() {
        if (path_.empty()) return;
        for (const std::string& file : written_) unlink(file.c_str());
        // SQLite makes its own -shm, and a -wal too when the database is in WAL mode and none was copied.
        for (const char* extra : {"/database-shm", "/database-wal", "/database-journal"}) unlink((path_ + extra).c_str());
        rmdir(path_.c_str());
    }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const std::string& path() const { return path_; }
    const std::string& failure() const { return failure_; }

    // `bytes` as the file `name` of the folder; the failure, or empty.
    std::string write(const std::string& name, const std::string& bytes) {
        const std::string file = path_ + "/" + name;
        const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0) return "open(" + file + "): " + std::strerror(errno);
        written_.push_back(file);
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t wrote = ::write(fd, bytes.data() + done, bytes.size() - done);
            if (wrote < 0 && errno == EINTR) continue;
            if (wrote <= 0) {
                const std::string failure = "write(" + file + "): " + std::strerror(errno);
                close(fd);
                return failure;
            }
            done += static_cast<std::size_t>(wrote);
        }
        close(fd);
        return {};
    }

private:
    std::string path_, failure_;
    std::vector<std::string> written_;
};

AppUseRecordRead queryActivities(const std::string& database, const std::string& shownAs) {
    sqlite3* connection = nullptr;
    const std::string uri = "file:" + Paths::percentEncoded(database) + "?mode=ro";
    const int opened = sqlite3_open_v2(uri.c_str(), &connection, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
    auto failed = [&](const char* call) {
        AppUseRecordRead failure{std::nullopt, call + std::string("(") + shownAs + "): " +
                                                   (connection != nullptr ? sqlite3_errmsg(connection) : "out of memory")};
        sqlite3_close(connection);
        return failure;
    };
    if (opened != SQLITE_OK) return failed("sqlite3_open_v2");
    int steps = 0;
    sqlite3_progress_handler(connection, 1000, [](void* count) { return (*static_cast<int*>(count) += 1000) > queryStepLimit ? 1 : 0; }, &steps);
    sqlite3_stmt* statement = nullptr;
    const char* query = "SELECT targettedResource, initiatingAgent, MAX(lastUpdate) FROM ResourceScoreCache "
                        "GROUP BY targettedResource, initiatingAgent";
    if (sqlite3_prepare_v2(connection, query, -1, &statement, nullptr) != SQLITE_OK) return failed("sqlite3_prepare_v2");
    AppUseRecord record;
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(statement)) == SQLITE_ROW) {
        const auto text = [&](int column) {
            const unsigned char* value = sqlite3_column_text(statement, column);
            return std::string_view(value != nullptr ? reinterpret_cast<const char*>(value) : "");
        };
        const std::int64_t when = sqlite3_column_int64(statement, 2);
        if (when <= 0) continue;
        const std::string_view resource = text(0), agent = text(1);
        if (resource.starts_with("applications:")) keepLatest(record.byDesktopId, withDesktopSuffix(resource.substr(13)), when);
        // ":global" and the like are the manager's own, no app.
        if (!agent.starts_with(':')) keepLatest(record.byProgram, std::string(agent), when);
    }
    sqlite3_finalize(statement);
    if (step != SQLITE_DONE) return failed("sqlite3_step");
    sqlite3_close(connection);
    return {std::move(record), {}};
}

} // namespace

std::string programOfCommand(std::string_view exec) {
    auto unquoted = [](std::string_view text) {
        if (text.size() >= 2 && (text.front() == '\'' || text.front() == '"') && text.back() == text.front())
            return text.substr(1, text.size() - 2);
        return text;
    };
    std::string_view command = unquoted(exec);
    const std::size_t start = command.find_first_not_of(" \t");
    if (start == std::string_view::npos) return {};
    command.remove_prefix(start);
    const std::string_view first = unquoted(command.substr(0, command.find_first_of(" \t")));
    return std::string(first.substr(first.rfind('/') + 1));
}

AppUseRecordRead recentFiles(const std::string& dataHome) {
    RecentlyUsedRead read = RecentlyUsed::read(dataHome);
    if (!read.list) return {std::nullopt, std::move(read.failure)};
    AppUseRecord record;
    for (const RecentApplication& application : read.list->applications) {
        keepLatest(record.byName, asciiLower(application.name), application.modified);
        keepLatest(record.byProgram, programOfCommand(application.exec), application.modified);
    }
    return {std::move(record), {}};
}

AppUseRecordRead gnomeShellState(std::string_view xml, const std::string& file) {
    pugi::xml_document document;
    if (std::string failure = loadRecordXml(document, xml, file); !failure.empty()) return {std::nullopt, std::move(failure)};
    const pugi::xml_node state = document.child("application-state");
    if (!state) return {std::nullopt, file + " holds no <application-state>"};
    AppUseRecord record;
    for (pugi::xml_node context : state.children("context"))
        for (pugi::xml_node application : context.children("application")) {
            const std::string_view seen = application.attribute("last-seen").value();
            std::int64_t when = 0;
            const auto [end, error] = std::from_chars(seen.data(), seen.data() + seen.size(), when);
            if (error != std::errc{} || end != seen.data() + seen.size() || when <= 0) continue;
            keepLatest(record.byDesktopId, withDesktopSuffix(application.attribute("id").value()), when);
        }
    return {std::move(record), {}};
}

AppUseRecordRead gnomeShell(const std::string& dataHome) {
    return parseRecordFile<AppUseRecordRead>(dataHome + "/gnome-shell/application_state", gnomeStateLimit, gnomeShellState);
}

AppUseRecordRead kdeActivities(const std::string& dataHome) {
    const std::string database = dataHome + "/kactivitymanagerd/resources/database";
    SmallFileRead main = readRecordFile(database, kdeDatabaseLimit);
    if (!main.text) return {std::nullopt, std::move(main.failure)};
    SmallFileRead log = readRecordFile(database + "-wal", kdeDatabaseLimit);
    if (!log.text && !log.failure.empty()) return {std::nullopt, std::move(log.failure)};
    PrivateFolder copy;
    if (copy.path().empty()) return {std::nullopt, copy.failure()};
    std::string failure = copy.write("database", *main.text);
    if (failure.empty() && log.text) failure = copy.write("database-wal", *log.text);
    if (!failure.empty()) return {std::nullopt, std::move(failure)};
    return queryActivities(copy.path() + "/database", database);
}

AppUseRecords read(const std::string& dataHome) {
    AppUseRecords records;
    const auto take = [&](AppUseRecordRead read, std::optional<AppUseRecord>& into, const std::string& file) {
        into = std::move(read.record);
        if (!read.failure.empty()) records.unreadable.emplace_back(file, std::move(read.failure));
    };
    take(recentFiles(dataHome), records.recentFiles, dataHome + "/recently-used.xbel");
    take(gnomeShell(dataHome), records.gnomeShell, dataHome + "/gnome-shell/application_state");
    take(kdeActivities(dataHome), records.kdeActivities, dataHome + "/kactivitymanagerd/resources/database");
    return records;
}

} // namespace tessel::AppUseRecordsReader
