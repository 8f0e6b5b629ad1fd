// The Mac's apps: bundles read from their Info.plist, XML or binary.

#include "UninstallKit/AppCatalog.h"


#include <algorithm>
#include <set>

#include "Base/AsciiCase.h"
#include "Base/FolderNames.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/Paths.h"
#include "TrashKit/PropertyList.h"
#include "UninstallKit/ReverseDns.h"

namespace tessel {

namespace {

// Info.plist files are a few kilobytes; the largest hold every localisation's document types.
constexpr std::int64_t maxInfoPlistBytes = 8 << 20;

std::optional<PropertyList> infoPlist(const std::string& path) {
    const SmallFileRead file = readSmallFile(path, maxInfoPlistBytes);
    if (!file.text) return std::nullopt;
    std::optional<PropertyList> list = PropertyList::parse(*file.text);
    if (!list || list->type() != PropertyList::Type::dictionary) return std::nullopt;
    return list;
}

std::optional<std::string> nonEmpty(std::optional<std::string> text) {
    if (text && text->empty()) return std::nullopt;
    return text;
}

} // namespace

std::optional<std::string> InstalledApp::developerPrefix() const {
    if (!bundleIdentifier) return std::nullopt;
    return ReverseDns::vendor(*bundleIdentifier);
}

std::size_t InstalledAppHash::operator()(const InstalledApp& app) const {
    const std::hash<std::string> hash;
    return hash(app.bundlePath) ^ (hash(app.desktopId) << 1) ^ (hash(app.bundleIdentifier.value_or("")) << 2);
}

namespace AppCatalog {

std::vector<std::string> userSearchPaths(std::string_view home) {
    return {"/Applications", "/Applications/Utilities", Paths::join(home, "Applications")};
}

std::vector<std::string> systemSearchPaths() {
    return {"/System/Applications", "/System/Applications/Utilities", "/System/Library/CoreServices"};
}

std::optional<InstalledApp> read(const std::string& bundlePath, bool isSystem) {
    const std::optional<PropertyList> info = infoPlist(bundlePath + "/Contents/Info.plist");
    if (!info) return std::nullopt;
    InstalledApp app;
    app.bundlePath = bundlePath;
    app.bundleIdentifier = nonEmpty(info->string("CFBundleIdentifier"));
    std::string fileName(Paths::lastComponent(bundlePath));
    if (fileName.ends_with(".app")) fileName.resize(fileName.size() - 4);
    app.name = nonEmpty(info->string("CFBundleDisplayName"))
                   .value_or(nonEmpty(info->string("CFBundleName")).value_or(fileName));
    app.version = nonEmpty(info->string("CFBundleShortVersionString"));
    app.isSystemApp = isSystem;
    app.source = "bundle";
    return app;
}

std::vector<InstalledApp> applications(const std::string& folder, bool isSystem) {
    std::vector<std::string> names = folderNames(folder);
    std::erase_if(names, [](const std::string& name) { return name.size() <= 4 || !name.ends_with(".app"); });
    std::vector<InstalledApp> apps;
    for (const std::string& name : names)
        if (std::optional<InstalledApp> app = read(Paths::join(folder, name), isSystem)) apps.push_back(std::move(*app));
    return apps;
}

std::vector<InstalledApp> installedApps(const std::vector<std::string>& userPaths,
                                        const std::vector<std::string>& systemPaths) {
    std::vector<InstalledApp> apps;
    std::set<std::string> seen;
    const auto take = [&](const std::vector<std::string>& folders, bool isSystem) {
        for (const std::string& folder : folders)
            for (InstalledApp& app : applications(folder, isSystem))
                if (seen.insert(app.bundlePath).second) apps.push_back(std::move(app));
    };
    take(userPaths, false);
    take(systemPaths, true);
    std::stable_sort(apps.begin(), apps.end(), nameOrder);
    return apps;
}

std::optional<std::string> bundleIdentifier(const std::string& bundlePath) {
    for (const char* inside : {"/Contents/Info.plist", "/Resources/Info.plist"})
        if (std::optional<PropertyList> info = infoPlist(bundlePath + inside))
            return nonEmpty(info->string("CFBundleIdentifier"));
    return std::nullopt;
}

bool nameOrder(const InstalledApp& left, const InstalledApp& right) {
    const std::string a = asciiLower(left.name), b = asciiLower(right.name);
    if (a != b) return a < b;
    if (left.name != right.name) return left.name < right.name;
    return left.desktopId < right.desktopId;
}

} // namespace AppCatalog
} // namespace tessel
