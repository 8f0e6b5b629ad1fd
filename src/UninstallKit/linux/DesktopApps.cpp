// Listing a Linux machine's apps from its desktop entries.
//
// Each data folder holds an "applications" folder, the user's own
// ($XDG_DATA_HOME) first, then those of $XDG_DATA_DIRS in order. An entry is
// known by its desktop ID, its path below "applications" with "/" made "-":
// applications/kde4/okular.desktop is kde4-okular.desktop. The first file
// with an ID is the one that counts, so a user's copy in ~/.local/share
// replaces the system's, and a user's copy with Hidden=true removes it.
//
// Of the entries that count, the apps are those of type Application whose
// TryExec program, when they name one, is there to run. NoDisplay=true apps
// are installed apps all the same, kept and marked as not shown.
//
// An app's program is the first word of its Exec (or what "env A=1 prog"
// runs), looked for as the shell would, on PATH. Flatpak and snap apps run
// through a launcher, so their entry, not the launcher, stands for them.
//
// A file that can't be read or makes no sense is reported and passed over:
// it takes no ID, so the system's entry of the same ID still shows the app
// that is installed.
//
// Flatpak exports its entries as links into its deployments, so entries are
// read through links, each absolute target taken on the described machine
// rather than this one.
//
// Worked example, XDG_DATA_DIRS=/usr/local/share:/usr/share:
//   ~/.local/share/applications/viewer.desktop    Hidden=true    takes "viewer.desktop", lists nothing
//   /usr/share/applications/viewer.desktop        Name=Viewer    hidden by the user's file
//   /usr/share/applications/kde4/okular.desktop   Name=Okular    "kde4-okular.desktop": listed

#include "UninstallKit/DesktopApps.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>

#include "Base/AsciiCase.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/StartupProgram.h"

