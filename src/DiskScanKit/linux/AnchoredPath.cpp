// Following a path the way the kernel does, and keeping hold of where it led.
//
// A path judged by its text can be somewhere else entirely. With hop a link
// to the home folder, "~/hop/Documents" is ~/Documents; with lnk a link to
// ~/sub/dir, "~/lnk/../victim" is ~/sub/victim, not ~/victim, because ".."
// leaves the folder the link led to. And a path that was checked can be
// redirected before it is used, by swapping a folder on the way for a link.
//
// So the path is walked once from "/", one component at a time, each folder
// opened relative to the one before (O_PATH: only search permission is
// needed, and nothing is read):
//
//   - a folder is opened with O_NOFOLLOW; if it turns out to be a link, its
//     target's components take its place in the walk (from "/" again when
//     the target is absolute), at most 40 links in all, as the kernel allows;
//   - ".." opens the real parent of the folder the walk stands in, and "."
//     and empty components change nothing;
//   - the last component is the item, and is not followed: a link is moved
//     as a link, never as what it points to.
//
// The walk keeps the real names of the folders it stands in, so the item's
// real path comes out as text too, and the open folder that holds it stays
// open: whatever is done to the item afterwards (lstat, rename) goes through
// that descriptor, and acts on the item that was judged even if a folder on
// the way has been swapped since. No call ever sees more than one name, so a
// path of any length can be followed.
//
// Example, home /home/me with lnk -> sub/dir:
//   "/home/me/lnk/../victim"  walks / home me, meets lnk, walks sub dir,
//   then ".." back to sub: folder /home/me/sub, name "victim".

#include "DiskScanKit/AnchoredPath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <deque>

