#include "SystemStatsKit/ProcessFamilies.h"

#include <algorithm>
#include <map>
#include <string>
#include <unordered_map>

namespace tessel::ProcessFamilies {

std::vector<ProcessFamily> group(const std::vector<ProcessRecord>& records,
                                 const std::function<const AppLaunchUnit*(std::size_t)>& unitOf) {
    std::unordered_map<std::int32_t, std::size_t> byPid;
    byPid.reserve(records.size());
    for (std::size_t i = 0; i < records.size(); ++i) byPid.emplace(records[i].pid, i);
    auto parentOf = [&](std::size_t i) -> std::optional<std::size_t> {
        auto found = byPid.find(records[i].parent);
        if (found == byPid.end() || found->second == i) return std::nullopt;
        return found->second;
    };

    std::vector<ProcessFamily> families;
    std::map<std::string, std::size_t> unitFamilies; // by desktop ID
    std::unordered_map<std::size_t, std::size_t> pidFamilies; // by head
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (const AppLaunchUnit* unit = unitOf(i)) {
            auto [at, added] = unitFamilies.try_emplace(unit->appID, families.size());
            if (added) families.push_back({i, {}, *unit});
            families[at->second].members.push_back(i);
            continue;
        }
        // Climb at most as many steps as there are records: pids read at
        // different moments may make a loop.
        std::size_t head = i;
        for (std::size_t steps = 0; steps < records.size(); ++steps) {
            const std::optional<std::size_t> parent = parentOf(head);
            if (!parent || unitOf(*parent) != nullptr || !parentOf(*parent)) break;
            head = *parent;
        }
        auto [at, added] = pidFamilies.try_emplace(head, families.size());
        if (added) families.push_back({head, {}, std::nullopt});
        families[at->second].members.push_back(i);
    }

    for (ProcessFamily& family : families) {
        std::sort(family.members.begin(), family.members.end(),
                  [&](std::size_t a, std::size_t b) { return records[a].pid < records[b].pid; });
        if (!family.unit) continue;
        // The unit's first process: its parent is outside the unit.
        auto outside = [&](std::size_t i) {
            const std::optional<std::size_t> parent = parentOf(i);
            const AppLaunchUnit* parentUnit = parent ? unitOf(*parent) : nullptr;
            return parentUnit == nullptr || parentUnit->appID != family.unit->appID;
        };
        std::optional<std::size_t> head;
        for (std::size_t i : family.members)
            if (outside(i) && (!head || records[i].startTicks < records[*head].startTicks)) head = i;
        family.head = head.value_or(family.members.front());
    }
    return families;
}

} // namespace tessel::ProcessFamilies
