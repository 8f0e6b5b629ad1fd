// Reading what runs, from files.
//
// Three ways tell that an app runs, and each catches what the others miss:
// - A process's program, the link /proc/PID/exe: a packaged app's binary
//   among its package's files, an AppImage's mounted runtime aside.
// - A Flatpak instance: Flatpak keeps one folder per sandbox in
//   $XDG_RUNTIME_DIR/.flatpak, whose `info` file names the app
//   (`name=ID` in its [Application] group). The sandbox's own processes run
//   programs under /app, which tell nothing from outside. A folder outlives a
//   sandbox that ended badly, so one counts only while the process its
//   `bwrapinfo.json` names ("child-pid") is still there.
// - The unit a process runs in, the last part of its cgroup path in
//   /proc/PID/cgroup. Desktops start apps in units named for them
//   ("app[-LAUNCHER]-ID[@RANDOM].service", "app[-LAUNCHER]-ID-RANDOM.scope",
//   with "-" in the ID escaped as "\x2d"), and snapd in "snap.NAME.APP-…".
//
// Another user's processes hide their exe link from us; that is fine, as
// their apps are theirs. Nothing here waits on a process: /proc files are
// read through readSmallFile, which never blocks on what it opens.

#include "UninstallKit/RunningPrograms.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <vector>

#include "Base/FolderNames.h"
#include "Base/Lines.h"
#include "Base/SmallFile.h"
#include "linux/KeyFile.h"

namespace tessel {

namespace {

constexpr std::int64_t cgroupFileLimit = 64 * 1024;
// A command line may fill the kernel's whole argument space (a quarter of the
// stack limit, 2 MiB by default): long Java class paths and Electron flags do.
constexpr std::int64_t commandLineLimit = 8 << 20;

bool isNumber(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; });
}

std::optional<std::string> linkTarget(const std::string& path) {
    std::string target(4096, '\0');
    for (;;) {
        const ssize_t length = readlink(path.c_str(), target.data(), target.size());
        if (length < 0) return std::nullopt;
        if (static_cast<std::size_t>(length) < target.size()) {
            target.resize(static_cast<std::size_t>(length));
            // A program replaced while it runs reads "/usr/bin/x (deleted)": still that program.
            if (target.ends_with(" (deleted)")) target.resize(target.size() - 10);
            return target;
        }
        target.resize(target.size() * 2);
    }
}

