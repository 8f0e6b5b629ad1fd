// Reading a launchd job file.
//
// The file is a property list, XML or binary, that lies in a folder any
// installer may write to, so it is read as foreign: at most a megabyte, a
// regular file at the end of its links. A link that leads nowhere is a job
// of its own, unreadable, that says where it pointed.
//
// What it runs is "Program", else the first of "ProgramArguments"; a job
// that names "BundleProgram" runs it from inside the app it declares with
// "AssociatedBundleIdentifiers", so the app's place decides the path. When
// the program is an interpreter and "Program" doesn't name it, the script
// among the arguments is what runs:
//   ProgramArguments = (/usr/bin/python3, /opt/tool/run.py) → /opt/tool/run.py
//   ProgramArguments = (/bin/sh, -c, "exec tool")           → /bin/sh
// A bare name is looked for in the search path, the first folder holding a
// file of that name winning, and left as named when none does.

#include "UninstallKit/LaunchdJob.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>

#include "Base/SmallFile.h"
#include "DiskScanKit/Paths.h"
#include "TrashKit/PropertyList.h"
#include "UninstallKit/StartupProgram.h"

namespace tessel {

namespace {

std::vector<std::string> strings(const std::optional<PropertyList>& value) {
    std::vector<std::string> found;
    if (!value) return found;
    if (std::optional<std::string> one = value->asString()) return {*one};
    for (std::size_t at = 0; at < value->size(); ++at)
        if (std::optional<std::string> item = value->at(at).asString()) found.push_back(*item);
    return found;
}

// A Boolean as it stands; a dictionary of conditions counts as true when it holds any.
bool flag(const std::optional<PropertyList>& value) {
    if (!value) return false;
    if (std::optional<bool> plain = value->asBoolean()) return *plain;
    return value->type() == PropertyList::Type::dictionary && !value->keys().empty();
}

std::optional<std::string> linkDestination(const std::string& path) {
    char target[PATH_MAX];
    const ssize_t length = readlink(path.c_str(), target, sizeof target - 1);
    if (length <= 0) return std::nullopt;
    return std::string(target, static_cast<std::size_t>(length));
}

} // namespace

LaunchdJob LaunchdJob::read(const std::string& path) {
    LaunchdJob job;
    job.path = path;
    const std::string_view name = Paths::lastComponent(path);
    job.label = std::string(name.ends_with(".plist") ? name.substr(0, name.size() - 6) : name);
    if (presenceOf(path) == Presence::missing) return job;
    char real[PATH_MAX];
    if (realpath(path.c_str(), real) == nullptr) {
        job.danglingDestination = linkDestination(path);
        return job;
    }
    const SmallFileRead file = readSmallFile(real, maxFileBytes);
    std::optional<PropertyList> list = file.text ? PropertyList::parse(*file.text) : std::nullopt;
    if (!list || list->type() != PropertyList::Type::dictionary) return job;
    job.isReadable = true;
    if (std::optional<std::string> label = list->string("Label"); label && !label->empty()) {
        job.declaredLabel = label;
        job.label = *label;
    }
    job.associatedBundleIdentifiers = strings(list->get("AssociatedBundleIdentifiers"));
    job.keepAlive = flag(list->get("KeepAlive"));
    job.programKey = list->string("Program");
    job.bundleProgram = list->string("BundleProgram");
    job.arguments = strings(list->get("ProgramArguments"));
    job.runsAtLoad = flag(list->get("RunAtLoad"));
    job.disabled = flag(list->get("Disabled"));
    return job;
}

LaunchdJob::Program LaunchdJob::program(const InstalledAppIndex& index, const std::vector<std::string>& searchPath,
                                        const std::string& home) const {
    if (bundleProgram) {
        for (const std::string& identifier : associatedBundleIdentifiers)
            if (std::optional<InstalledApp> app = index.app(identifier)) {
                const std::string inside = Paths::standardized(app->bundlePath + "/" + *bundleProgram);
                return {inside, presenceOf(inside)};
            }
        return {std::nullopt, Presence::unknown};
    }
    std::string raw = programKey.value_or(arguments.empty() ? std::string() : arguments.front());
    if (raw.empty()) return {std::nullopt, Presence::unknown};
    if (!programKey && isInterpreter(raw))
        if (std::optional<std::string> script = target({arguments.begin() + 1, arguments.end()})) raw = *script;
    std::string resolved;
    if (raw.starts_with('/')) {
        resolved = Paths::standardized(raw);
    } else if (raw.starts_with('~')) {
        resolved = Paths::standardized(raw, home);
    } else if (raw.find('/') == std::string::npos) {
        resolved = raw;
        for (const std::string& folder : searchPath)
            if (presenceOf(Paths::join(folder, raw)) == Presence::present) {
                resolved = Paths::join(folder, raw);
                break;
            }
    } else {
        return {raw, Presence::unknown}; // relative to a folder launchd alone knows
    }
    return {resolved, resolved.starts_with('/') ? presenceOf(resolved) : Presence::missing};
}

std::optional<std::string> LaunchdJob::target(const std::vector<std::string>& arguments) {
    return StartupProgram::target(arguments);
}

bool LaunchdJob::isInterpreter(const std::string& path) { return StartupProgram::isInterpreter(path); }

namespace LaunchdOverrides {

std::map<std::string, bool> read(const std::string& path) {
    std::map<std::string, bool> disabled;
    const SmallFileRead file = readSmallFile(path, LaunchdJob::maxFileBytes * 16);
    const std::optional<PropertyList> list = file.text ? PropertyList::parse(*file.text) : std::nullopt;
    if (!list) return disabled;
    for (const std::string& label : list->keys()) {
        const std::optional<PropertyList> value = list->get(label);
        if (std::optional<bool> plain = value->asBoolean()) disabled[label] = *plain;
        else if (std::optional<PropertyList> inner = value->get("Disabled"))
            if (std::optional<bool> flagged = inner->asBoolean()) disabled[label] = *flagged;
    }
    return disabled;
}

} // namespace LaunchdOverrides

} // namespace tessel
