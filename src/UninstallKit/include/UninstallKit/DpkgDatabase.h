#pragma once
// The Debian package manager's own records, read from its admin folder
// (/var/lib/dpkg under the machine's root): the packages of `status`, the
// files each one installed (info/NAME.list, or info/NAME:ARCH.list for a
// package that may be installed for several architectures at once), and
// the diversions that moved one package's file aside for another's.
//
// Every file is read as foreign: it may be a pipe, a link or far too big,
// and each such case is a failure with a sentence that names the path.

#include <cstdint>
#include <map>
#include <set>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

// The admin folder could not be read as a package database.
class DpkgError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct DpkgPackage {
    std::string name;
    std::string version;
    std::string architecture;
    std::string multiArch;
    std::string priority;
    // The source package it was built from; empty when it is its own name.
    std::string source;
    bool essential = false;
    // The three words of "Status": what is wanted (install, hold, deinstall,
    // purge), an error flag (ok, reinstreq) and the state (installed,
    // config-files, half-installed...).
    std::string want;
    std::string flag;
    std::string state;
    std::vector<std::string> conffiles; // paths only, their checksums dropped
    // The names "Depends" gives, every alternative of each, versions and architectures dropped.
    std::vector<std::string> depends;

    // "NAME:ARCH" for a Multi-Arch "same" package, else NAME: how its files
    // in info/ are named.
    std::string listName() const;
    // The two letters a package listing shows: "ii" installed, "rc" removed
    // with its configuration files left, "hi" held...
    std::string stateLetters() const;
    // Part of the base system: Priority required or important, or Essential.
    bool isSystem() const;
    // The source package: packages built from one source make up one thing (chromium and chromium-common).
    const std::string& sourceName() const { return source.empty() ? name : source; }
    // Files on disk, as opposed to a record of something gone or not yet there.
    bool hasFiles() const { return state != "not-installed" && state != "config-files"; }
};

struct DpkgDiversion {
    std::string from;     // where the diverted package's file is listed
    std::string to;       // where it is really put
    std::string divertedBy; // the package that made room for its own file, ":" for the administrator
};

// Where a package database lies for the machine whose "/" is `root`.
std::string dpkgAdminFolder(std::string_view root);

namespace DpkgDatabase {

// The "status" file's text read into packages, in its order. Malformed
// stanzas (no Package field) are passed over; an unreadable file throws.
std::vector<DpkgPackage> parseStatus(std::string_view text);
std::vector<DpkgPackage> readStatus(const std::string& adminFolder);
// Throws unless info/format is missing or says 1, the only layout understood.
void checkFormat(const std::string& adminFolder);
std::vector<DpkgDiversion> parseDiversions(std::string_view text);
// None when there is no diversions file; throws when it cannot be read.
std::vector<DpkgDiversion> readDiversions(const std::string& adminFolder);
// The paths a package lists, one a line, as written; absent when it has no
// list or the list cannot be read, with the reason in `failure`.
std::optional<std::string> readFileList(const std::string& adminFolder, const DpkgPackage& package,
                                        std::string* failure = nullptr);
// The paths of a file list's text: the absolute ones, "/." (the root itself) left out.
std::vector<std::string> listedPaths(std::string_view listText);
// Packages by the name their file list goes by: NAME, or NAME:ARCH for Multi-Arch "same".
std::map<std::string, DpkgPackage> byListName(std::vector<DpkgPackage> packages);
// The packages of the machine whose "/" is `root`, by list name; none where its database can't be read.
std::map<std::string, DpkgPackage> packagesOf(const std::string& root);
// The packages that make up an installed desktop: what the desktop's core
// metapackages (gnome-core, kde-plasma-desktop, xfce4, task-*-desktop...)
// depend on, those metapackages included.
std::set<std::string> desktopPackages(const std::vector<DpkgPackage>& packages);
// Its modification time, in nanoseconds since 1970: when it was installed.
std::optional<std::int64_t> fileListTime(const std::string& adminFolder, const DpkgPackage& package);

} // namespace DpkgDatabase

} // namespace tessel
