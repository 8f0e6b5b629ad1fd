// Taking apps' launchers out of a desktop, and putting them back.
//
// GNOME keeps its dash's favourites as a string array in dconf, which only
// its own service writes; `gsettings` is the way in, and is run with a time
// limit like any helper. A machine without GNOME has no such schema, and
// gsettings fails: that store then reads as absent.
//
// Plasma keeps each task manager's pinned launchers in its applets file, in
// the [Configuration][General] group below the applet's own group, whose
// `plugin=` says it is a task manager. The file is rewritten whole through a
// temporary file and a rename, every line but those `launchers=` kept as it
// was. KConfig lists are separated by commas, a comma inside an entry
// escaped as "\,".
//
// A launcher taken out is remembered with its list and the entries that
// stood around it. It goes back right after the nearest one that stood
// before it and is still in the list; failing that, right before the nearest
// one that stood after it; failing both, last. So launchers taken from one
// list, in one removal or several, come back in their order whichever is put
// back first, and a list the user changed meanwhile keeps its changes. One
// already back (the user pinned it again) is not doubled.

#include "UninstallKit/DesktopLaunchers.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cctype>
#include <iterator>
#include <set>
#include <utility>

#include "Base/Lines.h"
#include "Base/ReplaceFile.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/CommandRunner.h"

namespace tessel {

namespace {

constexpr CommandRunner::Limits settingsCall{.timeout = std::chrono::seconds(3), .outputBytes = 1 << 20};
constexpr std::int64_t appletsFileLimit = 8 << 20;
constexpr std::string_view gnomeList = "favorite-apps";

std::vector<std::string_view> lines(const std::string& text) {
    std::vector<std::string_view> found;
    forEachLine(text, [&](std::string_view line) { found.push_back(line); });
    return found;
}

std::vector<std::string> splitList(std::string_view value) {
    std::vector<std::string> entries;
    std::string current;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size() && value[i + 1] == ',') {
            current += ',';
            ++i;
        } else if (value[i] == ',') {
            entries.push_back(std::exchange(current, {}));
        } else {
            current += value[i];
        }
    }
    if (!current.empty() || !entries.empty()) entries.push_back(current);
    return entries;
}

std::string joinList(const std::vector<std::string>& entries) {
    std::string value;
    for (const std::string& entry : entries) {
        if (!value.empty()) value += ',';
        for (char c : entry) value += c == ',' ? std::string("\\,") : std::string(1, c);
    }
    return value;
}

// The applet groups of task managers, and for each the group its launchers line sits in.
std::set<std::string> taskManagerSettingsGroups(const std::vector<std::string_view>& fileLines) {
    std::set<std::string> groups;
    std::string group;
    for (std::string_view line : fileLines) {
        if (line.starts_with('[')) group = std::string(line);
        else if (line == "plugin=org.kde.plasma.taskmanager" || line == "plugin=org.kde.plasma.icontasks")
            groups.insert(group + "[Configuration][General]");
    }
    return groups;
}

// Where a launcher taken out goes back into `entries`: see the top of the file.
std::vector<std::string>::iterator placeFor(const DesktopLaunchers::Taken& record, std::vector<std::string>& entries) {
    for (auto before = record.before.rbegin(); before != record.before.rend(); ++before)
        if (auto found = std::ranges::find(entries, *before); found != entries.end()) return found + 1;
    for (const std::string& after : record.after)
        if (auto found = std::ranges::find(entries, after); found != entries.end()) return found;
    return entries.end();
}

} // namespace

std::optional<std::vector<std::string>> GnomeFavorites::parseStrings(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())) != 0) text.remove_suffix(1);
    if (text.starts_with("@as ")) text.remove_prefix(4);
    if (text.size() < 2 || text.front() != '[' || text.back() != ']') return std::nullopt;
    text = text.substr(1, text.size() - 2);
    std::vector<std::string> strings;
    std::size_t i = 0;
    auto skipSpaces = [&] {
        while (i < text.size() && text[i] == ' ') ++i;
    };
    skipSpaces();
    while (i < text.size()) {
        const char quote = text[i];
        if (quote != '\'' && quote != '"') return std::nullopt;
        std::string value;
        for (++i; i < text.size() && text[i] != quote; ++i) {
            if (text[i] == '\\' && i + 1 < text.size()) ++i;
            value += text[i];
        }
        if (i >= text.size()) return std::nullopt;
        strings.push_back(std::move(value));
        ++i;
        skipSpaces();
        if (i < text.size()) {
            if (text[i] != ',') return std::nullopt;
            ++i;
            skipSpaces();
        }
    }
    return strings;
}

std::string GnomeFavorites::printStrings(const std::vector<std::string>& strings) {
    std::string text = "[";
    for (const std::string& value : strings) {
        if (text.size() > 1) text += ", ";
        text += '\'';
        for (char c : value) {
            if (c == '\'' || c == '\\') text += '\\';
            text += c;
        }
        text += '\'';
    }
    return text + "]";
}

std::optional<LauncherStore::Lists> GnomeFavorites::read() {
    const std::optional<std::string> printed =
        CommandRunner::output(gsettings_, {"get", "org.gnome.shell", std::string(gnomeList)}, settingsCall);
    if (!printed) return std::nullopt;
    std::optional<std::vector<std::string>> favorites = parseStrings(*printed);
    if (!favorites) return std::nullopt;
    return Lists{{std::string(gnomeList), std::move(*favorites)}};
}

bool GnomeFavorites::write(const Lists& lists) {
    const auto favorites = lists.find(std::string(gnomeList));
    if (favorites == lists.end()) return true;
    return CommandRunner::output(gsettings_, {"set", "org.gnome.shell", std::string(gnomeList), printStrings(favorites->second)},
                                 settingsCall)
        .has_value();
}

