#pragma once
// What a machine holds that can go: caches, logs, build data, package
// downloads, installers, old downloads, virtual machines and games, each with
// the sentence that says why and whether it may be ticked for the user. Built
// afresh for each run; it looks at named places and needs no scan, though a
// scan of the home may stand in for the disk (see ScannedHome).

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Base/Platform.h"
#include "UninstallKit/JunkItem.h"

namespace tessel {

// Where a user's things are, as the environment says.
struct JunkPlaces {
    std::string home;
    std::string root = "/"; // the machine's "/", for its shared places (/var/crash, /opt)
    std::string cacheHome;  // $XDG_CACHE_HOME, else ~/.cache
    std::string configHome; // $XDG_CONFIG_HOME, else ~/.config
    std::string dataHome;   // $XDG_DATA_HOME, else ~/.local/share
    std::string stateHome;  // $XDG_STATE_HOME, else ~/.local/state
    std::string downloads;  // the XDG download folder, else ~/Downloads
    std::string desktop;    // the XDG desktop folder, else ~/Desktop
    // Tessel's own cache folder's name, never offered.
    std::string ownCache = "Tessel";

    static JunkPlaces fromEnvironment(const std::string& root = "/");
    // The same places for `home` alone, each at its default.
    static JunkPlaces forHome(const std::string& home);
    // Where a path of the machine is read on this one.
    std::string system(const std::string& path) const { return root == "/" ? path : root + path; }
};

class JunkFinder {
public:
    static constexpr std::int64_t smallest = 1'000'000;
    static constexpr std::int64_t smallestDownload = 10'000'000;
    static constexpr std::int64_t oldAfter = 7'776'000;         // 90 days, in seconds
    static constexpr std::int64_t idleProjectAfter = 7'776'000; // 90 days

    struct Candidate {
        std::string path;
        std::string name;
        JunkCategory category = JunkCategory::appCaches;
        std::optional<std::string> identifier;
        bool isSystem = false;
        std::string note;
        std::optional<std::string> app;
        bool recommended = true;
        std::int64_t floor = smallest;
        std::optional<std::int64_t> used;
        std::set<std::string> tools;
        std::optional<std::string> toolName;

        static Candidate of(std::string path, std::string name, JunkCategory category, std::string note = {}) {
            Candidate candidate;
            candidate.path = std::move(path);
            candidate.name = std::move(name);
            candidate.category = category;
            candidate.note = std::move(note);
            return candidate;
        }
    };

    // The disk as the finder sees it; each may be a scan's tree in place of the disk.
    struct Disk {
        // Allocated bytes at and below a path.
        std::function<std::int64_t(const std::string&)> sizer;
        // Entries of a folder, unsorted; none for a folder that can't be read.
        std::function<std::vector<std::string>(const std::string&)> list;
        // Whether a path is a folder, not a link to one.
        std::function<bool(const std::string&)> isFolder;
        // The folders among a folder's entries, unsorted: what a walk goes into.
        std::function<std::vector<std::string>(const std::string&)> listFolders;
        // Last use of a file: when it was last opened, where that can be told.
        std::function<std::optional<std::int64_t>(const std::string&)> lastUsed;
        // The real disk: sizes by the scan engine, listings by the folder, last use by access time alone.
        static Disk real();
    };

    struct Settings {
        Platform platform = currentPlatform();
        std::optional<std::string> ownIdentifier;
        bool fullDiskAccess = false;
        std::int64_t now = 0; // seconds since 1970
        // The name of the app an identifier or a folder's name stands for, where the apps index knows one.
        std::function<std::optional<std::string>(const std::string&)> appNamed;
        // Entries the walk for projects may read before it gives up on telling a project's state.
        int projectStateBudget = 2'000;
    };

    JunkFinder(JunkPlaces places, Disk disk, Settings settings);

    // Every item, outermost only, largest first; empty when cancelled.
    std::vector<JunkItem> find(const std::function<void(std::size_t done, std::size_t total)>& progress = {},
                               const std::function<bool()>& isCancelled = {}) const;
    std::vector<Candidate> candidates() const;
    std::optional<JunkItem> measure(const Candidate& candidate) const;
    // Drops every item below another's folder, keeping the order.
    static std::vector<JunkItem> outermost(std::vector<JunkItem> items);
    // A folder's entries without hidden names, sorted.
    std::vector<std::string> children(const std::string& folder) const;

    // A name read as a bundle identifier: three pieces or more, none empty, no blank.
    static std::optional<std::string> identifierIn(const std::string& name);
    // Xcode's derived-data folder name without its hash ("App-abcdef" → "App").
    static std::string projectName(const std::string& folder);
    // The folder beside an archive that it may have unpacked to, among `siblings`.
    static std::optional<std::string> unpackedFolder(const std::string& name, const std::set<std::string>& siblings);

    Candidate installer(const std::string& path, const std::string& name) const;
    std::optional<Candidate> oldDownload(const std::string& path, const std::string& name,
                                         const std::set<std::string>& siblings) const;

    // The sources, in the order they are asked; an earlier one wins a path.
    std::vector<Candidate> packageCacheCandidates() const;
    std::vector<Candidate> sharedCacheCandidates() const;
    std::vector<Candidate> macCacheCandidates() const;
    std::vector<Candidate> chromiumCandidates() const;
    std::vector<Candidate> sandboxCacheCandidates() const;
    std::vector<Candidate> logCandidates() const;
    std::vector<Candidate> xcodeCandidates() const;
    std::vector<Candidate> projectCandidates() const;
    std::vector<Candidate> installerCandidates() const;
    std::vector<Candidate> virtualMachineCandidates() const;
    std::vector<Candidate> gameCandidates() const;
    std::vector<Candidate> downloadCandidates() const;

    const JunkPlaces& places() const { return places_; }
    const Settings& settings() const { return settings_; }
    const Disk& disk() const { return disk_; }

private:
    bool isFolder(const std::string& path) const;
    bool exists(const std::string& path) const;

    JunkPlaces places_;
    Disk disk_;
    Settings settings_;
};

} // namespace tessel
