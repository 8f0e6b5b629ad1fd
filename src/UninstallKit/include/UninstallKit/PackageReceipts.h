#pragma once
// What each package installed, as its receipt on the machine tells it: the
// package database's record of it, when its file list was written, and, for
// one package, which of its listed paths are still on the disk.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "UninstallKit/DpkgDatabase.h"
#include "UninstallKit/PathOwners.h"

namespace tessel {

struct PackageReceipt {
    std::string package;
    std::string version;
    // When its file list was last written, in nanoseconds since 1970: when it
    // was installed or last upgraded. Absent for a package with no list.
    std::optional<std::int64_t> installed;
    // Part of the base system, or of the installed desktop itself.
    bool isSystem = false;
    std::string state; // "ii", "rc"...
};

struct PackageContents {
    std::string package;
    std::string state;
    bool listed = false; // whether its file list could be read
    std::vector<std::string> existing;
    std::vector<std::string> missing;
    // Paths in folders this user may not look into: whether they are there
    // cannot be told.
    std::vector<std::string> unchecked;
    // Paths another package lists too, folders most often: not this
    // package's alone.
    std::vector<std::string> shared;
};

namespace PackageReceipts {

// Every package the database knows with files or configuration left, in its
// order; throws DpkgError when the database cannot be read.
std::vector<PackageReceipt> list(const std::string& root);
// One package's paths, checked under `root`: its file list, or for a package
// removed with its configuration left, those configuration files. Throws
// DpkgError when there is no such package.
PackageContents contents(const std::string& root, const std::string& package, const PathOwners& owners);
// The same for a package already read from the database.
PackageContents contents(const std::string& root, const DpkgPackage& package, const PathOwners& owners);

} // namespace PackageReceipts

} // namespace tessel
