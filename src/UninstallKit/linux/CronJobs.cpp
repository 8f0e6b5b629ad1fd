// Reading what cron runs.
//
// A table is lines: comments, settings ("PATH=/usr/bin:/bin", "SHELL=..."),
// and jobs: five time fields, or one "@daily"-like word, then, in the
// system's tables only, the account it runs as, then the command. A "%" in
// the command ends it (what follows is its input). Debian's /etc/crontab
// starts the four folders of scripts through run-parts; those lines are the
// folders', whose scripts are read one by one instead.
//   17 * * * * root cd / && run-parts --report /etc/cron.hourly   → the folder's scripts
//   30 3 * * 0 root test -e /run/systemd/system || /usr/lib/x/y   → a shell line: /bin/sh runs it
//   @reboot    root /usr/local/bin/warm-cache --all              → /usr/local/bin/warm-cache
// A command with nothing for the shell to read is split into words and its
// program found on the table's PATH; any other runs in the table's SHELL.
//
// cron passes over a file in /etc/cron.d, and run-parts over a script,
// whose name holds other than letters, digits, "-" and "_" (a package
// manager's "foo.dpkg-old"), and run-parts over a script that isn't
// executable; such an item is listed as off.

#include "UninstallKit/CronJobs.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <map>

#include "Base/FolderNames.h"
#include "Base/Lines.h"
#include "DiskScanKit/Paths.h"

namespace tessel::CronJobs {

namespace {

// Larger than any real table.
constexpr long long maxTableBytes = 1 << 20;

constexpr std::array<std::pair<std::string_view, std::string_view>, 4> scriptFolders{
    {{"/etc/cron.hourly", "once an hour"}, {"/etc/cron.daily", "once a day"},
     {"/etc/cron.weekly", "once a week"}, {"/etc/cron.monthly", "once a month"}}};

bool isRunPartsName(std::string_view name) {
    return !name.empty() && name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-") ==
                                std::string_view::npos;
}

std::string when(std::string_view keyword) {
    static const std::map<std::string_view, std::string_view> words{
        {"@reboot", "when the system starts"}, {"@yearly", "once a year"}, {"@annually", "once a year"},
        {"@monthly", "once a month"},          {"@weekly", "once a week"}, {"@daily", "once a day"},
        {"@midnight", "once a day"},           {"@hourly", "once an hour"}};
    const auto found = words.find(keyword);
    return found != words.end() ? std::string(found->second) : "on the schedule " + std::string(keyword);
}

std::string_view nextField(std::string_view& rest) {
    rest = trimmed(rest);
    const std::size_t end = std::min(rest.find_first_of(" \t"), rest.size());
    const std::string_view field = rest.substr(0, end);
    rest = rest.substr(end);
    return field;
}

// The command up to its first "%" that no backslash makes plain.
std::string commandOf(std::string_view text) {
    std::string command;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\\' && at + 1 < text.size() && text[at + 1] == '%') command += text[++at];
        else if (text[at] == '%') break;
        else command += text[at];
    }
    return std::string(trimmed(command));
}

struct Table {
    std::string path;
    std::string label;          // what its jobs are called
    bool hasAccounts = true;    // the system's tables name the account each job runs as
    bool userOwned = false;
    bool skipsRunParts = false; // /etc/crontab, whose run-parts lines are the folders'
    bool nameIgnored = false;   // a file cron passes over for its name
};

void readTable(const StartupMachine& machine, const Table& table, std::vector<StartupItem>& items,
               std::vector<std::pair<std::string, std::string>>& unreadable) {
    const SmallFileRead file = machine.read(table.path, maxTableBytes);
    if (!file.text) {
        unreadable.emplace_back(table.path, file.failure);
        return;
    }
    std::string shell = "/bin/sh";
    std::vector<std::string> path{"/usr/bin", "/bin"};
    std::vector<StartupItem> found;
    std::size_t number = 0;
    forEachLine(*file.text, [&](std::string_view line) {
        ++number;
        line = trimmed(line, " \t\r");
        if (line.empty() || line.front() == '#') return;
        if (line.front() != '@' && line.front() != '*' && (line.front() < '0' || line.front() > '9')) {
            const std::size_t equals = line.find('=');
            if (equals == std::string_view::npos) return;
            std::string_view value = trimmed(line.substr(equals + 1));
            if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
                value = value.substr(1, value.size() - 2);
            const std::string_view name = trimmed(line.substr(0, equals));
            if (name == "SHELL") shell = std::string(value);
            if (name == "PATH") path = DesktopMachine::absoluteFolders(value);
            return;
        }
        std::string_view rest = line;
        std::string schedule(nextField(rest));
        if (!schedule.starts_with('@'))
            for (int field = 1; field < 5; ++field) schedule += " " + std::string(nextField(rest));
        const std::string account = table.hasAccounts ? std::string(nextField(rest)) : machine.userName;
        const std::string command = commandOf(rest);
        if (command.empty()) return;
        if (table.skipsRunParts && command.find("run-parts") != std::string::npos &&
            command.find("/etc/cron.") != std::string::npos)
            return;
        StartupItem item;
        item.path = table.path;
        item.label = table.label + "#" + std::to_string(number);
        item.kind = StartupItemKind::scheduledJob;
        item.source = StartupSources::cron;
        item.requiresAdministrator = !table.userOwned;
        item.disabled = table.nameIgnored;
        item.detail = "It runs as " + account + " " + when(schedule) + ".";
        if (table.nameIgnored)
            item.detail = "cron passes over files whose names hold other than letters, digits, \"-\" and \"_\", so it never runs.";
        if (const std::optional<std::vector<std::string>> words = simpleCommand(command))
            machine.describeCommand(item, *words, path);
        else
            machine.describeCommand(item, {shell, "-c", command}, path);
        item.changeCommand = table.userOwned ? "crontab -e" : "sudoedit " + table.path;
        found.push_back(std::move(item));
    });
    // A table of one job is that job.
    if (found.size() == 1) found.front().label = table.label;
    for (StartupItem& item : found) items.push_back(std::move(item));
}

} // namespace

