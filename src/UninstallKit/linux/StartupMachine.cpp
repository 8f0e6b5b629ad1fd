// The places of a startup item, read from the environment as the session
// that starts them would.

#include "UninstallKit/StartupMachine.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "DiskScanKit/Paths.h"
#include "UninstallKit/StartupProgram.h"

namespace tessel {

namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

StartupMachine StartupMachine::fromEnvironment(const std::string& root) {
    StartupMachine machine;
    static_cast<DesktopMachine&>(machine) = DesktopMachine::fromEnvironment(root);
    machine.configHome = Paths::xdgFolder("XDG_CONFIG_HOME", machine.home, ".config");
    machine.configDirs = absoluteFolders(environment("XDG_CONFIG_DIRS"));
    if (machine.configDirs.empty()) machine.configDirs = {"/etc/xdg"};
    machine.userId = static_cast<unsigned>(getuid());
    const std::string runtime = environment("XDG_RUNTIME_DIR");
    machine.runtimeDir = runtime.starts_with('/') ? runtime : "/run/user/" + std::to_string(machine.userId);
    const std::string desktops = environment("XDG_CURRENT_DESKTOP");
    for (std::size_t start = 0; start < desktops.size();) {
        const std::size_t colon = std::min(desktops.find(':', start), desktops.size());
        if (colon > start) machine.desktops.push_back(desktops.substr(start, colon - start));
        start = colon + 1;
    }
    machine.userName = environment("USER");
    if (machine.userName.empty()) machine.userName = environment("LOGNAME");
    if (machine.userName.empty())
        if (const passwd* account = getpwuid(getuid()); account != nullptr && account->pw_name != nullptr)
            machine.userName = account->pw_name;
    return machine;
}

std::vector<std::string> StartupMachine::systemDataFolders() const {
    return dataFolders.empty() ? dataFolders : std::vector<std::string>(dataFolders.begin() + 1, dataFolders.end());
}

SmallFileRead StartupMachine::read(const std::string& path, long long limit) const {
    const std::optional<std::string> target = followLinks(path);
    if (!target) return {std::nullopt, path + " is a link that leads nowhere, or to itself"};
    return readSmallFile(onDisk(*target), limit);
}

std::int64_t StartupMachine::allocatedBytes(const std::string& path) const {
    struct stat info {};
    const std::optional<std::string> target = followLinks(path);
    if (!target || stat(onDisk(*target).c_str(), &info) != 0) return 0;
    return static_cast<std::int64_t>(info.st_blocks) * 512;
}

std::optional<std::string> StartupMachine::danglingDestination(const std::string& path) const {
    struct stat info {};
    if (lstat(onDisk(path).c_str(), &info) != 0 || !S_ISLNK(info.st_mode) || followLinks(path)) return std::nullopt;
    std::string target(4096, '\0');
    const ssize_t length = readlink(onDisk(path).c_str(), target.data(), target.size());
    if (length <= 0) return std::nullopt;
    target.resize(static_cast<std::size_t>(length));
    return target;
}

StartupMachine::Located StartupMachine::locate(const std::string& command, const std::vector<std::string>& folders) const {
    std::string path;
    if (command.starts_with('/')) path = Paths::standardized(command);
    else if (command.starts_with("~/")) path = Paths::join(home, command.substr(2));
    else if (command.find('/') != std::string::npos || command.empty()) return {command, Presence::unknown, std::nullopt};
    else {
        for (const std::string& folder : folders)
            if (struct stat info {}; lstat(onDisk(Paths::join(folder, command)).c_str(), &info) == 0) {
                path = Paths::join(folder, command);
                break;
            }
        if (path.empty()) return {command, Presence::missing, std::nullopt};
    }
    Located located{path, Presence::missing, danglingDestination(path)};
    if (const std::optional<std::string> target = followLinks(path)) located.presence = presenceOf(onDisk(*target));
    else if (struct stat info {}; lstat(onDisk(path).c_str(), &info) != 0) located.presence = presenceOf(onDisk(path));
    return located;
}

void StartupMachine::describeCommand(StartupItem& item, const std::vector<std::string>& words,
                                     const std::vector<std::string>& folders) const {
    const std::vector<std::string> command = StartupProgram::withoutEnv(words);
    if (command.empty()) return;
    item.arguments.assign(command.begin() + 1, command.end());
    if (std::optional<std::string> app = StartupProgram::flatpakApp(command)) item.declaredApps.push_back(*app);
    std::string named = command.front();
    if (StartupProgram::isInterpreter(named))
        if (std::optional<std::string> script = StartupProgram::target(item.arguments)) named = *script;
    const Located program = locate(named, folders);
    item.program = program.path;
    item.programExists = program.presence != Presence::missing;
    std::string sentence;
    if (program.danglingDestination)
        sentence = "Its program " + program.path + " is a link to " + *program.danglingDestination + ", which is not there.";
    else if (!item.programExists)
        sentence = "Its program " + program.path + " is missing.";
    if (!sentence.empty()) item.detail = item.detail ? *item.detail + " " + sentence : sentence;
}

} // namespace tessel
