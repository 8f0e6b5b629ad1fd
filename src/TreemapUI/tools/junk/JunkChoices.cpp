#include "tools/junk/JunkChoices.h"

#include <algorithm>
#include <map>

#include "DiskScanKit/CheckedSize.h"
#include "TrashKit/RemovalSheet.h"

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
    return tickStateOf(group.items, selection, [&](const JunkItem& item) { return isTickable(item, inUse); });
}

void toggle(const Group& group, std::set<std::string>& selection, const std::set<std::string>& inUse) {
    toggleGroup(group.items, selection, [&](const JunkItem& item) { return isTickable(item, inUse); });
}

std::string inUseReason(const JunkItem& item) {
    const std::optional<std::string>& user = item.toolName ? item.toolName : item.app;
    return RemovalSheet::inUse(user ? *user : std::string("a program that uses it"));
}

} // namespace tessel::JunkChoices
