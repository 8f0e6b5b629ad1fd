#pragma once
// The words of a removal, as the app's confirmation and the command-line tool
// both say them: the title, the heading when nothing can go, the body that
// explains the hand-off to the file manager or the Trash, the rows in their
// groups, and what is said once things have moved or come back.

#include <string>
#include <string_view>
#include <vector>

#include "Base/Platform.h"
#include "TrashKit/DeletionGuard.h"

namespace tessel::RemovalSheet {

struct Row {
    std::string path;
    std::string name;
    std::int64_t bytes = 0;
    std::string explanation;   // for refused rows
    std::string buttonTitle;   // "Show in Files", "Open Trash", or none
    std::string buttonHelp;
    std::string reason;        // the refusal's raw value, or empty
};

struct Sheet {
    std::string title;
    std::string heading;
    std::string body;
    std::vector<Row> allowed;
    std::string skippedTitle;  // "SKIPPED: 2"
    std::vector<Row> skipped;
    std::string administratorTitle; // "NEEDS AN ADMINISTRATOR: 1"
    std::vector<Row> administrator;
};

// A confirmation lists this many rows of a group, and says how many more there are.
constexpr std::size_t listedRows = 100;

// "item" or "items", after a count.
std::string noun(std::size_t count);
// "…and 900 more items", under a group that lists `listedRows` of its rows.
std::string moreRows(std::size_t count);
// "Moved 2 items to the Trash" and "8.9 MB in the Trash. Empty it to get the space back."
std::string movedTitle(std::size_t count);
std::string movedDetail(std::int64_t bytes);
// "Put 2 items back"
std::string restoredTitle(std::size_t count);
// "1 item could not be moved"
std::string failedTitle(std::size_t count);
Sheet make(const DeletionPlan& plan, Platform platform = currentPlatform());
// Adds rows the caller holds back for a reason of its own (a program that
// uses them is running) to what is skipped, each with its sentence; with
// nothing left to move, the heading says so.
void holdBack(Sheet& sheet, std::vector<Row> held);
// Why a held-back row stays: "In use: Firefox is running. Quit it, then try again."
std::string inUse(std::string_view program);
// Why Tessel leaves the Trash alone, and how the user empties it.
std::string_view trashIsNeverEmptied();
// What "Open Trash" does: "Opens the Trash in Files. Choose Empty there to free this space."
std::string openTrashHelp(Platform platform = currentPlatform());
// The name the file manager goes by here: "Finder" on macOS, "Files" elsewhere.
std::string fileManagerName(Platform platform = currentPlatform());

} // namespace tessel::RemovalSheet
