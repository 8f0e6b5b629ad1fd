// tessel trash: moves files and folders to the Trash, through the same guard
// and trash service as the app. It prints the plan first (what may go, and
// each refusal with its reason), then what moved and what could not.

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/Paths.h"
#include "TrashKit/SystemExtensionsInside.h"
#include "TrashKit/TrashService.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> trashOptions{{"json", false}, {"dry-run", false}};

std::optional<std::string> runningProgram() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0) return std::nullopt;
    return std::string(path, static_cast<std::size_t>(length));
}

DeletionCandidate candidateFor(const std::string& given) {
    DeletionCandidate candidate;
    candidate.path = Paths::absolute(given);
    struct stat info {};
    if (lstat(candidate.path.c_str(), &info) == 0) {
        candidate.isDirectory = S_ISDIR(info.st_mode);
        candidate.bytes = DiskScanner::allocatedSize(candidate.path);
    }
    return candidate;
}

void printPlan(const DeletionPlan& plan) {
    if (!plan.allowed.empty()) {
        std::printf("May go to the Trash: %s, %s\n",
                    counted(static_cast<std::int64_t>(plan.allowed.size()), "item", "items").c_str(),
                    ByteFormat::string(plan.totalBytes()).c_str());
        for (const DeletionCandidate& candidate : plan.allowed)
            std::printf("  %s  %s\n", ByteFormat::padded(candidate.bytes, 9).c_str(), printable(candidate.path).c_str());
    }
    if (!plan.refused.empty()) {
        std::printf("Staying where they are: %s\n",
                    counted(static_cast<std::int64_t>(plan.refused.size()), "item", "items").c_str());
        for (const auto& [candidate, reason] : plan.refused)
            std::printf("  %s\n    %s\n", printable(candidate.path).c_str(),
                        std::string(DeletionRefusals::explanation(reason)).c_str());
    }
}

void printOutcome(const TrashOutcome& outcome) {
    if (!outcome.receipts.empty()) {
        std::printf("Moved to the Trash: %s, %s. Nothing was deleted: it can be put back from the Trash.\n",
                    counted(static_cast<std::int64_t>(outcome.receipts.size()), "item", "items").c_str(),
                    ByteFormat::string(outcome.reclaimedBytes()).c_str());
        for (const TrashReceipt& receipt : outcome.receipts)
            std::printf("  %s\n    now %s\n", printable(receipt.originalPath).c_str(),
                        printable(receipt.trashedPath).c_str());
    }
    if (!outcome.failures.empty()) {
        std::printf("Could not move: %s\n",
                    counted(static_cast<std::int64_t>(outcome.failures.size()), "item", "items").c_str());
        for (const TrashFailure& failure : outcome.failures)
            std::printf("  %s\n    %s\n", printable(failure.path).c_str(), failure.message.c_str());
    }
}

nlohmann::ordered_json report(const DeletionPlan& plan, const TrashOutcome& outcome) {
    nlohmann::ordered_json allowed = nlohmann::ordered_json::array();
    for (const DeletionCandidate& candidate : plan.allowed)
        allowed.push_back({{"path", candidate.path}, {"bytes", candidate.bytes}, {"isDirectory", candidate.isDirectory}});
    nlohmann::ordered_json refused = nlohmann::ordered_json::array();
    for (const auto& [candidate, reason] : plan.refused)
        refused.push_back({{"path", candidate.path},
                           {"reason", std::string(DeletionRefusals::rawValue(reason))},
                           {"explanation", std::string(DeletionRefusals::explanation(reason))}});
    nlohmann::ordered_json receipts = nlohmann::ordered_json::array();
    for (const TrashReceipt& receipt : outcome.receipts)
        receipts.push_back({{"originalPath", receipt.originalPath},
                            {"trashedPath", receipt.trashedPath},
                            {"bytes", receipt.bytes},
                            {"isDirectory", receipt.isDirectory}});
    nlohmann::ordered_json failures = nlohmann::ordered_json::array();
    for (const TrashFailure& failure : outcome.failures)
        failures.push_back({{"path", failure.path}, {"message", failure.message}});
    return {{"allowed", allowed}, {"refused", refused}, {"receipts", receipts}, {"failures", failures}};
}

} // namespace

int runTrash(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, trashOptions);
    if (arguments.positionals.empty()) throw UsageError("trash wants at least one path");

    std::vector<DeletionCandidate> candidates;
    for (const std::string& path : arguments.positionals) candidates.push_back(candidateFor(path));
    const DeletionGuard::Context context{Paths::homeFolder(), runningProgram(), currentPlatform(), {}};
    const LocalFileManager disk;
    const DeletionPlan plan = DeletionGuard::plan(candidates, context, disk, SystemExtensionsInside::standardDatabase);

    TrashOutcome outcome;
    if (!arguments.has("dry-run") && !plan.allowed.empty()) {
        std::unique_ptr<TrashBin> bin = makeSystemTrash();
        TrashService service(disk, *bin, 1);
        outcome = service.trash(plan, context);
    }
    if (arguments.has("json")) {
        printJson(report(plan, outcome));
    } else {
        printPlan(plan);
        if (arguments.has("dry-run")) std::printf("Nothing was moved: --dry-run.\n");
        else printOutcome(outcome);
    }
    // Anything asked for that stayed where it was makes the job unfinished.
    return plan.refused.empty() && outcome.failures.empty() ? exitSuccess : exitFailure;
}

} // namespace tessel::cli
