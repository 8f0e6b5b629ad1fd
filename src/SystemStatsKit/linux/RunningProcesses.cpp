#include "SystemStatsKit/RunningProcesses.h"

#include <unistd.h>

#include "Base/Lines.h"
#include "SystemStatsKit/ProcessTable.h"

namespace tessel::RunningProcesses {

std::set<std::string> names(const std::string& procRoot, std::uint32_t uid) {
    std::set<std::string> found;
    for (const std::int32_t pid : ProcessTable::pids(procRoot).value_or(std::vector<std::int32_t>{}))
        if (const std::optional<std::string> comm = ProcessTable::file(procRoot, pid, uid, "comm")) {
            const std::string_view name = trimmed(*comm, "\n");
            if (!name.empty()) found.emplace(name);
        }
    return found;
}

std::set<std::string> names() { return names("/proc", static_cast<std::uint32_t>(::getuid())); }

} // namespace tessel::RunningProcesses
