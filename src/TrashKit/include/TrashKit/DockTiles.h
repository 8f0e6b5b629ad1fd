#pragma once
// When an app goes to the Trash its tile stays in the Dock as a question mark.
// DockTiles takes the tiles of moved apps out of the Dock's preferences, keeps
// them, and puts them back at their places when the app comes back. Linux has
// no Dock: there the trash service is given none.

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "DiskScanKit/FileManager.h"
#include "TrashKit/LauncherTiles.h"
#include "TrashKit/PropertyList.h"

namespace tessel {

struct TrashReceipt;

// Where the Dock keeps its tiles: a preferences domain, read and written whole.
class DockPreferences {
public:
    virtual ~DockPreferences() = default;
    // The domain as a dictionary; an empty one when there is none.
    virtual PropertyList read() = 0;
    // Writes it back and makes it take effect; false when it could not be written.
    virtual bool write(const PropertyList& domain) = 0;
};

// Preferences kept in one property-list file (as tests and other systems keep them).
class FileDockPreferences final : public DockPreferences {
public:
    explicit FileDockPreferences(std::string path) : path_(std::move(path)) {}
    PropertyList read() override;
    bool write(const PropertyList& domain) override;

private:
    std::string path_;
};

class DockTiles final : public LauncherTiles {
public:
    struct Taken {
        std::string section;
        int index = 0;
        PropertyList tile;
    };
    struct Orphan {
        std::string name;
        std::string path;
        bool operator==(const Orphan&) const = default;
    };

    static const std::vector<std::string>& sections(); // "persistent-apps", "recent-apps"

    DockTiles(DockPreferences& preferences, std::function<void()> restart);

    // Takes out the tiles of the apps among `moved` (from, to), keeping them for `restore`.
    void remove(const std::vector<std::pair<std::string, std::string>>& moved) override;
    void removeApps(const std::vector<std::string>& apps);
    // Puts the kept tiles of these apps back where they stood.
    void restore(const std::vector<std::string>& apps) override;
    // Tiles of apps that are no longer there, apart from those on disks not connected.
    std::vector<Orphan> orphans(const FileManager& fileManager);
    void remove(const std::vector<Orphan>& orphans);

    // The apps among the receipts in /Applications that other accounts could use.
    static std::vector<std::string> sharedApps(const std::vector<TrashReceipt>& receipts, bool otherAccountsExist);
    static bool otherAccountsExist(const std::vector<std::string>& users, const std::string& home);
    // The path a tile stands for, from its URL or path; empty when it has none.
    static std::string path(const PropertyList& tile);
    static std::string label(const PropertyList& tile);
    // Standardised and lower-cased: how paths of tiles are compared.
    static std::string key(const std::string& path);

private:
    DockPreferences& preferences_;
    std::function<void()> restart_;
    std::mutex lock_;
    std::map<std::string, std::vector<Taken>> taken_;
};

} // namespace tessel
