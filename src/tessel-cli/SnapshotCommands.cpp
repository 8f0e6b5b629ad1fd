// tessel snapshot, snapshots and changes: the records the app keeps after each
// scan, from the command line. They share the app's store
// ($XDG_DATA_HOME/Tessel/Snapshots), so a scan made here is compared with one
// made in the app and the other way round. A file in that folder that can't
// be read as a snapshot is named with the reason, and `changes` goes on to
// the next earlier snapshot rather than failing on every run.

#include <algorithm>
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
#include "DiskScanKit/ChangeWords.h"
#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ScanReport.h"
#include "DiskScanKit/SnapshotDiff.h"
#include "DiskScanKit/SnapshotStore.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> snapshotOptions = withScanOptions({});
const std::vector<OptionSpec> changesOptions = withScanOptions({{"json", false}});
const std::vector<OptionSpec> snapshotsOptions{{"json", false}};

// For scripts: ISO 8601 in UTC.
std::string isoDate(double date) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(ReferenceDate::timePoint(date));
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

// For people: as the app and the reports write a date.
std::string localDate(double date) { return ScanReport::readableDate(ReferenceDate::timePoint(date)); }

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

// [{"file", "reason"}], newest name first.
nlohmann::ordered_json unreadableItems(const std::vector<UnreadableSnapshot>& files) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const UnreadableSnapshot& file : files) {
        nlohmann::ordered_json item;
        putName(item, "file", file.path);
        item["reason"] = file.reason;
        list.push_back(std::move(item));
    }
    return list;
}

void printUnreadable(const std::vector<UnreadableSnapshot>& files, const char* heading) {
    if (files.empty()) return;
    std::printf("%s\n", heading);
    for (const UnreadableSnapshot& file : files)
        std::printf("  %s: %s\n", printable(file.path).c_str(), printable(file.reason).c_str());
}

void printChanges(const std::vector<SnapshotChange>& changes) {
    for (const SnapshotChange& change : changes) {
        std::printf("  %-7s %10s  %s  (%s -> %s)\n", std::string(ChangeWords::kindTitle(change.kind)).c_str(),
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
    const SnapshotListing listed = store.listing(root);
    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const SnapshotInfo& info : listed.readable) {
            nlohmann::ordered_json item{{"date", isoDate(info.date)}, {"totalBytes", info.totalBytes}};
            putName(item, "path", info.path);
            list.push_back(std::move(item));
        }
        nlohmann::ordered_json report;
        putName(report, "root", root);
        report["snapshots"] = std::move(list);
        report["unreadable"] = unreadableItems(listed.unreadable);
        printJson(report);
        return exitSuccess;
    }
    if (listed.readable.empty() && listed.unreadable.empty()) {
        std::printf("No snapshots of %s yet: \"tessel snapshot\" or a scan in the app keeps one.\n",
                    printable(root).c_str());
        return exitSuccess;
    }
    for (const SnapshotInfo& info : listed.readable)
        std::printf("%s  %s  %s\n", localDate(info.date).c_str(), ByteFormat::padded(info.totalBytes, 9).c_str(),
                    printable(info.path).c_str());
    printUnreadable(listed.unreadable, "Files that could not be read as snapshots:");
    return exitSuccess;
}

int runChanges(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, changesOptions);
    if (arguments.positionals.size() != 1) throw UsageError("changes wants one folder");
    const LocalFileManager files;
    const SnapshotStore store(SnapshotStore::defaultDirectory(), files);
    const std::optional<Saved> saved = scanAndSave(arguments.positionals.front(), arguments, store);
    if (!saved) return exitFailure;
    const std::string& root = saved->snapshot.rootPath;

    // The newest snapshot other than the one just saved that can be read whole.
    const SnapshotListing listed = store.listing(root);
    const SnapshotBaseline baseline = store.baseline(listed.readable, saved->info.path);
    std::vector<UnreadableSnapshot> unreadable = baseline.passedOver;
    unreadable.insert(unreadable.end(), listed.unreadable.begin(), listed.unreadable.end());
    std::sort(unreadable.begin(), unreadable.end(),
              [](const UnreadableSnapshot& a, const UnreadableSnapshot& b) { return a.path > b.path; });
    const std::vector<SnapshotChange> changes =
        baseline.snapshot ? SnapshotDiff::changes(*baseline.snapshot, saved->snapshot) : std::vector<SnapshotChange>{};

    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const SnapshotChange& change : changes) {
            nlohmann::ordered_json item;
            putName(item, "path", change.path);
            item["oldBytes"] = change.oldBytes;
            item["newBytes"] = change.newBytes;
            item["kind"] = std::string(SnapshotDiff::kindName(change.kind));
            list.push_back(std::move(item));
        }
        nlohmann::ordered_json base = nullptr;
        if (baseline.info) base = {{"date", isoDate(baseline.info->date)}, {"totalBytes", baseline.info->totalBytes}};
        nlohmann::ordered_json report;
        putName(report, "root", root);
        report["baseline"] = std::move(base);
        report["changes"] = std::move(list);
        report["unreadable"] = unreadableItems(unreadable);
        printJson(report);
        return exitSuccess;
    }
    const char* const passedOver = "Passed over, as they could not be read:";
    if (!baseline.info && unreadable.empty()) {
        std::printf("%s: this is the first snapshot of %s. It is kept, so the next run has one.\n",
                    ChangeWords::nothingEarlier().c_str(), printable(root).c_str());
        return exitSuccess;
    }
    if (!baseline.info) {
        std::printf("Nothing to compare with: no earlier snapshot of %s can be read. This one is kept, so the "
                    "next run has one.\n",
                    printable(root).c_str());
        printUnreadable(unreadable, passedOver);
        return exitSuccess;
    }
    std::printf("%s; %s now.\n", ChangeWords::since(baseline.info->date, baseline.info->totalBytes).c_str(),
                ByteFormat::string(saved->snapshot.totalBytes).c_str());
    if (changes.empty())
        std::printf("%s.\n", ChangeWords::nothingChanged().c_str());
    else
        printChanges(changes);
    printUnreadable(unreadable, passedOver);
    return exitSuccess;
}

} // namespace tessel::cli
