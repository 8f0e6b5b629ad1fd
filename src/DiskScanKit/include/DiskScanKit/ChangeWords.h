#pragma once
// What is said of the changes between two snapshots, in the app's report room
// and by the command-line tool alike.

#include <cstdint>
#include <string>
#include <string_view>

#include "DiskScanKit/SnapshotDiff.h"

namespace tessel::ChangeWords {

// "Grew", "Shrank", "New", "Gone"
std::string_view kindTitle(SnapshotChange::Kind kind);
// "Files and folders in Music that have changed by 50 MB or more."
std::string rule(std::string_view rootPath);
// "Since the scan of 21 Nov 2026, 21:40, when it held 12.0 GB"; `date` in
// seconds since the reference date.
std::string since(double date, std::int64_t bytes);
// "That snapshot could not be read: " and why.
std::string unreadable(std::string_view reason);
// What stands where there are no changes to list.
std::string nothingEarlier();
std::string nothingChanged();

} // namespace tessel::ChangeWords
