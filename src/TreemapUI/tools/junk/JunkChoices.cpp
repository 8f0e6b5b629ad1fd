#include "tools/junk/JunkChoices.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <string_view>

#include "DiskScanKit/CheckedSize.h"
#include "TrashKit/RemovalSheet.h"

namespace tessel::JunkChoices {

namespace {

// "/media/ann/Backup" of "/media/ann/Backup/x/y": the folder a removable disk is mounted on, or none.
std::string volumeOf(const std::string& path) {
    for (auto [prefix, depth] : {std::pair<std::string_view, int>{"/run/media/", 2}, {"/media/", 2}, {"/mnt/", 1}}) {
        if (!path.starts_with(prefix)) continue;
        std::size_t end = prefix.size();
        for (int part = 0; part < depth && end != std::string::npos; ++part) end = path.find('/', end + 1);
        return path.substr(0, end == std::string::npos ? path.size() : end);
    }
    return {};
}

bool isMounted(const std::string& folder) {
    struct stat own {};
    struct stat parent {};
    return lstat(folder.c_str(), &own) == 0 && lstat((folder + "/..").c_str(), &parent) == 0 && own.st_dev != parent.st_dev;
}

} // namespace

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

Presence presenceOf(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0) return Presence::present;
    if (errno != ENOENT && errno != ENOTDIR) return Presence::unknown;
    const std::string volume = volumeOf(path);
    return volume.empty() || isMounted(volume) ? Presence::missing : Presence::unknown;
}

} // namespace tessel::JunkChoices
