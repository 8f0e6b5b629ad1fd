// The trash service.
//
// Trash: every allowed item is judged again (the disk may have changed while
// the confirmation stood open), then handed to the platform's Trash. The
// guard follows the item to the folder that really holds it and the Trash
// moves it through that same open folder, so swapping a folder on the way
// for a link between the test and the move can't redirect the move. One
// item's failure never stops the run; an operation that moved something is
// pushed on the undo stack, which keeps the newest `undoDepth` operations.
//
// Restore: parents first (shortest path first, stably), so that a folder
// comes back before what was moved out of it. An item goes back to where it
// really stood. Nothing that stands in the way is overwritten and no missing
// folder is recreated: an item that can't come back simply stays in the
// Trash, with the reason.

#include "TrashKit/TrashService.h"

#include <algorithm>
#include <cerrno>

#include "DiskScanKit/CheckedSize.h"
#include "TrashKit/LauncherTiles.h"

namespace tessel {

std::int64_t TrashOutcome::reclaimedBytes() const {
    std::int64_t sum = 0;
    for (const TrashReceipt& receipt : receipts) sum = checkedAdd(sum, receipt.bytes);
    return sum;
}

TrashService::TrashService(const FileManager& fileManager, TrashBin& bin, int undoDepth, LauncherTiles* launchers,
                           std::string extensionDatabase)
    : fileManager_(fileManager), bin_(bin), undoDepth_(static_cast<std::size_t>(std::max(undoDepth, 0))), launchers_(launchers),
      extensionDatabase_(std::move(extensionDatabase)) {}

TrashOutcome TrashService::trash(const DeletionPlan& plan, const DeletionGuard::Context& context,
                                 const Progress& progress) {
    if (launchers_ != nullptr) launchers_->prepare();
    TrashOutcome outcome;
    const std::size_t total = plan.allowed.size();
    const DeletionGuard::Context real = DeletionGuard::realContext(context, fileManager_);
    for (std::size_t index = 0; index < total; ++index) {
        const DeletionCandidate& candidate = plan.allowed[index];
        if (progress) progress(index, total);
        std::variant<AnchoredPath, DeletionRefusal> judged =
            DeletionGuard::admit(candidate, context, real, fileManager_, extensionDatabase_);
        if (const DeletionRefusal* refusal = std::get_if<DeletionRefusal>(&judged)) {
            outcome.failures.push_back(
                {candidate.path, std::string(DeletionRefusals::explanation(*refusal, context.platform))});
            continue;
        }
        const AnchoredPath& item = std::get<AnchoredPath>(judged);
        std::variant<std::string, TrashError> moved = bin_.trashItem(item);
        if (const TrashError* error = std::get_if<TrashError>(&moved)) {
            outcome.failures.push_back({candidate.path, error->message});
            continue;
        }
        const std::string& trashedPath = std::get<std::string>(moved);
        if (trashedPath.empty()) {
            outcome.failures.push_back({candidate.path, movedButLost});
            continue;
        }
        outcome.receipts.push_back({candidate.path, trashedPath, candidate.bytes, candidate.isDirectory, item.realPath()});
    }
    if (outcome.receipts.empty()) return outcome;
    if (launchers_ != nullptr) {
        std::vector<std::pair<std::string, std::string>> moved;
        for (const TrashReceipt& receipt : outcome.receipts) moved.emplace_back(receipt.originalPath, receipt.trashedPath);
        launchers_->remove(moved);
    }
    undoStack_.push_back(outcome.receipts);
    while (undoStack_.size() > undoDepth_) undoStack_.erase(undoStack_.begin());
    return outcome;
}

RestoreOutcome TrashService::restore(std::vector<TrashReceipt> receipts) {
    auto home = [](const TrashReceipt& receipt) {
        return receipt.realPath.empty() ? DeletionGuard::normalize(receipt.originalPath) : receipt.realPath;
    };
    std::stable_sort(receipts.begin(), receipts.end(), [&](const TrashReceipt& a, const TrashReceipt& b) {
        return home(a).size() < home(b).size();
    });
    RestoreOutcome outcome;
    for (TrashReceipt& receipt : receipts) {
        std::variant<AnchoredPath, AnchoredPath::Failure> trashed = AnchoredPath::resolve(receipt.trashedPath);
        const AnchoredPath* inTrash = std::get_if<AnchoredPath>(&trashed);
        if (inTrash == nullptr || !inTrash->status()) {
            outcome.failures.push_back({receipt.originalPath, goneFromTrash});
            continue;
        }
        std::variant<AnchoredPath, AnchoredPath::Failure> destination = AnchoredPath::resolve(home(receipt));
        if (const AnchoredPath::Failure* failed = std::get_if<AnchoredPath::Failure>(&destination)) {
            outcome.failures.push_back({receipt.originalPath, failed->code == EACCES ? folderUnreachable : folderGone});
            continue;
        }
        const AnchoredPath& place = std::get<AnchoredPath>(destination);
        if (place.status()) {
            outcome.failures.push_back({receipt.originalPath, somethingInTheWay});
            continue;
        }
        std::variant<std::monostate, TrashError> back = bin_.putBack(*inTrash, place);
        if (const TrashError* error = std::get_if<TrashError>(&back)) {
            outcome.failures.push_back({receipt.originalPath, error->message});
            continue;
        }
        outcome.restored.push_back(std::move(receipt));
    }
    if (launchers_ != nullptr && !outcome.restored.empty()) {
        std::vector<std::string> apps;
        for (const TrashReceipt& receipt : outcome.restored) apps.push_back(receipt.originalPath);
        launchers_->restore(apps);
    }
    return outcome;
}

RestoreOutcome TrashService::undoLast() {
    if (undoStack_.empty()) return {};
    std::vector<TrashReceipt> last = std::move(undoStack_.back());
    undoStack_.pop_back();
    return restore(std::move(last));
}

std::size_t TrashService::lastOperationCount() const { return undoStack_.empty() ? 0 : undoStack_.back().size(); }

std::int64_t TrashService::lastOperationBytes() const {
    std::int64_t sum = 0;
    if (!undoStack_.empty())
        for (const TrashReceipt& receipt : undoStack_.back()) sum = checkedAdd(sum, receipt.bytes);
    return sum;
}

} // namespace tessel
