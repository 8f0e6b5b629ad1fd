// A receipt's contents. Each listed path is looked at with lstat under the
// machine's root, never followed, so a link counts as itself. ENOENT and
// ENOTDIR mean the path is gone; EACCES means a folder on the way can't be
// searched by this user, so nothing is claimed. A path that another
// package lists too, most often a folder such as /usr/share or the /bin
// link, is not this package's alone, so it goes to `shared` and not to
// `existing`. A diverted file is looked for where the
// diversion put it, which is where the path index keeps it.

#include "UninstallKit/PackageReceipts.h"

#include <sys/stat.h>

#include <cerrno>

#include "UninstallKit/DpkgDatabase.h"

namespace tessel {

namespace {

std::string withoutTrailingSlashes(const std::string& root) {
    std::string folder = root;
    while (!folder.empty() && folder.back() == '/') folder.pop_back();
    return folder;
}

} // namespace

namespace PackageReceipts {

std::vector<PackageReceipt> list(const std::string& root) {
    const std::string admin = dpkgAdminFolder(root);
    DpkgDatabase::checkFormat(admin);
    std::vector<PackageReceipt> receipts;
    const std::vector<DpkgPackage> packages = DpkgDatabase::readStatus(admin);
    const std::set<std::string> desktop = DpkgDatabase::desktopPackages(packages);
    for (const DpkgPackage& package : packages) {
        if (package.state == "not-installed") continue;
        receipts.push_back({package.listName(), package.version, DpkgDatabase::fileListTime(admin, package),
                            package.isSystem() || desktop.contains(package.name), package.stateLetters()});
    }
    return receipts;
}

PackageContents contents(const std::string& root, const std::string& name, const PathOwners& owners) {
    const std::string admin = dpkgAdminFolder(root);
    DpkgDatabase::checkFormat(admin);
    const std::vector<DpkgPackage> packages = DpkgDatabase::readStatus(admin);
    const DpkgPackage* package = nullptr;
    for (const DpkgPackage& each : packages)
        if (each.name == name || each.listName() == name) package = &each;
    if (!package || package->state == "not-installed")
        throw DpkgError("no package named \"" + name + "\" is installed or has configuration left in " + admin);
    return contents(root, *package, owners);
}

PackageContents contents(const std::string& root, const DpkgPackage& dpkgPackage, const PathOwners& owners) {
    const std::string admin = dpkgAdminFolder(root);
    const DpkgPackage* package = &dpkgPackage;
    PackageContents contents{package->name, package->stateLetters(), false, {}, {}, {}, {}};
    std::vector<std::string> paths;
    if (package->hasFiles()) {
        if (std::optional<std::string> list = DpkgDatabase::readFileList(admin, *package)) {
            contents.listed = true;
            paths = DpkgDatabase::listedPaths(*list);
        }
    } else {
        contents.listed = true;
        paths = package->conffiles;
    }
    const std::string top = withoutTrailingSlashes(root);
    for (const std::string& listed : paths) {
        const std::string path = owners.placeOf(listed, package->listName());
        struct stat info {};
        if (lstat((top + path).c_str(), &info) != 0) {
            (errno == EACCES ? contents.unchecked : contents.missing).push_back(path);
            continue;
        }
        if (owners.owners(path).size() > 1) contents.shared.push_back(path);
        else contents.existing.push_back(path);
    }
    return contents;
}

} // namespace PackageReceipts

} // namespace tessel
