#pragma once
// Switching a user's startup item off and back on, so that every change can
// be undone to the byte. A login item is turned off by a copy in the user's
// autostart folder that says Hidden=true (the system's file is never
// touched); a user unit of systemd by taking away the links that switch it
// on. What only an administrator may change is left alone, and the command
// that would change it is told.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "UninstallKit/StartupItem.h"
#include "UninstallKit/StartupMachine.h"

namespace tessel {

// The user's systemd manager, where one runs, as D-Bus offers it
// (org.freedesktop.systemd1.Manager): it changes the links itself, and
// reloads. Without one, the links are changed on the disk.
class UserUnitManager {
public:
    virtual ~UserUnitManager() = default;
    // None when done, else what went wrong.
    virtual std::optional<std::string> disableUnitFiles(const std::vector<std::string>& units) = 0;
    virtual std::optional<std::string> enableUnitFiles(const std::vector<std::string>& units) = 0;
    virtual std::optional<std::string> reload() = 0;
};

// One change, as much as it takes to undo it.
struct StartupChange {
    std::string label;
    std::string source;
    bool switchedOff = false;
    // The links taken away and made, each with its target as it was written.
    std::vector<std::pair<std::string, std::string>> linksRemoved;
    std::vector<std::pair<std::string, std::string>> linksMade;
    bool operator==(const StartupChange&) const = default;
};

struct StartupSwitchOutcome {
    bool changed = false;
    std::string sentence; // what happened, or why nothing did
    std::optional<StartupChange> change;
};

class StartupSwitch {
public:
    // What marks an autostart file as changed by this program, and how: "copy"
    // (the whole file is its own), "added" (it added Hidden=true), or "was:"
    // and the line its Hidden=true stands in for.
    static constexpr std::string_view markerKey = "X-Tessel-Override";

    // `manager` may be none: the links are then changed on the disk.
    explicit StartupSwitch(StartupMachine machine, UserUnitManager* manager = nullptr);

    StartupSwitchOutcome disable(const StartupItem& item);
    StartupSwitchOutcome enable(const StartupItem& item);
    // Puts back what a change did, exactly.
    StartupSwitchOutcome undo(const StartupChange& change);

    // What goes to the Trash with a user unit of the user's own: its file,
    // its drop-in folder and the links that switch it on. None for anything else.
    std::vector<std::string> trashablePaths(const StartupItem& item) const;

    // Whether a systemd manager runs for this user (its private socket is there).
    bool userManagerRuns() const;

    // An entry's text with Hidden=true, marked so that `withoutHidden` gives the text back to the byte.
    static std::optional<std::string> withHidden(std::string_view text);
    // Undoes `withHidden`; none when the text carries no such mark.
    static std::optional<std::string> withoutHidden(std::string_view text);

private:
    StartupSwitchOutcome switchEntry(const StartupItem& item, bool off);
    StartupSwitchOutcome switchUnit(const StartupItem& item, bool off);
    std::string unitFolder() const;

    StartupMachine machine_;
    UserUnitManager* manager_;
};

} // namespace tessel
