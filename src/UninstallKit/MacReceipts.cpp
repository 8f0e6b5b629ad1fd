// Reading a Mac's installer receipts.
//
// A receipt is a property list named for its package; its bill of materials
// (the list of paths the package laid down, relative to its install prefix)
// is read by pkgutil, run through CommandRunner with the identifier checked
// first, so that a crafted receipt cannot pass pkgutil an option. Where
// pkgutil is absent, as on any system but the Mac, the list cannot be had and
// nothing is claimed about the package's files.
//
// Each listed path is looked at with lstat, never followed: what is there is
// the package's, unless it is a folder holding entries the package did not
// list (/Library, /usr/local/bin), which is shared and counts for nothing. A
// path that is not there is gone; a path in a folder this user may not search
// cannot be told either way, and is unchecked rather than gone.

#include "UninstallKit/MacReceipts.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <set>

#include "Base/FolderNames.h"
#include "Base/Lines.h"
#include "Base/SmallFile.h"
#include "DiskScanKit/Paths.h"
#include "TrashKit/PropertyList.h"
#include "UninstallKit/CommandRunner.h"
#include "UninstallKit/ReverseDns.h"

namespace tessel {

namespace {

constexpr std::int64_t receiptLimit = 1 << 20;

bool isApple(const std::string& identifier) { return ReverseDns::hasPrefix("com.apple", identifier); }

std::string parentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

} // namespace

PackageReceiptReader::PackageReceiptReader(std::string receiptsDirectory, std::string volume, ListFiles listFiles)
    : receiptsDirectory_(std::move(receiptsDirectory)), volume_(std::move(volume)), listFiles_(std::move(listFiles)) {
    if (!listFiles_) listFiles_ = [volume = volume_](const std::string& identifier) { return pkgutilFiles(identifier, volume); };
}

std::vector<MacPackageReceipt> PackageReceiptReader::receipts(bool includeApple) const {
    std::vector<MacPackageReceipt> found;
    for (const std::string& name : folderNames(receiptsDirectory_)) {
        if (name.starts_with(".") || !name.ends_with(".plist")) continue;
        std::optional<MacPackageReceipt> read = receipt(Paths::join(receiptsDirectory_, name));
        if (read && (includeApple || !read->isApple)) found.push_back(std::move(*read));
    }
    return found;
}

std::optional<MacPackageReceipt> PackageReceiptReader::receipt(const std::string& path) const {
    const SmallFileRead read = readSmallFile(path, receiptLimit);
    if (!read.text) return std::nullopt;
    const std::optional<PropertyList> list = PropertyList::parse(*read.text);
    if (!list) return std::nullopt;
    std::optional<std::string> identifier = list->string("PackageIdentifier");
    if (!identifier || identifier->empty()) return std::nullopt;
    MacPackageReceipt receipt;
    receipt.identifier = std::move(*identifier);
    receipt.version = list->string("PackageVersion").value_or("");
    if (const std::optional<PropertyList> date = list->get("InstallDate")) receipt.installDate = date->asDate();
    receipt.installPrefix = installPrefix(list->string("InstallPrefixPath").value_or(""));
    receipt.installedBy = list->string("InstallProcessName");
    receipt.isApple = isApple(receipt.identifier);
    return receipt;
}

MacPackageContents PackageReceiptReader::contents(const MacPackageReceipt& receipt) const {
    MacPackageContents contents;
    contents.receipt = receipt;
    const std::optional<std::vector<std::string>> listed = listFiles_(receipt.identifier);
    if (!listed) return contents;
    contents.listed = true;
    std::vector<std::string> paths;
    paths.reserve(listed->size());
    for (const std::string& path : *listed) paths.push_back(resolve(path, receipt.installPrefix));
    const std::set<std::string> known(paths.begin(), paths.end());
    // Bundles at the top: an app inside another app is part of it.
    for (const std::string& path : paths)
        if (path.ends_with(".app") && std::ranges::none_of(contents.appBundles, [&](const std::string& bundle) {
                return Paths::isWithin(path, bundle);
            }))
            contents.appBundles.push_back(path);

    std::set<std::string> seen;
    for (const std::string& path : paths) {
        if (!seen.insert(path).second) continue;
        struct stat info {};
        if (::lstat(onDisk(path).c_str(), &info) != 0) {
            if (errno == EACCES) ++contents.uncheckedCount;
            else ++contents.missingCount;
            continue;
        }
        const bool isDirectory = S_ISDIR(info.st_mode);
        if (isDirectory) {
            const std::vector<std::string> names = folderNames(onDisk(path));
            const bool holdsOtherThings = std::ranges::any_of(
                names, [&](const std::string& name) { return name != ".DS_Store" && !known.contains(Paths::join(path, name)); });
            if (holdsOtherThings) {
                contents.sharedDirectories.push_back(path);
                continue;
            }
        }
        PackageFile file{path, static_cast<std::int64_t>(info.st_blocks) * 512, isDirectory,
                         ::access(onDisk(parentOf(path)).c_str(), W_OK) != 0};
        contents.existingBytes += file.bytes;
        contents.existing.push_back(std::move(file));
    }
    contents.appsStillInstalled = std::ranges::any_of(contents.appBundles, [&](const std::string& bundle) {
        struct stat info {};
        return ::lstat(onDisk(bundle).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
    });
    return contents;
}

bool PackageReceiptReader::isStillPresent(const MacPackageReceipt& receipt) const {
    const MacPackageContents found = contents(receipt);
    return found.listed && !found.existing.empty();
}

std::optional<std::vector<std::string>> PackageReceiptReader::pkgutilArguments(const std::string& identifier,
                                                                                const std::string& volume) {
    if (identifier.empty() || volume.empty() || identifier.starts_with("-") || volume.starts_with("-")) return std::nullopt;
    return std::vector<std::string>{"--volume", volume, "--files", identifier};
}

std::optional<std::vector<std::string>> PackageReceiptReader::pkgutilFiles(const std::string& identifier,
                                                                            const std::string& volume) {
    const std::optional<std::vector<std::string>> arguments = pkgutilArguments(identifier, volume);
    if (!arguments) return std::nullopt;
    const std::optional<std::string> output = CommandRunner::output("/usr/sbin/pkgutil", *arguments);
    if (!output) return std::nullopt;
    std::vector<std::string> paths;
    forEachLine(*output, [&](std::string_view line) {
        if (!line.empty()) paths.emplace_back(line);
    });
    return paths;
}

std::string PackageReceiptReader::resolve(const std::string& listed, const std::string& prefix) {
    return Paths::standardized(listed.starts_with("/") ? listed : Paths::join(prefix, listed));
}

std::string PackageReceiptReader::installPrefix(const std::string& text) {
    // Receipts write the prefix relative to the volume: "Applications", "./", or nothing for "/".
    return Paths::standardized("/" + text);
}

std::string PackageReceiptReader::onDisk(const std::string& path) const {
    return volume_ == "/" ? path : volume_ + path;
}

} // namespace tessel
