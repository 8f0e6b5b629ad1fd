#include "apps/UninstallChoices.h"

#include <algorithm>

#include "Base/AsciiCase.h"
#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/TextFormat.h"

namespace tessel::UninstallChoices {

std::string sourceWords(const InstalledApp& app, const std::string& home) {
    if (app.source == "dpkg") return "Installed with apt";
    if (app.source == "flatpak") return "Flatpak";
    if (app.source == "snap") return "Snap";
    if (app.source == "appimage") return "AppImage";
    const std::string& program = app.programPath.value_or(app.bundlePath);
    for (std::string_view place : {std::string_view(home), std::string_view("/opt"), std::string_view("/usr/local")})
        if (!place.empty() && place != "/" && Paths::isWithin(program, place)) return "Installed by you";
    return "Other";
}

std::vector<FoundApp> offered(const std::vector<FoundApp>& apps, std::string_view order) {
    std::vector<FoundApp> kept;
    std::ranges::copy_if(apps, std::back_inserter(kept),
                         [](const FoundApp& found) { return !found.app.isSystemApp && found.app.isShown; });
    if (order == "size")
        std::ranges::stable_sort(kept, [](const FoundApp& a, const FoundApp& b) { return a.bytes.value_or(-1) > b.bytes.value_or(-1); });
    return kept;
}

int builtInCount(const std::vector<FoundApp>& apps) {
    return static_cast<int>(std::ranges::count_if(apps, [](const FoundApp& found) { return found.app.isSystemApp; }));
}

bool matches(const FoundApp& found, const std::string& sourceWords, std::string_view query) {
    const std::string wanted = asciiLower(query);
    if (wanted.empty()) return true;
    const InstalledApp& app = found.app;
    for (const std::string* text : {&app.name, &sourceWords, &app.desktopId})
        if (asciiLower(*text).find(wanted) != std::string::npos) return true;
    return app.package && asciiLower(*app.package).find(wanted) != std::string::npos;
}

std::int64_t Group::bytes() const {
    std::int64_t total = 0;
    for (const ResidueItem& item : items) total = checkedAdd(total, item.bytes);
    return total;
}

std::vector<Group> groups(const UninstallPlan& plan) {
    std::vector<Group> found;
    for (const ResidueItem& item : plan.residue) {
        if (item.requiresAdministrator) continue;
        auto group = std::ranges::find(found, item.locationLabel, &Group::label);
        if (group == found.end()) group = found.insert(found.end(), Group{item.locationLabel, {}});
        group->items.push_back(item);
    }
    return found;
}

std::vector<ResidueItem> administratorItems(const UninstallPlan& plan) {
    std::vector<ResidueItem> items;
    if (plan.bundlePath && plan.bundleRequiresAdministrator) {
        ResidueItem bundle;
        bundle.path = *plan.bundlePath;
        bundle.bytes = plan.bundleBytes;
        bundle.locationLabel = "The app itself";
        bundle.requiresAdministrator = true;
        items.push_back(std::move(bundle));
    }
    std::ranges::copy_if(plan.residue, std::back_inserter(items), &ResidueItem::requiresAdministrator);
    return items;
}

std::string resultTitle(std::size_t items, const std::vector<std::string>& appNames) {
    const std::string whose = appNames.size() == 1 ? appNames.front() : std::to_string(appNames.size()) + " apps";
    return TextFormat::counted(static_cast<std::int64_t>(items), "item", "items") + " of " + whose + " moved to the Trash";
}

} // namespace tessel::UninstallChoices
