// Reading the Mac's startup items.
//
// Each folder of launch jobs is listed, dot files passed over, and each
// ".plist" read as a job (LaunchdJob). A job is switched off by its own
// "Disabled", and launchctl's override databases, the user's then the
// system's, have the last word where they name its label. Its owner comes
// from the ladder of StartupOwnerMatcher.
//
// A privileged helper tool is an executable with no property list of its
// own: the daemon job that runs it says who it belongs to. So helpers are
// read after all jobs, and paired with the job whose program is the helper,
// or whose label is the helper's file name:
//   /Library/LaunchDaemons/com.foo.helper.plist  runs /Library/PrivilegedHelperTools/com.foo.helper
//   → the helper's item is paired with that job and takes its owner.
//
// System extensions come from the system's database, which only an
// administrator may read; unreadable, it adds no items and the report says so.

#include "UninstallKit/StartupItemReader.h"

#include <array>
#include <set>

#include "Base/FolderNames.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/Paths.h"
#include "TrashKit/PropertyList.h"
#include "UninstallKit/LaunchdJob.h"
#include "UninstallKit/ReverseDns.h"
#include "UninstallKit/StartupOwnerMatcher.h"

namespace tessel {

namespace {

constexpr std::array<std::string_view, 4> applePrefixes{"com.apple", "apple.com", "is.workflow", "org.cups"};
constexpr long long maxDatabaseBytes = 16 << 20;

bool isApple(std::string_view name) {
    for (std::string_view prefix : applePrefixes)
        if (ReverseDns::hasPrefix(prefix, name)) return true;
    return false;
}

std::string withoutExtension(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return std::string(dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot));
}

std::vector<std::string> entries(const std::string& folder, bool plistsOnly) {
    std::vector<std::string> found;
    for (const std::string& name : folderNames(folder))
        if (!name.starts_with('.') && (!plistsOnly || name.ends_with(".plist"))) found.push_back(Paths::join(folder, name));
    return found;
}

void describeMissing(StartupItem& item, const LaunchdJob& job, const LaunchdJob::Program& program) {
    if (!job.isReadable) {
        item.detail = job.danglingDestination
                          ? "Its file is a link to something that no longer exists, so launchd has nothing to load."
                          : "Its file could not be read, so what it runs is unknown.";
    } else if (!program.path) {
        if (!job.bundleProgram) item.detail = "It names no program, so launchd has nothing to start.";
    }
}

struct Drafted {
    StartupItem item;
    LaunchdJob job;
};

} // namespace

std::vector<StartupItemLocation> StartupItemLocation::standard(const std::string& home) {
    return {{home + "/Library/LaunchAgents", StartupItemKind::userAgent, false},
            {"/Library/LaunchAgents", StartupItemKind::globalAgent, true},
            {"/Library/LaunchDaemons", StartupItemKind::daemon, true},
            {"/Library/PrivilegedHelperTools", StartupItemKind::helperTool, true}};
}

std::optional<std::vector<SystemExtensionRecord>> SystemExtensionRecord::read(const std::string& database) {
    const SmallFileRead file = readSmallFile(database, maxDatabaseBytes);
    const std::optional<PropertyList> list = file.text ? PropertyList::parse(*file.text) : std::nullopt;
    if (!list) return std::nullopt;
    std::vector<SystemExtensionRecord> records;
    const std::optional<PropertyList> extensions = list->get("extensions");
    for (std::size_t at = 0; extensions && at < extensions->size(); ++at) {
        const PropertyList entry = extensions->at(at);
        SystemExtensionRecord record;
        const std::optional<std::string> identifier = entry.string("identifier");
        if (!identifier) continue;
        record.identifier = *identifier;
        if (std::optional<PropertyList> staged = entry.get("stagedBundleURL"))
            if (std::optional<std::string> url = staged->string("relative"); url && url->starts_with("file:"))
                if (std::string path = Paths::fromFileUrl(*url); !path.empty()) record.stagedPath = Paths::standardized(path);
        record.state = entry.string("state");
        if (std::optional<PropertyList> categories = entry.get("categories"))
            for (std::size_t c = 0; c < categories->size(); ++c)
                if (std::optional<std::string> category = categories->at(c).asString()) record.categories.push_back(*category);
        if (std::optional<PropertyList> container = entry.get("container")) record.containerPath = container->string("bundlePath");
        record.originPath = entry.string("originPath");
        if (std::optional<PropertyList> references = entry.get("references"))
            for (std::size_t r = 0; r < references->size(); ++r)
                if (std::optional<std::string> app = references->at(r).string("appIdentifier")) record.activatingApps.push_back(*app);
        if (std::optional<std::string> app = entry.string("appIdentifier")) record.activatingApps.push_back(*app);
        record.uniqueID = entry.string("uniqueID");
        records.push_back(std::move(record));
    }
    return records;
}

