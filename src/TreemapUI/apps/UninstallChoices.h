#pragma once
// The uninstaller's decisions, without Qt: where an app came from in the
// words a Linux user reads, which apps the list offers and in what order,
// what a filter keeps, a plan's residue grouped by where it lies, and the
// sentence that says what went.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "UninstallKit/FoundApps.h"
#include "UninstallKit/UninstallPlanner.h"

namespace tessel::UninstallChoices {

// "Installed with apt", "Flatpak", "Snap", "AppImage", "Installed by you" (a
// program in the home folder or /opt, or in /usr/local), else "Other".
std::string sourceWords(const InstalledApp& app, const std::string& home);

// The apps offered for uninstalling: not the system's own, which removing
// could break it, nor the entries menus never show (link handlers, helpers);
// `order` is "name" or "size" (largest first, unknown sizes last).
std::vector<FoundApp> offered(const std::vector<FoundApp>& apps, std::string_view order);
// How many of `apps` are the system's own, and so not offered.
int builtInCount(const std::vector<FoundApp>& apps);
// Whether `query` (any case) is in the app's name, identifier, package or source words.
bool matches(const FoundApp& found, const std::string& sourceWords, std::string_view query);

// Residue found in one location.
struct Group {
    std::string label;
    std::vector<ResidueItem> items;
    std::int64_t bytes() const;
};
// What the user may look at and tick (and what may hold documents, shown but
// never ticked), grouped by location in the order the surest item of each
// comes; what needs an administrator is not among them.
std::vector<Group> groups(const UninstallPlan& plan);
// What only an administrator can move, the app's own folder first when it is one of them.
std::vector<ResidueItem> administratorItems(const UninstallPlan& plan);

// "3 items of Editor moved to the Trash", "7 items of 2 apps moved to the Trash".
std::string resultTitle(std::size_t items, const std::vector<std::string>& appNames);

} // namespace tessel::UninstallChoices
