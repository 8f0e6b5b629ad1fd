// tessel owner, receipts and receipt: what the package database says about
// paths and packages, read from the machine's "/" or from --root.

#include <chrono>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Listing.h"
#include "TerminalText.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ScanReport.h"
#include "UninstallKit/AppCatalog.h"
#include "UninstallKit/AppOwners.h"
#include "UninstallKit/DpkgDatabase.h"
#include "UninstallKit/PackageReceipts.h"
#include "UninstallKit/PathOwners.h"
#include "UninstallKit/SandboxedApps.h"

namespace tessel::cli {

namespace {

const std::vector<OptionSpec> packageOptions{{"json", false}, {"root", true}};

std::optional<std::string> dateOf(const std::optional<std::int64_t>& nanoseconds) {
    if (!nanoseconds) return std::nullopt;
    const auto since = std::chrono::duration_cast<std::chrono::system_clock::duration>(std::chrono::nanoseconds(*nanoseconds));
    return ScanReport::isoDate(std::chrono::system_clock::time_point(since));
}

void printPaths(const char* heading, const std::vector<std::string>& paths) {
    if (paths.empty()) return;
    std::printf("%s (%zu):\n", heading, paths.size());
    for (const std::string& path : paths) std::printf("  %s\n", printable(path).c_str());
}

} // namespace

int runOwner(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, packageOptions);
    if (arguments.positionals.empty()) throw UsageError("owner wants at least one PATH");
    const std::string root = systemRoot(arguments);
    std::optional<PathOwners> index;
    try {
        index = PathOwners::cached(root, cacheFolder());
    } catch (const DpkgError& error) {
        printError("the package database could not be read: " + printable(error.what()));
        return exitFailure;
    }
    const DesktopMachine machine = DesktopMachine::fromEnvironment(root);
    const AppOwners apps(AppCatalog::installedApps(machine).apps, &*index, machine);
    bool allOwned = true;
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const std::string& typed : arguments.positionals) {
        const std::string path = Paths::absolute(typed);
        const std::vector<std::string_view> listedBy = index->owners(path);
        std::vector<std::string> owners(listedBy.begin(), listedBy.end());
        std::optional<std::string> source;
        if (!owners.empty()) source = "dpkg";
        else if (std::optional<SandboxedPackage> sandboxed = SandboxedApps::packageHolding(path, root, machine.dataHome)) {
            owners.push_back(sandboxed->name);
            source = sandboxed->source;
        }
        const std::optional<InstalledApp> app = apps.appContaining(path);
        allOwned = allOwned && (!owners.empty() || app);
        if (arguments.has("json")) {
            nlohmann::ordered_json item;
            putName(item, "path", path);
            // A crafted database may hold names that are not UTF-8.
            if (owners.empty()) item["package"] = nullptr;
            else putName(item, "package", owners.front());
            putNames(item, "packages", owners);
            if (source) item["source"] = *source;
            else item["source"] = nullptr;
            if (app) putName(item, "app", app->name);
            else item["app"] = nullptr;
            list.push_back(std::move(item));
            continue;
        }
        std::string names;
        for (const std::string& owner : owners) names += (names.empty() ? "" : ", ") + printable(owner);
        if (owners.empty()) names = "no package";
        else if (*source != "dpkg") names += " (" + std::string(*source == "flatpak" ? "Flatpak" : "snap") + ")";
        if (app) names += " (the app " + printable(app->name) + ")";
        std::printf("%s: %s\n", printable(path).c_str(), names.c_str());
    }
    if (arguments.has("json")) printJson({{"owners", std::move(list)}});
    return allOwned ? exitSuccess : exitFailure;
}

int runReceipts(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, packageOptions);
    if (!arguments.positionals.empty())
        throw UsageError("receipts takes no argument, not \"" + arguments.positionals.front() + "\"");
    std::vector<PackageReceipt> receipts;
    try {
        receipts = PackageReceipts::list(systemRoot(arguments));
    } catch (const DpkgError& error) {
        printError("the package database could not be read: " + printable(error.what()));
        return exitFailure;
    }
    if (arguments.has("json")) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const PackageReceipt& receipt : receipts) {
            nlohmann::ordered_json item;
            putName(item, "package", receipt.package);
            putName(item, "version", receipt.version);
            const std::optional<std::string> installed = dateOf(receipt.installed);
            item["installed"] = installed ? nlohmann::ordered_json(*installed) : nullptr;
            item["isSystem"] = receipt.isSystem;
            item["state"] = receipt.state;
            list.push_back(std::move(item));
        }
        printJson({{"receipts", std::move(list)}});
        return exitSuccess;
    }
    for (const PackageReceipt& receipt : receipts) {
        const std::optional<std::string> installed = dateOf(receipt.installed);
        std::printf("%-3s %s %s, %s%s\n", receipt.state.c_str(), printable(receipt.package).c_str(),
                    printable(receipt.version).c_str(), installed ? ("installed " + *installed).c_str() : "no file list",
                    receipt.isSystem ? ", part of the base system" : "");
    }
    std::printf("%zu packages\n", receipts.size());
    return exitSuccess;
}

int runReceipt(const std::vector<std::string>& words) {
    const Arguments arguments = parseArguments(words, packageOptions);
    if (arguments.positionals.size() != 1) throw UsageError("receipt wants one PACKAGE");
    const std::string root = systemRoot(arguments);
    PackageContents contents;
    try {
        const PathOwners index = PathOwners::cached(root, cacheFolder());
        contents = PackageReceipts::contents(root, arguments.positionals.front(), index);
    } catch (const DpkgError& error) {
        printError(printable(error.what()));
        return exitFailure;
    }
    if (arguments.has("json")) {
        nlohmann::ordered_json report;
        putName(report, "package", contents.package);
        report["state"] = contents.state;
        report["listed"] = contents.listed;
        putNames(report, "existing", contents.existing);
        putNames(report, "missing", contents.missing);
        putNames(report, "unchecked", contents.unchecked);
        putNames(report, "shared", contents.shared);
        printJson(report);
        return exitSuccess;
    }
    std::printf("%s (%s): %zu paths still on disk, %zu gone", printable(contents.package).c_str(), contents.state.c_str(),
                contents.existing.size(), contents.missing.size());
    if (!contents.unchecked.empty())
        std::printf(", %zu in folders this user may not look into", contents.unchecked.size());
    if (!contents.shared.empty()) std::printf(", %zu shared with other packages", contents.shared.size());
    std::printf("%s\n", contents.listed ? "" : "; its file list could not be read");
    printPaths(contents.state == "rc" ? "Configuration files left" : "Still on disk", contents.existing);
    printPaths("Gone", contents.missing);
    printPaths("Not checked", contents.unchecked);
    printPaths("Shared folders", contents.shared);
    return exitSuccess;
}

} // namespace tessel::cli
