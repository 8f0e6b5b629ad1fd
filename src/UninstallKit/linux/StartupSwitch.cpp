// Switching startup items off and on, reversibly.
//
// A login item is the user's to switch off even when its file is the
// system's: the session reads ~/.config/autostart first, and a file there
// that says Hidden=true keeps the entry of the same name from starting. So:
//   - with no file of the user's, a small one is written that only hides the
//     entry, marked as this program's own ("X-Tessel-Override=copy"); to
//     switch the entry on again that file, which holds nothing of the user's,
//     is removed;
//   - with a file of the user's, Hidden=true is put into it beside a mark
//     that says what stood there before, and switching on takes out exactly
//     what was put in, so the file comes back to the byte:
//       [Desktop Entry]            [Desktop Entry]
//       Hidden=false        →      Hidden=true
//       Exec=tool                  X-Tessel-Override=was:Hidden=false
//                                  Exec=tool
// An entry switched off by other means (a Hidden=true the user wrote, a
// desktop's own switch) is not this program's to switch on; the sentence
// says where it was switched off.
//
// A user unit of systemd is on while links to it sit in the ".wants" and
// ".requires" folders of ~/.config/systemd/user. Switching it off takes
// those links away, and each is remembered with its target as written, so
// that undoing puts the same links back; switching it on makes the links its
// [Install] section asks for, as `systemctl --user enable` would. Links are
// only ever links: a regular file in such a folder is left alone. Where the
// user's systemd manager can be asked, it makes the change and reloads;
// otherwise the files are changed, and the manager sees it when it next
// reads them.

#include "UninstallKit/StartupSwitch.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Base/MakeFolders.h"
#include "Base/ReplaceFile.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/AutostartEntries.h"
#include "UninstallKit/DesktopEntry.h"
#include "UninstallKit/SystemdUnits.h"

