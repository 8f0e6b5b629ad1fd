#include "app/Rooms.h"

#include <array>
#include <utility>

namespace tessel {

namespace ToolsView {

namespace {
using Tool = ToolsView::Tool;
constexpr std::array<std::pair<Tool, std::string_view>, 10> keys{{
    {Tool::junk, "junk"}, {Tool::duplicates, "duplicates"}, {Tool::hidden, "hidden"},
    {Tool::startup, "startup"}, {Tool::leftovers, "leftovers"}, {Tool::receipts, "receipts"},
    {Tool::aiData, "aiData"}, {Tool::systemData, "systemData"}, {Tool::changes, "changes"},
    {Tool::report, "report"},
}};
} // namespace

const std::vector<Tool>& allTools() {
    static const std::vector<Tool> tools{Tool::junk, Tool::duplicates, Tool::hidden, Tool::startup,
                                         Tool::leftovers, Tool::receipts, Tool::aiData, Tool::systemData,
                                         Tool::changes, Tool::report};
    return tools;
}

std::string_view key(Tool tool) {
    for (const auto& [candidate, name] : keys)
        if (candidate == tool) return name;
    return {};
}

std::optional<Tool> tool(std::string_view name) {
    for (const auto& [candidate, candidateKey] : keys)
        if (candidateKey == name) return candidate;
    return std::nullopt;
}

std::optional<std::string_view> line(Tool tool, Platform platform) {
    const bool mac = platform == Platform::macOS;
    switch (tool) {
    case Tool::junk:
        return "Caches, logs, build data and old installers that can go without losing anything anyone made, and how much each would free.";
    case Tool::duplicates:
        return "Files with identical contents, whatever they are called, and the space removing the extra copies would actually free.";
    case Tool::hidden:
        return mac ? "The largest things Finder does not show you, such as caches in dot folders, with what each one is."
                   : "The largest things the file manager does not show you, such as caches in dot folders, with what each one is.";
    case Tool::startup:
        return mac ? "Everything that starts itself: launch agents, launch daemons, helper tools and system extensions, and whether anything still owns them."
                   : "Everything that starts itself: systemd services and timers, autostart entries and cron jobs, and whether anything still owns them.";
    case Tool::leftovers:
        return mac ? "Preferences, caches and support files left behind by apps you removed long ago."
                   : "Settings, caches and data left behind by apps you removed long ago.";
    case Tool::aiData:
        return mac ? "The AI models on this Mac, often tens of gigabytes: Apple Intelligence's and Siri's, and what Ollama, LM Studio, Hugging Face and other AI apps downloaded."
                   : "The AI models on this computer, often tens of gigabytes: what Ollama, LM Studio, Hugging Face and other AI apps downloaded.";
    case Tool::systemData:
        return mac ? "What System Data holds that can go, and what Storage settings counts beside it: iPhone and iPad backups, attachments Mail and Messages keep, Time Machine's local snapshots and the Trash."
                   : "What the system keeps beside your files that can go: old logs and journals, package caches, crash reports and the Trash.";
    case Tool::changes:
        return "What grew, shrank, appeared or disappeared since an earlier scan of the same place.";
    case Tool::report:
        return "This scan as a spreadsheet or a page you can keep, send or compare later.";
    case Tool::receipts:
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace ToolsView

namespace AppShell {

namespace {

using Kind = Room::Kind;
using ToolsView::Tool;

Room toolRoom(Tool tool) { return {Kind::tool, tool}; }

constexpr std::array<std::pair<Kind, std::string_view>, 7> roomIds{{
    {Kind::overview, "overview"}, {Kind::map, "map"}, {Kind::search, "search"}, {Kind::large, "large"},
    {Kind::apps, "apps"}, {Kind::unused, "unused"}, {Kind::monitor, "monitor"},
}};

} // namespace

std::string Room::id() const {
    if (kind == Kind::tool && tool) return std::string(ToolsView::key(*tool));
    for (const auto& [candidate, name] : roomIds)
        if (candidate == kind) return std::string(name);
    return "overview";
}

std::optional<Room> Room::fromId(std::string_view id) {
    for (const auto& [candidate, name] : roomIds)
        if (name == id) return Room{candidate, std::nullopt};
    if (std::optional<Tool> tool = ToolsView::tool(id)) return toolRoom(*tool);
    return std::nullopt;
}

const std::vector<Section>& sections() {
    static const std::vector<Section> list{
        {std::nullopt,
         {{{Kind::overview, {}}, "Overview", "house"},
          {{Kind::map, {}}, "Space Map", "square.grid.2x2"},
          {{Kind::search, {}}, "Search", "magnifyingglass"},
          {{Kind::large, {}}, "Large Files", "doc.text"}}},
        {"Clean Up",
         {{toolRoom(Tool::junk), "Junk Files", "sparkles"},
          {toolRoom(Tool::aiData), "AI Data Sweeper", "brain"},
          {toolRoom(Tool::systemData), "System Data", "internaldrive"},
          {toolRoom(Tool::leftovers), "Leftovers", "shippingbox"},
          {toolRoom(Tool::duplicates), "Duplicates", "doc.on.doc"},
          {toolRoom(Tool::hidden), "Hidden Files", "eye.slash"},
          {{Kind::unused, {}}, "Unused Apps", "moon.zzz"}}},
        {"Tools",
         {{{Kind::apps, {}}, "Uninstaller", "trash"},
          {toolRoom(Tool::startup), "Startup Items", "power"},
          {toolRoom(Tool::receipts), "Installers", "archivebox"}}},
        {"Insights",
         {{{Kind::monitor, {}}, "Monitor", "waveform.path.ecg"},
          {toolRoom(Tool::report), "Report", "chart.bar.doc.horizontal"}}},
    };
    return list;
}

std::optional<Room> roomForRequest(std::string_view name) {
    if (name == "map") return Room{Kind::map, {}};
    if (name == "monitor") return Room{Kind::monitor, {}};
    if (name == "overview") return Room{Kind::overview, {}};
    if (name == "junk") return toolRoom(Tool::junk);
    if (name == "systemData") return toolRoom(Tool::systemData);
    return std::nullopt;
}

std::string title(const Room& room) {
    if (room.kind == Kind::tool && room.tool == Tool::changes) return "Changes Over Time";
    for (const Section& section : sections())
        for (const Item& item : section.items)
            if (item.room == room) return item.title;
    return "Overview";
}

std::string_view comingSentence(const Room& room) {
    switch (room.kind) {
    case Kind::overview:
    case Kind::apps:
    case Kind::unused:
    case Kind::monitor:
        return {};
    case Kind::map:
        return "The space map will show this scan as cards sized by the space each folder and file takes, to open one and look inside.";
    case Kind::search:
        return "Search will find files and folders of this scan by name, size and kind, and keep the searches you use often.";
    case Kind::large:
        return "Large Files will list the biggest files of this scan, wherever they are, largest first.";
    case Kind::tool:
        break;
    }
    switch (room.tool.value_or(Tool::junk)) {
    case Tool::junk:
    case Tool::leftovers:
    case Tool::startup:
    case Tool::systemData:
    case Tool::aiData:
        return {};
    case Tool::duplicates:
        return "Duplicates will find files with identical contents, keep one copy of each, and tell what removing the others would really free.";
    case Tool::hidden:
        return "Hidden Files will list the largest items whose names begin with a dot, with a note on what each one is and whether it comes back by itself.";
    case Tool::receipts:
        return "Installers will list installer files you no longer need and what installed packages put on this computer.";
    case Tool::changes:
    case Tool::report:
        return "The report will compare this scan with earlier ones, and save it as a spreadsheet or a web page.";
    }
    return {};
}

} // namespace AppShell
} // namespace tessel
