#pragma once
// The receipts a Mac's installer leaves, one property list per package in
// /var/db/receipts, and what each package put on the disk: which of its files
// are still there, which are gone, which lie where only the system may look,
// and which of its folders hold other things too. Nothing here changes a
// receipt or a file.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tessel {

struct MacPackageReceipt {
    std::string identifier;
    std::string version;
    std::optional<std::int64_t> installDate; // seconds since 1970
    std::string installPrefix;              // absolute, "/" when the receipt names none
    std::optional<std::string> installedBy;
    bool isApple = false;
    bool operator==(const MacPackageReceipt&) const = default;
};

struct PackageFile {
    std::string path;
    std::int64_t bytes = 0; // allocated
    bool isDirectory = false;
    // Its folder is one this user may not write: only an administrator could move it.
    bool requiresAdministrator = false;
};

struct MacPackageContents {
    MacPackageReceipt receipt;
    bool listed = false; // whether the package's file list could be had
    std::vector<PackageFile> existing; // in the list's order
    std::vector<std::string> sharedDirectories;
    int missingCount = 0;
    int uncheckedCount = 0;
    std::int64_t existingBytes = 0;
    std::vector<std::string> appBundles;
    bool appsStillInstalled = false;
};

class PackageReceiptReader {
public:
    // The paths a package installed, as its receipt's bill of materials lists
    // them (relative to its prefix); none when they cannot be had.
    using ListFiles = std::function<std::optional<std::vector<std::string>>(const std::string& identifier)>;

    // `volume` is the disk the receipts describe; its paths are read below it.
    PackageReceiptReader(std::string receiptsDirectory = "/var/db/receipts", std::string volume = "/", ListFiles listFiles = {});

    std::vector<MacPackageReceipt> receipts(bool includeApple) const;
    // None when the file is not a property list or names no package.
    std::optional<MacPackageReceipt> receipt(const std::string& path) const;
    MacPackageContents contents(const MacPackageReceipt& receipt) const;
    // Whether anything the package installed is still on the disk.
    bool isStillPresent(const MacPackageReceipt& receipt) const;

    // pkgutil's words for a package's files; none for an identifier or a volume
    // that is empty or would read as an option.
    static std::optional<std::vector<std::string>> pkgutilArguments(const std::string& identifier, const std::string& volume);
    static std::optional<std::vector<std::string>> pkgutilFiles(const std::string& identifier, const std::string& volume);
    // `listed` made absolute against `prefix`, "." dropped and ".." taking one component off.
    static std::string resolve(const std::string& listed, const std::string& prefix);
    static std::string installPrefix(const std::string& text);

private:
    std::string onDisk(const std::string& path) const;

    std::string receiptsDirectory_;
    std::string volume_;
    ListFiles listFiles_;
};

} // namespace tessel
