// When an app was last opened, told from what the machine keeps.
//
// Linux keeps no "last opened" date of its own. What speaks of one:
//
// - The app runs now: it is in use today.
// - Its program's access time. A file's access time moves when it is read,
//   and starting a program reads it. But not on every mount: noatime keeps
//   it still, a read-only mount (a snap's squashfs, the copy a Flatpak
//   sandbox mounts) never writes it, and under relatime, the kernel's
//   default, it moves only when it is not later than the file's last change,
//   or a day old, so it tells the day, not the minute. A program installed
//   or upgraded gets a fresh change time, and its access time is then no
//   later than that until it is read again: an access time after the change
//   time is an opening, one that isn't says "not opened since it was put
//   there", which is not a date of opening at all, and is kept apart.
//   For a script run by an interpreter ("python3 /usr/share/tool/tool.py")
//   the script is what is read for this app alone; the interpreter is read
//   for every script there is and says nothing. Anything else that reads
//   the program (a backup, a checksum run) moves the access time too: that
//   makes an app look used, never unused.
// - The desktop's records of the apps in use (AppUseRecords.h): the
//   applications the list of recently used files names, by name and
//   program; GNOME Shell's statistics and KDE's activity database, by
//   desktop ID (KDE also by the agent that opened a file).
//
// Every piece that speaks gives a date; the newest wins, and says where it
// came from. An app no piece speaks for has no date, and a sentence says
// why, in two halves: what kept its program's access time from telling, and
// whether the desktop keeps records at all or only doesn't name it.
//
// Worked example, relatime, GNOME: Maps (a Flatpak) has no program access
// time (sandboxed, read-only), GNOME Shell last saw it 40 days ago: 40 days
// ago, "gnomeShell". Viewer (/usr/bin/viewer, read 3 days ago, upgraded 10
// days ago) and in the recent files' list 20 days ago: 3 days ago, "accessTime".
// Tool (upgraded 10 days ago, not read since, in no record): no date,
// not opened since 10 days ago.

#include "UninstallKit/LastOpened.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

#include "Base/AsciiCase.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/RunningPrograms.h"

