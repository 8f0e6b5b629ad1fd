// Which app a startup item belongs to: a ladder, whose first step that
// matches ends the walk.
//
// What the item itself declares is trusted first (the app it names, the app
// that turned it on), then where it lies (the app or package its file came
// in), then what it runs (a program inside an app), then what its name says
// (an identifier an app carries, or one that extends an app's own), and last
// its vendor. Nothing past that is guessed: a vendor many apps share, or the
// system's own, gives no owner. So with Foo.app (com.foo.app) the only app
// of com.foo installed:
//   declares com.gone.app, not installed, label com.foo.app.agent
//                                   → built from com.foo.app's identifier, exact
//   label com.foo.updater           → same vendor prefix, likely
//   label com.foo.updater, with Bar.app (com.foo.bar) installed too
//                                   → no owner: either could own it
//   label org.gnome.SettingsDaemon.Power, one org.gnome app installed
//                                   → no owner: a suite's shared prefix

#include "UninstallKit/StartupOwnerMatcher.h"

#include <array>

#include "Base/AsciiCase.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/ReverseDns.h"

namespace tessel {

namespace {

constexpr std::array<std::string_view, 4> applePrefixes{"com.apple", "apple.com", "is.workflow", "org.cups"};

bool underApple(std::string_view identifier) {
    for (std::string_view prefix : applePrefixes)
        if (ReverseDns::hasPrefix(prefix, identifier)) return true;
    return false;
}

const std::string nothingMatches = "No installed app matches its name, what it runs, or the apps it names.";

} // namespace

StartupOwnerMatcher::StartupOwnerMatcher(InstalledAppIndex built, Platform platform, AppContaining appContaining)
    : index(std::move(built)), platform_(platform), appContaining_(std::move(appContaining)) {}

std::optional<InstalledApp> StartupOwnerMatcher::containing(std::string_view path) const {
    return appContaining_ ? appContaining_(path) : index.appContaining(path);
}

std::optional<StartupOwnerMatcher::Match> StartupOwnerMatcher::byLineage(const std::vector<std::string>& names) const {
    const bool onMac = platform_ == Platform::macOS;
    const std::string identifierWord = onMac ? "bundle identifier" : "identifier";
    for (const std::string& name : names) {
        for (const std::string& entry : ReverseDns::lineage(name)) {
            if (const auto own = index.byIdentifier.find(entry); own != index.byIdentifier.end()) {
                const std::string& app = own->second.name;
                if (equalsIgnoringAsciiCase(entry, name))
                    return Match{own->second, MatchConfidence::exact, "Its name is " + app + "'s " + identifierWord + "."};
                return Match{own->second, MatchConfidence::exact,
                             "Its name is built from " + app + "'s " + identifierWord + " (" + entry + ")."};
            }
            if (const auto carried = index.carried.find(entry); carried != index.carried.end())
                return Match{carried->second.app, MatchConfidence::exact,
                             "It names " + entry + ", which is part of " + carried->second.app.name + "."};
        }
    }
    return std::nullopt;
}

StartupOwnerMatcher::Match StartupOwnerMatcher::match(std::string_view label, const std::vector<std::string>& declared,
                                                      const std::optional<std::string>& program, bool isPlatform,
                                                      const std::optional<std::string>& container,
                                                      const std::vector<std::string>& activatedBy) const {
    const bool onMac = platform_ == Platform::macOS;
    for (const std::string& identifier : declared)
        if (const auto app = index.byIdentifier.find(asciiLower(identifier)); app != index.byIdentifier.end())
            return {app->second, MatchConfidence::exact,
                    onMac ? "Its settings name " + app->second.name + " as the app it belongs to."
                          : "It names " + app->second.name + " as the app it belongs to."};
    for (const std::string& identifier : activatedBy)
        if (const auto app = index.byIdentifier.find(asciiLower(identifier)); app != index.byIdentifier.end())
            return {app->second, MatchConfidence::exact, app->second.name + " turned it on."};
    if (container)
        if (std::optional<InstalledApp> app = containing(*container))
            return {*app, MatchConfidence::exact,
                    onMac ? "It came inside " + app->name + "." : "Its file came with " + app->name + "."};
    if (program) {
        if (std::optional<InstalledApp> app = containing(*program))
            return {*app, MatchConfidence::exact,
                    onMac ? "It runs a program inside " + app->name + "."
                          : "It runs a program that came with " + app->name + "."};
        if (std::optional<InstalledApp> app = appBundle(*program))
            return {*app, MatchConfidence::exact, "It runs a program inside " + app->name + ", at " + app->bundlePath + "."};
    }
    // An app's own identifier is a claim too, but one its name tells better, below.
    if (std::optional<InstalledAppIndex::Claim> claim = index.claim(label); claim && claim->isCarried)
        return {claim->app, MatchConfidence::exact,
                claim->app.name + " carries " + claim->identifier +
                    (onMac ? " inside its app bundle." : " in its package.")};
    std::vector<std::string> names{std::string(label)};
    names.insert(names.end(), declared.begin(), declared.end());
    if (std::optional<Match> found = byLineage(names)) return *found;
    if (isPlatform)
        return {std::nullopt, std::nullopt,
                onMac ? "Part of macOS or of Apple's own software." : "Part of the system or of its desktop."};

    std::optional<std::string> identifier;
    for (const std::string& name : names)
        if ((identifier = ReverseDns::identifier(name))) break;
    if (!identifier || underApple(*identifier)) return {std::nullopt, std::nullopt, nothingMatches};
    const std::optional<std::string> vendor = ReverseDns::vendor(*identifier);
    if (!vendor) return {std::nullopt, std::nullopt, nothingMatches};
    const auto fromVendor = index.byVendor.find(*vendor);
    const std::size_t count = fromVendor == index.byVendor.end() ? 0 : fromVendor->second.size();
    if (ResidueScanner::platformPrefixes().contains(*vendor)) {
        if (count == 0) return {std::nullopt, std::nullopt, nothingMatches};
        return {std::nullopt, std::nullopt,
                "Shared by a suite of apps from " + *vendor + ", " + std::to_string(count) +
                    " of them installed, so no one app owns it."};
    }
    if (count == 1)
        return {fromVendor->second.front(), MatchConfidence::likely,
                "Same vendor prefix (" + *vendor + ") as " + fromVendor->second.front().name +
                    ", the only app from that vendor installed."};
    if (count > 1)
        return {std::nullopt, std::nullopt,
                "Same vendor prefix (" + *vendor + ") as " + std::to_string(count) +
                    " installed apps, so it could belong to any of them."};
    return {std::nullopt, std::nullopt, nothingMatches};
}

std::optional<InstalledApp> StartupOwnerMatcher::appBundle(std::string_view path) {
    std::string bundle;
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string_view::npos) end = path.size();
        const std::string_view component = path.substr(start, end - start);
        if (!component.empty()) {
            bundle += "/";
            bundle += component;
            if (endsWithIgnoringAsciiCase(component, ".app") && !component.starts_with("._"))
                return AppCatalog::read(bundle, false);
        }
        start = end + 1;
    }
    return std::nullopt;
}

} // namespace tessel