std::optional<LauncherStore::Lists> PlasmaLaunchers::read() {
    const SmallFileRead file = readSmallFile(path_, appletsFileLimit);
    if (!file.text) return std::nullopt;
    const std::vector<std::string_view> fileLines = lines(*file.text);
    const std::set<std::string> groups = taskManagerSettingsGroups(fileLines);
    Lists lists;
    std::string group;
    for (std::string_view line : fileLines) {
        if (line.starts_with('[')) group = std::string(line);
        else if (line.starts_with("launchers=") && groups.contains(group)) lists[group] = splitList(line.substr(10));
    }
    if (lists.empty()) return std::nullopt;
    return lists;
}

bool PlasmaLaunchers::write(const Lists& lists) {
    const SmallFileRead file = readSmallFile(path_, appletsFileLimit);
    if (!file.text) return false;
    std::string text;
    std::string group;
    for (std::string_view line : lines(*file.text)) {
        if (line.starts_with('[')) group = std::string(line);
        const auto list = lists.find(group);
        if (line.starts_with("launchers=") && list != lists.end()) text += "launchers=" + joinList(list->second);
        else text += line;
        text += '\n';
    }
    return replaceFileWhole(path_, text, 0600) == 0;
}

std::string PlasmaLaunchers::desktopId(const std::string& entry) const {
    if (entry.starts_with("applications:")) return entry.substr(13);
    if (entry.ends_with(".desktop"))
        if (const std::string path = Paths::fromFileUrl(entry); !path.empty()) return path.substr(path.rfind('/') + 1);
    return {};
}

DesktopLaunchers::DesktopLaunchers(std::vector<std::unique_ptr<LauncherStore>> stores)
    : stores_(std::move(stores)), taken_(stores_.size()) {}

std::shared_ptr<DesktopLaunchers> DesktopLaunchers::system(const std::string& configHome) {
    std::vector<std::unique_ptr<LauncherStore>> stores;
    if (::access("/usr/bin/gsettings", X_OK) == 0) stores.push_back(std::make_unique<GnomeFavorites>("/usr/bin/gsettings"));
    stores.push_back(std::make_unique<PlasmaLaunchers>(configHome + "/plasma-org.kde.plasma.desktop-appletsrc"));
    return std::make_shared<DesktopLaunchers>(std::move(stores));
}

std::size_t DesktopLaunchers::removeApps(const std::vector<std::string>& desktopIds) {
    const std::set<std::string> wanted(desktopIds.begin(), desktopIds.end());
    std::lock_guard guard(lock_);
    std::size_t removed = 0;
    for (std::size_t store = 0; store < stores_.size(); ++store) {
        std::optional<LauncherStore::Lists> lists = stores_[store]->read();
        if (!lists) continue;
        std::map<std::string, std::vector<Taken>> taken;
        for (auto& [name, entries] : *lists) {
            std::vector<std::string> kept;
            for (std::size_t index = 0; index < entries.size(); ++index) {
                const std::string id = stores_[store]->desktopId(entries[index]);
                if (wanted.contains(id))
                    taken[id].push_back({name, index, entries[index],
                                         {entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(index)},
                                         {entries.begin() + static_cast<std::ptrdiff_t>(index) + 1, entries.end()}});
                else kept.push_back(entries[index]);
            }
            entries = std::move(kept);
        }
        // A desktop that doesn't hold the app isn't touched.
        if (taken.empty() || !stores_[store]->write(*lists)) continue;
        for (auto& [id, records] : taken) {
            removed += records.size();
            std::ranges::move(records, std::back_inserter(taken_[store][id]));
        }
    }
    return removed;
}

void DesktopLaunchers::restoreApps(const std::vector<std::string>& desktopIds) {
    std::lock_guard guard(lock_);
    for (std::size_t store = 0; store < stores_.size(); ++store) {
        std::vector<Taken> records;
        for (const std::string& id : desktopIds)
            if (auto kept = taken_[store].find(id); kept != taken_[store].end()) std::ranges::move(kept->second, std::back_inserter(records));
        if (records.empty()) continue;
        std::optional<LauncherStore::Lists> lists = stores_[store]->read();
        if (!lists) continue;
        std::ranges::sort(records, {}, &Taken::index);
        for (const Taken& record : records) {
            std::vector<std::string>& entries = (*lists)[record.list];
            if (std::ranges::find(entries, record.entry) != entries.end()) continue;
            entries.insert(placeFor(record, entries), record.entry);
        }
        if (!stores_[store]->write(*lists)) continue;
        for (const std::string& id : desktopIds) taken_[store].erase(id);
    }
}

std::vector<DesktopLaunchers::Orphan> DesktopLaunchers::orphans(const std::function<bool(const std::string&)>& isInstalled) {
    std::lock_guard guard(lock_);
    std::vector<Orphan> found;
    for (const std::unique_ptr<LauncherStore>& store : stores_)
        if (std::optional<LauncherStore::Lists> lists = store->read())
            for (const auto& [name, entries] : *lists)
                for (const std::string& entry : entries)
                    if (const std::string id = store->desktopId(entry); !id.empty() && !isInstalled(id)) found.push_back({name, entry});
    return found;
}

void DesktopLaunchers::removeOrphans(const std::vector<Orphan>& orphans) {
    std::lock_guard guard(lock_);
    for (const std::unique_ptr<LauncherStore>& store : stores_) {
        std::optional<LauncherStore::Lists> lists = store->read();
        if (!lists) continue;
        bool changed = false;
        for (const Orphan& orphan : orphans)
            if (auto list = lists->find(orphan.list); list != lists->end())
                changed |= std::erase(list->second, orphan.entry) > 0;
        if (changed) store->write(*lists);
    }
}

} // namespace tessel
