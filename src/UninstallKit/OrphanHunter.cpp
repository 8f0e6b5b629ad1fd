// Finding what removed apps left behind.
//
// Every entry of the residue folders is a candidate only when its name says
// whose it was: a reverse-DNS identifier ("org.example.Viewer"), or the name
// of something known to have gone (a package the package manager's log says
// was removed, an app whose desktop entry runs a program that is no longer
// there). A plain name with no such evidence is never a leftover: "htop" in
// ~/.config may be any program's, and guessing would cost someone their
// settings. A candidate survives only if nothing explains it: no installed
// app claims the name, none answers to it, nothing running goes by it, no
// package, Flatpak ref, snap or program on the PATH has it, and no app with
// its identifier lies elsewhere on the disk outside a trash.
//
// Each survivor is graded on a ladder, surest first, and only the top grade
// is ticked. A startup entry or a helper is a program, not data, so it is
// never ticked; a folder that may hold documents (a sandboxed app's data, an
// app's data folder, a settings folder) never either. Of what is disposable
// (caches, logs, settings files, saved state), only what has not changed for
// thirty days is called certain: a recent change means something may still
// use it, whatever its name says.

#include "UninstallKit/OrphanHunter.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "Base/AsciiCase.h"
#include "Base/FolderNames.h"
#include "UninstallKit/ReverseDns.h"