std::string SystemExtensionRecord::describe() const {
    std::string text = "System extension";
    for (const std::string& category : categories) text += ", " + category;
    return text;
}

std::string StartupItemReader::standardUserOverrides(unsigned userId) {
    return "/private/var/db/com.apple.xpc.launchd/disabled." + std::to_string(userId) + ".plist";
}

std::string StartupItemReader::standardLoginItemsNote(const std::string& pane) {
    return "Apps that open at login, and the switches for apps allowed to run in the background, are kept in a "
           "database only macOS can read, so they are not in this list. Open " +
           pane + " in System Settings to see and change them.";
}

StartupItemReader::StartupItemReader(std::vector<InstalledApp> installedApps, std::vector<StartupItemLocation> locations,
                                     std::optional<std::string> systemExtensionsDatabase,
                                     std::optional<std::string> userOverrides, std::optional<std::string> systemOverrides,
                                     std::function<std::int64_t(const std::string&)> sizeOf, std::string home,
                                     std::vector<std::string> searchPath)
    : apps_(std::move(installedApps)), locations_(std::move(locations)),
      extensionsDatabase_(std::move(systemExtensionsDatabase)), userOverrides_(std::move(userOverrides)),
      systemOverrides_(std::move(systemOverrides)), sizeOf_(std::move(sizeOf)), home_(std::move(home)),
      searchPath_(std::move(searchPath)) {}

