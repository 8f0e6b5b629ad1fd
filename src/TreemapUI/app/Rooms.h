#pragma once
// The rooms of the main window, the sidebar that lists them, and the one-line
// description of each tool. Plain data: the shell and the overview read it,
// and tests check it without a window.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/Platform.h"

namespace tessel {

namespace ToolsView {

enum class Tool { junk, duplicates, hidden, startup, leftovers, receipts, aiData, systemData, changes, report };

const std::vector<Tool>& allTools();
std::string_view key(Tool tool);
std::optional<Tool> tool(std::string_view key);
// What the tool does, as the overview's list of tools says it.
std::optional<std::string_view> line(Tool tool, Platform platform = currentPlatform());

} // namespace ToolsView

namespace AppShell {

struct Room {
    enum class Kind { tool, overview, map, search, large, apps, unused, monitor };
    Kind kind = Kind::overview;
    std::optional<ToolsView::Tool> tool;

    // "overview", "map", ... and for a tool its key: "junk", "aiData".
    std::string id() const;
    static std::optional<Room> fromId(std::string_view id);
    bool operator==(const Room&) const = default;
};

struct Item {
    Room room;
    std::string title;
    std::string symbol;
};

struct Section {
    std::optional<std::string> title;
    std::vector<Item> items;
};

const std::vector<Section>& sections();
// The room a request by name asks for: "map", "monitor", "overview", "junk",
// "systemData". Any other name asks for nothing.
std::optional<Room> roomForRequest(std::string_view name);
// The sidebar title of a room; the report room's first tab for `changes`.
std::string title(const Room& room);
// The sentence an empty room shows until its tool is built.
std::string_view comingSentence(const Room& room);

} // namespace AppShell
} // namespace tessel