namespace tessel {

namespace {

#ifndef STATX_ATTR_MOUNT_ROOT
#define STATX_ATTR_MOUNT_ROOT 0x00002000
#endif

constexpr int folderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int linkLimit = 40;

std::deque<std::string> componentsOf(std::string_view path) {
    std::deque<std::string> parts;
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        const std::string_view part = path.substr(0, slash);
        if (!part.empty()) parts.emplace_back(part);
        if (slash == std::string_view::npos) break;
        path.remove_prefix(slash + 1);
    }
    return parts;
}

std::string joined(const std::vector<std::string>& folders) {
    if (folders.empty()) return "/";
    std::string path;
    for (const std::string& folder : folders) {
        path += '/';
        path += folder;
    }
    return path;
}

std::string within(const std::string& folder, std::string_view name) {
    std::string path = folder;
    if (path.back() != '/') path += '/';
    path += name;
    return path;
}

AnchoredPath::Failure failure(const char* call, const std::string& path, int code) {
    return {code, std::string(call) + "(" + path + "): " + std::strerror(code)};
}

std::optional<std::string> linkTarget(int folder, const std::string& name) {
    std::string target(256, '\0');
    for (;;) {
        const ssize_t length = readlinkat(folder, name.c_str(), target.data(), target.size());
        if (length < 0) return std::nullopt;
        if (static_cast<std::size_t>(length) < target.size()) {
            target.resize(static_cast<std::size_t>(length));
            return target;
        }
        target.resize(target.size() * 2);
    }
}

// Whether the open folder `fd` is the top of a mount, and its device.
struct FolderFacts {
    bool mountRoot = false;
    bool known = false; // the kernel says whether it is a mount root
    dev_t device = 0;
};

std::optional<FolderFacts> factsOf(int fd, const char* name, int flags) {
    struct statx info {};
    if (statx(fd, name, flags | AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE | STATX_INO, &info) != 0)
        return std::nullopt;
    FolderFacts facts;
    facts.known = (info.stx_attributes_mask & STATX_ATTR_MOUNT_ROOT) != 0;
    facts.mountRoot = (info.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    facts.device = makedev(info.stx_dev_major, info.stx_dev_minor);
    return facts;
}

} // namespace

std::variant<AnchoredPath, AnchoredPath::Failure> AnchoredPath::resolve(std::string_view path) {
    if (path.empty() || path.front() != '/')
        return Failure{EINVAL, "\"" + std::string(path) + "\" is not an absolute path"};
    UniqueFd here(open("/", folderFlags));
    if (!here) return failure("open", "/", errno);
    std::vector<std::string> folders; // the real names of the folders down to `here`
    std::deque<std::string> rest = componentsOf(path);
    int links = 0;
    std::optional<std::string> item;

    while (!rest.empty()) {
        std::string part = std::move(rest.front());
        rest.pop_front();
        if (part == ".") continue;
        if (part == "..") {
            const int up = openat(here.get(), "..", folderFlags);
            if (up < 0) return failure("openat", within(joined(folders), ".."), errno);
            here.reset(up);
            if (!folders.empty()) folders.pop_back();
            continue;
        }
        if (rest.empty()) {
            item = std::move(part);
            break;
        }
        const int next = openat(here.get(), part.c_str(), folderFlags | O_NOFOLLOW);
        if (next >= 0) {
            here.reset(next);
            folders.push_back(std::move(part));
            continue;
        }
        const int error = errno;
        std::optional<std::string> target;
        if (error == ELOOP || error == ENOTDIR) target = linkTarget(here.get(), part);
        if (!target) return failure("openat", within(joined(folders), part), error);
        if (++links > linkLimit) return failure("openat", within(joined(folders), part), ELOOP);
        std::deque<std::string> pieces = componentsOf(*target);
        rest.insert(rest.begin(), pieces.begin(), pieces.end());
        if (target->starts_with('/')) {
            here.reset(open("/", folderFlags));
            if (!here) return failure("open", "/", errno);
            folders.clear();
        }
    }

    if (!item) {
        // The path ended in "." or "..", or is "/": the item is the folder reached.
        if (folders.empty()) return AnchoredPath(std::move(here), "/", {});
        item = std::move(folders.back());
        folders.pop_back();
        const int up = openat(here.get(), "..", folderFlags);
        if (up < 0) return failure("openat", within(joined(folders), *item) + "/..", errno);
        here.reset(up);
    }
    return AnchoredPath(std::move(here), joined(folders), std::move(*item));
}

std::optional<std::string> AnchoredPath::realPathOf(std::string_view path) {
    std::string current(path);
    for (int links = 0; links <= linkLimit; ++links) {
        std::variant<AnchoredPath, Failure> found = resolve(current);
        const AnchoredPath* anchored = std::get_if<AnchoredPath>(&found);
        if (anchored == nullptr) return std::nullopt;
        const std::optional<struct stat> info = anchored->status();
        if (!info || !S_ISLNK(info->st_mode)) return anchored->realPath();
        const std::optional<std::string> target = linkTarget(anchored->folder(), anchored->name());
        if (!target) return anchored->realPath();
        current = target->starts_with('/') ? *target : within(anchored->realFolder(), *target);
    }
    return std::nullopt;
}

int AnchoredPath::openAnyLength(const std::string& path, int flags) {
    const int fd = open(path.c_str(), flags);
    if (fd >= 0 || errno != ENAMETOOLONG) return fd;
    std::variant<AnchoredPath, Failure> found = resolve(path);
    if (const Failure* failed = std::get_if<Failure>(&found)) {
        errno = failed->code;
        return -1;
    }
    const AnchoredPath& item = std::get<AnchoredPath>(found);
    return openat(item.folder(), item.name().empty() ? "." : item.name().c_str(), flags);
}

int AnchoredPath::lstatAnyLength(const std::string& path, struct stat& info) {
    if (lstat(path.c_str(), &info) == 0) return 0;
    if (errno != ENAMETOOLONG) return -1;
    std::variant<AnchoredPath, Failure> found = resolve(path);
    if (const Failure* failed = std::get_if<Failure>(&found)) {
        errno = failed->code;
        return -1;
    }
    const std::optional<struct stat> status = std::get<AnchoredPath>(found).status();
    if (!status) return -1;
    info = *status;
    return 0;
}

std::string AnchoredPath::realPath() const { return name_.empty() ? realFolder_ : within(realFolder_, name_); }

std::optional<struct stat> AnchoredPath::status() const {
    struct stat info {};
    const int found = name_.empty() ? fstat(folder(), &info) : fstatat(folder(), name_.c_str(), &info, AT_SYMLINK_NOFOLLOW);
    if (found != 0) return std::nullopt;
    return info;
}

bool AnchoredPath::isMountPoint() const {
    if (name_.empty()) return true;
    const std::optional<FolderFacts> item = factsOf(folder(), name_.c_str(), 0);
    if (!item) return false;
    if (item->known) return item->mountRoot;
    // An older kernel: a mount shows as a change of device.
    const std::optional<FolderFacts> holder = factsOf(folder(), "", AT_EMPTY_PATH);
    return holder && holder->device != item->device;
}

std::variant<OpenFolder, AnchoredPath::Failure> AnchoredPath::fileSystemTop() const {
    UniqueFd here(openat(folder(), ".", folderFlags));
    if (!here) return failure("openat", realFolder_, errno);
    const std::deque<std::string> parts = componentsOf(realFolder_);
    std::vector<std::string> folders(parts.begin(), parts.end());
    while (!folders.empty()) {
        const std::optional<FolderFacts> facts = factsOf(here.get(), "", AT_EMPTY_PATH);
        if (!facts) return failure("statx", joined(folders), errno);
        if (facts->known && facts->mountRoot) break;
        UniqueFd up(openat(here.get(), "..", folderFlags));
        if (!up) return failure("openat", within(joined(folders), ".."), errno);
        const std::optional<FolderFacts> above = factsOf(up.get(), "", AT_EMPTY_PATH);
        if (!above) return failure("statx", joined({folders.begin(), folders.end() - 1}), errno);
        if (above->device != facts->device) break;
        here = std::move(up);
        folders.pop_back();
    }
    return OpenFolder{std::move(here), joined(folders)};
}

} // namespace tessel
