// What a Linux machine keeps outside the home that an ordinary scan of the
// home does not explain, row by row. Each row belongs to a program that keeps
// the system whole (a package manager, the journal, Flatpak, snapd, Docker),
// so Tessel never moves one itself: it says what the program's own command
// is, for an administrator to run.
//
// Kernels: each release has /usr/lib/modules/RELEASE (older systems:
// /lib/modules) and /boot/vmlinuz-RELEASE with its initrd, System.map and
// config. The running release and the newest are kept; every other one is a
// row. Releases are ordered as the package manager orders versions, so
// 6.1.0-10-amd64 is newer than 6.1.0-9-amd64. Where the running release
// can't be told (a machine described under another root), only the newest
// is kept.
//
// Flatpak runtimes: an app's metadata names its runtime and SDK
// ("runtime=org.gnome.Platform/x86_64/45"), and an app's or a runtime's
// metadata names the extension points it takes ("[Extension
// org.freedesktop.Platform.GL]"). A runtime is in use when an app names it,
// or its ID extends an ID or extension point in use
// ("org.freedesktop.Platform.GL.default", "org.gimp.GIMP.Locale"); what a
// runtime in use takes is in use too, until nothing changes. The rest is
// what `flatpak uninstall --unused` would take. Their files are hard links
// into the installation's repository, so moving the folder would free
// nothing: only Flatpak removes them.
//
// Snaps: snapd keeps each revision's image as /var/lib/snapd/snaps/NAME_REV.snap
// and mounts the one in use at /snap/NAME/current; the others are kept for a
// revert.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "Base/FolderNames.h"
#include "Base/Lines.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/Paths.h"
#include "SystemStatsKit/MountTable.h"
#include "TrashKit/RemovalSheet.h"
#include "UninstallKit/DebianVersion.h"
#include "UninstallKit/DockerAnswers.h"
#include "UninstallKit/SandboxedApps.h"
#include "UninstallKit/SystemDataFinder.h"
#include "linux/KeyFile.h"

