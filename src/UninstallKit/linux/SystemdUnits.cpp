// Reading which systemd units start by themselves, from their files.
//
// The search path is walked once, the most important folder first. In each
// folder a unit file counts by its name, the first one found winning, so
// /etc/systemd/system/foo.service replaces /usr/lib/systemd/system's. A link
// there to /dev/null (or an empty file) masks the unit: it never starts,
// however it is asked. A link named otherwise than its target is an alias,
// which names the unit it leads to and switches it on. The entries of the
// ".wants" and ".requires" folders are the links `systemctl enable` makes,
// and each switches on the unit it is named for:
//
//   /etc/systemd/system/multi-user.target.wants/cron.service → cron.service, on
//   /etc/systemd/system/getty.target.wants/getty@tty1.service → the
//       instance tty1 of /usr/lib/systemd/system/getty@.service, on
//   /etc/systemd/system/bluetooth.service → /dev/null: masked
//   /usr/lib/systemd/system/rsync.service with WantedBy=, no link: off
//
// A unit with no such link and nothing in [Install] is started only when
// another unit asks for it; it is not a startup item of its own, and is left
// out. A timer, a socket and a path unit start a service: the item is the
// timer (socket, path) and what runs is that service's program.
//
// A unit's file is read with its drop-ins: every "*.conf" in the folders
// "service.d", "a-.service.d" (for a-b.service), "a@.service.d" (for an
// instance) and "NAME.service.d" of every search folder, one file of each
// name (the most important folder's), applied in the order of their names.

#include "UninstallKit/SystemdUnits.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <stdexcept>

#include "Base/FolderNames.h"
#include "DiskScanKit/Paths.h"

