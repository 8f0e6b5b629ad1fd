// tessel snapshot, snapshots and changes: the records the app keeps after each
// scan, from the command line. They share the app's store
// ($XDG_DATA_HOME/Tessel/Snapshots), so a scan made here is compared with one
// made in the app and the other way round.

#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "ScanStep.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/SnapshotDiff.h"
#include "DiskScanKit/SnapshotStore.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> snapshotOptions = withScanOptions({});
const std::vector<OptionSpec> changesOptions = withScanOptions({{"json", false}});
const std::vector<OptionSpec> snapshotsOptions{{"json", false}};

std::string formattedDate(double date, bool utc) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(ReferenceDate::timePoint(date));
    std::tm parts{};
    if (utc) gmtime_r(&seconds, &parts);
    else localtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, utc ? "%Y-%m-%dT%H:%M:%SZ" : "%Y-%m-%d %H:%M", &parts);
    return text;
}

std::string isoDate(double date) { return formattedDate(date, true); }
std::string localDate(double date) { return formattedDate(date, false); }

struct Saved {
    ScanSnapshot snapshot;
    SnapshotInfo info;
};

// Scans `path`, keeps its snapshot and prunes the old ones; none when the scan or the save failed.
std::optional<Saved> scanAndSave(const std::string& path, const Arguments& arguments, const SnapshotStore& store) {
    std::optional<ScanResult> result = scanWithProgress(path, scanOptionsFrom(arguments));
    if (!result) return std::nullopt;
    ScanSnapshot snapshot = ScanSnapshot::of(*result->root, ReferenceDate::seconds(std::chrono::system_clock::now()));
    try {
        SnapshotInfo info = store.save(snapshot);
        store.prune(snapshot.rootPath);
        return Saved{std::move(snapshot), std::move(info)};
    } catch (const SnapshotError& error) {
        printError(printable(error.what()));
        return std::nullopt;
    }
}

std::string signedSize(std::int64_t delta) {
    return (delta < 0 ? "-" : "+") + ByteFormat::string(delta < 0 ? -delta : delta);
}

void printChanges(const std::vector<SnapshotChange>& changes) {
    for (const SnapshotChange& change : changes) {
        std::printf("  %-11s %10s  %s  (%s -> %s)\n", std::string(SnapshotDiff::kindName(change.kind)).c_str(),
                    signedSize(change.delta()).c_str(), printable(change.path).c_str(),
                    ByteFormat::string(change.oldBytes).c_str(), ByteFormat::string(change.newBytes).c_str());
    }
}

} // namespace

int runSnapshot(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, snapshotOptions);
    if (arguments.positionals.size() != 1) throw UsageError("snapshot wants one folder");
    const LocalFileManager files;
    const SnapshotStore store(SnapshotStore::defaultDirectory(), files);
    const std::optional<Saved> saved = scanAndSave(arguments.positionals.front(), arguments, store);
    if (!saved) return exitFailure;
    std::printf("Saved a snapshot of %s: %s, %zu paths of %s or more.\n  %s\n",
                printable(saved->snapshot.rootPath).c_str(), ByteFormat::string(saved->snapshot.totalBytes).c_str(),
                saved->snapshot.entries.size(), ByteFormat::string(saved->snapshot.minimumBytes).c_str(),
                printable(saved->info.path).c_str());
    return exitSuccess;
}

int runSnapshots(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, snapshotsOptions);
    if (arguments.positionals.size() != 1) throw UsageError("snapshots wants one folder");
    const std::string root = Paths::absolute(arguments.positionals.front());
    const LocalFileManager files;
    const SnapshotStore store(SnapshotStore::defaultDirectory(), files);
    const std::vector<SnapshotInfo> all = store.snapshots(root);
    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const SnapshotInfo& info : all)
            list.push_back({{"date", isoDate(info.date)}, {"totalBytes", info.totalBytes}, {"path", info.path}});
        printJson({{"root", root}, {"snapshots", list}});
    } else if (all.empty()) {
        std::printf("No snapshots of %s yet: \"tessel snapshot\" or a scan in the app keeps one.\n",
                    printable(root).c_str());
    } else {
        for (const SnapshotInfo& info : all)
            std::printf("%s  %s  %s\n", localDate(info.date).c_str(), ByteFormat::padded(info.totalBytes, 9).c_str(),
                        printable(info.path).c_str());
    }
    return exitSuccess;
}

int runChanges(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, changesOptions);
    if (arguments.positionals.size() != 1) throw UsageError("changes wants one folder");
    const LocalFileManager files;
    const SnapshotStore store(SnapshotStore::defaultDirectory(), files);
    const std::optional<Saved> saved = scanAndSave(arguments.positionals.front(), arguments, store);
    if (!saved) return exitFailure;

    // The newest snapshot other than the one just saved.
    std::optional<SnapshotInfo> baseline;
    for (const SnapshotInfo& info : store.snapshots(saved->snapshot.rootPath))
        if (info.path != saved->info.path) {
            baseline = info;
            break;
        }
    std::vector<SnapshotChange> changes;
    if (baseline) {
        try {
            changes = SnapshotDiff::changes(store.load(*baseline), saved->snapshot);
        } catch (const SnapshotError& error) {
            printError("That snapshot could not be read: " + printable(error.what()));
            return exitFailure;
        }
    }

    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const SnapshotChange& change : changes)
            list.push_back({{"path", change.path},
                            {"oldBytes", change.oldBytes},
                            {"newBytes", change.newBytes},
                            {"kind", std::string(SnapshotDiff::kindName(change.kind))}});
        nlohmann::ordered_json base = nullptr;
        if (baseline) base = {{"date", isoDate(baseline->date)}, {"totalBytes", baseline->totalBytes}};
        printJson({{"root", saved->snapshot.rootPath}, {"baseline", base}, {"changes", list}});
        return exitSuccess;
    }
    if (!baseline) {
        std::printf("Nothing to compare with yet: this is the first snapshot of %s. It is kept, so the next run "
                    "has one.\n",
                    printable(saved->snapshot.rootPath).c_str());
        return exitSuccess;
    }
    std::printf("Since %s: %s then, %s now.\n", localDate(baseline->date).c_str(),
                ByteFormat::string(baseline->totalBytes).c_str(), ByteFormat::string(saved->snapshot.totalBytes).c_str());
    if (changes.empty())
        std::printf("Nothing in %s changed by %s or more.\n", printable(saved->snapshot.rootPath).c_str(),
                    ByteFormat::string(SnapshotDiff::standardMinimumDelta).c_str());
    else
        printChanges(changes);
    return exitSuccess;
}

} // namespace tessel::cli
