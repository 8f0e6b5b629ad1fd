#pragma once
// When each app of a Linux machine was last opened, from the evidence the
// machine keeps: whether it runs now, the access time of its program where
// the disk keeps access times, and the desktop's records of apps in use.
// The newest evidence wins; each answer says where it came from, and an app
// nothing speaks for says why. See LastOpened.cpp.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SystemStatsKit/MountTable.h"
#include "UninstallKit/AppUseRecords.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/FoundApps.h"

namespace tessel {

enum class OpeningSource { running, accessTime, recentFiles, gnomeShell, kdeActivities };

namespace OpeningSources {
// The word scripts read: "running", "accessTime", "recentFiles", "gnomeShell", "kdeActivities".
std::string_view word(OpeningSource source);
// Where the date comes from, as a person reads it beside the date:
// "GNOME Shell last saw it in use then."
std::string_view sentence(OpeningSource source);
} // namespace OpeningSources

struct LastOpened {
    // The newest opening any evidence shows, in seconds since 1970, and whose evidence it is.
    std::optional<std::int64_t> date;
    std::optional<OpeningSource> source;
    // Its program has not been read since it was installed or last changed,
    // at this moment: no opening since then, and nothing known of before.
    std::optional<std::int64_t> notSince;
    // When there is no date: why nothing tells ("Nothing on this machine
    // records when it was last opened: ..."), or `notReadSince`.
    std::string why;
};

// What a file's inode says of its times, in seconds since 1970.
struct FileTimes {
    std::int64_t accessed = 0;
    std::int64_t changed = 0;            // the inode's change time
    std::optional<std::int64_t> born;    // where the file system keeps a birth time
};

// Reads the times of a path of this machine, following links or not; none when it can't.
using FileTimesReader = std::function<std::optional<FileTimes>(const std::string& path, bool followLinks)>;

// Everything the last openings are told from, read once for all apps.
struct OpeningEvidence {
    AppUseRecords records;
    // The machine's mounts, and why they could not be read (then no access time is believed).
    std::vector<MountEntry> mounts;
    std::string mountFailure;
    FileTimesReader times;
    std::int64_t now = 0; // what "running now" dates to
};

namespace LastOpenedReader {

// Beside the `notSince` date, for a person.
extern const std::string_view notReadSince;

// statx on the path.
std::optional<FileTimes> fileTimes(const std::string& path, bool followLinks);

// The records under the machine's data home, its mount table (under its root),
// the real file times, and `now`.
OpeningEvidence read(const DesktopMachine& machine, std::int64_t now);

// The newest opening of `found` that `evidence` shows.
LastOpened lastOpened(const FoundApp& found, const OpeningEvidence& evidence, const DesktopMachine& machine);

// Since when the app has been on the machine: the earliest birth (else change)
// time of its entry, its program, and the folder its package keeps across
// updates (a Debian package's documentation folder, a Flatpak's app folder,
// a snap's folder). None when none of them can be read.
std::optional<std::int64_t> added(const InstalledApp& app, const OpeningEvidence& evidence, const DesktopMachine& machine);

} // namespace LastOpenedReader
} // namespace tessel
