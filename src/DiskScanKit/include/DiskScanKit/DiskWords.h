#pragma once
// What is said of a disk's space, in the app's overview and sidebar and the
// command-line tool's list of disks alike.

#include <cstdint>
#include <string>
#include <string_view>

namespace tessel::DiskWords {

// "34.1 GB used of 271 GB, 68.7 GB free", and ", 168 GB reserved for the
// system" after it when `reserved` is more than 0.
std::string usage(std::int64_t used, std::int64_t total, std::int64_t available, std::int64_t reserved);
// "68.7 GB free of 271 GB"
std::string freeOf(std::int64_t available, std::int64_t total);
// The grey part of a disk bar, and the line that tells what it is.
std::string_view reservedTitle();
std::string_view reservedExplanation();

} // namespace tessel::DiskWords