namespace tessel {

namespace OpeningSources {

namespace {

struct Words {
    std::string_view word, sentence;
};

// In the order of OpeningSource.
constexpr Words words[] = {
    {"running", "It is running now."},
    {"accessTime", "Its program was last read then, as its disk records it, to the day."},
    {"recentFiles", "It last opened a file then, as the desktop's list of recent files says."},
    {"gnomeShell", "GNOME Shell last saw it in use then."},
    {"kdeActivities", "KDE's activity records last saw it in use then."},
};

} // namespace

std::string_view word(OpeningSource source) { return words[static_cast<std::size_t>(source)].word; }
std::string_view sentence(OpeningSource source) { return words[static_cast<std::size_t>(source)].sentence; }

} // namespace OpeningSources

namespace LastOpenedReader {

const std::string_view notReadSince = "Its program has not been read since it was installed or last changed then.";

namespace {

bool runsSandboxed(const InstalledApp& app) { return app.source == "flatpak" || app.source == "snap"; }

// The file that is read when this app, and only it, starts; or why there is none.
struct OwnProgram {
    std::optional<std::string> path;
    const char* whyNone = nullptr;
};

OwnProgram ownProgram(const InstalledApp& app) {
    if (runsSandboxed(app)) return {std::nullopt, "it runs sandboxed, from a read-only copy that keeps no access times"};
    if (!app.programPath) return {std::nullopt, "its entry runs no program that is on this machine"};
    if (!RunningPrograms::isInterpreter(Paths::lastComponent(*app.programPath))) return {app.programPath};
    // The script: the first word after the interpreter that is no option.
    const auto interpreter = std::ranges::find_if(app.exec, [&](const std::string& word) {
        return Paths::lastComponent(word) == Paths::lastComponent(*app.programPath);
    });
    for (auto word = interpreter; word != app.exec.end(); ++word) {
        if (word == interpreter || word->starts_with('-')) continue;
        if (word->starts_with('/')) return {Paths::standardized(*word)};
        break;
    }
    return {std::nullopt, "its program is an interpreter that runs other programs too"};
}

struct Opening {
    std::int64_t date;
    OpeningSource source;
};

void consider(std::optional<Opening>& newest, std::optional<std::int64_t> date, OpeningSource source) {
    if (date && (!newest || *date > newest->date)) newest = Opening{*date, source};
}

std::optional<std::int64_t> latestOf(const std::map<std::string, std::int64_t>& record, const std::vector<std::string>& keys) {
    std::optional<std::int64_t> latest;
    for (const std::string& key : keys)
        if (const auto found = record.find(key); found != record.end()) latest = std::max(latest.value_or(found->second), found->second);
    return latest;
}

std::optional<std::int64_t> latestIn(const std::optional<AppUseRecord>& record, const InstalledApp& app,
                                     const std::vector<std::string>& programs) {
    if (!record) return std::nullopt;
    std::optional<std::int64_t> latest = latestOf(record->byDesktopId, {app.desktopId});
    for (const std::optional<std::int64_t> other : {latestOf(record->byProgram, programs), latestOf(record->byName, {asciiLower(app.name)})})
        if (other) latest = std::max(latest.value_or(*other), *other);
    return latest;
}

// The names a record may know the app's program by: its own program's name,
// its identifier, its Flatpak ID or snap name. Never a launcher's or an
// interpreter's, which every app of their kind shares.
std::vector<std::string> programNames(const InstalledApp& app, const OwnProgram& own) {
    std::vector<std::string> names;
    if (own.path) names.emplace_back(Paths::lastComponent(*own.path));
    if (app.bundleIdentifier) names.push_back(*app.bundleIdentifier);
    if (app.package) names.push_back(*app.package);
    std::erase(names, "");
    return names;
}

} // namespace

std::optional<FileTimes> fileTimes(const std::string& path, bool followLinks) {
    struct statx info {};
    const int flags = AT_NO_AUTOMOUNT | (followLinks ? 0 : AT_SYMLINK_NOFOLLOW);
    if (statx(AT_FDCWD, path.c_str(), flags, STATX_ATIME | STATX_CTIME | STATX_BTIME, &info) != 0) return std::nullopt;
    FileTimes times{info.stx_atime.tv_sec, info.stx_ctime.tv_sec, std::nullopt};
    // A disk image made with its times wiped says every file was born in 1970: that is no birth.
    if ((info.stx_mask & STATX_BTIME) != 0 && info.stx_btime.tv_sec > 0) times.born = info.stx_btime.tv_sec;
    return times;
}

OpeningEvidence read(const DesktopMachine& machine, std::int64_t now) {
    OpeningEvidence evidence;
    evidence.records = AppUseRecordsReader::read(machine.dataHome);
    MountTableReading mounts = MountTable::read(machine.root);
    evidence.mounts = std::move(mounts.entries);
    evidence.mountFailure = std::move(mounts.failure);
    evidence.times = fileTimes;
    evidence.now = now;
    return evidence;
}

LastOpened lastOpened(const FoundApp& found, const OpeningEvidence& evidence, const DesktopMachine& machine) {
    const InstalledApp& app = found.app;
    LastOpened last;
    std::optional<Opening> newest;
    if (found.isRunning) newest = Opening{evidence.now, OpeningSource::running};

    OwnProgram own = ownProgram(app);
    const char* programSaysNothing = own.whyNone;
    if (own.path) {
        const std::optional<std::string> real = machine.followLinks(*own.path);
        const std::optional<MountEntry> mount = MountTable::containing(evidence.mounts, real.value_or(*own.path));
        const std::optional<FileTimes> times = real ? evidence.times(machine.onDisk(*real), true) : std::nullopt;
        if (!evidence.mountFailure.empty() || !mount) {
            programSaysNothing = "the mount table can't be read, so its program's access time proves nothing";
        } else if (std::ranges::find(mount->options, "noatime") != mount->options.end()) {
            programSaysNothing = "the disk holding its program is mounted with noatime";
        } else if (!MountTable::keepsAccessTimes(*mount)) {
            programSaysNothing = "its program is on a read-only file system, which keeps no access times";
        } else if (!times) {
            programSaysNothing = "its program can't be read";
        } else if (times->accessed > times->changed) {
            consider(newest, times->accessed, OpeningSource::accessTime);
        } else {
            last.notSince = times->changed;
        }
    }
    const std::vector<std::string> programs = programNames(app, own);
    consider(newest, latestIn(evidence.records.recentFiles, app, programs), OpeningSource::recentFiles);
    consider(newest, latestIn(evidence.records.gnomeShell, app, programs), OpeningSource::gnomeShell);
    consider(newest, latestIn(evidence.records.kdeActivities, app, programs), OpeningSource::kdeActivities);

    if (newest) {
        last.date = newest->date;
        last.source = newest->source;
    } else if (last.notSince) {
        last.why = std::string(notReadSince);
    } else {
        last.why = std::string("Nothing on this machine records when it was last opened: ") + programSaysNothing + ", and " +
                   (evidence.records.any() ? "the desktop's records of the apps in use don't mention it."
                                           : "the desktop keeps no record of the apps in use.");
    }
    return last;
}

std::optional<std::int64_t> added(const InstalledApp& app, const OpeningEvidence& evidence, const DesktopMachine& machine) {
    std::optional<std::int64_t> earliest;
    const auto consider = [&](const std::string& path, bool followLinks) {
        if (const std::optional<FileTimes> times = evidence.times(machine.onDisk(path), followLinks)) {
            const std::int64_t since = times->born.value_or(times->changed);
            earliest = std::min(earliest.value_or(since), since);
        }
    };
    if (!app.entryPath.empty()) consider(app.entryPath, false);
    if (const OwnProgram own = ownProgram(app); own.path)
        if (const std::optional<std::string> real = machine.followLinks(*own.path)) consider(*real, false);
    if (app.package) {
        if (app.source == "dpkg") consider("/usr/share/doc/" + *app.package, false);
        if (app.source == "flatpak") {
            consider("/var/lib/flatpak/app/" + *app.package, false);
            consider(machine.dataHome + "/flatpak/app/" + *app.package, false);
        }
        if (app.source == "snap") consider("/snap/" + *app.package, false);
    }
    return earliest;
}

} // namespace LastOpenedReader
} // namespace tessel