namespace tessel {

namespace OrphanCategories {

std::string_view rawValue(OrphanCategory category) {
    switch (category) {
    case OrphanCategory::disposable: return "disposable";
    case OrphanCategory::mayHoldDocuments: return "mayHoldDocuments";
    case OrphanCategory::launchd: return "launchd";
    case OrphanCategory::software: return "software";
    case OrphanCategory::other: return "other";
    }
    return "other";
}

std::string_view title(OrphanCategory category) {
    switch (category) {
    case OrphanCategory::disposable: return "Disposable";
    case OrphanCategory::mayHoldDocuments: return "May hold documents";
    case OrphanCategory::launchd: return "Starts by itself";
    case OrphanCategory::software: return "Software";
    case OrphanCategory::other: return "Other";
    }
    return "Other";
}

} // namespace OrphanCategories

namespace {

constexpr std::int64_t quietSpan = 2'592'000; // thirty days, in seconds
constexpr int deepestWalk = 256;

// Why what a location keeps can go; empty where it is not disposable.
std::string disposableNote(const std::string& label, bool isDirectory) {
    if (label == "Caches") return "Caches are rebuilt whenever an app needs them.";
    if (label == "Preferences" || label == "Preferences (shared)") return "A preferences file holds settings, not documents.";
    if (label == "Settings" && !isDirectory) return "A settings file holds settings, not documents.";
    if (label == "Cookies" || label == "HTTP Storage") return "Cookies and web storage only keep sign-ins and site data.";
    if (label == "Saved State") return "Saved state only reopens an app's windows where they were.";
    if (label == "State") return "State only keeps an app's history and where its windows were.";
    if (label == "Logs" || label == "System Logs") return "Logs are diagnostic records, not documents.";
    if (label == "Desktop Entry") return "A desktop entry only puts an app in the menu; it holds no documents.";
    return {};
}

std::string documentsNote(const std::string& label) {
    if (label == "Container")
        return "A container holds everything a sandboxed app saved, documents included, so it is never ticked for you.";
    if (label == "Group Container")
        return "A group container holds what an app shares with its extensions and sister apps, documents included, so it is never ticked for you.";
    if (label == "WebKit Data")
        return "WebKit data can hold what an app saved inside its web views, so it is never ticked for you.";
    if (label == "App Script") return "This folder holds scripts someone added for the app, so it is never ticked for you.";
    if (label == "Sandboxed App Data")
        return "A sandboxed app keeps everything it saved here, documents included, so it is never ticked for you.";
    if (label == "Settings")
        return "A settings folder can hold what an app saved besides its settings, so it is never ticked for you.";
    if (label == "App Data") return "App data can hold documents, libraries and settings someone made, so it is never ticked for you.";
    return "Application Support can hold documents, libraries and settings someone made, so it is never ticked for you.";
}

bool isLabel(const std::string& label, std::initializer_list<std::string_view> labels) {
    return std::ranges::any_of(labels, [&](std::string_view each) { return label == each; });
}

std::optional<std::int64_t> newestIn(int folder, int depth, const std::function<bool()>& isCancelled) {
    DIR* listing = fdopendir(folder);
    if (listing == nullptr) {
        ::close(folder);
        return std::nullopt;
    }
    std::optional<std::int64_t> newest;
    auto consider = [&](std::int64_t seconds) { newest = std::max(newest.value_or(seconds), seconds); };
    while (const dirent* entry = readdir(listing)) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        if (isCancelled && isCancelled()) break;
        struct stat info {};
        if (fstatat(dirfd(listing), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) continue;
        consider(info.st_mtim.tv_sec);
        if (!S_ISDIR(info.st_mode) || depth >= deepestWalk) continue;
        const int inner = openat(dirfd(listing), entry->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (inner < 0) continue;
        if (std::optional<std::int64_t> below = newestIn(inner, depth + 1, isCancelled)) consider(*below);
    }
    closedir(listing);
    return newest;
}

} // namespace

OrphanHunter::OrphanHunter(Knowledge knowledge, std::vector<ResidueLocation> locations,
                           std::function<std::int64_t(const std::string&)> sizeOf)
    : knowledge_(std::move(knowledge)), locations_(std::move(locations)), sizeOf_(std::move(sizeOf)) {}

OrphanCategory OrphanHunter::categoryOf(const ResidueLocation& location, bool isDirectory) {
    const std::string& label = location.label;
    if (!disposableNote(label, isDirectory).empty()) return Category::disposable;
    if (location.mayHoldDocuments || label == "Settings" ||
        isLabel(label, {"Container", "Group Container", "App Script", "WebKit Data", "Application Support",
                        "Application Support (shared)", "App Data"}))
        return Category::mayHoldDocuments;
    if (isLabel(label, {"Launch Agent", "Launch Agent (shared)", "Launch Daemon", "Autostart Entry", "User Service"}))
        return Category::launchd;
    if (isLabel(label, {"Helper Tool", "Plug-in", "Browser Helper", "Installed Software"})) return Category::software;
    return Category::other;
}

bool OrphanHunter::namesAnInstalledApp(std::string_view name, const InstalledAppIndex& index) const {
    const std::string lower = asciiLower(name);
    const std::string folded = ReverseDns::fold(name);
    if (folded.size() >= 3 && index.byName.contains(folded)) return true;
    return std::ranges::any_of(index.apps, [&](const InstalledApp& app) {
        if (asciiLower(app.desktopId) == lower || (app.package && asciiLower(*app.package) == lower)) return true;
        if (app.programPath && asciiLower(app.programPath->substr(app.programPath->rfind('/') + 1)) == lower) return true;
        return std::ranges::any_of(app.carries, [&](const std::string& carried) { return asciiLower(carried) == lower; });
    });
}

bool OrphanHunter::softwareOutsideTheCatalogue(std::string_view lowerName, const ResidueLocation& location) const {
    const std::string name(lowerName);
    if (knowledge_.softwareNames.contains(name)) return true;
    if (location.requiresAdministrator && knowledge_.keptConfigurations.contains(name)) return true;
    // A package that ships org.example.Tool.service explains org.example.Tool.Cache.
    for (const std::string& parent : ReverseDns::lineage(lowerName))
        if (std::ranges::count(parent, '.') >= 2 && knowledge_.softwareNames.contains(parent)) return true;
    return false;
}

bool OrphanHunter::hasAppElsewhere(const std::string& identifier) const {
    if (!knowledge_.findApplications) return false;
    const std::vector<std::string> paths = knowledge_.findApplications(identifier);
    return std::ranges::any_of(paths, [](const std::string& path) { return !LeftoverOwner::isInTrash(path); });
}

std::optional<OrphanHunter::Candidate> OrphanHunter::candidate(const ResidueLocation& location, const std::string& name,
                                                               const InstalledAppIndex& index) const {
    if (name.empty() || name.front() == '.') return std::nullopt;
    const std::string_view stem = ResidueScanner::withoutEnding(name);
    const std::string folded = ReverseDns::fold(stem);
    if (folded.empty() || ResidueScanner::isSharedFolder(folded)) return std::nullopt;
    const std::string lower = asciiLower(stem);

    Candidate found;
    found.path = location.path + "/" + name;
    found.location = location;
    if (const std::optional<std::string> identifier = ReverseDns::identifier(name)) {
        const std::optional<LeftoverOwner::Reading> reading = LeftoverOwner::read(*identifier);
        if (!reading) return std::nullopt;
        found.identifier = *identifier;
        found.vendor = *ReverseDns::vendor(*identifier);
        found.owner = LeftoverOwner::of(*reading);
        if (index.claim(name) || knowledge_.running.runsApp(stem) || hasAppElsewhere(*identifier) ||
            softwareOutsideTheCatalogue(*identifier, location))
            return std::nullopt;
    } else {
        // A plain name only when something known to be gone went by it: "spotify" of the package spotify-client.
        const auto removed = std::ranges::find_if(knowledge_.removed, [&](const auto& each) {
            const std::string& key = each.first;
            if (key == lower) return true;
            return folded.size() >= 4 && (ReverseDns::fold(key) == folded || key.starts_with(lower + "-"));
        });
        if (removed == knowledge_.removed.end()) return std::nullopt;
        found.identifier = removed->first;
        found.vendor = removed->second.name;
        found.evidence = removed->second.evidence;
        found.owner = LeftoverOwner::named(removed->second.name);
        found.owner.key = removed->first;
    }
    if (namesAnInstalledApp(stem, index) || knowledge_.running.runsNamed(lower) || softwareOutsideTheCatalogue(lower, location))
        return std::nullopt;

    struct stat info {};
    if (::lstat(found.path.c_str(), &info) != 0) return std::nullopt;
    found.isDirectory = S_ISDIR(info.st_mode);
    if (S_ISLNK(info.st_mode)) {
        struct stat target {};
        if (::stat(found.path.c_str(), &target) != 0) {
            found.isDanglingLink = true;
            std::string buffer(4096, '\0');
            const ssize_t length = ::readlink(found.path.c_str(), buffer.data(), buffer.size());
            found.linkTarget = length > 0 ? buffer.substr(0, static_cast<std::size_t>(length)) : std::string();
        }
    }
    found.category = categoryOf(location, found.isDirectory);
    if (found.category == Category::launchd && knowledge_.programOf) found.program = knowledge_.programOf(found.path);
    return found;
}

std::optional<std::int64_t> OrphanHunter::lastChange(const std::string& path, const std::function<bool()>& isCancelled) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
    if (!S_ISDIR(info.st_mode)) return info.st_mtim.tv_sec;
    const int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0) return std::nullopt;
    const std::optional<std::int64_t> inside = newestIn(folder, 1, isCancelled);
    return std::max<std::int64_t>(info.st_mtim.tv_sec, inside.value_or(info.st_mtim.tv_sec));
}

