#pragma once
// Which installed app a startup item belongs to, how sure that is, and why,
// in one sentence a person reads. Built once on the installed-app index,
// then only read.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/Platform.h"
#include "UninstallKit/InstalledAppIndex.h"
#include "UninstallKit/ResidueScanner.h"

namespace tessel {

class StartupOwnerMatcher {
public:
    struct Match {
        std::optional<InstalledApp> owner;
        std::optional<MatchConfidence> confidence; // none exactly when there is no owner
        std::string reason;                        // always a whole sentence
        bool operator==(const Match&) const = default;
    };
    // The app whose files hold a path. On the Mac the index's bundles answer;
    // on Linux the package that installed the path, or the folder that is
    // wholly an app's (AppOwners).
    using AppContaining = std::function<std::optional<InstalledApp>(std::string_view path)>;

    explicit StartupOwnerMatcher(InstalledAppIndex index, Platform platform = currentPlatform(),
                                 AppContaining appContaining = {});

    // `label`: the item's name (a job's label, a unit's or entry's name without
    // its suffix). `declared`: the identifiers it names as its own app's.
    // `program`: what it runs, resolved. `container`: the app or the file it
    // came in. `activatedBy`: the apps that turned it on.
    Match match(std::string_view label, const std::vector<std::string>& declared,
                const std::optional<std::string>& program, bool isPlatform,
                const std::optional<std::string>& container, const std::vector<std::string>& activatedBy) const;

    // The app whose bundle holds `path`, read from the bundle itself when the
    // index doesn't know it: the first component ending in ".app".
    static std::optional<InstalledApp> appBundle(std::string_view path);

    InstalledAppIndex index;

private:
    std::optional<Match> byLineage(const std::vector<std::string>& names) const;
    std::optional<InstalledApp> containing(std::string_view path) const;

    Platform platform_;
    AppContaining appContaining_;
};

} // namespace tessel
