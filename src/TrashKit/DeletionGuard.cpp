// The deletion guard.
//
// A path is judged in two passes, and the order of every test is part of the
// contract. The static pass is string work only, so a tool can grey out a row
// before the user ticks it:
//
//   volume root, this program, the Trash, the volumes' trashes, keychain and
//   cloud folders, system trees and package stores, /usr (but not
//   /usr/local), standard folders themselves and every folder that holds the
//   home folder or its Trash, and anything inside an app or library bundle.
//
// Cloud folders are where a sync service mirrors the user's files to their
// other devices: a file moved to the Trash there is deleted everywhere. macOS
// keeps them all in two folders of the home's Library, rows of the table
// below; on Linux each client keeps its own, named in its configuration, so
// the context carries them (CloudFolders reads them once per plan, in
// realContext). Package stores (Flatpak, Snap, Nix) are refused as the system:
// their files belong to the package manager, which removes them itself.
//
// The disk pass runs only when the static pass found nothing. It first
// follows the path to where it really is (AnchoredPath: links in its folders
// resolved, ".." as the kernel takes it, the item itself not followed) and
// gives that real path the static pass too, against the home folder, its
// Trash and the cloud folders both as given and as they really are: a link may
// lead anywhere, and what is protected stays protected by whatever road it is
// reached. Then the item must exist (links not followed), not be the top of a
// mounted disk, still be what the tool saw (a file is not now a folder), be
// removable by this user from its folder, and, for a folder, be writable
// itself (its ".." changes when it moves) and carry no active system
// extension. So a missing /usr/bin/x says "system path", never "missing": the
// first reason found is the one shown.
//
// Worked example, home /home/me on Linux, Dropbox syncing /home/me/Dropbox:
//
//   /home/me/Documents            protectedFolder (the folder stays)
//   /home/me/Documents/old.pdf    may go, if it exists and we may move it
//   /usr/bin/ls                   systemPath
//   /usr/local/bin/tool           may go, as far as the static pass cares
//   /var/lib/flatpak/app/x        systemPath: a package store
//   /home/me/.local/share/Trash/files/x   inTrash
//   /home/me/Dropbox/film.mkv     cloudSynced
//   /home/me/pics/a.jpg           cloudSynced, with pics a link to /home/me/Dropbox/Photos
//   /home/me/hop/Documents        protectedFolder, with hop a link to /home/me
//   /home/me/..                   protectedFolder: it holds the home folder
//   /home/me/.local/share         protectedFolder: it holds the Trash
//
// Nested candidates collapse first: a folder and a file inside it are one move.

#include "TrashKit/DeletionGuard.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/Packages.h"
#include "DiskScanKit/Paths.h"
#include "TrashKit/CloudFolders.h"
#include "TrashKit/SystemExtensionsInside.h"