namespace tessel {

namespace {

struct Line {
    std::string_view text; // without its end
    std::string_view end;  // "\n", "\r\n", or nothing for a last line without one
};

std::vector<Line> linesWithEnds(std::string_view text) {
    std::vector<Line> lines;
    while (!text.empty()) {
        const std::size_t newline = text.find('\n');
        std::string_view line = text.substr(0, newline), end = newline == std::string_view::npos ? "" : "\n";
        if (!end.empty() && line.ends_with('\r')) {
            line.remove_suffix(1);
            end = "\r\n";
        }
        lines.push_back({line, end});
        text = newline == std::string_view::npos ? std::string_view{} : text.substr(newline + 1);
    }
    return lines;
}

std::string_view keyOf(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return {};
    const std::string_view key = line.substr(0, equals);
    const std::size_t last = key.find_last_not_of(" \t");
    return last == std::string_view::npos ? std::string_view{} : key.substr(0, last + 1);
}

// The header of [Desktop Entry] and the end of its group, as line numbers.
std::optional<std::pair<std::size_t, std::size_t>> mainGroup(const std::vector<Line>& lines) {
    std::size_t at = 0;
    while (at < lines.size() && !lines[at].text.starts_with('[')) ++at;
    if (at == lines.size() || lines[at].text != "[Desktop Entry]") return std::nullopt;
    std::size_t end = at + 1;
    while (end < lines.size() && !lines[end].text.starts_with('[')) ++end;
    return std::pair{at, end};
}

std::string joined(const std::vector<Line>& lines, std::size_t from, std::size_t to) {
    std::string text;
    for (std::size_t at = from; at < to && at < lines.size(); ++at) {
        text += lines[at].text;
        text += lines[at].end;
    }
    return text;
}

std::optional<std::string> linkTarget(const std::string& local) {
    struct stat info {};
    if (lstat(local.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return std::nullopt;
    std::string target(4096, '\0');
    const ssize_t length = readlink(local.c_str(), target.data(), target.size());
    if (length <= 0 || static_cast<std::size_t>(length) >= target.size()) return std::nullopt;
    target.resize(static_cast<std::size_t>(length));
    return target;
}

std::string failure(const char* call, const std::string& path) {
    return std::string(call) + "(" + path + "): " + std::strerror(errno);
}

StartupSwitchOutcome refused(std::string sentence) { return {false, std::move(sentence), std::nullopt}; }

// An item that only its own tool, or an administrator, switches: a cron job, a launchd job.
StartupSwitchOutcome refusedElsewhere(const StartupItem& item, const std::string& way) {
    if (!item.changeCommand) return refused("Tessel can't switch it " + way + ".");
    return refused((item.requiresAdministrator ? "Only an administrator can switch it " + way + ": "
                                               : "Tessel doesn't switch it " + way + "; this does: ") +
                   *item.changeCommand);
}

std::string plural(std::size_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

} // namespace

StartupSwitch::StartupSwitch(StartupMachine machine, UserUnitManager* manager)
    : machine_(std::move(machine)), manager_(manager) {}

std::string StartupSwitch::unitFolder() const { return machine_.configHome + "/systemd/user"; }

bool StartupSwitch::userManagerRuns() const {
    struct stat info {};
    return lstat(machine_.onDisk(machine_.runtimeDir + "/systemd/private").c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

std::optional<std::string> StartupSwitch::withHidden(std::string_view text) {
    const std::vector<Line> lines = linesWithEnds(text);
    const std::optional<std::pair<std::size_t, std::size_t>> group = mainGroup(lines);
    if (!group) return std::nullopt;
    const auto [header, end] = *group;
    const std::string eol = lines[header].end.empty() ? "\n" : std::string(lines[header].end);
    std::optional<std::size_t> hidden;
    for (std::size_t at = header + 1; at < end; ++at) {
        if (keyOf(lines[at].text) == markerKey) return std::nullopt;
        if (keyOf(lines[at].text) == "Hidden") hidden = at;
    }
    // The mark ends as the line before it ended, so taking it out leaves that ending as it was.
    const std::size_t before = hidden.value_or(header);
    std::string changed = joined(lines, 0, before);
    if (hidden)
        changed += "Hidden=true" + eol + std::string(markerKey) + "=was:" + std::string(lines[before].text);
    else
        changed += std::string(lines[header].text) + eol + "Hidden=true" + eol + std::string(markerKey) + "=added";
    changed += lines[before].end;
    return changed + joined(lines, before + 1, lines.size());
}

std::optional<std::string> StartupSwitch::withoutHidden(std::string_view text) {
    const std::vector<Line> lines = linesWithEnds(text);
    const std::optional<std::pair<std::size_t, std::size_t>> group = mainGroup(lines);
    if (!group) return std::nullopt;
    const auto [header, end] = *group;
    for (std::size_t mark = header + 2; mark < end; ++mark) {
        if (keyOf(lines[mark].text) != markerKey || lines[mark - 1].text != "Hidden=true") continue;
        const std::string_view value = lines[mark].text.substr(lines[mark].text.find('=') + 1);
        if (value == "added" && mark == header + 2)
            return joined(lines, 0, header) + std::string(lines[header].text) + std::string(lines[mark].end) +
                   joined(lines, mark + 1, lines.size());
        if (value.starts_with("was:"))
            return joined(lines, 0, mark - 1) + std::string(value.substr(4)) + std::string(lines[mark].end) +
                   joined(lines, mark + 1, lines.size());
        return std::nullopt;
    }
    return std::nullopt;
}

StartupSwitchOutcome StartupSwitch::disable(const StartupItem& item) {
    if (item.source == StartupSources::autostart) return switchEntry(item, true);
    if (item.source == StartupSources::systemd) return switchUnit(item, true);
    return refusedElsewhere(item, "off");
}

StartupSwitchOutcome StartupSwitch::enable(const StartupItem& item) {
    if (item.source == StartupSources::autostart) return switchEntry(item, false);
    if (item.source == StartupSources::systemd) return switchUnit(item, false);
    return refusedElsewhere(item, "on");
}

StartupSwitchOutcome StartupSwitch::switchEntry(const StartupItem& item, bool off) {
    const std::string id = item.label + ".desktop";
    const std::string userFile = Paths::join(machine_.configHome + "/autostart", id);
    const std::string local = machine_.onDisk(userFile);
    const std::vector<std::string> files = AutostartEntries::filesOf(machine_, id);
    if (files.empty()) return refused("There is no autostart entry " + id + ".");
    const StartupChange change{item.label, item.source, off, {}, {}};
    struct stat info {};
    if (lstat(local.c_str(), &info) != 0) {
        if (!off) return refused(item.disabled && item.detail ? "Tessel can't switch it on: " + *item.detail : "It is already on.");
        const SmallFileRead system = machine_.read(files.front(), DesktopEntry::maxFileBytes);
        const DesktopEntry::Parse parsed = system.text ? DesktopEntry::parse(*system.text) : DesktopEntry::Parse{};
        if (parsed.entry && parsed.entry->isHidden()) return refused("It is already off.");
        const std::string name = parsed.entry ? parsed.entry->raw("Name").value_or(item.label) : item.label;
        makeFolders(machine_.onDisk(machine_.configHome + "/autostart"));
        const std::string text = "[Desktop Entry]\nType=Application\nName=" + name + "\nHidden=true\n" +
                                 std::string(markerKey) + "=copy\n";
        if (const int error = replaceFileWhole(local, text, 0644); error != 0)
            return refused("Writing " + userFile + " failed: " + std::strerror(error) + ".");
        return {true, item.label + " no longer starts when you log in: " + userFile + " hides it for your account, and " +
                          files.front() + " is as it was.", change};
    }
    if (S_ISLNK(info.st_mode)) return refused(userFile + " is a link, and Tessel changes no file through a link.");
    const SmallFileRead file = readSmallFile(local, DesktopEntry::maxFileBytes);
    if (!file.text) return refused("Reading " + userFile + " failed: " + file.failure + ".");
    const DesktopEntry::Parse parsed = DesktopEntry::parse(*file.text);
    const std::optional<std::string> mark = parsed.entry ? parsed.entry->string(markerKey) : std::nullopt;
    if (off) {
        if (parsed.entry && parsed.entry->isHidden()) return refused("It is already off: " + userFile + " says Hidden=true.");
        const std::optional<std::string> changed = withHidden(*file.text);
        if (!changed) return refused(userFile + " has no [Desktop Entry] group to say Hidden=true in.");
        if (const int error = replaceFileWhole(local, *changed); error != 0)
            return refused("Writing " + userFile + " failed: " + std::strerror(error) + ".");
        return {true, item.label + " no longer starts when you log in: Hidden=true was added to " + userFile + ".", change};
    }
    if (!mark) {
        if (parsed.entry && (parsed.entry->isHidden() || parsed.entry->string("X-GNOME-Autostart-enabled") == "false"))
            return refused("It was switched off in " + userFile +
                           " by something other than Tessel; Hidden=false and X-GNOME-Autostart-enabled=true there "
                           "switch it on.");
        return refused(item.disabled && item.detail ? "Tessel can't switch it on: " + *item.detail : "It is already on.");
    }
    if (*mark == "copy") {
        // Only the keys it was written with: anything more is the user's, and stays.
        bool onlyOwn = parsed.entry->groups().size() == 1;
        for (const auto& [key, value] : parsed.entry->groups().front().second)
            onlyOwn = onlyOwn && (key == "Type" || key == "Name" || key == "Hidden" || key == markerKey);
        if (!onlyOwn) return refused(userFile + " was changed since Tessel wrote it, so it is left as it is.");
        if (unlink(local.c_str()) != 0) return refused(failure("unlink", userFile) + ".");
        return {true, item.label + " starts again when you log in: Tessel's " + userFile + " was removed.", change};
    }
    const std::optional<std::string> restored = withoutHidden(*file.text);
    if (!restored) return refused(userFile + " was changed since Tessel switched it off, so it is left as it is.");
    if (const int error = replaceFileWhole(local, *restored); error != 0)
        return refused("Writing " + userFile + " failed: " + std::strerror(error) + ".");
    return {true, item.label + " starts again when you log in: Hidden=true was taken out of " + userFile + ".", change};
}

StartupSwitchOutcome StartupSwitch::switchUnit(const StartupItem& item, bool off) {
    if (item.requiresAdministrator) {
        if (item.disabled == off) return refused(off ? "It is already off." : "It is already on.");
        return refused("Only an administrator can switch it " + std::string(off ? "off" : "on") +
                       (item.changeCommand ? ": " + *item.changeCommand : "."));
    }
    const std::string folder = unitFolder();
    const std::vector<std::string> links = SystemdUnits::enablingLinks(machine_, folder, item.label);
    StartupChange change{item.label, item.source, off, {}, {}};
    // The manager, where it can be asked, changes the links and reloads; where it can't, the files are changed here.
    const auto asked = [&](std::optional<std::string> failure) { return !failure && !manager_->reload(); };
    const auto note = [&](bool managed) {
        return managed             ? std::string(" Your systemd manager was told.")
               : userManagerRuns() ? std::string(" Your systemd manager sees the change at your next login, or after "
                                                 "systemctl --user daemon-reload.")
                                   : std::string();
    };
    if (off) {
        if (links.empty())
            return refused(item.disabled ? "It is already off."
                                         : "It is switched on outside " + folder + ", so only masking it stops it for you" +
                                               (item.changeCommand ? ": " + *item.changeCommand : "."));
        for (const std::string& link : links) {
            const std::optional<std::string> target = linkTarget(machine_.onDisk(link));
            if (!target) return refused(link + " is not a link, so Tessel leaves it alone.");
            change.linksRemoved.emplace_back(link, *target);
        }
        const bool managed = manager_ != nullptr && asked(manager_->disableUnitFiles({item.label}));
        for (const auto& [link, target] : change.linksRemoved)
            if (!managed && linkTarget(machine_.onDisk(link)) == target && unlink(machine_.onDisk(link).c_str()) != 0)
                return refused(failure("unlink", link) + ".");
        return {true, item.label + " no longer starts by itself: " + plural(links.size(), "link", "links") + " in " +
                          folder + " switched it on, and were taken away." + note(managed), change};
    }
    if (!links.empty()) return refused("It is already on.");
    if (item.changeCommand && item.changeCommand->find(" unmask ") != std::string::npos)
        return refused("It is masked, so it can't start until it is unmasked: " + *item.changeCommand);
    const std::optional<SystemdUnits::LoadedUnit> unit =
        SystemdUnits::load(machine_, SystemdUnits::Scope::user, item.label);
    if (!unit) return refused("The file of " + item.label + " can't be found or read.");
    const std::string target = machine_.followLinks(unit->path).value_or(unit->path);
    for (const std::string& wanting : unit->file.values("Install", "WantedBy"))
        change.linksMade.emplace_back(folder + "/" + wanting + ".wants/" + item.label, target);
    for (const std::string& requiring : unit->file.values("Install", "RequiredBy"))
        change.linksMade.emplace_back(folder + "/" + requiring + ".requires/" + item.label, target);
    for (const std::string& alias : unit->file.values("Install", "Alias")) change.linksMade.emplace_back(folder + "/" + alias, target);
    if (change.linksMade.empty())
        return refused("Its file says nowhere it should be switched on: it has no WantedBy=, RequiredBy= or Alias=.");
    const bool managed = manager_ != nullptr && asked(manager_->enableUnitFiles({item.label}));
    for (const auto& [link, to] : change.linksMade) {
        const std::string local = machine_.onDisk(link);
        makeFolders(local.substr(0, local.rfind('/')));
        if (!managed && symlink(to.c_str(), local.c_str()) != 0 && errno != EEXIST) return refused(failure("symlink", link) + ".");
    }
    return {true, item.label + " starts by itself again: " + plural(change.linksMade.size(), "link", "links") +
                      " to it were made in " + folder + "." + note(managed), change};
}

StartupSwitchOutcome StartupSwitch::undo(const StartupChange& change) {
    StartupItem item;
    item.label = change.label;
    item.source = change.source;
    if (change.source == StartupSources::autostart) return switchEntry(item, !change.switchedOff);
    StartupChange reverse{change.label, change.source, !change.switchedOff, change.linksMade, change.linksRemoved};
    for (const auto& [link, target] : change.linksRemoved) {
        const std::string local = machine_.onDisk(link);
        makeFolders(local.substr(0, local.rfind('/')));
        if (symlink(target.c_str(), local.c_str()) != 0 && errno != EEXIST) return refused(failure("symlink", link) + ".");
    }
    for (const auto& [link, target] : change.linksMade)
        if (linkTarget(machine_.onDisk(link)) == target && unlink(machine_.onDisk(link).c_str()) != 0)
            return refused(failure("unlink", link) + ".");
    if (manager_ != nullptr) manager_->reload();
    return {true, change.label + (change.switchedOff ? " is switched on again." : " is switched off again."), reverse};
}

std::vector<std::string> StartupSwitch::trashablePaths(const StartupItem& item) const {
    if (item.source != StartupSources::systemd || item.requiresAdministrator || !Paths::isWithin(item.path, unitFolder()))
        return {};
    struct stat info {};
    if (lstat(machine_.onDisk(item.path).c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return {};
    std::vector<std::string> paths{machine_.onDisk(item.path)};
    if (lstat(machine_.onDisk(item.path + ".d").c_str(), &info) == 0 && S_ISDIR(info.st_mode))
        paths.push_back(machine_.onDisk(item.path + ".d"));
    for (const std::string& link : SystemdUnits::enablingLinks(machine_, unitFolder(), item.label))
        paths.push_back(machine_.onDisk(link));
    return paths;
}

} // namespace tessel
