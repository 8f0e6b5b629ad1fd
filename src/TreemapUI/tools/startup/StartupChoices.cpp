#include "tools/startup/StartupChoices.h"

#include <algorithm>

namespace tessel::StartupChoices {

bool passes(const StartupItem& item, const Filters& filters) {
    if (item.isPlatform && !filters.withPlatform) return false;
    if (filters.onlyWithoutOwner && item.owner) return false;
    return !filters.onlyMine || !item.requiresAdministrator;
}

std::vector<std::pair<StartupItemKind, std::vector<const StartupItem*>>> grouped(const std::vector<StartupItem>& items,
                                                                                 const Filters& filters) {
    std::vector<std::pair<StartupItemKind, std::vector<const StartupItem*>>> groups;
    for (const StartupItem& item : items) {
        if (!passes(item, filters)) continue;
        auto group = std::ranges::find(groups, item.kind, [](const auto& each) { return each.first; });
        if (group == groups.end()) group = groups.insert(groups.end(), {item.kind, {}});
        group->second.push_back(&item);
    }
    std::ranges::stable_sort(groups, {}, [](const auto& group) { return group.first; });
    return groups;
}

std::string key(const StartupItem& item) {
    return std::string(StartupItemKinds::rawValue(item.kind)) + "\n" + item.path + "\n" + item.label;
}

bool switchesHere(const StartupItem& item) {
    const bool switchable = item.source == StartupSources::autostart || item.source == StartupSources::systemd;
    return switchable && !item.requiresAdministrator && !item.changeCommand;
}

std::string commandNote(const StartupItem& item) {
    const std::string way = item.disabled ? "on" : "off";
    if (item.requiresAdministrator)
        return "Only an administrator can switch it " + way +
               ". Run this in a terminal: it asks for the password, which Tessel never does.";
    if (item.source == StartupSources::cron) return "Your cron jobs are changed in your crontab: this command opens it.";
    if (item.disabled) return "It is masked. This command, in a terminal, lets it start again.";
    return "It is switched on outside your settings, for every account or by its package, so only masking it stops it "
           "for you. This command, in a terminal, does that.";
}

std::string_view about(StartupItemKind kind) {
    switch (kind) {
    case StartupItemKind::loginItem: return "Programs your desktop starts when you log in.";
    case StartupItemKind::backgroundService:
        return "Services systemd starts in your session, and the sockets and paths that start them when something needs them.";
    case StartupItemKind::scheduledJob: return "Timers and cron jobs that start a program on a schedule.";
    case StartupItemKind::systemService: return "Services systemd starts for the whole computer, before anyone logs in.";
    default: return {};
    }
}

std::string trashedSentence(const std::string& label, std::size_t links) {
    if (links == 0) return label + "'s file was moved to the Trash.";
    return label + "'s file and the " + (links == 1 ? std::string("link") : std::to_string(links) + " links") +
           " that switched it on were moved to the Trash.";
}

} // namespace tessel::StartupChoices
