// Moving to the Trash as every command that removes does it: the candidates
// as the guard sees them, the plan, the trash service, and the report of
// what moved and what stayed, in words and in JSON.

#include "TrashStep.h"

#include <unistd.h>

#include <climits>
#include <cstdio>

#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/Paths.h"
#include "TrashKit/RemovalSheet.h"
#include "TrashKit/SystemExtensionsInside.h"
#include "TrashKit/TrashService.h"

namespace tessel::cli {

namespace {

std::optional<std::string> runningProgram() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0) return std::nullopt;
    return std::string(path, static_cast<std::size_t>(length));
}

} // namespace

DeletionCandidate candidateFor(const std::string& given) { return DeletionGuard::candidateAt(Paths::absoluteAsTyped(given)); }

namespace {

void printRows(const char* title, const std::vector<RemovalSheet::Row>& rows) {
    if (rows.empty()) return;
    std::printf("%s\n", title);
    for (const RemovalSheet::Row& row : rows) std::printf("  %s\n    %s\n", printable(row.path).c_str(), row.explanation.c_str());
}

} // namespace

void printPlan(const DeletionPlan& plan) {
    const RemovalSheet::Sheet sheet = RemovalSheet::make(plan);
    std::printf("%s\n", (sheet.heading.empty() ? sheet.title : sheet.heading).c_str());
    if (!sheet.body.empty()) std::printf("%s\n", sheet.body.c_str());
    for (const RemovalSheet::Row& row : sheet.allowed)
        std::printf("  %s  %s\n", ByteFormat::padded(row.bytes, 9).c_str(), printable(row.path).c_str());
    printRows(sheet.administratorTitle.c_str(), sheet.administrator);
    printRows(sheet.skippedTitle.c_str(), sheet.skipped);
}

void printOutcome(const TrashOutcome& outcome) {
    if (!outcome.receipts.empty()) {
        std::printf("%s. %s\n", RemovalSheet::movedTitle(outcome.receipts.size()).c_str(),
                    RemovalSheet::movedDetail(outcome.reclaimedBytes()).c_str());
        for (const TrashReceipt& receipt : outcome.receipts) {
            std::printf("  %s\n", printable(receipt.originalPath).c_str());
            if (receipt.realPath != DeletionGuard::normalize(receipt.originalPath))
                std::printf("    really %s\n", printable(receipt.realPath).c_str());
            std::printf("    now %s\n", printable(receipt.trashedPath).c_str());
        }
    }
    if (!outcome.failures.empty()) {
        std::printf("%s\n", RemovalSheet::failedTitle(outcome.failures.size()).c_str());
        for (const TrashFailure& failure : outcome.failures)
            std::printf("  %s\n    %s\n", printable(failure.path).c_str(), failure.message.c_str());
    }
}

nlohmann::ordered_json trashReport(const DeletionPlan& plan, const TrashOutcome& outcome) {
    using Json = nlohmann::ordered_json;
    Json allowed = Json::array();
    for (const DeletionCandidate& candidate : plan.allowed) {
        Json item;
        putName(item, "path", candidate.path);
        item["bytes"] = candidate.bytes;
        item["isDirectory"] = candidate.isDirectory;
        allowed.push_back(std::move(item));
    }
    Json refused = Json::array();
    for (const auto& [candidate, reason] : plan.refused) {
        Json item;
        putName(item, "path", candidate.path);
        item["reason"] = std::string(DeletionRefusals::rawValue(reason));
        item["explanation"] = std::string(DeletionRefusals::explanation(reason));
        refused.push_back(std::move(item));
    }
    Json receipts = Json::array();
    for (const TrashReceipt& receipt : outcome.receipts) {
        Json item;
        putName(item, "originalPath", receipt.originalPath);
        putName(item, "realPath", receipt.realPath);
        putName(item, "trashedPath", receipt.trashedPath);
        item["bytes"] = receipt.bytes;
        item["isDirectory"] = receipt.isDirectory;
        receipts.push_back(std::move(item));
    }
    Json failures = Json::array();
    for (const TrashFailure& failure : outcome.failures) {
        Json item;
        putName(item, "path", failure.path);
        item["message"] = failure.message;
        failures.push_back(std::move(item));
    }
    return {{"allowed", allowed}, {"refused", refused}, {"receipts", receipts}, {"failures", failures}};
}

void printRun(const TrashRun& run) {
    printPlan(run.plan);
    printOutcome(run.outcome);
}

int statusOf(const TrashRun& run) { return run.plan.refused.empty() && run.outcome.failures.empty() ? exitSuccess : exitFailure; }

TrashRun moveToTrash(const std::vector<DeletionCandidate>& candidates, bool dryRun) {
    const DeletionGuard::Context context{Paths::homeFolder(), runningProgram(), currentPlatform(), {}};
    const LocalFileManager disk;
    TrashRun run;
    run.plan = DeletionGuard::plan(candidates, context, disk, SystemExtensionsInside::standardDatabase);
    if (!dryRun && !run.plan.allowed.empty()) {
        std::unique_ptr<TrashBin> bin = makeSystemTrash();
        TrashService service(disk, *bin, 1);
        run.outcome = service.trash(run.plan, context);
    }
    return run;
}

} // namespace tessel::cli
