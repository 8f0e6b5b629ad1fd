#pragma once
// What the startup room decides without Qt: which items its filters let
// through, grouped by kind; which it switches itself and which it only tells
// the command for; and the sentences it says of them.

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "UninstallKit/StartupItem.h"

namespace tessel::StartupChoices {

struct Filters {
    bool onlyWithoutOwner = false;
    bool onlyMine = false; // what the user may change: no administrator's items
    // The system's and its desktop's own items, left out unless asked for.
    bool withPlatform = false;
};

bool passes(const StartupItem& item, const Filters& filters);

// The items that pass, by kind in the kinds' order, each kind's in the report's order.
std::vector<std::pair<StartupItemKind, std::vector<const StartupItem*>>> grouped(const std::vector<StartupItem>& items,
                                                                                 const Filters& filters);

// Names one item of a report, and the same item of the report read after a change.
std::string key(const StartupItem& item);

// A login item, or a unit of systemd in the user's own folder: switched here.
// Anything else is changed by the command it carries.
bool switchesHere(const StartupItem& item);

// Above the command of an item the room does not switch: why, and what the command does.
std::string commandNote(const StartupItem& item);

// Under a kind's heading: what starts these, and when.
std::string_view about(StartupItemKind kind);

// What moving a user's unit to the Trash did: its file, and the links that switched it on.
std::string trashedSentence(const std::string& label, std::size_t links);

} // namespace tessel::StartupChoices
