#pragma once
// Moving to the Trash as every command that removes does it: through the
// deletion guard and the trash service the app uses, never anything else.

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "TrashKit/DeletionGuard.h"
#include "TrashKit/TrashService.h"

namespace tessel::cli {

// The path as typed, made absolute but not tidied: "lnk/../x" is for the
// guard to follow as the kernel does.
DeletionCandidate candidateFor(const std::string& given);

struct TrashRun {
    DeletionPlan plan;
    TrashOutcome outcome; // empty for a dry run
};
// The guard's plan for `candidates`, and unless `dryRun` what it allows moved.
TrashRun moveToTrash(const std::vector<DeletionCandidate>& candidates, bool dryRun);

// The plan in the words of the app's confirmation.
void printPlan(const DeletionPlan& plan);
void printOutcome(const TrashOutcome& outcome);
nlohmann::ordered_json trashReport(const DeletionPlan& plan, const TrashOutcome& outcome);
// A run's plan and outcome, in those words.
void printRun(const TrashRun& run);
// The status of a command that moved things: 1 when something that was to go stayed.
int statusOf(const TrashRun& run);

} // namespace tessel::cli
