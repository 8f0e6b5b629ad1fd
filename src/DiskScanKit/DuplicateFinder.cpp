// Which files of a scanned tree are worth comparing, and the entry to a run.
//
// The walk goes down the tree once with a single path string that grows by a
// name on the way down and is cut back on the way up, so no node's path is
// rebuilt from the root. It leaves out:
//  - folders whose names mark a store another program keeps (NeverScanRules),
//  - the insides of packages: a file in an app or a library is not the
//    user's to remove, whatever it duplicates,
//  - places where nothing may be offered (the system's own trees, other
//    users' homes, the parts of the home that programs manage),
//  - files smaller than the minimum on disk, but for the further names of
//    hard-linked files (0 bytes in the tree), which the sizing stage measures.
// The folder the walk starts from is the user's explicit choice, so it is
// always looked into: choosing ~/.cache/some-folder means that folder. The
// rules hold back what the walk would wander into on its own, so a place is
// skipped where its exclusion begins, not inside a chosen folder already in one.
//
// Example, home /home/me, root /home: /home/me/Movies/a.mkv is offered;
// /home/me/.cache and /home/other are not entered; /home/me/code/node_modules
// is not entered; /home/me/Tool.app/Contents/x is not reached.

#include "DiskScanKit/DuplicateFinder.h"

#include <unistd.h>

#include <algorithm>

#include "DiskScanKit/Packages.h"
#include "DuplicateRun.h"

namespace tessel {

namespace {

bool isManagedFolderName(std::string_view name) {
    const auto& names = NeverScanRules::managedFolderNames();
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

DuplicateFinder::DuplicateFinder(std::int64_t minimumBytes, int sampleBytes, int workerCount, std::string home,
                                 double stallTimeout)
    : minimumBytes_(std::max<std::int64_t>(minimumBytes, 1)), sampleBytes_(std::max(sampleBytes, 1)),
      workerCount_(std::max(workerCount, 1)), home_(std::move(home)), stallTimeout_(stallTimeout) {}

int DuplicateFinder::defaultWorkerCount() {
    const long active = sysconf(_SC_NPROCESSORS_ONLN);
    return static_cast<int>(std::clamp<long>(active, 1, 4));
}

std::vector<std::string> DuplicateFinder::candidatePaths(const FileNode& root, std::int64_t minimumBytes,
                                                         const std::string& home) {
    struct Frame {
        const FileNode* folder;
        std::size_t nextChild;
        std::size_t pathLength;
        // Already inside an excluded place the user chose to start from.
        bool insideExcluded;
    };
    std::vector<std::string> paths;
    std::string path = root.path();
    std::vector<Frame> stack{{&root, 0, path.size(), NeverScanRules::excludesEverything(path, home)}};
    while (!stack.empty()) {
        Frame& top = stack.back();
        const std::span<FileNode* const> children = top.folder->children();
        if (top.nextChild == children.size()) {
            stack.pop_back();
            continue;
        }
        const FileNode* child = children[top.nextChild++];
        const std::string_view name = child->name();
        // A tree scanned without names can't say where its files are.
        if (name.empty()) continue;
        // A further name of a hard-linked file shows 0 bytes, its bytes counted
        // under the first name; the finder gathers every name of one file.
        if (!child->isDirectory() && child->totalBytes() < minimumBytes && !child->isFurtherName()) continue;
        if (child->isDirectory() && (isManagedFolderName(name) || Packages::isPackage(name))) continue;
        path.resize(top.pathLength);
        if (path.back() != '/') path += '/';
        path += name;
        const bool inside = top.insideExcluded;
        const bool excluded = inside || NeverScanRules::excludesEverything(path, home);
        if (excluded && !inside) continue;
        if (child->isDirectory())
            stack.push_back({child, 0, path.size(), excluded});
        else
            paths.push_back(path);
    }
    return paths;
}

DuplicateReport DuplicateFinder::find(const std::vector<std::string>& paths, const Progress& progress,
                                      const IsCancelled& isCancelled) const {
    DuplicateRun run(minimumBytes_, sampleBytes_, workerCount_, home_, stallTimeout_, progress, isCancelled);
    return run.execute(paths);
}

} // namespace tessel
