#include "UninstallKit/JunkItem.h"

#include <algorithm>

namespace tessel {

namespace JunkCategories {

namespace {

struct Words {
    JunkCategory category;
    std::string_view rawValue;
    std::string_view title;
    std::string_view macSummary;
    std::string_view linuxSummary;
};

constexpr Words words[] = {
    {JunkCategory::appCaches, "appCaches", "App Caches",
     "Copies apps and browsers keep to open faster. Each rebuilds its own when it next needs it.",
     "Copies apps and browsers keep to open faster. Each rebuilds its own when it next needs it."},
    {JunkCategory::logs, "logs", "Logs and Crash Reports", "Records apps and macOS wrote about what they did and how they failed.",
     "Records apps and the system wrote about what they did and how they failed."},
    {JunkCategory::developer, "developer", "Developer Build Data",
     "What Xcode, the simulators and your projects' tools make again as needed, and Xcode's archives.",
     "What your projects' tools make again as needed: dependencies, build folders and virtual environments."},
    {JunkCategory::packageCaches, "packageCaches", "Package Caches",
     "Downloads Homebrew, npm, pip and other tools keep in case they are needed again.",
     "Downloads npm, pip, Cargo and other tools keep in case they are needed again."},
    {JunkCategory::installers, "installers", "Downloaded Installers",
     "Disk images, packages, macOS installers and iPhone and iPad updates. What they installed stays.",
     "Packages, disk images and installers you downloaded. What they installed stays."},
    {JunkCategory::oldDownloads, "oldDownloads", "Old Downloads",
     "Files in Downloads not opened for three months. Yours, so never ticked for you.",
     "Files in Downloads not opened for three months. Yours, so never ticked for you."},
    {JunkCategory::virtualMachines, "virtualMachines", "Virtual Machines",
     "Whole computers kept as files by UTM, Parallels, VMware, VirtualBox and Docker. Never ticked for you.",
     "Whole computers kept as files by VirtualBox, GNOME Boxes, Vagrant, Podman and Docker. Never ticked for you."},
    {JunkCategory::games, "games", "Games",
     "Games Steam and Epic installed. Remove one in its store, which keeps its list right. Never ticked for you.",
     "Games Steam, Heroic and Lutris installed. Remove one in its store, which keeps its list right. Never ticked for you."},
};

const Words& of(JunkCategory category) {
    return *std::ranges::find(words, category, &Words::category);
}

} // namespace

std::string_view rawValue(JunkCategory category) { return of(category).rawValue; }

std::optional<JunkCategory> fromRawValue(std::string_view text) {
    const auto found = std::ranges::find(words, text, &Words::rawValue);
    if (found == std::end(words)) return std::nullopt;
    return found->category;
}

std::string_view title(JunkCategory category) { return of(category).title; }

std::string_view summary(JunkCategory category, Platform platform) {
    return platform == Platform::macOS ? of(category).macSummary : of(category).linuxSummary;
}

bool isTheirs(JunkCategory category) {
    return category == JunkCategory::installers || category == JunkCategory::oldDownloads ||
           category == JunkCategory::virtualMachines || category == JunkCategory::games;
}

} // namespace JunkCategories

bool JunkItem::startsTicked() const {
    return recommended && !isSystem && !requiresAdministrator && !JunkCategories::isTheirs(category) &&
           path.find("DeviceSupport/") == std::string::npos;
}

} // namespace tessel
