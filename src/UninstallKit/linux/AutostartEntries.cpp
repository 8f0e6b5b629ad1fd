// Reading the login items of a desktop session.
//
// Each autostart folder holds desktop entries, known by their file name. The
// user's folder comes first, and its file of a name is the one the session
// reads, so a copy there changes the system's entry for this account alone:
//   /etc/xdg/autostart/tracker.desktop       Exec=tracker daemon
//   ~/.config/autostart/tracker.desktop      Hidden=true
//   → tracker is off for this account; the system file is as it was.
// An entry does not start when it says Hidden=true or
// X-GNOME-Autostart-enabled=false, when its TryExec program isn't there, or
// when OnlyShowIn or NotShowIn keep it out of the desktops this session
// names in $XDG_CURRENT_DESKTOP. Outside a desktop session no desktop is
// named, and an entry limited to some desktops is told, not judged.

#include "UninstallKit/AutostartEntries.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>

#include "Base/FolderNames.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/DesktopEntry.h"

namespace tessel::AutostartEntries {

namespace {

std::vector<std::string> listed(const std::optional<std::string>& value) {
    std::vector<std::string> names;
    const std::string text = value.value_or("");
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t semicolon = rest.find(';');
        if (semicolon != 0) names.emplace_back(rest.substr(0, semicolon));
        rest = semicolon == std::string_view::npos ? std::string_view{} : rest.substr(semicolon + 1);
    }
    return names;
}

std::string joined(const std::vector<std::string>& names, std::string_view last) {
    std::string text;
    for (std::size_t at = 0; at < names.size(); ++at)
        text += (at == 0 ? "" : at + 1 == names.size() ? std::string(last) : ", ") + names[at];
    return text;
}

bool sharesOne(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    return std::ranges::any_of(a, [&](const std::string& name) { return std::ranges::find(b, name) != b.end(); });
}

void addSentence(StartupItem& item, const std::string& sentence) {
    item.detail = item.detail ? *item.detail + " " + sentence : sentence;
}

// Whether OnlyShowIn and NotShowIn let it start in this session, with the sentence that says why not.
void judgeDesktops(StartupItem& item, const DesktopEntry& entry, const std::vector<std::string>& desktops) {
    const std::vector<std::string> only = listed(entry.string("OnlyShowIn")), never = listed(entry.string("NotShowIn"));
    if (desktops.empty()) {
        if (!only.empty()) addSentence(item, "It starts only in " + joined(only, " or ") + ".");
        return;
    }
    const std::string session = joined(desktops, " and ");
    if (!only.empty() && !sharesOne(only, desktops)) {
        item.disabled = true;
        addSentence(item, "It starts only in " + joined(only, " or ") + ", and this session is " + session + ".");
    } else if (sharesOne(never, desktops)) {
        item.disabled = true;
        addSentence(item, "It does not start in " + session + ".");
    }
}

} // namespace

std::vector<std::string> folders(const StartupMachine& machine) {
    std::vector<std::string> found{machine.configHome + "/autostart"};
    for (const std::string& folder : machine.configDirs) found.push_back(folder + "/autostart");
    return found;
}

std::vector<std::string> filesOf(const StartupMachine& machine, const std::string& desktopId) {
    std::vector<std::string> files;
    for (const std::string& folder : folders(machine)) {
        const std::string path = Paths::join(folder, desktopId);
        if (struct stat info {}; lstat(machine.onDisk(path).c_str(), &info) == 0) files.push_back(path);
    }
    return files;
}

std::vector<StartupItem> read(const StartupMachine& machine, std::vector<std::pair<std::string, std::string>>& unreadable) {
    std::map<std::string, std::vector<std::string>> byId;
    for (const std::string& folder : folders(machine))
        for (const std::string& name : folderNames(machine.onDisk(folder)))
            if (name.size() > 8 && name.ends_with(".desktop") && !name.starts_with('.'))
                byId[name].push_back(Paths::join(folder, name));

    std::vector<StartupItem> items;
    for (const auto& [id, files] : byId) {
        StartupItem item;
        item.path = files.front();
        item.label = id.substr(0, id.size() - 8);
        item.kind = StartupItemKind::loginItem;
        item.source = StartupSources::autostart;
        // Parsed whole: what a file doesn't say (a copy that only hides) comes from the next one.
        std::vector<DesktopEntry> entries;
        for (const std::string& file : files) {
            const SmallFileRead text = machine.read(file, DesktopEntry::maxFileBytes);
            DesktopEntry::Parse parsed = text.text ? DesktopEntry::parse(*text.text) : DesktopEntry::Parse{};
            if (!parsed.entry && file == files.front()) {
                item.isReadable = false;
                item.disabled = true;
                item.detail = machine.danglingDestination(file)
                                  ? "Its file is a link to something that no longer exists, so nothing is started."
                                  : "Its file could not be read, so what it runs is unknown.";
                unreadable.emplace_back(file, text.text ? parsed.failure : text.failure);
            }
            if (!parsed.entry) break;
            entries.push_back(std::move(*parsed.entry));
        }
        if (!item.isReadable) {
            items.push_back(std::move(item));
            continue;
        }
        const DesktopEntry& entry = entries.front();
        item.bytes = machine.allocatedBytes(item.path);
        if (entry.isHidden()) {
            item.disabled = true;
            addSentence(item, "Hidden=true in " + item.path + " keeps it from starting.");
        } else if (entry.string("X-GNOME-Autostart-enabled") == "false") {
            item.disabled = true;
            addSentence(item, "X-GNOME-Autostart-enabled=false in " + item.path + " keeps it from starting.");
        }
        if (const std::optional<std::string> tryExec = entry.tryExec(); tryExec && !machine.program(*tryExec)) {
            item.disabled = true;
            addSentence(item, "Its TryExec program " + *tryExec + " is not installed, so it does not start.");
        }
        judgeDesktops(item, entry, machine.desktops);
        for (const DesktopEntry& each : entries) {
            const std::optional<DesktopEntry::Command> exec = each.exec();
            if (!exec) continue;
            if (exec->failure.empty()) machine.describeCommand(item, exec->arguments, machine.programFolders);
            else addSentence(item, "Its command can't be read: " + exec->failure + ".");
            if (std::optional<std::string> flatpak = each.string("X-Flatpak"))
                item.declaredApps.insert(item.declaredApps.begin(), *flatpak);
            break;
        }
        items.push_back(std::move(item));
    }
    return items;
}

} // namespace tessel::AutostartEntries
