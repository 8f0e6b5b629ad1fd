#pragma once
// The names of the user's running processes, for the checks that ask whether
// a tool is running: /proc/PID/comm of each process /proc shows as the
// user's, empty names left out. A root that can't be listed gives an empty set.

#include <cstdint>
#include <set>
#include <string>

namespace tessel::RunningProcesses {

std::set<std::string> names(const std::string& procRoot, std::uint32_t uid);
// The current user's, under /proc.
std::set<std::string> names();

} // namespace tessel::RunningProcesses