StartupItemReport StartupItemReader::read() const {
    const StartupOwnerMatcher matcher(InstalledAppIndex(apps_), Platform::macOS);
    const std::map<std::string, bool> userSwitches = userOverrides_ ? LaunchdOverrides::read(*userOverrides_)
                                                                    : std::map<std::string, bool>{};
    const std::map<std::string, bool> systemSwitches = systemOverrides_ ? LaunchdOverrides::read(*systemOverrides_)
                                                                        : std::map<std::string, bool>{};
    StartupItemReport report;
    std::vector<Drafted> jobs;
    for (const StartupItemLocation& location : locations_) {
        if (location.kind == StartupItemKind::helperTool) continue;
        for (const std::string& path : entries(location.path, true)) {
            LaunchdJob job = LaunchdJob::read(path);
            const LaunchdJob::Program program = job.program(matcher.index, searchPath_, home_);
            StartupItem item;
            item.path = path;
            item.kind = location.kind;
            item.label = job.label;
            item.source = StartupSources::launchd;
            item.program = program.path;
            item.programExists = program.presence != Presence::missing;
            item.runsAtLoad = job.runsAtLoad;
            item.keepAlive = job.keepAlive;
            item.isPlatform = isApple(job.label) || isApple(withoutExtension(Paths::lastComponent(path)));
            const StartupOwnerMatcher::Match match =
                matcher.match(job.label, job.associatedBundleIdentifiers, program.path, item.isPlatform, std::nullopt, {});
            item.owner = match.owner;
            item.ownerConfidence = match.confidence;
            item.ownerReason = match.reason;
            // The file says what it was shipped as; launchctl's switches say what was chosen since.
            item.disabled = job.disabled;
            if (const auto chosen = systemSwitches.find(job.label); chosen != systemSwitches.end()) item.disabled = chosen->second;
            if (const auto chosen = userSwitches.find(job.label); chosen != userSwitches.end()) item.disabled = chosen->second;
            item.requiresAdministrator = location.requiresAdministrator;
            item.bytes = sizeOf_ ? sizeOf_(path) : 0;
            item.isReadable = job.isReadable;
            if (!job.arguments.empty()) item.arguments.assign(job.arguments.begin() + 1, job.arguments.end());
            item.declaredApps = job.associatedBundleIdentifiers;
            describeMissing(item, job, program);
            jobs.push_back({std::move(item), std::move(job)});
        }
    }
    for (const StartupItemLocation& location : locations_) {
        if (location.kind != StartupItemKind::helperTool) continue;
        for (const std::string& path : entries(location.path, false)) {
            const std::string name(Paths::lastComponent(path));
            StartupItem item;
            item.path = path;
            item.kind = location.kind;
            item.label = name;
            item.source = StartupSources::launchd;
            item.program = path;
            item.isPlatform = isApple(name);
            item.requiresAdministrator = true;
            item.bytes = sizeOf_ ? sizeOf_(path) : 0;
            const Drafted* pair = nullptr;
            for (const Drafted& job : jobs)
                if ((job.item.program && Paths::standardized(*job.item.program) == Paths::standardized(path)) ||
                    job.job.label == name) {
                    pair = &job;
                    break;
                }
            if (pair != nullptr && pair->item.owner) {
                item.pairedPath = pair->item.path;
                item.owner = pair->item.owner;
                item.ownerConfidence = pair->item.ownerConfidence;
                item.ownerReason = "Started by " + pair->job.label + ", which belongs to " + pair->item.owner->name + ".";
            } else {
                if (pair != nullptr) item.pairedPath = pair->item.path;
                const StartupOwnerMatcher::Match match = matcher.match(name, {}, path, item.isPlatform, std::nullopt, {});
                item.owner = match.owner;
                item.ownerConfidence = match.confidence;
                item.ownerReason = match.reason;
            }
            item.disabled = pair != nullptr && pair->item.disabled;
            jobs.push_back({std::move(item), LaunchdJob{}});
        }
    }
    for (Drafted& drafted : jobs) report.items.push_back(std::move(drafted.item));

    const std::optional<std::vector<SystemExtensionRecord>> extensions =
        extensionsDatabase_ ? SystemExtensionRecord::read(*extensionsDatabase_) : std::nullopt;
    report.systemExtensionsReadable = extensions.has_value();
    for (const SystemExtensionRecord& record : extensions.value_or(std::vector<SystemExtensionRecord>{})) {
        StartupItem item;
        item.path = record.stagedPath.value_or(record.originPath.value_or(record.identifier));
        item.kind = StartupItemKind::systemExtension;
        item.label = record.identifier;
        item.source = StartupSources::systemExtension;
        item.program = record.stagedPath;
        item.isPlatform = isApple(record.identifier);
        const StartupOwnerMatcher::Match match = matcher.match(record.identifier, {}, record.stagedPath, item.isPlatform,
                                                               record.containerPath, record.activatingApps);
        item.owner = match.owner;
        item.ownerConfidence = match.confidence;
        item.ownerReason = match.reason;
        const bool stagedMissing = record.stagedPath && presenceOf(*record.stagedPath) == Presence::missing;
        const bool containerMissing = record.containerPath && presenceOf(*record.containerPath) == Presence::missing;
        item.programExists = !stagedMissing && !containerMissing;
        item.requiresAdministrator = true;
        if (record.state == "activated_disabled") item.disabled = true;
        else if (record.state != "activated_enabled") item.detail = record.describe();
        report.items.push_back(std::move(item));
    }
    report.loginItemsNote = standardLoginItemsNote();
    return report;
}

} // namespace tessel