std::string OrphanHunter::describe(std::int64_t seconds) {
    const std::int64_t days = seconds / 86'400;
    if (days < 1) return "less than a day";
    if (days < 2) return "a day";
    if (days < 60) return std::to_string(days) + " days";
    if (days < 730) return std::to_string(days / 30) + " months";
    return std::to_string(days / 365) + " years";
}

std::pair<MatchConfidence, std::string> OrphanHunter::grade(const Candidate& candidate, std::optional<std::int64_t> modified,
                                                            std::int64_t now) {
    const std::string disposable = disposableNote(candidate.location.label, candidate.isDirectory);
    const std::string nothingOwnsIt = "no installed app, package or helper comes from " + candidate.vendor + ".";
    std::string opening = candidate.category == Category::disposable
                              ? disposable.substr(0, disposable.size() - 1) + ", and " + nothingOwnsIt
                              : "N" + nothingOwnsIt.substr(1);
    if (!candidate.evidence.empty()) opening += " " + candidate.evidence;
    auto because = [&](MatchConfidence confidence, const std::string& sentence) {
        return std::pair{confidence, opening + " " + sentence};
    };

    if (candidate.isDanglingLink)
        return because(MatchConfidence::possible, "It is a link to " + candidate.linkTarget + ", which is no longer there.");
    if (candidate.category == Category::launchd && !candidate.program)
        return because(MatchConfidence::likely, "What it starts could not be read, so it may still be doing something.");
    if (candidate.category == Category::launchd || candidate.category == Category::software) {
        const bool plugIn = isLabel(candidate.location.label, {"Plug-in", "Browser Helper"});
        return because(MatchConfidence::likely,
                       plugIn ? "It is a plug-in other apps can load, not data, so it is never ticked for you."
                              : "It is a helper program rather than data, and nothing here says what still uses it, so it is never ticked for you.");
    }
    if (candidate.category == Category::other)
        return because(MatchConfidence::strong,
                       candidate.location.label + " is not known to hold only disposable files, so it is never ticked for you.");
    if (candidate.category == Category::mayHoldDocuments)
        return because(MatchConfidence::strong, documentsNote(candidate.location.label));
    if (!modified) return because(MatchConfidence::likely, "When it last changed could not be read.");
    const std::int64_t quiet = std::max<std::int64_t>(0, now - *modified);
    if (quiet < quietSpan)
        return because(MatchConfidence::possible, "It changed " + describe(quiet) + " ago, so something may still be using it.");
    return because(MatchConfidence::exact, "Unchanged for " + describe(quiet) + ".");
}

