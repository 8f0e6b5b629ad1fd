#pragma once
// What the duplicates tool says, in the app and the command-line tool alike:
// which copy stays under each way of choosing and why, and the sentence that
// sums up a comparison.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/MountInfo.h"

#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/DuplicateGroup.h"

namespace tessel::DuplicateWords {

// "Keep the Original" follows the keeper rule; "Keep the Oldest" keeps the
// copy changed longest ago, which is most often the one the others were made from.
enum class Keeping { original, oldest };

std::size_t keeperIndex(const DuplicateGroup& group, Keeping keeping);
// One sentence on why the copy at `keeper` stays: "Kept: it sits in Documents."
std::string keeperReason(const DuplicateGroup& group, std::size_t keeper, Keeping keeping, const std::string& home);
// "2 groups of identical files. Removing the extra copies would free 3.5 MB.",
// or why there are none, and how many files could not be compared. `groups`
// are those still shown, which may be fewer than the report found.
std::string summary(const std::vector<DuplicateGroup>& groups, const DuplicateReport& report, std::int64_t minimumBytes);
// One file the comparison gave up on, with the file system it is on where
// known: "/mnt/x/film.mkv stopped answering while it was read: it is on a
// FUSE file system (sshfs) mounted at /mnt/x, and it is left out of the comparison."
std::string stalledFile(std::string_view path, const std::optional<MountEntry>& mount);

} // namespace tessel::DuplicateWords
