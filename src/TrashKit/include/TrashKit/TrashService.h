#pragma once
// The only place that moves anything to the Trash and back. Nothing is ever
// deleted: each allowed item is judged again at the moment of the move, moved
// into the Trash, and remembered, so that the last operations can be undone.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Base/Platform.h"
#include "DiskScanKit/FileManager.h"
#include "TrashKit/DeletionGuard.h"
#include "TrashKit/TrashBin.h"

namespace tessel {

class LauncherTiles;

struct TrashReceipt {
    std::string originalPath; // as the tool named it
    std::string trashedPath;
    std::int64_t bytes = 0;
    bool isDirectory = false;
    // Where it really stood, links on the way resolved: where Put Back returns it.
    std::string realPath;
    bool operator==(const TrashReceipt&) const = default;
};

struct TrashFailure {
    std::string path; // always where the item stood
    std::string message;
    bool operator==(const TrashFailure&) const = default;
};

struct TrashOutcome {
    std::vector<TrashReceipt> receipts;
    std::vector<TrashFailure> failures;
    std::int64_t reclaimedBytes() const;
};

struct RestoreOutcome {
    std::vector<TrashReceipt> restored;
    std::vector<TrashFailure> failures;
};

class TrashService {
public:
    using Progress = std::function<void(std::size_t index, std::size_t total)>;

    static constexpr const char* movedButLost =
        currentPlatform() == Platform::macOS
            ? "Moved to the Trash, but its new location is unknown, so it cannot be put back from here. Use Finder."
            : "Moved to the Trash, but its new location is unknown, so it cannot be put back from here. Use the "
              "Trash in Files.";
    static constexpr const char* goneFromTrash = "No longer in the Trash. It may have been emptied.";
    static constexpr const char* somethingInTheWay =
        "Something else is already at this location. The item is still in the Trash.";
    static constexpr const char* folderGone =
        "The folder it came from no longer exists. The item is still in the Trash.";
    static constexpr const char* folderUnreachable =
        "The folder it came from can't be entered. The item is still in the Trash.";

    TrashService(const FileManager& fileManager, TrashBin& bin, int undoDepth, LauncherTiles* launchers = nullptr,
                 std::string extensionDatabase = "/Library/SystemExtensions/db.plist");

    // Not thread-safe: one operation at a time, off the main thread.
    TrashOutcome trash(const DeletionPlan& plan, const DeletionGuard::Context& context,
                       const Progress& progress = {});
    RestoreOutcome undoLast();
    RestoreOutcome restore(std::vector<TrashReceipt> receipts);
    void clearUndoHistory() { undoStack_.clear(); }

    bool canUndo() const { return !undoStack_.empty(); }
    std::size_t lastOperationCount() const;
    std::int64_t lastOperationBytes() const;
    const std::vector<std::vector<TrashReceipt>>& undoStack() const { return undoStack_; }

private:
    const FileManager& fileManager_;
    TrashBin& bin_;
    std::size_t undoDepth_;
    LauncherTiles* launchers_;
    std::string extensionDatabase_;
    std::vector<std::vector<TrashReceipt>> undoStack_;
};

} // namespace tessel
