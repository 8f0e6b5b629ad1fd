#pragma once
// Hidden items: everything whose name begins with ".", and a plain note on the
// ones people meet most, saying what each is and what losing it costs.
//
// What is listed. The walk accepts any item below the root whose name begins
// with ".". An accepted hidden folder is listed as one item and not entered:
// ~/.cache is one row with its whole size, not its thousands of files, and a
// project's .git is one row, not its objects. Hidden items inside an ordinary
// folder are found at any depth. The root itself is always entered, so
// searching ~/.cache lists what is hidden inside it.

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "DiskScanKit/FileSearch.h"

namespace tessel {

struct HiddenItemNote {
    std::string summary;
    bool rebuildsItself;
};

namespace HiddenItems {

// The note for a name exactly as it appears in the table, or the fixed note
// for a name beginning "._"; nothing for any other name.
std::optional<HiddenItemNote> explanation(std::string_view name);

// The hidden items below `root`, largest first, as described above.
SearchResults results(FileNode& root, int limit);

// The table of names with a note, in a fixed order.
const std::vector<std::pair<std::string_view, HiddenItemNote>>& notes();

} // namespace HiddenItems
} // namespace tessel
