// tessel trash: moves files and folders to the Trash, through the same guard
// and trash service as the app. It prints the plan first (what may go, and
// each refusal with its reason), then what moved and what could not.

#include <cstdio>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TrashStep.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> trashOptions{{"json", false}, {"dry-run", false}};

} // namespace

int runTrash(const std::vector<std::string>& words) {
    Arguments arguments = parseArguments(words, trashOptions);
    if (arguments.positionals.empty()) throw UsageError("trash wants at least one path");

    std::vector<DeletionCandidate> candidates;
    for (const std::string& path : arguments.positionals) candidates.push_back(candidateFor(path));
    const auto [plan, outcome] = moveToTrash(candidates, arguments.has("dry-run"));
    if (arguments.has("json")) {
        printJson(trashReport(plan, outcome));
    } else {
        printPlan(plan);
        if (arguments.has("dry-run")) std::printf("Nothing was moved: --dry-run.\n");
        else printOutcome(outcome);
    }
    // Anything asked for that stayed where it was makes the job unfinished.
    return plan.refused.empty() && outcome.failures.empty() ? exitSuccess : exitFailure;
}

} // namespace tessel::cli