namespace tessel {

namespace {

constexpr std::int64_t metadataLimit = 1 << 20;

bool exists(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0;
}

std::int64_t allocated(const std::string& path) {
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 ? static_cast<std::int64_t>(info.st_blocks) * 512 : 0;
}

std::optional<std::string> linkTarget(const std::string& path) {
    std::string target(4096, '\0');
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    if (length <= 0 || static_cast<std::size_t>(length) >= target.size()) return std::nullopt;
    target.resize(static_cast<std::size_t>(length));
    return target;
}

// The names of the [Extension NAME] groups of a Flatpak metadata file.
std::vector<std::string> extensionPoints(const std::string& metadata) {
    std::vector<std::string> names;
    forEachLine(metadata, [&](std::string_view line) {
        constexpr std::string_view opening = "[Extension ";
        if (line.starts_with(opening) && line.ends_with(']')) names.emplace_back(line.substr(opening.size(), line.size() - opening.size() - 1));
    });
    return names;
}

bool extends(const std::string& id, const std::string& point) { return id == point || id.starts_with(point + "."); }

// A rotated log: "syslog.1", "kern.log.2.gz", "dpkg.log.old", "auth.log-20240101".
bool isRotated(const std::string& name) {
    for (const char* ending : {".gz", ".xz", ".bz2", ".zst", ".old"})
        if (name.ends_with(ending)) return true;
    const std::size_t mark = name.find_last_of(".-");
    if (mark == std::string::npos || mark + 1 == name.size()) return false;
    const std::string tail = name.substr(mark + 1);
    const bool digits = std::ranges::all_of(tail, [](char c) { return c >= '0' && c <= '9'; });
    return digits && (name[mark] == '.' || tail.size() == 8);
}

} // namespace

std::vector<SystemDataRow> SystemDataFinder::packageCaches(std::vector<std::string>& unreadable) const {
    const std::string why = "Packages the package manager downloaded to install them. They are installed now, and "
                            "downloaded again if ever needed.";
    std::vector<SystemDataRow> rows;
    for (const auto& [id, title, path, command] :
         {std::tuple{"aptCache", "Downloaded packages (APT)", "/var/cache/apt/archives", "sudo apt-get clean"},
          std::tuple{"dnfCache", "Downloaded packages (DNF)", "/var/cache/dnf", "sudo dnf clean packages"},
          std::tuple{"pacmanCache", "Downloaded packages (pacman)", "/var/cache/pacman/pkg", "sudo pacman -Sc"}})
        if (std::optional<SystemDataRow> row = measuredRow({id, title, system(path), 0, false, command, why}, unreadable))
            rows.push_back(std::move(*row));
    return rows;
}

std::vector<SystemDataRow> SystemDataFinder::logs(std::vector<std::string>& unreadable) const {
    std::vector<SystemDataRow> rows;
    SystemDataRow journal{"journal", "The system journal", system("/var/log/journal"), 0, false,
                          "sudo journalctl --vacuum-time=4weeks",
                          "Everything the system and its services logged. The journal trims itself to its limits; "
                          "an administrator can trim it further."};
    if (exists(journal.path)) {
        std::vector<std::string> unread;
        if (std::optional<SystemDataRow> row = measuredRow(journal, unread); row && unread.empty()) {
            rows.push_back(std::move(*row));
        } else if (const std::optional<std::string> usage = settings_.journalUsage ? settings_.journalUsage() : std::nullopt;
                   usage && journalBytes(*usage)) {
            // What this user can't read the journal itself can tell.
            journal.bytes = *journalBytes(*usage);
            if (journal.bytes > 0) rows.push_back(std::move(journal));
        } else {
            unreadable.insert(unreadable.end(), unread.begin(), unread.end());
            if (row) rows.push_back(std::move(*row));
        }
    }
    std::int64_t rotated = 0;
    const std::string logFolder = system("/var/log");
    // An explicit stack, three folders down, the journal measured above.
    std::vector<std::pair<std::string, int>> stack;
    if (exists(logFolder)) stack.emplace_back(logFolder, 0);
    while (!stack.empty()) {
        const auto [folder, depth] = stack.back();
        stack.pop_back();
        if (::access(folder.c_str(), R_OK | X_OK) != 0) {
            unreadable.push_back(folder);
            continue;
        }
        for (const std::string& name : folderNames(folder)) {
            const std::string path = folder + "/" + name;
            struct stat info {};
            if (::lstat(path.c_str(), &info) != 0 || path == journal.path) continue;
            if (S_ISDIR(info.st_mode) && depth < 3) stack.emplace_back(path, depth + 1);
            else if (S_ISREG(info.st_mode) && isRotated(name)) rotated += static_cast<std::int64_t>(info.st_blocks) * 512;
        }
    }
    if (rotated > 0)
        rows.push_back({"rotatedLogs", "Old logs", logFolder, rotated, false,
                        "sudo find /var/log -type f -regextype posix-extended -regex '.*([.][0-9]+|[.](gz|xz|bz2|zst|old)|-[0-9]{8})' -delete",
                        "Logs set aside when newer ones were started, kept for a few weeks in case something needs looking into."});
    const std::string dumps = system("/var/lib/systemd/coredump");
    if (std::optional<SystemDataRow> row = measuredRow({"coreDumps", "Core dumps", dumps, 0, false, "sudo rm /var/lib/systemd/coredump/*",
                                                        "What programs held in memory when they crashed, kept for a developer "
                                                        "to look into. The system removes them after a while."},
                                                       unreadable))
        rows.push_back(std::move(*row));
    return rows;
}

std::vector<SystemDataRow> SystemDataFinder::kernels(std::vector<std::string>& unreadable) const {
    std::string modules = system("/usr/lib/modules");
    if (!exists(modules)) modules = system("/lib/modules");
    const std::string boot = system("/boot");
    std::set<std::string> releases;
    for (const std::string& name : folderNames(modules)) releases.insert(name);
    for (const std::string& name : folderNames(boot))
        if (name.starts_with("vmlinuz-")) releases.insert(name.substr(8));
    if (releases.size() < 2) return {};
    const std::string newest = *std::ranges::max_element(
        releases, [](const std::string& a, const std::string& b) { return compareDebianVersionPart(a, b) < 0; });
    const std::optional<std::string> running = settings_.kernelRelease ? settings_.kernelRelease() : std::nullopt;
    const bool debian = exists(system("/var/lib/dpkg/status"));
    const bool fedora = exists(system("/var/lib/dnf")) || exists(system("/usr/bin/dnf"));
    std::vector<SystemDataRow> rows;
    for (const std::string& release : releases) {
        if (release == newest || release == running) continue;
        SystemDataRow row;
        row.id = "kernel:" + release;
        row.title = "Linux " + release + ", not in use";
        row.path = exists(modules + "/" + release) ? modules + "/" + release : boot + "/vmlinuz-" + release;
        row.howToRemove = debian ? "sudo apt purge linux-image-" + release
                          : fedora ? "sudo dnf remove kernel-core-" + release
                                   : std::string();
        row.note = "A kernel the computer no longer starts with: a newer one is installed. Keep one older kernel in case the newest fails to start.";
        if (exists(modules + "/" + release)) {
            const Measure measure = settings_.measure(modules + "/" + release);
            unreadable.insert(unreadable.end(), measure.unreadable.begin(), measure.unreadable.end());
            row.bytes = measure.bytes;
        }
        for (const char* prefix : {"vmlinuz-", "initrd.img-", "System.map-", "config-"}) row.bytes += allocated(boot + "/" + prefix + release);
        row.bytes += allocated(boot + "/initramfs-" + release + ".img");
        rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<SystemDataRow> SystemDataFinder::flatpakRuntimes(std::vector<std::string>& unreadable) const {
    struct Runtime {
        std::string id, arch, branch, deploy, metadata;
        bool perUser = false;
    };
    std::vector<Runtime> runtimes;
    for (const auto& [installation, perUser] : {std::pair{system("/var/lib/flatpak"), false}, std::pair{settings_.dataHome + "/flatpak", true}})
        for (const std::string& id : folderNames(installation + "/runtime"))
            for (const std::string& arch : folderNames(installation + "/runtime/" + id))
                for (const std::string& branch : folderNames(installation + "/runtime/" + id + "/" + arch)) {
                    const std::string branchFolder = installation + "/runtime/" + id + "/" + arch + "/" + branch;
                    const std::optional<std::string> active = linkTarget(branchFolder + "/active");
                    if (!active || active->find('/') != std::string::npos) continue;
                    const SmallFileRead metadata = readSmallFile(branchFolder + "/" + *active + "/metadata", metadataLimit);
                    runtimes.push_back({id, arch, branch, branchFolder + "/" + *active, metadata.text.value_or(""), perUser});
                }
    // Extension points are taken by an ID equal to them or below them; an app or
    // a runtime in use lends its use only to what lies below its ID (its
    // .Locale, .Debug), never to another branch of itself.
    std::set<std::string> refs, points, bases;
    for (const FlatpakApp& app : SandboxedApps::flatpaks(settings_.root == "/" ? "" : settings_.root, settings_.dataHome)) {
        const SmallFileRead metadata = readSmallFile(app.deployPath + "/metadata", metadataLimit);
        bases.insert(app.id);
        if (!metadata.text) continue;
        for (const char* key : {"runtime", "sdk"})
            if (std::optional<std::string> ref = keyFileValue(*metadata.text, "Application", key)) refs.insert(*ref);
        for (std::string& point : extensionPoints(*metadata.text)) points.insert(std::move(point));
    }
    std::vector<bool> used(runtimes.size(), false);
    for (bool changed = true; changed;) {
        changed = false;
        for (std::size_t i = 0; i < runtimes.size(); ++i) {
            const Runtime& runtime = runtimes[i];
            if (used[i]) continue;
            const bool named = refs.contains(runtime.id + "/" + runtime.arch + "/" + runtime.branch);
            const bool extension = std::ranges::any_of(points, [&](const std::string& point) { return extends(runtime.id, point); }) ||
                                   std::ranges::any_of(bases, [&](const std::string& base) { return runtime.id.starts_with(base + "."); });
            if (!named && !extension) continue;
            used[i] = changed = true;
            bases.insert(runtime.id);
            for (std::string& point : extensionPoints(runtime.metadata)) points.insert(std::move(point));
        }
    }
    std::vector<SystemDataRow> rows;
    for (std::size_t i = 0; i < runtimes.size(); ++i) {
        if (used[i]) continue;
        const Runtime& runtime = runtimes[i];
        SystemDataRow row{"flatpakRuntime:" + runtime.id + "/" + runtime.arch + "/" + runtime.branch,
                          "Flatpak runtime " + runtime.id + " " + runtime.branch + ", which no installed app uses",
                          runtime.deploy, 0, false,
                          runtime.perUser ? "flatpak uninstall --user --unused" : "sudo flatpak uninstall --system --unused",
                          "What Flatpak apps of an older version or a removed app ran on. Its files are shared with "
                          "Flatpak's store, so only Flatpak can free their space."};
        const Measure measure = settings_.measure(row.path);
        unreadable.insert(unreadable.end(), measure.unreadable.begin(), measure.unreadable.end());
        row.bytes = measure.bytes;
        rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<SystemDataRow> SystemDataFinder::snapRevisions(std::vector<std::string>&) const {
    std::map<std::string, std::string> current;
    for (const SnapApp& snap : SandboxedApps::snaps(settings_.root == "/" ? "" : settings_.root))
        current[snap.name] = std::string(Paths::lastComponent(snap.path));
    std::vector<SystemDataRow> rows;
    const std::string images = system("/var/lib/snapd/snaps");
    for (const std::string& name : folderNames(images)) {
        const std::size_t cut = name.rfind('_');
        if (!name.ends_with(".snap") || cut == std::string::npos || cut == 0) continue;
        const std::string snap = name.substr(0, cut), revision = name.substr(cut + 1, name.size() - cut - 6);
        const auto inUse = current.find(snap);
        if (inUse == current.end() || inUse->second == revision) continue;
        rows.push_back({"snap:" + snap + "_" + revision, snap + ", revision " + revision + ", not in use", images + "/" + name,
                        allocated(images + "/" + name), false, "sudo snap remove " + snap + " --revision=" + revision,
                        "An earlier version of the snap, kept so that it can be reverted to."});
    }
    return rows;
}

std::vector<SystemDataRow> SystemDataFinder::containers() const {
    std::vector<SystemDataRow> rows;
    if (!settings_.containerUsage) return rows;
    // Podman run by a user keeps its storage in the user's data folder.
    const std::string podman = ::geteuid() == 0 ? "/var/lib/containers/storage" : settings_.dataHome + "/containers/storage";
    for (const auto& [program, store] : {std::pair{std::string("docker"), std::string("/var/lib/docker")}, std::pair{std::string("podman"), podman}})
        if (const std::optional<std::string> lines = settings_.containerUsage(program)) {
            std::vector<SystemDataRow> found = containerRows(program, *lines, store);
            std::ranges::move(found, std::back_inserter(rows));
        }
    return rows;
}

std::vector<SystemDataRow> SystemDataFinder::containerRows(const std::string& program, const std::string& lines, const std::string& store) {
    const std::string app = program == "docker" ? "Docker" : "Podman";
    // What each kind is called and the command that removes what nothing uses.
    static const std::map<std::string, std::pair<std::string, std::string>> kinds{
        {"Images", {"images", "image prune -a"}},
        {"Containers", {"containers", "container prune"}},
        {"Local Volumes", {"volumes", "volume prune"}},
        {"Build Cache", {"build cache", "builder prune"}}};
    auto text = [](const nlohmann::json& entry, const char* key) {
        const auto value = entry.find(key);
        return value != entry.end() && value->is_string() ? value->get<std::string>() : std::string();
    };
    std::vector<SystemDataRow> rows;
    forEachLine(lines, [&](std::string_view line) {
        const nlohmann::json entry = nlohmann::json::parse(line, nullptr, false);
        if (!entry.is_object()) return;
        const auto kind = kinds.find(text(entry, "Type"));
        const std::optional<std::int64_t> bytes = DockerAnswers::sizeOf(text(entry, "Size"));
        if (kind == kinds.end() || !bytes || *bytes == 0) return;
        const auto& [word, prune] = kind->second;
        std::string note = "The " + word + " " + app + " keeps, as " + app + " counts them.";
        const std::string spare = text(entry, "Reclaimable");
        if (DockerAnswers::sizeOf(spare)) note += " Of that, " + spare.substr(0, spare.find(' ')) + " is not in use.";
        rows.push_back({program + ":" + word, app + " " + word, store, *bytes, false, program + " " + prune, note});
    });
    return rows;
}

std::vector<SystemDataRow> SystemDataFinder::swapFiles() const {
    std::set<std::string> paths;
    const SmallFileRead swaps = readSmallFile(system("/proc/swaps"), metadataLimit);
    if (swaps.text)
        forEachLine(*swaps.text, [&](std::string_view line) {
            std::vector<std::string_view> fields;
            for (std::size_t at = 0; at < line.size();) {
                const std::size_t start = line.find_first_not_of(" \t", at);
                if (start == std::string_view::npos) break;
                const std::size_t end = std::min(line.find_first_of(" \t", start), line.size());
                fields.push_back(line.substr(start, end - start));
                at = end;
            }
            if (fields.size() < 2 || fields[1] != "file") return;
            // The kernel writes a blank in a name as \040, a backslash as \134.
            std::string path;
            const std::string_view name = fields[0];
            for (std::size_t i = 0; i < name.size(); ++i) {
                const bool octal = name[i] == '\\' && i + 3 < name.size() &&
                                   std::ranges::all_of(name.substr(i + 1, 3), [](char c) { return c >= '0' && c <= '7'; });
                if (octal) {
                    path += static_cast<char>((name[i + 1] - '0') * 64 + (name[i + 2] - '0') * 8 + (name[i + 3] - '0'));
                    i += 3;
                } else {
                    path += name[i];
                }
            }
            if (path.starts_with('/')) paths.insert(path);
        });
    for (const char* usual : {"/swapfile", "/swap.img"})
        if (exists(system(usual))) paths.insert(usual);
    std::vector<SystemDataRow> rows;
    for (const std::string& path : paths)
        if (exists(system(path)))
            rows.push_back({"swap:" + path, "Swap file", system(path), allocated(system(path)), false,
                            "sudo swapoff " + path + " && sudo rm " + path,
                            "Room the system moves memory out to when it runs short. Remove it only to run without it, "
                            "and take its line out of /etc/fstab too."});
    return rows;
}

std::vector<SystemDataRow> SystemDataFinder::temporaryFiles(std::vector<std::string>& unreadable) const {
    std::vector<SystemDataRow> rows;
    if (std::optional<SystemDataRow> row =
            measuredRow({"varTmp", "Temporary files kept between restarts", system("/var/tmp"), 0, false, "sudo systemd-tmpfiles --clean",
                         "Files programs asked to keep across a restart. The system removes those unused for 30 days."},
                        unreadable))
        rows.push_back(std::move(*row));
    return rows;
}

std::vector<SystemDataRow> SystemDataFinder::trashes(std::vector<std::string>& unreadable) const {
    const std::string uid = std::to_string(::geteuid());
    std::vector<std::string> folders{settings_.dataHome + "/Trash"};
    for (const MountEntry& mount : MountTable::read(settings_.root).entries) {
        if (!MountTable::isLocalDisk(mount)) continue;
        const std::string top = MountTable::onSystem(settings_.root, mount.mountPoint);
        for (const std::string& trash : {Paths::join(top, ".Trash/" + uid), Paths::join(top, ".Trash-" + uid)})
            if (std::ranges::find(folders, trash) == folders.end()) folders.push_back(trash);
    }
    std::vector<SystemDataRow> rows;
    for (const std::string& folder : folders) {
        const bool home = folder == folders.front();
        if (std::optional<SystemDataRow> row = measuredRow({"trash:" + folder, home ? "The Trash" : "The Trash of the disk at " + folder.substr(0, folder.rfind("/.Trash")),
                                                            folder, 0, false, "",
                                                            "What was moved to the Trash. " + std::string(RemovalSheet::trashIsNeverEmptied())},
                                                           unreadable))
            rows.push_back(std::move(*row));
    }
    return rows;
}

std::optional<std::int64_t> SystemDataFinder::journalBytes(const std::string& text) {
    const std::size_t at = text.find("take up ");
    if (at == std::string::npos) return std::nullopt;
    std::string size = text.substr(at + 8, text.find(' ', at + 8) - at - 8);
    // journalctl counts in powers of 1024 and writes "1.2G", "8.0M", "0B".
    static const std::map<char, const char*> units{{'B', "B"}, {'K', "KiB"}, {'M', "MiB"}, {'G', "GiB"}, {'T', "TiB"}};
    if (size.empty()) return std::nullopt;
    const auto unit = units.find(size.back());
    if (unit == units.end()) return std::nullopt;
    size.pop_back();
    return DockerAnswers::sizeOf(size + unit->second);
}

} // namespace tessel