std::optional<std::vector<std::string>> simpleCommand(std::string_view command) {
    if (command.find_first_of("|&;<>()$`\\\"'*?[]#~={}\n") != std::string_view::npos) return std::nullopt;
    std::vector<std::string> words;
    while (!trimmed(command).empty()) words.emplace_back(nextField(command));
    if (words.empty()) return std::nullopt;
    return words;
}

std::string userTable(const StartupMachine& machine) { return "/var/spool/cron/crontabs/" + machine.userName; }

std::vector<StartupItem> read(const StartupMachine& machine, std::vector<std::pair<std::string, std::string>>& unreadable) {
    std::vector<StartupItem> items;
    struct stat info {};
    if (lstat(machine.onDisk("/etc/crontab").c_str(), &info) == 0)
        readTable(machine, {"/etc/crontab", "crontab", true, false, true, false}, items, unreadable);
    for (const std::string& name : folderNames(machine.onDisk("/etc/cron.d")))
        if (!name.starts_with('.'))
            readTable(machine, {"/etc/cron.d/" + name, name, true, false, false, !isRunPartsName(name)}, items, unreadable);
    for (const auto& [folder, often] : scriptFolders) {
        for (const std::string& name : folderNames(machine.onDisk(std::string(folder)))) {
            if (name.starts_with('.')) continue; // .placeholder, which packages leave to keep the folder
            const std::string path = Paths::join(folder, name);
            StartupItem item;
            item.path = path;
            item.label = std::string(Paths::lastComponent(folder)) + "/" + name;
            item.kind = StartupItemKind::scheduledJob;
            item.source = StartupSources::cron;
            item.requiresAdministrator = true;
            item.program = path;
            const std::optional<std::string> target = machine.followLinks(path);
            const bool executable = target && stat(machine.onDisk(*target).c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
                                    (info.st_mode & 0111) != 0;
            item.bytes = machine.allocatedBytes(path);
            item.programExists = target.has_value();
            item.disabled = !executable || !isRunPartsName(name);
            if (!isRunPartsName(name))
                item.detail = "run-parts passes over names with other than letters, digits, \"-\" and \"_\", so it never runs.";
            else if (!executable)
                item.detail = "It is not executable, so run-parts passes over it.";
            else
                item.detail = "It runs " + std::string(often) + ", started by run-parts from " + std::string(folder) + ".";
            item.changeCommand = "sudo chmod " + std::string(executable ? "-x " : "+x ") + path;
            items.push_back(std::move(item));
        }
    }
    const std::string own = userTable(machine);
    // The user's table lies in a folder only cron may list: it is read where the account may, and passed over in silence elsewhere.
    if (!machine.userName.empty() && lstat(machine.onDisk(own).c_str(), &info) == 0 && access(machine.onDisk(own).c_str(), R_OK) == 0)
        readTable(machine, {own, "crontab of " + machine.userName, false, true, false, false}, items, unreadable);
    return items;
}

} // namespace tessel::CronJobs
