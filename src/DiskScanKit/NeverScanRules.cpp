// The places no tool offers to remove anything from.
//
// Three kinds, kept as tables with the reason for each row:
//  - folder names that mark a store another program keeps and relies on,
//    wherever they appear (a repository's .git, a project's node_modules);
//  - the system's own trees, and other users' homes;
//  - the parts of the home that programs manage (caches, trashes, package
//    stores, virtual machines), some with a part inside that holds the
//    user's own files again (iCloud Drive inside ~/Library).
// Both platforms' tables are data; the one for the machine at hand is chosen
// at run time, so tests can read either.
//
// Paths are compared a component at a time: "/usr/local/x" is inside "/usr",
// "/usrlocal" is not. "/" and the home itself are never excluded, and neither
// is any folder that holds the home (/home, /Users): something below them may
// be offered. Example, home /home/me: "/home/me/.cache/x" and "/home/you" are
// excluded, "/home" and "/home/me/.cachet" are not.

#include <algorithm>
#include <array>
#include <span>

#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/Paths.h"

namespace tessel::NeverScanRules {

namespace {

struct Place {
    std::string_view path; // a name, an absolute path, or a path relative to the home
    std::string_view why;
};

constexpr std::array<Place, 18> managedFolders{{
    {".Trash", "a trash: its contents are already on their way out"},
    {".Trashes", "a volume's trash on macOS, one folder per user inside"},
    {".Spotlight-V100", "the search index of a macOS volume"},
    {".fseventsd", "the macOS file-event log of a volume"},
    {".DocumentRevisions-V100", "the saved versions of documents on macOS"},
    {".TemporaryItems", "files a macOS program has open for saving"},
    {"lost+found", "what a file system check recovered, named by inode, for the check to hand back"},
    {".git", "a Git repository's objects: removing one corrupts the history"},
    {".svn", "a Subversion working copy's pristine copies"},
    {".hg", "a Mercurial repository's store"},
    {"node_modules", "packages a JavaScript package manager installed and may hard-link"},
    {"site-packages", "packages a Python installer put in place"},
    {"dist-packages", "Debian's name for the same Python packages"},
    {".venv", "a Python virtual environment, rebuilt by its tools, not edited by hand"},
    {"VirtualBox VMs", "VirtualBox disks and snapshots, which depend on each other"},
    {"Virtual Machines.localized", "VMware Fusion's virtual machines"},
    {"Parallels", "Parallels Desktop's virtual machines"},
    {".thunderbird", "a mail store: messages and their indexes belong together"},
}};

constexpr Place macOSSystem[] = {
    {"/System", "the sealed system volume, and the data volume seen through it"},
    {"/Library", "system-wide support files that programs install and expect"},
    {"/Applications", "installed apps, kept by their installers and the App Store"},
    {"/private", "/etc, /var and /tmp: the system's settings, state and scratch files"},
    {"/usr", "the system's programs and libraries (Homebrew's too, on Intel)"},
    {"/bin", "the system's programs"},
    {"/sbin", "the system's administration programs"},
    {"/opt", "Homebrew and other package managers' installs"},
    {"/cores", "crash dumps the system writes and removes"},
    {"/dev", "devices, not files"},
    {"/.vol", "the file system's view by inode number: every file a second time"},
    {"/Network", "network mounts the system manages"},
    {"/nix", "the Nix store: content-addressed, hard-linked, owned by Nix"},
};

constexpr Place linuxSystem[] = {
    {"/proc", "the kernel's view of processes, not files"},
    {"/sys", "the kernel's view of devices, not files"},
    {"/dev", "devices, not files"},
    {"/run", "the running system's sockets and locks, in memory"},
    {"/boot", "kernels and boot loader files the system boots from"},
    {"/etc", "the system's settings"},
    {"/usr", "the system's programs and libraries, kept by the package manager"},
    {"/bin", "the system's programs"},
    {"/sbin", "the system's administration programs"},
    {"/lib", "the system's libraries"},
    {"/lib32", "the system's 32-bit libraries"},
    {"/lib64", "the system's 64-bit loader and libraries"},
    {"/libx32", "the system's x32 libraries"},
    {"/var", "services' state: databases, caches, spools, logs, container images"},
    {"/opt", "add-on software that its installer keeps whole"},
    {"/snap", "mounted snap packages"},
    {"/srv", "what this system serves (web roots, shares), owned by its services"},
    {"/tmp", "programs' scratch files, in use while they run, often in memory"},
    {"/nix", "the Nix store: content-addressed, hard-linked, owned by Nix"},
};

// Below the home, on either platform: stores of developer tools and model
// runners, laid out by the tool and addressed by it.
constexpr Place toolStores[] = {
    {".cache", "caches by the freedesktop.org convention, which many command-line tools follow"},
    {".docker", "Docker's settings and, with Docker Desktop, its disk image"},
    {".cargo", "Rust's package registry and installed tools"},
    {".rustup", "Rust toolchains"},
    {".m2", "Maven's repository of downloaded libraries"},
    {".gradle", "Gradle's caches and wrapper distributions"},
    {".npm", "npm's content-addressed cache"},
    {".nvm", "Node.js versions installed by nvm"},
    {".pyenv", "Python versions installed by pyenv"},
    {".conda", "conda's environments and package cache"},
    {".ollama", "Ollama's models: blobs named by their digests and shared between models"},
    {".android", "Android emulator images and SDK state"},
    {".vscode", "editor extensions, installed and updated by the editor"},
};

constexpr Place macOSHome[] = {
    {"Library", "settings, caches, containers and app data that programs keep"},
    {".Trash", "the user's trash"},
};

// Inside the excluded places above, folders that hold the user's own files.
constexpr Place macOSHomeOpenings[] = {
    {"Library/Mobile Documents", "iCloud Drive: the user's documents"},
    {"Library/CloudStorage", "folders of cloud drives (Dropbox, Google Drive, OneDrive): the user's documents"},
};

constexpr Place linuxHome[] = {
    {".local/share/Trash", "the user's trash"},
    {".local/share/Tessel", "Tessel's own snapshots"},
    {".local/share/flatpak", "Flatpak apps and runtimes, deduplicated by Flatpak itself"},
    {".var/app", "the data of Flatpak apps"},
    {"snap", "the data of snap packages, by revision"},
    {".local/share/containers", "Podman's images and containers"},
    {".local/share/Steam", "Steam's games, verified and updated by Steam"},
    {".steam", "Steam's runtime and links into its library"},
    {".mozilla", "Firefox profiles: databases and caches in use"},
    {".config", "programs' settings and, for browsers and chat apps, their caches"},
    {".local/share/gnome-boxes", "GNOME Boxes' virtual machine disks"},
    {".local/share/libvirt", "libvirt's virtual machine disks"},
};

constexpr std::span<const Place> noPlaces{};

struct Tables {
    std::span<const Place> system;
    std::span<const Place> home;
    std::span<const Place> openings;
    // The folder whose subfolders are users' homes, and the one that is shared by all.
    std::string_view homes;
    std::string_view sharedHome;
    // The superuser's home where it sits outside `homes`.
    std::string_view superuserHome;
};

Tables tablesFor(Platform platform) {
    if (platform == Platform::macOS) return {macOSSystem, macOSHome, macOSHomeOpenings, "/Users", "Shared", ""};
    return {linuxSystem, linuxHome, noPlaces, "/home", "", "/root"};
}

bool within(std::string_view path, std::string_view ancestor) { return Paths::isWithin(path, ancestor); }

bool withinAny(std::string_view path, std::span<const Place> places) {
    return std::any_of(places.begin(), places.end(), [&](const Place& place) { return within(path, place.path); });
}

std::string_view withoutTrailingSlash(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path;
}

// A path below the home, relative to it ("" for the home itself).
bool excludedInHome(std::string_view relative, const Tables& tables) {
    if (relative.empty()) return false;
    for (const Place& opening : tables.openings)
        if (within(relative, opening.path) || within(opening.path, relative)) return false;
    return withinAny(relative, toolStores) || withinAny(relative, tables.home);
}

bool isOtherUsersHome(std::string_view path, const Tables& tables) {
    if (!tables.superuserHome.empty() && within(path, tables.superuserHome)) return true;
    if (!within(path, tables.homes) || path.size() == tables.homes.size()) return false;
    std::string_view user = path.substr(tables.homes.size() + 1);
    user = user.substr(0, user.find('/'));
    return user != tables.sharedHome;
}

} // namespace

const std::array<std::string_view, 18>& managedFolderNames() {
    static const std::array<std::string_view, 18> names = [] {
        std::array<std::string_view, 18> list;
        std::transform(managedFolders.begin(), managedFolders.end(), list.begin(),
                       [](const Place& place) { return place.path; });
        return list;
    }();
    return names;
}

bool excludesEverything(std::string_view path, std::string_view home, Platform platform) {
    path = withoutTrailingSlash(path);
    home = withoutTrailingSlash(home);
    if (!path.starts_with('/')) return false;
    const Tables tables = tablesFor(platform);
    const bool hasHome = home.size() > 1 && home.starts_with('/');
    if (hasHome && within(path, home))
        return excludedInHome(path.size() == home.size() ? std::string_view{} : path.substr(home.size() + 1), tables);
    // A folder that holds the home ("/", "/home") has the user's files below it.
    if (hasHome && within(home, path)) return false;
    return withinAny(path, tables.system) || isOtherUsersHome(path, tables);
}

} // namespace tessel::NeverScanRules