namespace tessel::SystemdUnits {

namespace {

constexpr std::array<std::string_view, 4> startingTypes{"service", "socket", "timer", "path"};
// More entries than any real unit folder holds; a hostile one is read no further.
constexpr std::size_t maxFolderEntries = 20000;

bool isUnitName(std::string_view name) {
    const std::string_view type = UnitNames::type(name);
    return !type.empty() && type.size() < name.size() - 1 && !name.starts_with('.');
}

bool startsSomething(std::string_view name) {
    return std::ranges::find(startingTypes, UnitNames::type(name)) != startingTypes.end();
}

std::optional<std::string> linkText(const std::string& local) {
    std::string target(4096, '\0');
    const ssize_t length = readlink(local.c_str(), target.data(), target.size());
    if (length <= 0 || static_cast<std::size_t>(length) >= target.size()) return std::nullopt;
    target.resize(static_cast<std::size_t>(length));
    return target;
}

std::vector<std::string> namesIn(const std::string& local) {
    std::vector<std::string> names = folderNames(local);
    if (names.size() > maxFolderEntries) names.resize(maxFolderEntries);
    return names;
}

struct Place {
    std::string path;
    bool masked = false;
};

// What the search path holds, by unit name.
struct Index {
    std::vector<std::string> searchPaths;
    std::map<std::string, std::vector<Place>> files;          // most important first
    std::map<std::string, std::vector<std::string>> wantedBy; // the links in .wants and .requires folders
    std::map<std::string, std::vector<std::string>> aliases;  // the alias links that lead to it
    std::set<std::string> dropInFolders;
};

bool endsWith(std::string_view name, std::string_view suffix) {
    return name.size() > suffix.size() && name.ends_with(suffix);
}

// Where packages put their units, as opposed to where enabling or an administrator does.
bool isVendorFolder(const StartupMachine& machine, const std::string& folder) {
    if (Paths::isWithin(folder, "/usr") || Paths::isWithin(folder, "/lib")) return true;
    const std::vector<std::string> data = machine.dataFolders;
    return std::ranges::any_of(data, [&](const std::string& dataFolder) { return Paths::isWithin(folder, dataFolder); });
}

Index scan(const StartupMachine& machine, std::vector<std::string> paths) {
    Index index;
    index.searchPaths = std::move(paths);
    std::set<std::string> seenFolders;
    for (const std::string& folder : index.searchPaths) {
        // /lib/systemd/system and /usr/lib/systemd/system are one folder where /lib leads to /usr/lib.
        const std::optional<std::string> real = machine.followLinks(folder);
        if (!real || !seenFolders.insert(*real).second) continue;
        for (const std::string& name : namesIn(machine.onDisk(folder))) {
            const std::string path = Paths::join(folder, name), local = machine.onDisk(path);
            struct stat info {};
            if (lstat(local.c_str(), &info) != 0) continue;
            if (endsWith(name, ".wants") || endsWith(name, ".requires")) {
                for (const std::string& entry : namesIn(local))
                    if (isUnitName(entry)) index.wantedBy[entry].push_back(Paths::join(path, entry));
                continue;
            }
            if (endsWith(name, ".d")) {
                index.dropInFolders.insert(path);
                continue;
            }
            if (!isUnitName(name)) continue;
            Place place{path, S_ISREG(info.st_mode) && info.st_size == 0};
            if (S_ISLNK(info.st_mode)) {
                const std::optional<std::string> target = linkText(local);
                place.masked = target == "/dev/null";
                const std::string targetName(target ? Paths::lastComponent(*target) : std::string_view{});
                if (!place.masked && target && targetName != name && isUnitName(targetName) &&
                    UnitNames::templateOf(name) != targetName) {
                    // A package's own alias names the unit for D-Bus to start; only one made by enabling switches it on.
                    if (!isVendorFolder(machine, folder)) index.aliases[targetName].push_back(path);
                    continue;
                }
            }
            index.files[name].push_back(std::move(place));
        }
    }
    return index;
}

// The drop-in folders of a unit, least specific first.
std::vector<std::string> dropInFolderNames(const std::string& name) {
    const std::string type(UnitNames::type(name));
    std::vector<std::string> folders{type + ".d"};
    const std::string_view prefix = UnitNames::prefix(name);
    for (std::size_t dash = prefix.find('-'); dash != std::string_view::npos; dash = prefix.find('-', dash + 1))
        folders.push_back(std::string(prefix.substr(0, dash + 1)) + "." + type + ".d");
    if (UnitNames::isInstance(name)) folders.push_back(UnitNames::templateOf(name) + ".d");
    folders.push_back(name + ".d");
    return folders;
}

std::optional<LoadedUnit> loadFrom(const StartupMachine& machine, const Index& index, const std::string& name,
                                   Unreadable* unreadable) {
    auto found = index.files.find(name);
    if (found == index.files.end() && UnitNames::isInstance(name)) found = index.files.find(UnitNames::templateOf(name));
    if (found == index.files.end()) return std::nullopt;
    const auto usable = std::ranges::find_if(found->second, [](const Place& place) { return !place.masked; });
    if (usable == found->second.end()) return std::nullopt;
    const auto readInto = [&](const std::string& path, SystemdUnitFile& file) {
        const SmallFileRead text = machine.read(path, SystemdUnitFile::maxFileBytes);
        if (text.text) file.apply(*text.text);
        else if (unreadable != nullptr) unreadable->emplace_back(path, text.failure);
        return text.text.has_value();
    };
    LoadedUnit unit{usable->path, {}};
    if (!readInto(unit.path, unit.file)) return std::nullopt;

    std::map<std::string, std::string> confs; // file name → path, the most important folder's
    const std::vector<std::string> folderNamesOfUnit = dropInFolderNames(name);
    for (const std::string& searchFolder : index.searchPaths)
        for (auto folder = folderNamesOfUnit.rbegin(); folder != folderNamesOfUnit.rend(); ++folder) {
            const std::string path = Paths::join(searchFolder, *folder);
            if (!index.dropInFolders.contains(path)) continue;
            for (const std::string& conf : namesIn(machine.onDisk(path)))
                if (endsWith(conf, ".conf")) confs.try_emplace(conf, Paths::join(path, conf));
        }
    for (const auto& [conf, path] : confs) {
        // A drop-in masked by a link to /dev/null is meant to say nothing.
        if (linkText(machine.onDisk(path)) == "/dev/null") continue;
        readInto(path, unit.file);
    }
    return unit;
}

// The service a timer, socket or path unit starts.
std::string startedUnit(const std::string& name, const SystemdUnitFile& file) {
    const std::string type(UnitNames::type(name));
    const std::string base = name.substr(0, name.size() - type.size()) + "service";
    if (type == "timer") return file.value("Timer", "Unit").value_or(base);
    if (type == "path") return file.value("Path", "Unit").value_or(base);
    if (std::optional<std::string> service = file.value("Socket", "Service")) return *service;
    if (file.value("Socket", "Accept") == "yes" || file.value("Socket", "Accept") == "true")
        return std::string(UnitNames::prefix(name)) + "@.service";
    return base;
}

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : std::string(separator)) + part;
    return text;
}

