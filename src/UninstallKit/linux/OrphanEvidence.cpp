// Gathering what a Linux machine knows of its software for the orphan hunter.
//
// What explains a leftover's name: a package with files on disk (by its name,
// and by the reverse-DNS names of the files it ships, such as
// /usr/share/dbus-1/services/org.example.Tool.service), a Flatpak app or
// runtime of either installation, a snap, a program on the PATH. A package
// removed with its settings kept is noted apart: what it left in /etc stays
// on purpose until it is purged, while what it left in a home is anyone's to
// clear.
//
// What is known to be gone: the packages dpkg's log says were removed or
// purged and that are not back, the apps whose desktop entry runs a program
// that is no longer there (an AppImage deleted with its entry left behind),
// and apps that lie in the Trash. Their names are what lets a plain-named
// folder such as ~/.config/spotify be called a leftover.

#include "UninstallKit/OrphanEvidence.h"

#include <sys/stat.h>

#include "Base/AsciiCase.h"
#include "Base/FolderNames.h"
#include "Base/Lines.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/FoundApps.h"
#include "UninstallKit/ReverseDns.h"
#include "UninstallKit/SandboxedApps.h"
#include "UninstallKit/SystemdUnitFile.h"

namespace tessel::OrphanEvidence {

namespace {

constexpr std::int64_t largestLog = 64ll << 20;

std::string withoutArchitecture(std::string_view package) { return std::string(package.substr(0, package.find(':'))); }

// "org.gnome.Shell.SearchProvider.ini" gives org.gnome.shell.searchprovider.ini, org.gnome.shell.searchprovider and
// org.gnome.shell: every reverse-DNS name of three pieces or more a file's name begins with.
void addReverseDnsStems(std::string_view fileName, std::unordered_set<std::string>& names) {
    if (std::ranges::count(fileName, '.') < 2) return;
    const std::string lower = asciiLower(fileName);
    if (!ReverseDns::isTopLevelDomain(std::string_view(lower).substr(0, lower.find('.')))) return;
    for (std::size_t dot = lower.find('.'); dot != std::string::npos; dot = lower.find('.', dot + 1))
        if (std::count(lower.begin(), lower.begin() + static_cast<std::ptrdiff_t>(dot), '.') >= 2) names.insert(lower.substr(0, dot));
    names.insert(lower);
}

bool isGone(const DesktopMachine& machine, const InstalledApp& app) {
    if (app.programPath || app.exec.empty()) return false;
    const std::string program = AppCatalog::programOf(app.exec);
    struct stat info {};
    return program.starts_with('/') && ::lstat(machine.onDisk(program).c_str(), &info) != 0;
}

} // namespace

std::set<std::string> removedInLog(std::string_view logText) {
    // "2024-03-01 10:00:00 remove spotify-client:amd64 1:1.2 <none>"
    std::set<std::string> removed;
    for (std::string_view line : linesOf(logText)) {
        const std::size_t action = line.find(' ', line.find(' ') + 1);
        if (action == std::string_view::npos) continue;
        const std::string_view rest = line.substr(action + 1);
        for (std::string_view verb : {"remove ", "purge "})
            if (rest.starts_with(verb)) {
                const std::string_view package = rest.substr(verb.size(), rest.find(' ', verb.size()) - verb.size());
                if (!package.empty()) removed.insert(withoutArchitecture(package));
            }
    }
    return removed;
}

std::optional<std::string> startupProgram(const DesktopMachine& machine, const std::string& path) {
    std::vector<std::string> command;
    if (path.ends_with(".desktop")) {
        const DesktopEntry::Parse parsed = DesktopEntry::read(path);
        if (!parsed.entry) return std::nullopt;
        if (const std::optional<DesktopEntry::Command> exec = parsed.entry->exec()) command = exec->arguments;
    } else if (path.ends_with(".service")) {
        const SmallFileRead read = readSmallFile(path, SystemdUnitFile::maxFileBytes);
        if (!read.text) return std::nullopt;
        SystemdUnitFile unit;
        unit.apply(*read.text);
        const std::vector<std::string> starts = unit.values("Service", "ExecStart");
        try {
            if (const auto split = starts.empty() ? std::nullopt : SystemdUnitFile::splitCommand(starts.front()))
                command = {split->program};
        } catch (const std::invalid_argument&) {
            return std::nullopt;
        }
    }
    if (command.empty()) return std::nullopt;
    return machine.program(AppCatalog::programOf(command));
}

OrphanHunter::Knowledge ofLinux(const DesktopMachine& machine, const std::vector<InstalledApp>& apps, const PathOwners* owners,
                                const std::vector<PackageReceipt>& packages, RunningPrograms running) {
    OrphanHunter::Knowledge knowledge;
    knowledge.running = std::move(running);
    for (const InstalledApp& app : apps) {
        const bool trashed = LeftoverOwner::isInTrash(app.bundlePath);
        if (isGone(machine, app)) {
            const std::string evidence = "Its desktop entry runs " + AppCatalog::programOf(app.exec) + ", which is no longer there.";
            knowledge.removed[asciiLower(app.desktopId)] = {app.name, evidence};
            knowledge.removed[asciiLower(app.name)] = {app.name, evidence};
            continue;
        }
        if (trashed) knowledge.removed[asciiLower(app.name)] = {app.name, "The app itself lies in the Trash."};
        knowledge.installedApps.push_back(app);
    }

    std::set<std::string> present;
    for (const PackageReceipt& package : packages) {
        // The state's second letter: "c" for configuration files only, "n" for not installed.
        const char state = package.state.size() >= 2 ? package.state[1] : 'n';
        if (state == 'c') {
            knowledge.keptConfigurations.insert(asciiLower(package.package));
        } else if (state != 'n') {
            knowledge.softwareNames.insert(asciiLower(package.package));
            present.insert(package.package);
        }
    }
    if (owners != nullptr)
        owners->forEachPath([&](std::string_view path) { addReverseDnsStems(path.substr(path.rfind('/') + 1), knowledge.softwareNames); });
    for (const FlatpakApp& flatpak : SandboxedApps::flatpaks(machine.root, machine.dataHome))
        knowledge.softwareNames.insert(asciiLower(flatpak.id));
    for (const std::string& runtimes : {machine.onDisk("/var/lib/flatpak/runtime"), machine.dataHome + "/flatpak/runtime"})
        for (const std::string& runtime : folderNames(runtimes)) knowledge.softwareNames.insert(asciiLower(runtime));
    for (const SnapApp& snap : SandboxedApps::snaps(machine.root)) knowledge.softwareNames.insert(asciiLower(snap.name));
    for (const std::string& folder : machine.programFolders)
        for (const std::string& program : folderNames(machine.onDisk(folder))) knowledge.softwareNames.insert(asciiLower(program));

    for (const char* log : {"/var/log/dpkg.log", "/var/log/dpkg.log.1"}) {
        const SmallFileRead read = readSmallFile(machine.onDisk(log), largestLog);
        if (!read.text) continue;
        for (const std::string& package : removedInLog(*read.text))
            if (!present.contains(package))
                knowledge.removed.emplace(asciiLower(package),
                                          OrphanHunter::Knowledge::Removed{package, "The package manager's log says " + package + " was removed."});
    }
    knowledge.programOf = [machine](const std::string& path) { return startupProgram(machine, path); };
    return knowledge;
}

std::vector<OrphanItem> findOnLinux(const DesktopMachine& machine, const std::string& cacheFolder, std::int64_t now,
                                    const std::function<void(std::size_t, std::size_t)>& progress,
                                    const std::function<bool()>& isCancelled) {
    RunningPrograms running = RunningPrograms::inThisSession(machine.onDisk("/proc"));
    const FoundApps::MachinePackages packages = FoundApps::MachinePackages::read(machine.root, cacheFolder);
    std::vector<InstalledApp> apps;
    for (FoundApp& found : FoundApps::onMachine(machine, packages, running).apps) apps.push_back(std::move(found.app));
    const OrphanHunter hunter(
        ofLinux(machine, apps, packages.view().owners, packages.receipts, std::move(running)),
        ResidueLocation::onLinux(ResidueLocation::LinuxFolders::fromEnvironment(machine.home, machine.dataHome, machine.root)),
        [](const std::string& path) { return DiskScanner::allocatedSize(path); });
    return hunter.find(now, progress, isCancelled);
}

} // namespace tessel::OrphanEvidence