namespace tessel {

namespace {

struct RefusalText {
    DeletionRefusal refusal;
    std::string_view rawValue;
    std::string_view macOS;
    // Linux has no Finder and no macOS: the same sentences, for its desktop.
    std::string_view linux;
    // Where Linux says it otherwise: no iCloud there, but many sync clients.
    std::string_view linuxRawValue = {};
};

constexpr std::array<RefusalText, 12> refusalTexts{{
    {DeletionRefusal::systemPath, "systemPath", "Part of macOS. Removing it would break the system.",
     "Part of the operating system. Removing it would break the system."},
    {DeletionRefusal::protectedFolder, "protectedFolder",
     "A standard folder. Its contents can be removed, but the folder itself stays.",
     "A standard folder. Its contents can be removed, but the folder itself stays."},
    {DeletionRefusal::keychain, "keychain", "Your keychain. Deleting it would lock you out of saved passwords.",
     "Your keychain. Deleting it would lock you out of saved passwords."},
    {DeletionRefusal::cloudSynced, "iCloud", "Stored in iCloud. Deleting it here would remove it from every device.",
     "Kept in sync with a cloud service. Deleting it here would remove it from every device.", "cloudSynced"},
    {DeletionRefusal::volumeRoot, "volumeRoot", "The top of a disk.", "The top of a disk."},
    {DeletionRefusal::ownApplication, "ownApplication", "This app.", "This app."},
    {DeletionRefusal::missing, "missing", "No longer on disk. It may already have been removed.",
     "No longer on disk. It may already have been removed."},
    {DeletionRefusal::typeChanged, "typeChanged",
     "Changed since the scan: a file is now a folder, or the reverse. Scan again.",
     "Changed since the scan: a file is now a folder, or the reverse. Scan again."},
    {DeletionRefusal::notPermitted, "notPermitted",
     "Only an administrator can move this: it belongs to another user or to the system. Tessel never asks for "
     "your password, but Finder can: show it in Finder and press Command-Delete there.",
     "Only an administrator can move this: it belongs to another user or to the system. Tessel never asks for "
     "your password: show it in Files, where an administrator can move it."},
    {DeletionRefusal::inTrash, "inTrash", "Already in the Trash. Empty the Trash in Finder to remove it for good.",
     "Already in the Trash. Empty the Trash in Files to remove it for good."},
    {DeletionRefusal::insidePackage, "insidePackage",
     "Inside an app or a library, and part of it: taking it out would break the whole. Move the app itself, or "
     "tidy the library in the app that keeps it.",
     "Inside an app or a library, and part of it: taking it out would break the whole. Move the app itself, or "
     "tidy the library in the app that keeps it."},
    {DeletionRefusal::carriesSystemExtension, "carriesSystemExtension",
     "An app with a system extension, which macOS removes only when Finder moves the app to the Trash. Moved from "
     "here, the extension would keep running: show the app in Finder and press Command-Delete there.",
     "An app with a system extension, which the system removes only when its file manager moves the app to the "
     "Trash. Moved from here, the extension would keep running: show the app in Files and move it there."},
}};

const RefusalText& textOf(DeletionRefusal refusal) {
    for (const RefusalText& text : refusalTexts)
        if (text.refusal == refusal) return text;
    return refusalTexts.front();
}

std::vector<std::string_view> pieces(std::string_view path, bool keepEmpty) {
    std::vector<std::string_view> parts;
    while (true) {
        const std::size_t slash = path.find('/');
        const std::string_view part = path.substr(0, slash);
        if (keepEmpty || !part.empty()) parts.push_back(part);
        if (slash == std::string_view::npos) break;
        path.remove_prefix(slash + 1);
    }
    return parts;
}

bool isNumber(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool isVolumeRoot(std::string_view path, Platform platform) {
    if (path == "/") return true;
    const std::vector<std::string_view> parts = pieces(path, true);
    if (platform == Platform::macOS) return path.starts_with("/Volumes/") && parts.size() == 3;
    // Where desktops mount removable disks: /media/<user>/<disk>, /run/media/<user>/<disk>, /mnt/<disk>.
    if (path.starts_with("/media/")) return parts.size() == 4;
    if (path.starts_with("/run/media/")) return parts.size() == 5;
    if (path.starts_with("/mnt/")) return parts.size() == 3;
    return false;
}

} // namespace

const std::vector<DeletionRefusal>& DeletionRefusals::all() {
    static const std::vector<DeletionRefusal> refusals = [] {
        std::vector<DeletionRefusal> list;
        for (const RefusalText& text : refusalTexts) list.push_back(text.refusal);
        return list;
    }();
    return refusals;
}

std::string_view DeletionRefusals::rawValue(DeletionRefusal refusal, Platform platform) {
    const RefusalText& text = textOf(refusal);
    return platform == Platform::linuxOS && !text.linuxRawValue.empty() ? text.linuxRawValue : text.rawValue;
}

std::string_view DeletionRefusals::explanation(DeletionRefusal refusal, Platform platform) {
    return platform == Platform::macOS ? textOf(refusal).macOS : textOf(refusal).linux;
}

bool DeletionRefusals::isForFileManager(DeletionRefusal refusal) {
    return refusal == DeletionRefusal::notPermitted || refusal == DeletionRefusal::carriesSystemExtension;
}

std::int64_t DeletionPlan::totalBytes() const {
    std::int64_t sum = 0;
    for (const DeletionCandidate& candidate : allowed) sum = checkedAdd(sum, candidate.bytes);
    return sum;
}

namespace DeletionGuard {

std::string normalize(std::string_view path) {
    std::string normal = Paths::standardized(path);
    while (normal.size() >= 2 && normal.back() == '/') normal.pop_back();
    return normal;
}

bool isWithin(std::string_view normalPath, std::string_view normalRoot) {
    if (!normalPath.starts_with(normalRoot)) return false;
    if (normalPath.size() == normalRoot.size()) return true;
    return normalRoot.ends_with('/') || normalPath[normalRoot.size()] == '/';
}

const std::vector<std::string>& protectedTrees(Platform platform) {
    static const std::vector<std::string> macOS{"/System",  "/bin",           "/sbin",          "/cores",
                                                "/dev",     "/Library/Apple", "/private/var/db", "/private/var/folders"};
    // The kernel's views, the boot files, configuration and what packages installed.
    static const std::vector<std::string> linux{"/proc", "/sys", "/dev",  "/boot", "/etc",  "/run",
                                                "/lib",  "/lib64", "/bin", "/sbin", "/var/lib"};
    return platform == Platform::macOS ? macOS : linux;
}

std::vector<std::string> packageStores(const std::string& home, Platform platform) {
    if (platform == Platform::macOS) return {};
    const std::string normalHome = normalize(home);
    std::vector<std::string> stores{"/snap", "/var/lib/snapd", "/var/lib/flatpak", "/nix/store",
                                    normalHome + "/.local/share/flatpak"};
    // Flatpak keeps a user's installation in $XDG_DATA_HOME, wherever that is.
    const std::string userFlatpak = normalize(Paths::xdgFolder("XDG_DATA_HOME", normalHome, ".local/share") + "/flatpak");
    if (userFlatpak != stores.back()) stores.push_back(userFlatpak);
    return stores;
}

std::vector<std::string> protectedFolders(const std::string& home, Platform platform) {
    const std::string normalHome = normalize(home);
    std::vector<std::string> folders;
    std::vector<const char*> inHome;
    if (platform == Platform::macOS) {
        folders = {"/", "/Applications", "/Users", "/Volumes", "/Library", "/usr", "/private", "/opt"};
        inHome = {"/Applications", "/Desktop", "/Documents", "/Downloads", "/Library", "/Movies", "/Music",
                  "/Pictures", "/Public"};
    } else {
        folders = {"/", "/home", "/usr", "/usr/local", "/opt", "/var", "/srv", "/mnt", "/media", "/tmp", "/root"};
        inHome = {"/Desktop", "/Documents", "/Downloads", "/Music", "/Pictures", "/Videos", "/Public", "/Templates",
                  "/.local", "/.config", "/.cache"};
    }
    folders.push_back(normalHome);
    for (const char* name : inHome) folders.push_back(normalHome + name);
    return folders;
}

bool isInVolumeTrash(std::string_view path, Platform platform) {
    const std::vector<std::string_view> parts = pieces(path, false);
    if (platform == Platform::macOS)
        return (!parts.empty() && parts[0] == ".Trashes") ||
               (parts.size() >= 3 && parts[0] == "Volumes" && parts[2] == ".Trashes");
    // A disk's trash sits at its top as .Trash-<uid>, or as .Trash/<uid> when shared.
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (parts[i].starts_with(".Trash-") && isNumber(parts[i].substr(7))) return true;
        if (parts[i] == ".Trash" && i + 1 < parts.size() && isNumber(parts[i + 1])) return true;
    }
    return false;
}

std::string homeTrash(const std::string& home, Platform platform) {
    if (platform == Platform::macOS) return normalize(home + "/.Trash");
    return normalize(Paths::xdgFolder("XDG_DATA_HOME", home, ".local/share") + "/Trash");
}

std::optional<DeletionRefusal> staticRefusal(const std::string& path, const Context& context) {
    const std::string normal = normalize(path);
    const std::string home = normalize(context.home);
    const Platform platform = context.platform;
    if (isVolumeRoot(normal, platform)) return DeletionRefusal::volumeRoot;
    if (context.bundlePath && isWithin(normal, normalize(*context.bundlePath))) return DeletionRefusal::ownApplication;
    const std::string trash = context.homeTrash.empty() ? homeTrash(home, platform) : normalize(context.homeTrash);
    if (isWithin(normal, trash)) return DeletionRefusal::inTrash;
    if (isInVolumeTrash(normal, platform)) return DeletionRefusal::inTrash;
    if (platform == Platform::macOS) {
        for (const char* root : {"/Library/Keychains", "/Library/Mobile Documents", "/Library/CloudStorage"})
            if (isWithin(normal, home + root))
                return std::string_view(root) == "/Library/Keychains" ? DeletionRefusal::keychain
                                                                       : DeletionRefusal::cloudSynced;
    } else if (isWithin(normal, home + "/.local/share/keyrings")) {
        return DeletionRefusal::keychain;
    }
    if (context.cloudFolders)
        for (const std::string& folder : *context.cloudFolders)
            if (isWithin(normal, normalize(folder))) return DeletionRefusal::cloudSynced;
    for (const std::string& tree : protectedTrees(platform))
        if (isWithin(normal, tree)) return DeletionRefusal::systemPath;
    for (const std::string& store : packageStores(home, platform))
        if (isWithin(normal, store)) return DeletionRefusal::systemPath;
    if (isWithin(normal, "/usr") && !isWithin(normal, "/usr/local")) return DeletionRefusal::systemPath;
    const std::vector<std::string> folders = protectedFolders(home, platform);
    if (std::find(folders.begin(), folders.end(), normal) != folders.end()) return DeletionRefusal::protectedFolder;
    // A folder that holds the home folder would take it along; one that holds the Trash can't go into it.
    if (isWithin(home, normal) || isWithin(trash, normal)) return DeletionRefusal::protectedFolder;
    if (Packages::isInsidePackage(normal)) return DeletionRefusal::insidePackage;
    return std::nullopt;
}

Context realContext(const Context& context, const FileManager& files) {
    auto real = [](const std::string& path) {
        return AnchoredPath::realPathOf(normalize(path)).value_or(path);
    };
    Context resolved = context;
    resolved.home = real(context.home);
    resolved.homeTrash = real(context.homeTrash.empty() ? homeTrash(context.home, context.platform) : context.homeTrash);
    if (context.bundlePath) resolved.bundlePath = real(*context.bundlePath);
    std::vector<std::string> named;
    if (context.cloudFolders) {
        named = *context.cloudFolders;
    } else if (context.platform == Platform::linuxOS) {
        for (CloudFolders::Folder& folder : CloudFolders::find(CloudFolders::Places::of(context.home), files))
            named.push_back(std::move(folder.path));
    }
    // Each folder as named and as it really is: with ~/Dropbox a link to
    // /data/Dropbox, the first holds the link itself (an item is never
    // followed), the second whatever another link leads into it.
    std::vector<std::string>& both = resolved.cloudFolders.emplace();
    for (const std::string& folder : named) {
        for (std::string form : {normalize(folder), normalize(real(folder))})
            if (std::find(both.begin(), both.end(), form) == both.end()) both.push_back(std::move(form));
    }
    return resolved;
}

std::variant<AnchoredPath, DeletionRefusal> admit(const DeletionCandidate& candidate, const Context& context,
                                                  const FileManager& fileManager, const std::string& extensionDatabase) {
    if (std::optional<DeletionRefusal> found = staticRefusal(candidate.path, context)) return *found;
    return admit(candidate, context, realContext(context, fileManager), fileManager, extensionDatabase);
}

std::variant<AnchoredPath, DeletionRefusal> admit(const DeletionCandidate& candidate, const Context& context,
                                                  const Context& real, const FileManager& fileManager,
                                                  const std::string& extensionDatabase) {
    if (std::optional<DeletionRefusal> found = staticRefusal(candidate.path, context)) return *found;
    std::variant<AnchoredPath, AnchoredPath::Failure> resolved = AnchoredPath::resolve(candidate.path);
    // A folder on the way this user may not enter, or one that is gone.
    if (const AnchoredPath::Failure* failed = std::get_if<AnchoredPath::Failure>(&resolved))
        return failed->code == EACCES ? DeletionRefusal::notPermitted : DeletionRefusal::missing;
    AnchoredPath& item = std::get<AnchoredPath>(resolved);

    // Both the path as given and where it really is, against the home as given
    // and as it really is: whichever road a protected place is reached by, it
    // is refused for the reason it gets when named directly.
    const std::string realPath = item.realPath();
    for (const std::string* path : {&candidate.path, &realPath})
        for (const Context* places : {&context, &real})
            if (std::optional<DeletionRefusal> found = staticRefusal(*path, *places)) return *found;

    const std::optional<struct stat> status = item.status();
    // Its folder may be one this user can't search, which is no proof it is gone.
    if (!status) return errno == EACCES ? DeletionRefusal::notPermitted : DeletionRefusal::missing;
    // Moving a mounted disk's top fails ("busy") only after a Trash was made for it.
    if (item.isMountPoint()) return DeletionRefusal::volumeRoot;
    const bool isFolder = S_ISDIR(status->st_mode);
    if (isFolder != candidate.isDirectory) return DeletionRefusal::typeChanged;
    if (!fileManager.isDeletable(item)) return DeletionRefusal::notPermitted;
    if (isFolder && !fileManager.isWritable(item)) return DeletionRefusal::notPermitted;
    if (isFolder && !SystemExtensionsInside::installed(realPath, extensionDatabase, fileManager).empty())
        return DeletionRefusal::carriesSystemExtension;
    // Linux has no cloud placeholders that a move here would delete everywhere.
    return std::move(item);
}

std::optional<DeletionRefusal> refusal(const DeletionCandidate& candidate, const Context& context,
                                       const FileManager& fileManager, const std::string& extensionDatabase) {
    std::variant<AnchoredPath, DeletionRefusal> judged = admit(candidate, context, fileManager, extensionDatabase);
    if (const DeletionRefusal* reason = std::get_if<DeletionRefusal>(&judged)) return *reason;
    return std::nullopt;
}

DeletionCandidate candidateAt(const std::string& path) {
    DeletionCandidate candidate{path, 0, false};
    std::variant<AnchoredPath, AnchoredPath::Failure> item = AnchoredPath::resolve(path);
    const AnchoredPath* found = std::get_if<AnchoredPath>(&item);
    const std::optional<struct stat> info = found != nullptr ? found->status() : std::nullopt;
    if (info) {
        candidate.isDirectory = S_ISDIR(info->st_mode);
        candidate.bytes = candidate.isDirectory ? DiskScanner::allocatedSize(found->realPath())
                                                : static_cast<std::int64_t>(info->st_blocks) * 512;
    }
    return candidate;
}

std::vector<DeletionCandidate> collapseNested(std::vector<DeletionCandidate> candidates) {
    std::stable_sort(candidates.begin(), candidates.end(), [](const DeletionCandidate& a, const DeletionCandidate& b) {
        return a.path.size() < b.path.size();
    });
    std::vector<DeletionCandidate> kept;
    std::vector<std::string> keptFolders; // normal forms of the kept folders
    for (DeletionCandidate& candidate : candidates) {
        const std::string normal = normalize(candidate.path);
        const bool below = std::any_of(keptFolders.begin(), keptFolders.end(), [&](const std::string& folder) {
            return normal != folder && isWithin(normal, folder);
        });
        if (below) continue;
        if (candidate.isDirectory) keptFolders.push_back(normal);
        kept.push_back(std::move(candidate));
    }
    return kept;
}

DeletionPlan plan(const std::vector<DeletionCandidate>& candidates, const Context& context,
                  const FileManager& fileManager, const std::string& extensionDatabase) {
    DeletionPlan result;
    const Context real = realContext(context, fileManager);
    for (DeletionCandidate& candidate : collapseNested(candidates)) {
        std::variant<AnchoredPath, DeletionRefusal> judged = admit(candidate, context, real, fileManager, extensionDatabase);
        if (const DeletionRefusal* reason = std::get_if<DeletionRefusal>(&judged))
            result.refused.emplace_back(std::move(candidate), *reason);
        else
            result.allowed.push_back(std::move(candidate));
    }
    return result;
}

} // namespace DeletionGuard
} // namespace tessel
