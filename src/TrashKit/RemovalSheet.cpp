#include "TrashKit/RemovalSheet.h"

#include <algorithm>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/TextFormat.h"

namespace tessel::RemovalSheet {

namespace {

constexpr const char* nothingMoves = "Nothing can be moved";

std::string skippedTitle(std::size_t count) { return "SKIPPED: " + std::to_string(count); }

bool isFinal(DeletionRefusal reason) {
    return !DeletionRefusals::isForFileManager(reason) && reason != DeletionRefusal::inTrash;
}

Row rowFor(const DeletionCandidate& candidate, std::optional<DeletionRefusal> reason, Platform platform) {
    Row row;
    row.path = candidate.path;
    row.name = std::string(Paths::lastComponent(candidate.path));
    row.bytes = candidate.bytes;
    if (!reason) return row;
    row.reason = std::string(DeletionRefusals::rawValue(*reason, platform));
    row.explanation = std::string(DeletionRefusals::explanation(*reason, platform));
    const bool mac = platform == Platform::macOS;
    switch (*reason) {
    case DeletionRefusal::notPermitted:
        row.buttonTitle = "Show in " + fileManagerName(platform);
        row.buttonHelp = mac ? "Select it in Finder, then press Command-Delete. Finder asks for your password."
                             : "Select it in Files, where an administrator can move it to the Trash.";
        break;
    case DeletionRefusal::carriesSystemExtension:
        row.buttonTitle = "Show in " + fileManagerName(platform);
        row.buttonHelp = mac ? "Select it in Finder, then press Command-Delete, so macOS can remove its system "
                               "extension with it."
                             : "Select it in Files, and move it to the Trash there, so its system extension goes with it.";
        break;
    case DeletionRefusal::inTrash:
        row.buttonTitle = "Open Trash";
        row.buttonHelp = openTrashHelp(platform);
        break;
    default:
        break;
    }
    return row;
}

} // namespace

std::string noun(std::size_t count) { return count == 1 ? "item" : "items"; }

std::string moreRows(std::size_t count) {
    return "…and " + TextFormat::grouped(static_cast<std::int64_t>(count)) + " more " + noun(count);
}

std::string movedTitle(std::size_t count) {
    return "Moved " + TextFormat::counted(static_cast<std::int64_t>(count), "item", "items") + " to the Trash";
}

std::string movedDetail(std::int64_t bytes) {
    return ByteFormat::string(bytes) + " in the Trash. Empty it to get the space back.";
}

std::string restoredTitle(std::size_t count) {
    return "Put " + TextFormat::counted(static_cast<std::int64_t>(count), "item", "items") + " back";
}

std::string failedTitle(std::size_t count) {
    return TextFormat::counted(static_cast<std::int64_t>(count), "item", "items") + " could not be moved";
}

std::string fileManagerName(Platform platform) { return platform == Platform::macOS ? "Finder" : "Files"; }

Sheet make(const DeletionPlan& plan, Platform platform) {
    Sheet sheet;
    const std::size_t count = plan.allowed.size();
    sheet.title = "Move " + std::to_string(count) + " " + noun(count) + " to the Trash: " +
                  ByteFormat::string(plan.totalBytes());
    for (const DeletionCandidate& candidate : plan.allowed) sheet.allowed.push_back(rowFor(candidate, std::nullopt, platform));
    for (const auto& [candidate, reason] : plan.refused) {
        Row row = rowFor(candidate, reason, platform);
        (DeletionRefusals::isForFileManager(reason) ? sheet.administrator : sheet.skipped).push_back(std::move(row));
    }
    if (!sheet.skipped.empty()) sheet.skippedTitle = skippedTitle(sheet.skipped.size());
    if (!sheet.administrator.empty())
        sheet.administratorTitle = "NEEDS AN ADMINISTRATOR: " + std::to_string(sheet.administrator.size());

    if (!plan.allowed.empty() || plan.refused.empty()) return sheet;
    const auto reasons = [&](auto test) {
        return std::all_of(plan.refused.begin(), plan.refused.end(), [&](const auto& refused) { return test(refused.second); });
    };
    const bool mac = platform == Platform::macOS;
    if (reasons([](DeletionRefusal reason) { return reason == DeletionRefusal::notPermitted; })) {
        const std::size_t refused = plan.refused.size();
        sheet.heading = "Only an administrator can move " + (refused == 1 ? std::string("it") : std::to_string(refused));
        sheet.body = mac ? "Tessel never asks for your password, and never deletes anything. Show in Finder there: press "
                           "Command-Delete, and Finder asks for the password or Touch ID. If Finder says it will delete "
                           "something immediately, macOS will not keep it in the Trash, and you can cancel there."
                         : "Tessel never asks for your password, and never deletes anything. Show in Files there: an "
                           "administrator can move it to the Trash. If Files says it will delete something immediately, "
                           "it will not be kept in the Trash, and you can cancel there.";
    } else if (reasons([](DeletionRefusal reason) { return reason == DeletionRefusal::inTrash; })) {
        sheet.heading = "The Trash is emptied in " + fileManagerName(platform);
        sheet.body = std::string(trashIsNeverEmptied());
    } else if (reasons(isFinal)) {
        sheet.heading = nothingMoves;
    } else {
        sheet.heading = "Nothing can be moved from here";
    }
    return sheet;
}

void holdBack(Sheet& sheet, std::vector<Row> held) {
    if (held.empty()) return;
    for (Row& row : held) sheet.skipped.push_back(std::move(row));
    sheet.skippedTitle = skippedTitle(sheet.skipped.size());
    if (sheet.allowed.empty() && sheet.heading.empty()) sheet.heading = nothingMoves;
}

std::string inUse(std::string_view program) {
    return "In use: " + std::string(program) + " is running. Quit it, then try again.";
}

std::string_view trashIsNeverEmptied() {
    return "Tessel moves things to the Trash and never empties it, because that is the one step that cannot be undone. "
           "Open the Trash and choose Empty to free this space.";
}

std::string openTrashHelp(Platform platform) {
    return "Opens the Trash in " + fileManagerName(platform) + ". Choose Empty there to free this space.";
}

} // namespace tessel::RemovalSheet