namespace tessel {

namespace {

constexpr int maxLinks = 16;
constexpr int maxFolderDepth = 8;

struct EntryFile {
    std::string id;
    std::string path; // on the machine
};

// A folder that is not there is no fault: most data folders hold no applications folder.
void listEntries(const DesktopMachine& machine, const std::string& folder, const std::string& idPrefix, int depth,
                 std::vector<EntryFile>& found, DesktopAppListing& listed) {
    const std::string local = machine.onDisk(folder);
    DIR* listing = opendir(local.c_str());
    if (listing == nullptr) {
        if (errno != ENOENT && errno != ENOTDIR)
            listed.unreadable.emplace_back(folder, "opendir(" + local + "): " + std::strerror(errno));
        return;
    }
    std::vector<std::pair<std::string, unsigned char>> items;
    while (const dirent* item = readdir(listing)) {
        const std::string name = item->d_name;
        if (name != "." && name != "..") items.emplace_back(name, item->d_type);
    }
    closedir(listing);
    std::sort(items.begin(), items.end());
    for (const auto& [name, type] : items) {
        const std::string path = Paths::join(folder, name);
        unsigned char kind = type;
        if (kind == DT_UNKNOWN) {
            struct stat info {};
            if (lstat(machine.onDisk(path).c_str(), &info) != 0) continue;
            kind = S_ISDIR(info.st_mode) ? DT_DIR : S_ISLNK(info.st_mode) ? DT_LNK : DT_REG;
        }
        if (kind == DT_DIR && depth < maxFolderDepth) listEntries(machine, path, idPrefix + name + "-", depth + 1, found, listed);
        else if (kind != DT_DIR && name.ends_with(".desktop")) found.push_back({idPrefix + name, path});
    }
}

bool endsWithAppImage(std::string_view name) { return name.size() > 9 && endsWithIgnoringAsciiCase(name, ".appimage"); }

std::string sourceOf(const std::map<std::string, std::string>& extras, const std::vector<std::string>& exec) {
    if (extras.contains("X-Flatpak")) return "flatpak";
    if (extras.contains("X-SnapInstanceName")) return "snap";
    if (extras.contains("X-AppImage-Version")) return "appimage";
    if (!exec.empty() && endsWithAppImage(Paths::lastComponent(AppCatalog::programOf(exec)))) return "appimage";
    return "other";
}

} // namespace

std::vector<std::string> DesktopMachine::absoluteFolders(std::string_view list) {
    std::vector<std::string> folders;
    std::string_view rest = list;
    while (!rest.empty()) {
        const std::size_t colon = rest.find(':');
        const std::string_view folder = rest.substr(0, colon);
        if (folder.starts_with('/')) folders.push_back(Paths::standardized(folder));
        rest = colon == std::string_view::npos ? std::string_view{} : rest.substr(colon + 1);
    }
    return folders;
}

DesktopMachine DesktopMachine::fromEnvironment(const std::string& root) {
    DesktopMachine machine;
    machine.root = root.empty() ? "/" : root;
    machine.home = Paths::homeFolder();
    machine.dataHome = Paths::xdgFolder("XDG_DATA_HOME", machine.home, ".local/share");
    machine.dataFolders.push_back(machine.dataHome);
    const char* dataDirs = std::getenv("XDG_DATA_DIRS");
    std::vector<std::string> system = absoluteFolders(dataDirs != nullptr ? dataDirs : "");
    if (system.empty()) system = {"/usr/local/share", "/usr/share"};
    machine.dataFolders.insert(machine.dataFolders.end(), system.begin(), system.end());
    const char* path = std::getenv("PATH");
    machine.programFolders = absoluteFolders(path != nullptr && *path != '\0' ? path : "/usr/local/bin:/usr/bin:/bin");
    machine.locale = MessagesLocale::fromEnvironment();
    return machine;
}

std::string DesktopMachine::onDisk(const std::string& path) const {
    if (root == "/" || Paths::isWithin(path, home) || Paths::isWithin(path, dataHome)) return path;
    return root + path;
}

std::optional<std::string> DesktopMachine::followLinks(const std::string& path) const {
    std::string at = path;
    for (int hop = 0; hop <= maxLinks; ++hop) {
        const std::string local = onDisk(at);
        struct stat info {};
        if (lstat(local.c_str(), &info) != 0) return std::nullopt;
        if (!S_ISLNK(info.st_mode)) return at;
        std::string target(static_cast<std::size_t>(info.st_size > 0 ? info.st_size : 4096) + 1, '\0');
        const ssize_t length = readlink(local.c_str(), target.data(), target.size());
        if (length <= 0 || static_cast<std::size_t>(length) >= target.size()) return std::nullopt;
        target.resize(static_cast<std::size_t>(length));
        const std::string_view folder = std::string_view(at).substr(0, at.rfind('/'));
        at = target.starts_with('/') ? Paths::standardized(target)
                                     : Paths::standardized(std::string(folder) + "/" + target);
    }
    return std::nullopt;
}

std::optional<std::string> DesktopMachine::program(const std::string& command) const {
    const auto executable = [this](const std::string& path) {
        const std::optional<std::string> target = followLinks(path);
        struct stat info {};
        return target && stat(onDisk(*target).c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
               (info.st_mode & 0111) != 0;
    };
    if (command.empty()) return std::nullopt;
    if (command.find('/') != std::string::npos) {
        if (!command.starts_with('/')) return std::nullopt;
        const std::string path = Paths::standardized(command);
        return executable(path) ? std::optional(path) : std::nullopt;
    }
    for (const std::string& folder : programFolders) {
        const std::string path = Paths::join(folder, command);
        if (executable(path)) return path;
    }
    return std::nullopt;
}

namespace AppCatalog {

std::string programOf(const std::vector<std::string>& exec) {
    return exec.empty() ? std::string() : StartupProgram::withoutEnv(exec).front();
}

DesktopAppListing installedApps(const DesktopMachine& machine) {
    DesktopAppListing listing;
    std::set<std::string> takenIds;
    for (const std::string& dataFolder : machine.dataFolders) {
        std::vector<EntryFile> files;
        listEntries(machine, Paths::join(dataFolder, "applications"), "", 0, files, listing);
        for (const EntryFile& file : files) {
            if (takenIds.contains(file.id)) continue;
            const std::optional<std::string> target = machine.followLinks(file.path);
            if (!target) {
                listing.unreadable.emplace_back(file.path, "a link that leads nowhere");
                continue;
            }
            DesktopEntry::Parse parsed = DesktopEntry::read(machine.onDisk(*target));
            if (!parsed.entry) {
                listing.unreadable.emplace_back(file.path, parsed.failure);
                continue;
            }
            takenIds.insert(file.id);
            const DesktopEntry& entry = *parsed.entry;
            if (entry.isHidden() || entry.type() != "Application") continue;
            if (const std::optional<std::string> tryExec = entry.tryExec(); tryExec && !machine.program(*tryExec))
                continue;
            InstalledApp app;
            app.desktopId = file.id;
            app.entryPath = file.path;
            app.bundleIdentifier = file.id.ends_with(".desktop") ? file.id.substr(0, file.id.size() - 8) : file.id;
            app.name = entry.name(machine.locale).value_or(*app.bundleIdentifier);
            app.isShown = !entry.isNotShown();
            app.icon = entry.icon();
            if (const std::optional<DesktopEntry::Command> command = entry.exec()) app.exec = command->arguments;
            if (!app.exec.empty()) app.programPath = machine.program(programOf(app.exec));
            const std::map<std::string, std::string> extras = entry.extras();
            app.source = sourceOf(extras, app.exec);
            for (const char* key : {"X-Flatpak", "X-SnapInstanceName"})
                if (const auto named = extras.find(key); named != extras.end() && !named->second.empty()) app.package = named->second;
            if (const auto version = extras.find("X-AppImage-Version"); version != extras.end() && !version->second.empty())
                app.version = version->second;
            const bool runsThroughLauncher = app.source == "flatpak" || app.source == "snap";
            app.bundlePath = !runsThroughLauncher && app.programPath ? *app.programPath : app.entryPath;
            listing.apps.push_back(std::move(app));
        }
    }
    std::stable_sort(listing.apps.begin(), listing.apps.end(), nameOrder);
    return listing;
}

std::optional<std::string> schemeHandler(const std::vector<InstalledApp>& apps, const DesktopMachine& machine,
                                         std::string_view scheme) {
    const std::string wanted = "x-scheme-handler/" + std::string(scheme);
    for (const InstalledApp& app : apps) {
        if (!app.entryPath.ends_with(".desktop")) continue;
        const std::optional<std::string> target = machine.followLinks(app.entryPath);
        if (!target) continue;
        const DesktopEntry::Parse parsed = DesktopEntry::read(machine.onDisk(*target));
        if (!parsed.entry) continue;
        const std::string types = parsed.entry->string("MimeType").value_or("");
        for (std::size_t start = 0; start <= types.size();) {
            const std::size_t end = std::min(types.find(';', start), types.size());
            if (types.compare(start, end - start, wanted) == 0) return app.desktopId;
            start = end + 1;
        }
    }
    return std::nullopt;
}

} // namespace AppCatalog
} // namespace tessel
