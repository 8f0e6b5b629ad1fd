// The index of installed apps, and how a name is traced to its owner.
//
// Each app is entered under its lower-cased identifier, its vendor and its
// folded name. A bundle is then looked into: the names in
// Contents/Library/LaunchServices are identifiers of its privileged helpers
// (a ".plist" by its stem), and every bundle inside it (a helper app, an
// extension, a framework, a plug-in) has its own identifier. On Linux the
// app's package says what it carries (CarriedNames). Those not already some
// app's own go into `carried`, with the app that holds them.
//
// A name's owner is found by walking up its identifier, longest first, and
// asking at each step the apps' own identifiers, then the carried ones; the
// first answer wins. So with Bar.app (com.foo.bar) carrying
// com.foo.bar.helper:
//   com.foo.bar.helper.cache   → com.foo.bar.helper, carried by Bar.app
//   com.foo.bar.prefs          → com.foo.bar, Bar.app's own
//   com.foo.other              → nothing: com.foo is a vendor, not an app
//
// The walk inside a bundle stops at a depth and a count that real bundles
// stay well within, and never follows a link: a bundle is someone else's
// folder and may lead anywhere.

#include "UninstallKit/InstalledAppIndex.h"

#include <sys/stat.h>

#include <algorithm>

#include "Base/AsciiCase.h"
#include "Base/FolderNames.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/ReverseDns.h"

namespace tessel {

namespace {

constexpr int maxBundleDepth = 8;
constexpr int maxBundleItems = 20000;

bool isCarriedBundle(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) return false;
    const std::string extension = asciiLower(name.substr(dot + 1));
    return std::find(InstalledAppIndex::carriedBundleExtensions.begin(),
                     InstalledAppIndex::carriedBundleExtensions.end(),
                     extension) != InstalledAppIndex::carriedBundleExtensions.end();
}

void collectBundles(const std::string& folder, int depth, int& budget, std::vector<std::string>& identifiers) {
    for (const std::string& name : folderNames(folder)) {
        if (--budget < 0) return;
        const std::string path = folder + "/" + name;
        struct stat info {};
        if (lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) continue;
        if (isCarriedBundle(name))
            if (std::optional<std::string> identifier = AppCatalog::bundleIdentifier(path))
                identifiers.push_back(std::move(*identifier));
        if (depth < maxBundleDepth) collectBundles(path, depth + 1, budget, identifiers);
    }
}

} // namespace

std::vector<std::string> InstalledAppIndex::carriedIdentifiers(const std::string& bundlePath) {
    std::vector<std::string> identifiers;
    for (std::string name : folderNames(bundlePath + "/Contents/Library/LaunchServices")) {
        if (name.ends_with(".plist")) name.resize(name.size() - 6);
        if (!name.empty()) identifiers.push_back(name);
    }
    int budget = maxBundleItems;
    collectBundles(bundlePath + "/Contents", 0, budget, identifiers);
    return identifiers;
}

InstalledAppIndex::InstalledAppIndex(std::vector<InstalledApp> found) : apps(std::move(found)) {
    for (const InstalledApp& app : apps) {
        if (app.bundleIdentifier) byIdentifier.emplace(asciiLower(*app.bundleIdentifier), app);
        if (std::optional<std::string> vendor = app.developerPrefix()) byVendor[*vendor].push_back(app);
        byName[ReverseDns::fold(app.name)].push_back(app);
    }
    for (const InstalledApp& app : apps) {
        for (const std::string& identifier : app.source == "bundle" ? carriedIdentifiers(app.bundlePath) : app.carries) {
            const std::string key = asciiLower(identifier);
            if (byIdentifier.contains(key) || !carried.emplace(key, Carrier{app, identifier}).second) continue;
            if (std::optional<std::string> vendor = ReverseDns::vendor(key)) carriedVendors.insert(*vendor);
        }
    }
}

std::optional<InstalledAppIndex::Claim> InstalledAppIndex::owner(std::string_view identifier) const {
    for (const std::string& step : ReverseDns::lineage(identifier)) {
        if (const auto own = byIdentifier.find(step); own != byIdentifier.end())
            return Claim{own->second, asciiLower(identifier), false};
        if (const auto inside = carried.find(step); inside != carried.end())
            return Claim{inside->second.app, asciiLower(identifier), true};
    }
    return std::nullopt;
}

std::optional<InstalledApp> InstalledAppIndex::app(std::string_view identifier) const {
    std::optional<Claim> found = owner(identifier);
    if (!found) return std::nullopt;
    return std::move(found->app);
}

std::optional<InstalledAppIndex::Claim> InstalledAppIndex::claim(std::string_view name) const {
    const std::optional<std::string> identifier = ReverseDns::identifier(name);
    if (!identifier) return std::nullopt;
    return owner(*identifier);
}

std::optional<InstalledApp> InstalledAppIndex::appContaining(std::string_view path) const {
    const std::string standard = Paths::standardized(path);
    for (std::size_t end = standard.find('/', 1);; end = standard.find('/', end + 1)) {
        const std::string_view prefix = std::string_view(standard).substr(0, end);
        if (prefix.ends_with(".app"))
            for (const InstalledApp& app : apps)
                if (app.source == "bundle" && app.bundlePath == prefix) return app;
        if (end == std::string::npos) return std::nullopt;
    }
}

} // namespace tessel