// When a timer, socket or path unit starts its service, in words.
std::string activation(const std::string& name, const SystemdUnitFile& file, const std::string& service, Scope scope,
                       SystemdUnitFile::Specifiers specifiers) {
    specifiers.unit = name;
    const auto values = [&](const char* section, const char* key) {
        std::vector<std::string> expanded;
        for (const std::string& value : file.values(section, key)) expanded.push_back(SystemdUnitFile::expand(value, specifiers));
        return expanded;
    };
    const std::string type(UnitNames::type(name));
    std::vector<std::string> when;
    if (type == "timer") {
        // The shorthands read as words ("daily"); any other expression is a moment ("at *-*-* 6:00").
        static const std::set<std::string> shorthands{"minutely", "hourly",    "daily",        "weekly",       "monthly",
                                                      "yearly",   "annually", "quarterly",    "semiannually", "semi-annually"};
        for (const std::string& calendar : values("Timer", "OnCalendar"))
            when.push_back(shorthands.contains(calendar) ? calendar : "at " + calendar);
        for (const std::string& after : values("Timer", "OnBootSec")) when.push_back(after + " after boot");
        for (const std::string& after : values("Timer", "OnStartupSec"))
            when.push_back(after + (scope == Scope::user ? " after you log in" : " after the system starts"));
        for (const std::string& every : values("Timer", "OnUnitActiveSec")) when.push_back("every " + every);
        for (const std::string& after : values("Timer", "OnUnitInactiveSec")) when.push_back(after + " after it last finished");
        for (const std::string& after : values("Timer", "OnActiveSec")) when.push_back(after + " after the timer starts");
    } else if (type == "socket") {
        for (const char* key : {"ListenStream", "ListenDatagram", "ListenSequentialPacket", "ListenFIFO", "ListenNetlink",
                                "ListenSpecial", "ListenMessageQueue", "ListenUSBFunction"})
            for (const std::string& address : values("Socket", key)) when.push_back("something connects to " + address);
        if (!when.empty()) when = {"when " + joined(when, " or ")};
    } else {
        for (const std::string& path : values("Path", "PathExists")) when.push_back(path + " appears");
        for (const std::string& path : values("Path", "PathExistsGlob")) when.push_back("a path like " + path + " appears");
        for (const char* key : {"PathChanged", "PathModified"})
            for (const std::string& path : values("Path", key)) when.push_back(path + " changes");
        for (const std::string& path : values("Path", "DirectoryNotEmpty")) when.push_back("something arrives in " + path);
        if (!when.empty()) when = {"when " + joined(when, " or ")};
    }
    return "It starts " + service + (when.empty() ? "" : " " + joined(when, ", ")) + ".";
}

