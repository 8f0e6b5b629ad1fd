#include "tools/junk/JunkChoices.h"

#include <algorithm>
#include <map>

#include "DiskScanKit/CheckedSize.h"

namespace tessel::JunkChoices {

std::int64_t Group::bytes() const {
    std::int64_t total = 0;
    for (const JunkItem& item : items) total = checkedAdd(total, item.bytes);
    return total;
}

std::string Group::id() const { return std::string(JunkCategories::rawValue(category)); }

std::vector<Group> orderedGroups(const std::vector<JunkItem>& items) {
    std::map<JunkCategory, Group> byCategory;
    for (const JunkItem& item : items) {
        auto [group, added] = byCategory.try_emplace(item.category, Group{item.category, {}});
        group->second.items.push_back(item);
    }
    std::vector<Group> groups;
    for (auto& [category, group] : byCategory) groups.push_back(std::move(group));
    std::ranges::sort(groups, [](const Group& a, const Group& b) {
        const std::int64_t left = a.bytes();
        const std::int64_t right = b.bytes();
        if (left != right) return left > right;
        return JunkCategories::title(a.category) < JunkCategories::title(b.category);
    });
    return groups;
}

std::set<std::string> recommended(const std::vector<JunkItem>& items, const std::set<std::string>& inUse) {
    std::set<std::string> ticked;
    for (const JunkItem& item : items)
        if (item.startsTicked() && !inUse.contains(item.path)) ticked.insert(item.path);
    return ticked;
}

bool isTickable(const JunkItem& item, const std::set<std::string>& inUse) {
    return !item.requiresAdministrator && !inUse.contains(item.path);
}

std::set<std::string> everything(const std::vector<JunkItem>& items, const std::set<std::string>& inUse) {
    std::set<std::string> ticked;
    for (const JunkItem& item : items)
        if (isTickable(item, inUse)) ticked.insert(item.path);
    return ticked;
}

TickState tickState(const Group& group, const std::set<std::string>& selection, const std::set<std::string>& inUse) {
    std::size_t tickable = 0;
    std::size_t ticked = 0;
    for (const JunkItem& item : group.items) {
        if (!isTickable(item, inUse)) continue;
        ++tickable;
        if (selection.contains(item.path)) ++ticked;
    }
    if (ticked == 0) return TickState::none;
    return ticked == tickable ? TickState::all : TickState::some;
}

void toggle(const Group& group, std::set<std::string>& selection, const std::set<std::string>& inUse) {
    const bool untick = tickState(group, selection, inUse) == TickState::all;
    for (const JunkItem& item : group.items) {
        if (untick) selection.erase(item.path);
        else if (isTickable(item, inUse)) selection.insert(item.path);
    }
}

std::string inUseReason(const JunkItem& item) {
    const std::optional<std::string>& user = item.toolName ? item.toolName : item.app;
    return "In use: " + (user ? *user : std::string("a program that uses it")) + " is running. Quit it, then try again.";
}

} // namespace tessel::JunkChoices
