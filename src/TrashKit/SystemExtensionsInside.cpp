// System extensions carried by an app, and those the system has activated.
//
// An app may carry system extensions in Contents/Library/SystemExtensions,
// each a bundle whose Info.plist names it. Carrying one is harmless; what
// matters is whether the system activated it, because an active extension is
// removed only when the file manager moves the app, and an app moved by us
// would leave its extension running. The system lists what it knows in one
// database, a property list of "extensions", each with an "identifier", the
// "originPath" it was activated from, and a "state".
//
// Worked example. /Applications/Guard.app carries
//
//   Contents/Library/SystemExtensions/com.example.filter.systemextension
//       (Info.plist: CFBundleIdentifier = com.example.filter)
//   Contents/Library/SystemExtensions/com.example.net.systemextension
//       (Info.plist: CFBundleIdentifier = com.example.net)
//
// and the database holds
//
//   { identifier = com.example.filter; state = activated_enabled }
//   { originPath = /Applications/Guard.app/Contents/Library/SystemExtensions/
//                  com.example.net.systemextension/; state = terminated_waiting_to_uninstall }
//
// Both are carried; only the filter is installed, since the other's state
// doesn't start with "activated" (its trailing "/" would not have mattered:
// origin paths are compared in standard form). A database that exists but
// can't be read makes both count as installed, as the system's own record
// being unreadable must not let an app with a live extension slip through.
// No database at all means the system has activated none.

#include "TrashKit/SystemExtensionsInside.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>

#include "DiskScanKit/Paths.h"
#include "TrashKit/PropertyList.h"

namespace tessel::SystemExtensionsInside {

namespace {

// As much as a property list may be; a larger file is one that can't be read.
constexpr std::int64_t readLimit = std::int64_t{64} << 20;

bool endsWithIgnoringCase(std::string_view text, std::string_view suffix) {
    if (text.size() < suffix.size()) return false;
    return std::equal(suffix.begin(), suffix.end(), text.end() - static_cast<std::ptrdiff_t>(suffix.size()),
                      [](char a, char b) {
                          return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
                      });
}

// The database's activated entries; none unless "extensions" is an array made only of dictionaries.
std::vector<PropertyList> activated(const PropertyList& database) {
    std::vector<PropertyList> entries;
    const std::optional<PropertyList> list = database.get("extensions");
    if (!list || list->type() != PropertyList::Type::array) return entries;
    for (std::size_t i = 0; i < list->size(); ++i) {
        PropertyList entry = list->at(i);
        if (entry.type() != PropertyList::Type::dictionary) return {};
        const std::optional<std::string> state = entry.string("state");
        if (state && state->starts_with("activated")) entries.push_back(std::move(entry));
    }
    return entries;
}

} // namespace

std::vector<std::pair<std::string, std::string>> carried(const std::string& appPath, const FileManager& fileManager) {
    std::vector<std::pair<std::string, std::string>> extensions;
    const std::string app = Paths::standardized(appPath);
    if (!endsWithIgnoringCase(app, ".app")) return extensions;
    const std::string folder = app + "/Contents/Library/SystemExtensions";
    std::optional<std::vector<std::string>> names = fileManager.contentsOfDirectory(folder);
    if (!names) return extensions;
    std::sort(names->begin(), names->end());
    for (const std::string& name : *names) {
        if (!name.ends_with(".systemextension")) continue;
        const std::string path = folder + "/" + name;
        const std::optional<std::string> bytes = fileManager.contents(path + "/Contents/Info.plist", readLimit);
        if (!bytes) continue;
        const std::optional<PropertyList> info = PropertyList::parse(*bytes);
        if (!info) continue;
        std::optional<std::string> identifier = info->string("CFBundleIdentifier");
        if (identifier) extensions.emplace_back(std::move(*identifier), path);
    }
    return extensions;
}

std::vector<std::string> installed(const std::string& appPath, const std::string& database,
                                   const FileManager& fileManager) {
    std::vector<std::pair<std::string, std::string>> extensions = carried(appPath, fileManager);
    std::vector<std::string> paths;
    if (extensions.empty() || !fileManager.exists(database)) return paths;
    const std::optional<std::string> bytes = fileManager.contents(database, readLimit);
    const std::optional<PropertyList> root = bytes ? PropertyList::parse(*bytes) : std::nullopt;
    if (!root || root->type() != PropertyList::Type::dictionary) {
        for (auto& extension : extensions) paths.push_back(std::move(extension.second));
        return paths;
    }
    const std::vector<PropertyList> entries = activated(*root);
    for (auto& [identifier, path] : extensions) {
        const bool matches = std::any_of(entries.begin(), entries.end(), [&](const PropertyList& entry) {
            if (entry.string("identifier") == identifier) return true;
            const std::optional<std::string> origin = entry.string("originPath");
            return origin && Paths::standardized(*origin) == path;
        });
        if (matches) paths.push_back(std::move(path));
    }
    return paths;
}

} // namespace tessel::SystemExtensionsInside
