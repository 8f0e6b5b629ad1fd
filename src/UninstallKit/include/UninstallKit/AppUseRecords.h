#pragma once
// What the desktop records of the apps the user opens: the applications
// named in the list of recently used files, GNOME Shell's usage statistics
// and KDE's activity database. Each says when an app was last in use, and
// knows the app by its own kind of name. See linux/AppUseRecords.cpp.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessel {

// One record's latest use of each app, in seconds since 1970, by the names it knows apps by.
struct AppUseRecord {
    std::map<std::string, std::int64_t> byDesktopId; // "org.gnome.Maps.desktop"
    // What the app ran as: a program's base name ("gnome-text-editor") or an app ID ("org.kde.okular").
    std::map<std::string, std::int64_t> byProgram;
    std::map<std::string, std::int64_t> byName; // the application's name, lower-cased
};

struct AppUseRecords {
    // Each absent when the desktop keeps no such record or it could not be read.
    std::optional<AppUseRecord> recentFiles;   // $XDG_DATA_HOME/recently-used.xbel
    std::optional<AppUseRecord> gnomeShell;    // $XDG_DATA_HOME/gnome-shell/application_state
    std::optional<AppUseRecord> kdeActivities; // $XDG_DATA_HOME/kactivitymanagerd/resources/database
    // The records that are there but could not be read: the file and why.
    std::vector<std::pair<std::string, std::string>> unreadable;

    bool any() const { return recentFiles || gnomeShell || kdeActivities; }
};

struct AppUseRecordRead {
    std::optional<AppUseRecord> record;
    std::string failure; // naming the file; empty when read or not there
};

namespace AppUseRecordsReader {

constexpr std::int64_t gnomeStateLimit = 4 << 20;
constexpr std::int64_t kdeDatabaseLimit = 64 << 20;

// Every record the desktop keeps under `dataHome`.
AppUseRecords read(const std::string& dataHome);

// The applications of the list of recently used files: each by its name and
// by the program its command runs, at the latest file it opened.
AppUseRecordRead recentFiles(const std::string& dataHome);
// GNOME Shell's statistics: <application id="org.gnome.Maps.desktop" score="5" last-seen="1700000000"/>.
AppUseRecordRead gnomeShell(const std::string& dataHome);
AppUseRecordRead gnomeShellState(std::string_view xml, const std::string& file);
// KDE's activity database (SQLite), table ResourceScoreCache: an app opened
// from the desktop is the resource "applications:NAME.desktop"; an app that
// opened a file is its initiating agent. Read from a private copy, so the
// live database is never locked or written.
AppUseRecordRead kdeActivities(const std::string& dataHome);

// The program a command line runs: "'gnome-text-editor %u'" runs gnome-text-editor.
std::string programOfCommand(std::string_view exec);

} // namespace AppUseRecordsReader
} // namespace tessel