std::vector<OrphanItem> OrphanHunter::find(std::int64_t now, const std::function<void(std::size_t, std::size_t)>& progress,
                                           const std::function<bool()>& isCancelled) const {
    // An app that lies in a trash is as good as gone: its leftovers are orphans already.
    std::vector<InstalledApp> living;
    std::ranges::copy_if(knowledge_.installedApps, std::back_inserter(living),
                         [](const InstalledApp& app) { return !LeftoverOwner::isInTrash(app.bundlePath); });
    const InstalledAppIndex index(std::move(living));
    auto cancelled = [&] { return isCancelled && isCancelled(); };

    std::vector<OrphanItem> items;
    for (std::size_t done = 0; done < locations_.size(); ++done) {
        const ResidueLocation& location = locations_[done];
        if (progress) progress(done, locations_.size());
        const bool locationWritable = ::access(location.path.c_str(), W_OK) == 0;
        for (const std::string& name : folderNames(location.path)) {
            if (cancelled()) return {};
            const std::optional<Candidate> found = candidate(location, name, index);
            if (!found) continue;
            OrphanItem item;
            item.path = found->path;
            item.isDirectory = found->isDirectory;
            item.locationLabel = location.label;
            item.category = found->category;
            item.owner = found->owner;
            struct stat info {};
            if (::lstat(item.path.c_str(), &info) != 0) continue;
            item.bytes = item.isDirectory ? sizeOf_(item.path) : static_cast<std::int64_t>(info.st_blocks) * 512;
            item.requiresAdministrator = location.requiresAdministrator || !locationWritable ||
                                         (item.isDirectory && ::access(item.path.c_str(), W_OK) != 0);
            item.modified = lastChange(item.path, isCancelled);
            std::tie(item.confidence, item.reason) = grade(*found, item.modified, now);
            items.push_back(std::move(item));
        }
    }
    if (cancelled()) return {};
    if (progress) progress(locations_.size(), locations_.size());
    std::ranges::stable_sort(items, [](const OrphanItem& a, const OrphanItem& b) {
        if (a.confidence != b.confidence) return a.confidence < b.confidence;
        return a.bytes > b.bytes;
    });
    return items;
}

} // namespace tessel
