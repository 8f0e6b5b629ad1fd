#pragma once
// What apps already removed left behind: the entries of the residue folders
// that nothing installed explains, each graded by how safe it is to let go.
// Where the uninstaller starts from an app, this starts from the folders.
// Only the top grade is ever ticked for the user.

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "UninstallKit/InstalledAppIndex.h"
#include "UninstallKit/LeftoverOwner.h"
#include "UninstallKit/ResidueScanner.h"
#include "UninstallKit/RunningPrograms.h"

namespace tessel {

enum class OrphanCategory { disposable, mayHoldDocuments, launchd, software, other };

struct OrphanItem {
    std::string path;
    std::int64_t bytes = 0;
    bool isDirectory = false;
    std::string locationLabel;
    bool requiresAdministrator = false;
    OrphanCategory category = OrphanCategory::other;
    MatchConfidence confidence = MatchConfidence::possible;
    std::string reason;
    LeftoverOwner owner;
    std::optional<std::int64_t> modified; // seconds since 1970: the newest change inside it

    // Ticked for the user: the top grade, where no administrator is needed.
    bool isTicked() const { return confidence == MatchConfidence::exact && !requiresAdministrator; }
};

class OrphanHunter {
public:
    using Category = OrphanCategory;

    // What the machine knows of its software besides the apps themselves.
    struct Knowledge {
        std::vector<InstalledApp> installedApps;
        // Lower-cased names that software outside the app catalogue answers
        // to: packages with files on disk, the reverse-DNS names of the files
        // they ship, Flatpak refs, snaps, programs on the PATH.
        std::unordered_set<std::string> softwareNames;
        // Packages removed with their settings kept: what they left in the
        // system's folders stays there on purpose, until they are purged.
        std::set<std::string> keptConfigurations;
        // What is known to have been removed (packages the package manager's
        // log says went, apps whose desktop entry runs a program that is
        // gone), lower-cased, with what to call it and the evidence in words.
        struct Removed {
            std::string name;
            std::string evidence;
        };
        std::map<std::string, Removed> removed;
        RunningPrograms running;
        // Where else an app with this identifier lies on the disk; an app in a trash explains nothing.
        std::function<std::vector<std::string>(const std::string& identifier)> findApplications;
        // The program a startup entry (an autostart entry, a user service, a
        // launch agent) starts; none when it can't be read or is not there.
        std::function<std::optional<std::string>(const std::string& path)> programOf;
    };

    struct Candidate {
        std::string path;
        std::string identifier; // lower-cased; the removed thing's key for a plain name
        std::string vendor;     // as a sentence names where it came from
        std::string evidence;   // why a plain name is known to be left over; empty for reverse-DNS names
        ResidueLocation location;
        Category category = Category::other;
        bool isDirectory = false;
        std::optional<std::string> program; // what a startup entry starts
        bool isDanglingLink = false;
        std::string linkTarget;
        LeftoverOwner owner;
    };

    OrphanHunter(Knowledge knowledge, std::vector<ResidueLocation> locations,
                 std::function<std::int64_t(const std::string&)> sizeOf);

    // Every orphan, surest first and then largest; `now` in seconds since 1970. Cancelling yields none.
    std::vector<OrphanItem> find(std::int64_t now, const std::function<void(std::size_t done, std::size_t total)>& progress = {},
                                 const std::function<bool()>& isCancelled = {}) const;

    // One entry of a location as a candidate, unless something installed or running explains it.
    std::optional<Candidate> candidate(const ResidueLocation& location, const std::string& name,
                                       const InstalledAppIndex& index) const;
    bool namesAnInstalledApp(std::string_view name, const InstalledAppIndex& index) const;
    bool softwareOutsideTheCatalogue(std::string_view lowerName, const ResidueLocation& location) const;
    bool hasAppElsewhere(const std::string& identifier) const;

    static Category categoryOf(const ResidueLocation& location, bool isDirectory);
    // The newest modification time of the entry and everything in it, links not followed; none when unreadable.
    static std::optional<std::int64_t> lastChange(const std::string& path, const std::function<bool()>& isCancelled = {});
    static std::pair<MatchConfidence, std::string> grade(const Candidate& candidate, std::optional<std::int64_t> modified,
                                                         std::int64_t now);
    // "less than a day", "a day", "12 days", "3 months", "2 years".
    static std::string describe(std::int64_t seconds);

private:
    Knowledge knowledge_;
    std::vector<ResidueLocation> locations_;
    std::function<std::int64_t(const std::string&)> sizeOf_;
};

namespace OrphanCategories {
std::string_view rawValue(OrphanCategory category);
// "Disposable", "May hold documents", "Starts by itself", "Software", "Other"
std::string_view title(OrphanCategory category);
} // namespace OrphanCategories

} // namespace tessel
