// Gathering a Linux machine's startup items and judging their owners.
//
// Each reader lists its own kind (SystemdUnits, AutostartEntries, CronJobs);
// here the owner is found. The file an item lies in is looked up in the
// package database: the package gives it an app when that package installed
// an app's program ("Its file came with Foo."), and makes it the platform's
// own when it is a base-system or desktop package. A unit of systemd's own
// ("systemd-*") is the platform's without asking. Then the matcher's ladder
// runs on the item's name, the apps it declares and its program, the apps'
// packages and folders standing for the Mac's bundles.

#include "UninstallKit/LinuxStartupItems.h"

#include <algorithm>
#include <optional>

#include "UninstallKit/AppOwners.h"
#include "UninstallKit/AutostartEntries.h"
#include "UninstallKit/CarriedNames.h"
#include "UninstallKit/CronJobs.h"
#include "UninstallKit/DpkgDatabase.h"
#include "UninstallKit/InstalledAppIndex.h"
#include "UninstallKit/PackageReceipts.h"
#include "UninstallKit/StartupOwnerMatcher.h"
#include "UninstallKit/SystemdUnitFile.h"
#include "UninstallKit/SystemdUnits.h"

namespace tessel::LinuxStartupItems {

std::string ownerName(const StartupItem& item) {
    if (item.source == StartupSources::systemd) return std::string(UnitNames::prefix(item.label));
    if (item.source == StartupSources::cron) {
        // "cron.daily/man-db" and "php#3" are man-db's and php's; no slash leaves the whole label (npos + 1 is 0).
        std::string_view label = item.label;
        label = label.substr(label.rfind('/') + 1);
        return std::string(label.substr(0, label.find('#')));
    }
    return item.label;
}

void judge(std::vector<StartupItem>& items, const StartupMachine& machine, const StartupOwnership& ownership) {
    const AppOwners appOwners(ownership.apps, ownership.owners, machine);
    const StartupOwnerMatcher matcher(InstalledAppIndex(ownership.apps), Platform::linuxOS,
                                      [&](std::string_view path) { return appOwners.appContaining(path); });
    for (StartupItem& item : items) {
        const std::string file = machine.followLinks(item.path).value_or(item.path);
        std::vector<std::string_view> packages;
        if (ownership.owners != nullptr) packages = ownership.owners->owners(file);
        if (!packages.empty()) item.package = std::string(packages.front());
        const std::string name = ownerName(item);
        item.isPlatform = name.starts_with("systemd-") ||
                          (!packages.empty() && std::ranges::all_of(packages, [&](std::string_view package) {
                               return ownership.platformPackages.contains(std::string(package.substr(0, package.find(':'))));
                           }));
        const StartupOwnerMatcher::Match match =
            matcher.match(name, item.declaredApps, item.program, item.isPlatform, file, {});
        item.owner = match.owner;
        item.ownerConfidence = match.confidence;
        item.ownerReason = match.reason;
    }
}

StartupItemReport read(const StartupMachine& machine, const StartupOwnership& ownership) {
    StartupItemReport report;
    for (SystemdUnits::Scope scope : {SystemdUnits::Scope::user, SystemdUnits::Scope::system}) {
        std::vector<StartupItem> units = SystemdUnits::read(machine, scope, report.unreadable);
        report.items.insert(report.items.end(), units.begin(), units.end());
    }
    std::vector<StartupItem> entries = AutostartEntries::read(machine, report.unreadable);
    report.items.insert(report.items.end(), entries.begin(), entries.end());
    std::vector<StartupItem> jobs = CronJobs::read(machine, report.unreadable);
    report.items.insert(report.items.end(), jobs.begin(), jobs.end());
    judge(report.items, machine, ownership);
    std::ranges::stable_sort(report.items, [](const StartupItem& a, const StartupItem& b) {
        return std::tie(a.kind, a.label) < std::tie(b.kind, b.label);
    });
    return report;
}

StartupItemReport readJudgedByMachine(const StartupMachine& machine, const std::string& cacheFolder) {
    StartupOwnership known;
    std::optional<PathOwners> owners;
    try {
        owners = PathOwners::cached(machine.root, cacheFolder);
        known.owners = &*owners;
        for (const PackageReceipt& receipt : PackageReceipts::list(machine.root))
            if (receipt.isSystem) known.platformPackages.insert(receipt.package);
    } catch (const DpkgError&) {
        known.owners = nullptr;
    }
    known.apps = AppCatalog::installedApps(machine).apps;
    CarriedNames::fill(known.apps, known.owners, machine);
    return read(machine, known);
}

} // namespace tessel::LinuxStartupItems