// "\x2d" and the like in a unit name stand for the byte they spell.
std::string unescapeUnit(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && text[i + 1] == 'x' && std::isxdigit(static_cast<unsigned char>(text[i + 2])) &&
            std::isxdigit(static_cast<unsigned char>(text[i + 3]))) {
            plain += static_cast<char>(std::stoi(std::string(text.substr(i + 2, 2)), nullptr, 16));
            i += 3;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

std::optional<std::string> flatpakInstanceApp(const std::string& infoPath) {
    const SmallFileRead info = readSmallFile(infoPath, cgroupFileLimit);
    if (!info.text) return std::nullopt;
    return keyFileValue(*info.text, "Application", "name");
}

// Whether the sandbox of an instance still runs; an instance that doesn't say counts as running.
bool instanceRuns(const std::string& instance, const std::string& proc) {
    const SmallFileRead info = readSmallFile(instance + "/bwrapinfo.json", cgroupFileLimit);
    if (!info.text) return true;
    const std::size_t key = info.text->find("\"child-pid\"");
    if (key == std::string::npos) return true;
    std::size_t digits = info.text->find_first_of("0123456789", key);
    if (digits == std::string::npos) return true;
    std::string pid;
    while (digits < info.text->size() && std::isdigit(static_cast<unsigned char>((*info.text)[digits])) != 0) pid += (*info.text)[digits++];
    return access((proc + "/" + pid).c_str(), F_OK) == 0;
}

std::string baseName(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

// What one of the user's processes goes by.
void addNames(const std::string& process, const std::optional<std::string>& program, std::unordered_set<std::string>& names) {
    if (const SmallFileRead comm = readSmallFile(process + "/comm", 4096); comm.text) {
        std::string name = *comm.text;
        if (name.ends_with('\n')) name.pop_back();
        if (!name.empty()) names.insert(std::move(name));
    }
    if (program) names.insert(baseName(*program));
    const SmallFileRead commandLine = readSmallFile(process + "/cmdline", commandLineLimit);
    if (!commandLine.text) return;
    // Arguments end with a zero byte each.
    const std::string_view words = *commandLine.text;
    const std::size_t firstEnd = words.find('\0');
    const std::string first = baseName(words.substr(0, firstEnd));
    if (first.empty()) return;
    names.insert(first);
    if (!RunningPrograms::isInterpreter(first) || firstEnd == std::string_view::npos) return;
    // The script: the first argument that is no option ("python3 -u /usr/bin/tool").
    std::size_t at = firstEnd + 1;
    while (at < words.size()) {
        const std::size_t end = std::min(words.find('\0', at), words.size());
        const std::string_view word = words.substr(at, end - at);
        if (!word.empty() && word.front() != '-') {
            names.insert(baseName(word));
            return;
        }
        at = end + 1;
    }
}

} // namespace

bool RunningPrograms::isInterpreter(std::string_view name) {
    static constexpr std::string_view shells[] = {"sh", "bash", "dash", "zsh", "node", "nodejs", "perl", "ruby", "php"};
    return name.starts_with("python") || std::ranges::find(shells, name) != std::end(shells);
}

std::optional<std::string> RunningPrograms::appOfUnit(std::string_view unit) {
    if (unit.starts_with("snap.")) {
        const std::string_view rest = unit.substr(5);
        const std::size_t dot = rest.find('.');
        if (dot == 0 || dot == std::string_view::npos) return std::nullopt;
        return std::string(rest.substr(0, dot));
    }
    if (!unit.starts_with("app-")) return std::nullopt;
    std::string_view name = unit.substr(4);
    if (name.ends_with(".service")) {
        name.remove_suffix(8);
        if (const std::size_t at = name.find('@'); at != std::string_view::npos) name = name.substr(0, at);
    } else if (name.ends_with(".scope")) {
        name.remove_suffix(6);
        const std::size_t dash = name.rfind('-');
        if (dash == std::string_view::npos) return std::nullopt;
        name = name.substr(0, dash);
    } else {
        return std::nullopt;
    }
    // A launcher's name ("gnome", "flatpak", "kde") has no dot; an app's ID, escaped, has no bare "-".
    if (const std::size_t dash = name.find('-'); dash != std::string_view::npos &&
                                                name.substr(0, dash).find('.') == std::string_view::npos)
        name = name.substr(dash + 1);
    if (name.empty()) return std::nullopt;
    return unescapeUnit(name);
}

RunningPrograms RunningPrograms::inThisSession(const std::string& proc) {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    return read(proc, runtime != nullptr && runtime[0] == '/' ? std::optional<std::string>(runtime) : std::nullopt);
}

RunningPrograms RunningPrograms::read(const std::string& proc, const std::optional<std::string>& runtimeFolder) {
    RunningPrograms running;
    for (const std::string& entry : folderNames(proc)) {
        if (!isNumber(entry)) continue;
        const std::string process = proc + "/" + entry;
        const std::optional<std::string> program = linkTarget(process + "/exe");
        if (program) running.executables.insert(*program);
        // Other users' processes are theirs to run; only our own hold our files back.
        struct stat owner {};
        if (::stat(process.c_str(), &owner) == 0 && owner.st_uid == ::geteuid()) addNames(process, program, running.names);
        const SmallFileRead cgroup = readSmallFile(process + "/cgroup", cgroupFileLimit);
        if (!cgroup.text) continue;
        // One line a hierarchy, "ID:CONTROLLERS:PATH"; the unit is the path's last part.
        forEachLine(*cgroup.text, [&](std::string_view line) {
            const std::size_t slash = line.rfind('/');
            if (slash == std::string_view::npos) return;
            if (std::optional<std::string> app = appOfUnit(line.substr(slash + 1))) running.launchedApps.insert(std::move(*app));
        });
    }
    if (runtimeFolder)
        for (const std::string& name : folderNames(*runtimeFolder + "/.flatpak")) {
            const std::string instance = *runtimeFolder + "/.flatpak/" + name;
            if (!instanceRuns(instance, proc)) continue;
            if (std::optional<std::string> app = flatpakInstanceApp(instance + "/info")) running.flatpakApps.insert(std::move(*app));
        }
    return running;
}

} // namespace tessel
