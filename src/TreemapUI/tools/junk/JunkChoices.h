#pragma once
// The junk room's decisions, without Qt: the groups and their order, what is
// ticked for the user, what "Select All" may tick, a group's tick box, the
// sentence of an item a running program holds back, and whether an item is
// still there.

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "Base/Platform.h"
#include "support/TickedGroups.h"
#include "UninstallKit/JunkItem.h"
#include "UninstallKit/Presence.h"

namespace tessel::JunkChoices {

struct Group {
    JunkCategory category;
    std::vector<JunkItem> items;
    std::int64_t bytes() const;
    // The category's raw value: a group is known by it.
    std::string id() const;
};

// Items by category; groups by their total, largest first, ties by title.
std::vector<Group> orderedGroups(const std::vector<JunkItem>& items);

// Ticked for the user: what starts ticked, unless a running program holds it.
std::set<std::string> recommended(const std::vector<JunkItem>& items, const std::set<std::string>& inUse);
// Whatever can be ticked at all: not what only an administrator can move, nor what is in use.
bool isTickable(const JunkItem& item, const std::set<std::string>& inUse);
std::set<std::string> everything(const std::vector<JunkItem>& items, const std::set<std::string>& inUse);

using tessel::TickState;
// Over the group's tickable items; a group with none of them is `none`.
TickState tickState(const Group& group, const std::set<std::string>& selection, const std::set<std::string>& inUse);
// A group's tick box pressed: all of it ticked when some or none were, all unticked when all were.
void toggle(const Group& group, std::set<std::string>& selection, const std::set<std::string>& inUse);

// Why an item stays when it was to go: the program it belongs to runs.
std::string inUseReason(const JunkItem& item);

// Whether the item still stands. A disk that is not mounted now can't say: an
// item on it (under /media, /run/media or /mnt) is unknown, as is one that can't be looked at.
using Presence = ::tessel::Presence;
using ::tessel::presenceOf;
// The paths of `items` that `presence` says are gone for sure.
template <class Items>
std::set<std::string> missing(const Items& items, const std::function<Presence(const std::string&)>& presence) {
    std::set<std::string> gone;
    for (const auto& item : items)
        if (presence && presence(item.path) == Presence::missing) gone.insert(item.path);
    return gone;
}

// Looks again at which of `items` are gone, keeping `gone` and dropping the
// newly gone from `selection`; true when something changed and the room's
// groups must be made again.
template <class Items>
bool forgetMissing(const Items& items, const std::function<Presence(const std::string&)>& presence, std::set<std::string>& gone,
                   std::set<std::string>& selection) {
    std::set<std::string> now = missing(items, presence);
    if (now == gone) return false;
    gone = std::move(now);
    for (const std::string& path : gone) selection.erase(path);
    return true;
}

} // namespace tessel::JunkChoices
