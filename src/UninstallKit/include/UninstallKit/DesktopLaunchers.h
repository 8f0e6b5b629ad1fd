#pragma once
// The launchers a Linux desktop pins for apps: GNOME's favourites in its dash,
// KDE Plasma's task manager launchers. When an app goes to the Trash its
// launcher would stay, pointing at nothing; DesktopLaunchers takes it out,
// keeps it, and puts it back at its place when the app comes back. Where no
// such desktop is present, nothing is read, touched or failed.

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace tessel {

// Where one desktop keeps its launchers: named lists of entries, read and written whole.
class LauncherStore {
public:
    using Lists = std::map<std::string, std::vector<std::string>>;
    virtual ~LauncherStore() = default;
    // None when this desktop isn't here or its settings can't be read.
    virtual std::optional<Lists> read() = 0;
    virtual bool write(const Lists& lists) = 0;
    // The desktop ID an entry launches ("org.gnome.Maps.desktop"); empty for an entry that launches no app.
    virtual std::string desktopId(const std::string& entry) const = 0;
};

// GNOME Shell's favourites, the key favorite-apps of org.gnome.shell, through `gsettings`.
class GnomeFavorites final : public LauncherStore {
public:
    explicit GnomeFavorites(std::string gsettings) : gsettings_(std::move(gsettings)) {}
    std::optional<Lists> read() override;
    bool write(const Lists& lists) override;
    std::string desktopId(const std::string& entry) const override { return entry; }

    // GVariant text of a string array, as gsettings prints and reads it: ['a.desktop', 'b\'s.desktop'].
    static std::optional<std::vector<std::string>> parseStrings(std::string_view text);
    static std::string printStrings(const std::vector<std::string>& strings);

private:
    std::string gsettings_;
};

// KDE Plasma's task managers: the `launchers=` line of each task-manager
// applet in plasma-org.kde.plasma.desktop-appletsrc. Plasma reads the file
// when it starts; other lines of the file are kept byte for byte.
class PlasmaLaunchers final : public LauncherStore {
public:
    explicit PlasmaLaunchers(std::string appletsFile) : path_(std::move(appletsFile)) {}
    std::optional<Lists> read() override;
    bool write(const Lists& lists) override;
    // "applications:org.kde.dolphin.desktop" and "file:///…/x.desktop" launch an app; "preferred://browser" none.
    std::string desktopId(const std::string& entry) const override;

private:
    std::string path_;
};

class DesktopLaunchers {
public:
    struct Taken {
        std::string list;
        std::size_t index = 0;
        std::string entry;
        // The entries that stood before it and after it: it goes back after the nearest
        // of the first still there, else before the nearest of the second.
        std::vector<std::string> before;
        std::vector<std::string> after;
    };
    struct Orphan {
        std::string list;
        std::string entry;
        bool operator==(const Orphan&) const = default;
    };

    explicit DesktopLaunchers(std::vector<std::unique_ptr<LauncherStore>> stores);
    // The stores of this session's desktop: GNOME's through gsettings, KDE's file under `configHome`.
    static std::shared_ptr<DesktopLaunchers> system(const std::string& configHome);

    // Takes out the launchers of these desktop IDs, keeping them for `restore`. Returns how many went.
    std::size_t removeApps(const std::vector<std::string>& desktopIds);
    // Puts the kept launchers of these desktop IDs back where they stood, whatever was put back before.
    void restoreApps(const std::vector<std::string>& desktopIds);
    // Launchers of apps that `isInstalled` doesn't know.
    std::vector<Orphan> orphans(const std::function<bool(const std::string& desktopId)>& isInstalled);
    void removeOrphans(const std::vector<Orphan>& orphans);

private:
    std::vector<std::unique_ptr<LauncherStore>> stores_;
    std::mutex lock_;
    // Per store, per desktop ID, what was taken out.
    std::vector<std::map<std::string, std::vector<Taken>>> taken_;
};

} // namespace tessel
