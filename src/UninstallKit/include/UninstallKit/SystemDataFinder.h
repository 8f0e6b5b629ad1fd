#pragma once
// What the disk holds that an ordinary scan of the home does not explain.
// On the Mac: device backups, Mail's and Messages' attachments, simulator
// runtimes, sound libraries, local snapshots and the Trash. On Linux: the
// package managers' downloads, the journal and old logs, kernels not in use,
// core dumps, Flatpak runtimes no app uses, old snap revisions, Docker's and
// Podman's images, swap files, /var/tmp and the Trash of every disk. Each
// Linux row says where it is, its size, and whether Tessel may move it, or
// else the command an administrator would run. Tessel never asks for a
// password. A folder that can't be read is listed as such, never counted as
// empty.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Base/Platform.h"

namespace tessel {

struct SystemDataRow {
    std::string id;          // "aptCache", "kernel:6.1.0-9-amd64"
    std::string title;
    std::string path;        // where it is on this disk (under the root that stands for "/")
    std::int64_t bytes = 0;  // allocated, each hard-linked file once
    bool canMove = false;    // Tessel may move it to the Trash itself
    std::string howToRemove; // the command that removes it; empty where none is known
    std::string note;        // what it is, in a sentence
    bool operator==(const SystemDataRow&) const = default;
};

struct SystemDataReport {
    struct Backup {
        std::string path;
        std::string deviceName;
        std::optional<std::string> product;
        std::optional<std::int64_t> lastBackup; // seconds since 1970
        std::int64_t bytes = 0;
        bool isEncrypted = false;
        bool operator==(const Backup&) const = default;
    };
    struct Place {
        std::string path;
        std::int64_t bytes = 0;
        std::int64_t items = 0;
        bool operator==(const Place&) const = default;
    };
    struct SimulatorRuntime {
        std::string identifier;
        std::string name;
        std::int64_t bytes = 0;
        std::optional<std::int64_t> lastUsed;
        bool operator==(const SimulatorRuntime&) const = default;
    };

    std::vector<Backup> backups;
    std::optional<Place> mailDownloads;
    std::optional<Place> messagesAttachments;
    std::optional<Place> trash;
    std::vector<SimulatorRuntime> simulatorRuntimes;
    std::vector<Place> musicLibraries;
    std::vector<std::int64_t> snapshots; // dates, seconds since 1970, oldest first
    int datalessSnapshots = 0;
    std::vector<SystemDataRow> rows;     // Linux's
    std::vector<std::string> unreadable; // folders that exist and could not be read

    // The rows' bytes, to set against the overview's "System" share.
    std::int64_t rowBytes() const;
};

class SystemDataFinder {
public:
    struct LocalSnapshot {
        std::int64_t date = 0;
        bool isDataless = false;
        bool operator==(const LocalSnapshot&) const = default;
    };
    // A place measured: its allocated bytes, and the folders in it that could
    // not be read. When the place itself can't be read, it is the only one.
    struct Measure {
        std::int64_t bytes = 0;
        std::vector<std::string> unreadable;
    };

    struct Settings {
        Platform platform = currentPlatform();
        std::string home;
        std::string root = "/";  // the machine's "/"
        std::string dataHome;    // $XDG_DATA_HOME, for the home's Trash
        std::function<Measure(const std::string&)> measure;
        // What the system's tools answer; none where they don't (or weren't asked).
        std::function<std::optional<std::string>()> snapshots;      // tmutil listlocalsnapshots /
        std::function<std::optional<std::string>()> runtimes;       // xcrun simctl runtime list -j
        std::function<std::optional<std::string>()> kernelRelease;  // the running kernel's, uname -r
        std::function<std::optional<std::string>()> journalUsage;   // journalctl --disk-usage
        // `docker` or `podman`'s system df --format '{{json .}}'.
        std::function<std::optional<std::string>(const std::string& program)> containerUsage;
        std::vector<std::string> musicFolders;
        std::vector<std::string> applications; // where Xcode is looked for
    };

    // Settings for this machine as the environment describes it, each tool
    // run through CommandRunner with a time limit; under another root, no
    // tool is run, as none would speak of that machine.
    static Settings forMachine(const std::string& root, Platform platform = currentPlatform());
    // The allocated bytes of a path, each hard-linked file once, and what in it could not be read.
    static Measure measured(const std::string& path);

    explicit SystemDataFinder(Settings settings);

    // Everything, in order, polling `isCancelled` between places; empty when cancelled.
    SystemDataReport find(const std::function<bool()>& isCancelled = {}) const;

    // The Mac's.
    static constexpr const char* backupsFolder = "/Library/Application Support/MobileSync/Backup";
    static constexpr const char* mailDownloadsFolder = "/Library/Containers/com.apple.mail/Data/Library/Mail Downloads";
    static constexpr const char* messagesAttachmentsFolder = "/Library/Messages/Attachments";
    std::vector<LocalSnapshot> localSnapshots() const;
    // `utcOffset`: seconds east of UTC of the time zone the dates are written in.
    static std::vector<LocalSnapshot> snapshots(const std::string& text, std::int64_t utcOffset);
    std::vector<SystemDataReport::SimulatorRuntime> simulatorRuntimes() const;
    static std::vector<SystemDataReport::SimulatorRuntime> parseRuntimes(const std::string& json);
    std::vector<SystemDataReport::Backup> backups(std::vector<std::string>& unreadable) const;
    std::optional<SystemDataReport::Place> place(const std::string& path, std::vector<std::string>& unreadable) const;

    // Linux's rows, each source on its own; folders that can't be read go to `unreadable`.
    std::vector<SystemDataRow> packageCaches(std::vector<std::string>& unreadable) const;
    std::vector<SystemDataRow> logs(std::vector<std::string>& unreadable) const;
    std::vector<SystemDataRow> kernels(std::vector<std::string>& unreadable) const;
    std::vector<SystemDataRow> flatpakRuntimes(std::vector<std::string>& unreadable) const;
    std::vector<SystemDataRow> snapRevisions(std::vector<std::string>& unreadable) const;
    std::vector<SystemDataRow> containers() const;
    std::vector<SystemDataRow> swapFiles() const;
    std::vector<SystemDataRow> temporaryFiles(std::vector<std::string>& unreadable) const;
    std::vector<SystemDataRow> trashes(std::vector<std::string>& unreadable) const;

    // "Archived and active journals take up 1.2G in the file system." → bytes.
    static std::optional<std::int64_t> journalBytes(const std::string& text);
    // Rows from the JSON lines of `docker system df --format '{{json .}}'` (Podman's alike).
    static std::vector<SystemDataRow> containerRows(const std::string& program, const std::string& lines, const std::string& store);

private:
    std::string system(const std::string& path) const { return settings_.root == "/" ? path : settings_.root + path; }
    // A row for a place that exists, measured; none for a place that isn't
    // there or holds nothing, and only `unreadable` for one that can't be read.
    std::optional<SystemDataRow> measuredRow(SystemDataRow row, std::vector<std::string>& unreadable) const;

    Settings settings_;
};

} // namespace tessel
