#pragma once
// A path pinned to the folder that really holds it; see linux/AnchoredPath.cpp.

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "DiskScanKit/UniqueFd.h"

namespace tessel {

// An open folder and where it really is.
struct OpenFolder {
    UniqueFd fd;
    std::string realPath;
};

class AnchoredPath {
public:
    // Why a path could not be followed: the errno and a sentence naming the
    // call and the path, "openat(/home/me/gone): No such file or directory".
    struct Failure {
        int code = 0;
        std::string message;
    };

    // Follows `path`, which must be absolute, the way the kernel would: links
    // in its folders are followed and ".." is the real parent of where the
    // walk stands; its last component is not followed. A path ending in "."
    // or ".." names the folder it reaches. The item itself need not exist.
    static std::variant<AnchoredPath, Failure> resolve(std::string_view path);
    // Where `path` really is with its last component followed too, as far as
    // it exists; none when a folder on the way can't be followed.
    static std::optional<std::string> realPathOf(std::string_view path);

    // open(2) and lstat(2) for a path of any length: the plain call, and where
    // the kernel refuses the path as too long, the same call through the
    // folder that holds the item. -1 with errno set on failure.
    static int openAnyLength(const std::string& path, int flags);
    static int lstatAnyLength(const std::string& path, struct stat& info);

    AnchoredPath(AnchoredPath&&) noexcept = default;
    AnchoredPath& operator=(AnchoredPath&&) noexcept = default;

    // The folder that holds the item, open with O_PATH: everything done to the
    // item goes through it, so it acts on the item that was judged.
    int folder() const { return folder_.get(); }
    // The item's name in that folder; empty for "/".
    const std::string& name() const { return name_; }
    const std::string& realFolder() const { return realFolder_; }
    // The folder's real path and the name: where the item really is.
    std::string realPath() const;

    // lstat of the item, relative to its folder; none when nothing is there.
    std::optional<struct stat> status() const;
    // The item is the top of a mounted file system (or "/").
    bool isMountPoint() const;
    // The folder at the top of the item's file system, at or above the item's
    // folder: its mount point, or the top of a btrfs subvolume, which has a
    // device of its own without being mounted.
    std::variant<OpenFolder, Failure> fileSystemTop() const;

private:
    AnchoredPath(UniqueFd folder, std::string realFolder, std::string name)
        : folder_(std::move(folder)), realFolder_(std::move(realFolder)), name_(std::move(name)) {}

    UniqueFd folder_;
    std::string realFolder_;
    std::string name_;
};

} // namespace tessel
