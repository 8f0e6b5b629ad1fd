#pragma once
// One junk search as the app and the tool run it: the home scanned once by
// the scan engine, with its watchdog, so that the finder's sizes, listings
// and the walk for projects read the scan's tree instead of the disk; then
// the finder; then which items a running program holds back.

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "UninstallKit/InstalledApp.h"
#include "UninstallKit/JunkFinder.h"
#include "UninstallKit/RunningPrograms.h"

namespace tessel {

struct JunkSearchOptions {
    // A folder silent this long is given up on, as a scan gives it up.
    double stallTimeout = 30;
    // Called before each folder of the home is read: the tests' way to make one hang.
    std::function<void(const std::string&)> beforeReading;
};

namespace JunkSearch {

// Everything the finder finds for `places`, the home read once; empty when cancelled.
std::vector<JunkItem> run(const JunkPlaces& places, const JunkFinder::Settings& settings, const JunkSearchOptions& options = {},
                          const std::function<void(std::size_t done, std::size_t total)>& progress = {},
                          const std::function<bool()>& isCancelled = {});

// The finder's disk answered from a scan of `home`: paths below it are
// looked up in the tree, whatever lies beyond it is read as usual. Nothing
// below a folder the scan gave up on is read again.
JunkFinder::Disk scannedHome(const std::string& home, const JunkSearchOptions& options,
                             const std::function<bool()>& isCancelled = {});

// The name of the installed app a folder is named for: by its identifier,
// package or program, in any case.
std::function<std::optional<std::string>(const std::string&)> appNames(const std::vector<InstalledApp>& apps);

// The paths of the items a running program holds back: one of their tools
// runs, or the app or the identifier they belong to.
std::set<std::string> inUse(const std::vector<JunkItem>& items, const RunningPrograms& running);

} // namespace JunkSearch

} // namespace tessel
