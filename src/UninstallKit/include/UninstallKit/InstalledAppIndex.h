#pragma once
// Who owns an identifier: the apps of the machine by identifier, vendor and
// name, and the identifiers their bundles carry inside them (a helper, an
// extension, a login item), so a name left on disk can be traced to its app.
// Built once, then only read: any thread may ask.

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "UninstallKit/InstalledApp.h"

namespace tessel {

class InstalledAppIndex {
public:
    struct Carrier {
        InstalledApp app;
        std::string identifier; // as the carried bundle gives it
    };
    struct Claim {
        InstalledApp app;
        std::string identifier; // lower-cased, as read from the name
        bool isCarried = false;
    };

    static constexpr std::array<std::string_view, 9> carriedBundleExtensions{
        "app", "appex", "xpc", "systemextension", "framework", "bundle", "plugin", "qlgenerator", "mdimporter"};

    // Bundles (source "bundle") are looked into for what they carry; a desktop
    // entry's app carries nothing of its own here.
    explicit InstalledAppIndex(std::vector<InstalledApp> apps);

    std::vector<InstalledApp> apps;
    std::map<std::string, InstalledApp> byIdentifier; // lower-cased identifier
    std::map<std::string, Carrier> carried;           // lower-cased identifier
    std::map<std::string, std::vector<InstalledApp>> byVendor;
    std::set<std::string> carriedVendors;
    std::map<std::string, std::vector<InstalledApp>> byName; // ReverseDns::fold of the name

    // The identifiers of what the bundle carries: the names in
    // Contents/Library/LaunchServices (a ".plist" by its stem), and the
    // identifier of every bundle inside it.
    static std::vector<std::string> carriedIdentifiers(const std::string& bundlePath);

    // The app that owns `identifier` or its nearest parent: "com.foo.app.cache" is com.foo.app's.
    std::optional<InstalledApp> app(std::string_view identifier) const;
    // The app a file or folder name belongs to, by the identifier it carries; none for a plain name.
    std::optional<Claim> claim(std::string_view name) const;
    // The app whose bundle holds `path`.
    std::optional<InstalledApp> appContaining(std::string_view path) const;

private:
    std::optional<Claim> owner(std::string_view identifier) const;
};

} // namespace tessel