std::string quotedForShell(const std::string& word) {
    if (!word.empty() && word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789@%_+=:,./-") ==
                             std::string::npos)
        return word;
    std::string quoted = "'";
    for (char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

void addSentence(StartupItem& item, const std::string& sentence) {
    item.detail = item.detail ? *item.detail + " " + sentence : sentence;
}

} // namespace

std::vector<std::string> searchPaths(const StartupMachine& machine, Scope scope) {
    if (scope == Scope::system)
        return {"/etc/systemd/system.control", "/run/systemd/system.control", "/run/systemd/transient",
                "/run/systemd/generator.early", "/etc/systemd/system", "/etc/systemd/system.attached",
                "/run/systemd/system", "/run/systemd/system.attached", "/run/systemd/generator",
                "/usr/local/lib/systemd/system", "/usr/lib/systemd/system", "/lib/systemd/system",
                "/run/systemd/generator.late"};
    const std::string runtime = machine.runtimeDir + "/systemd";
    std::vector<std::string> paths{machine.configHome + "/systemd/user.control", runtime + "/user.control",
                                   runtime + "/transient", runtime + "/generator.early",
                                   machine.configHome + "/systemd/user"};
    for (const std::string& folder : machine.configDirs) paths.push_back(folder + "/systemd/user");
    paths.insert(paths.end(), {"/etc/systemd/user", runtime + "/user", "/run/systemd/user", runtime + "/generator",
                               machine.dataHome + "/systemd/user"});
    for (const std::string& folder : machine.systemDataFolders()) paths.push_back(folder + "/systemd/user");
    paths.insert(paths.end(), {"/usr/local/lib/systemd/user", "/usr/lib/systemd/user", runtime + "/generator.late"});
    return paths;
}

const std::vector<std::string>& programFolders() {
    static const std::vector<std::string> folders{"/usr/local/sbin", "/usr/local/bin", "/usr/sbin", "/usr/bin", "/sbin", "/bin"};
    return folders;
}

std::optional<LoadedUnit> load(const StartupMachine& machine, Scope scope, const std::string& name, Unreadable* unreadable) {
    return loadFrom(machine, scan(machine, searchPaths(machine, scope)), name, unreadable);
}

std::vector<std::string> enablingLinks(const StartupMachine& machine, const std::string& folder, const std::string& name) {
    const Index index = scan(machine, {folder});
    std::vector<std::string> links;
    if (const auto wanted = index.wantedBy.find(name); wanted != index.wantedBy.end()) links = wanted->second;
    if (const auto aliases = index.aliases.find(name); aliases != index.aliases.end())
        links.insert(links.end(), aliases->second.begin(), aliases->second.end());
    return links;
}

std::vector<StartupItem> read(const StartupMachine& machine, Scope scope, Unreadable& unreadable) {
    const Index index = scan(machine, searchPaths(machine, scope));
    std::set<std::string> names;
    for (const auto& [name, places] : index.files)
        if (startsSomething(name) && !UnitNames::isTemplate(name)) names.insert(name);
    for (const auto& [name, links] : index.wantedBy)
        if (startsSomething(name) && !UnitNames::isTemplate(name)) names.insert(name);

    const bool user = scope == Scope::user;
    const std::string userConfig = machine.configHome + "/systemd/user";
    const SystemdUnitFile::Specifiers common{"", user ? machine.home : "/root", user ? machine.userName : "root",
                                             std::to_string(user ? machine.userId : 0u),
                                             user ? machine.runtimeDir : "/run"};
    std::vector<StartupItem> items;
    for (const std::string& name : names) {
        std::vector<std::string> links;
        if (const auto wanted = index.wantedBy.find(name); wanted != index.wantedBy.end()) links = wanted->second;
        if (const auto aliases = index.aliases.find(name); aliases != index.aliases.end())
            links.insert(links.end(), aliases->second.begin(), aliases->second.end());
        const auto places = index.files.find(name);
        const bool masked = places != index.files.end() && places->second.front().masked;

        StartupItem item;
        item.label = name;
        item.source = StartupSources::systemd;
        item.kind = UnitNames::type(name) == "timer" ? StartupItemKind::scheduledJob
                    : user                           ? StartupItemKind::backgroundService
                                                     : StartupItemKind::systemService;
        item.requiresAdministrator = !user;
        std::optional<LoadedUnit> unit = loadFrom(machine, index, name, &unreadable);
        if (!unit && !masked) {
            if (links.empty()) continue; // a file that could not be read, already told
            // Switched on by a link to a unit no search folder holds: a linked
            // unit outside them, or one that is gone.
            item.path = links.front();
            item.isReadable = false;
            item.disabled = true;
            item.detail = "Its file is a link to something that no longer exists, so systemd has nothing to start.";
            if (const std::optional<std::string> target = machine.followLinks(links.front())) {
                SystemdUnitFile file;
                const SmallFileRead text = machine.read(*target, SystemdUnitFile::maxFileBytes);
                if (text.text) {
                    file.apply(*text.text);
                    unit = LoadedUnit{links.front(), std::move(file)};
                    item.isReadable = true;
                    item.detail.reset();
                }
            }
            if (!unit) {
                items.push_back(std::move(item));
                continue;
            }
        }
        const bool installable = unit && (!unit->file.values("Install", "WantedBy").empty() ||
                                          !unit->file.values("Install", "RequiredBy").empty() ||
                                          !unit->file.values("Install", "Alias").empty());
        if (!masked && links.empty() && !installable) continue; // started only when another unit asks for it
        item.path = masked ? places->second.front().path : unit->path;
        item.disabled = masked || links.empty();
        if (masked) addSentence(item, "It is masked: its file is a link to /dev/null, so it never starts, whatever asks for it.");
        if (unit) {
            const std::string service = UnitNames::type(name) == "service" ? name : startedUnit(name, unit->file);
            if (service != name) addSentence(item, activation(name, unit->file, service, scope, common));
            const std::optional<LoadedUnit> started = service == name ? unit : loadFrom(machine, index, service, &unreadable);
            // A oneshot service may run several commands; the last is its work, those before it set it up.
            const std::vector<std::string> lines =
                started ? started->file.values("Service", "ExecStart") : std::vector<std::string>{};
            SystemdUnitFile::Specifiers specifiers = common;
            specifiers.unit = service;
            try {
                if (const std::optional<SystemdUnitFile::Command> command =
                        lines.empty() ? std::nullopt : SystemdUnitFile::splitCommand(lines.back())) {
                    std::vector<std::string> words{SystemdUnitFile::expand(command->program, specifiers)};
                    for (const std::string& argument : command->arguments)
                        words.push_back(SystemdUnitFile::expand(argument, specifiers));
                    machine.describeCommand(item, words, programFolders());
                }
            } catch (const std::invalid_argument& fault) {
                addSentence(item, std::string("Its ExecStart= can't be read: ") + fault.what() + ".");
            }
        }
        const bool ownLinks = std::ranges::all_of(links, [&](const std::string& link) { return Paths::isWithin(link, userConfig); });
        const std::string quoted = quotedForShell(name);
        if (!user) {
            const std::string verb = masked ? "unmask" : !links.empty() ? (installable ? "disable" : "mask") : "enable";
            item.changeCommand = "sudo systemctl " + verb + " " + quoted;
        } else if (masked) {
            item.changeCommand = "systemctl --user unmask " + quoted;
        } else if (!ownLinks) {
            // Switched on for every account, or by the package itself: the user can only mask it.
            item.changeCommand = "systemctl --user mask " + quoted;
        }
        item.bytes = machine.allocatedBytes(item.path);
        items.push_back(std::move(item));
    }
    return items;
}

} // namespace tessel::SystemdUnits
