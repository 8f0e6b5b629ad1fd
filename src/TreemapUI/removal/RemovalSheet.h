#pragma once
// The words of the confirmation that stands before anything moves: its title,
// its heading when nothing can go, the body that explains the hand-off to the
// file manager or the Trash, and the rows in their groups.

#include <string>
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

// "item" or "items", after a count.
std::string noun(std::size_t count);
Sheet make(const DeletionPlan& plan, Platform platform = currentPlatform());
// The name the file manager goes by here: "Finder" on macOS, "Files" elsewhere.
std::string fileManagerName(Platform platform = currentPlatform());

} // namespace tessel::RemovalSheet
