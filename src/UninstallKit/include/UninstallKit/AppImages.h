#pragma once
// AppImages: single files that carry an app and its description inside a
// squashfs image behind a small ELF program. They are read, never run: the
// description comes out of the image through unsquashfs.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

struct AppImage {
    std::string path;
    // The text of the desktop entry at the top of its image, and the version its AppStream file gives.
    std::optional<std::string> desktopEntry;
    std::optional<std::string> desktopId; // the entry's file name
    std::optional<std::string> version;
    std::int64_t bytes = 0;
    bool operator==(const AppImage&) const = default;
};

namespace AppImages {

// The usual homes of AppImages: ~/Applications, ~/.local/bin and ~/Downloads.
std::vector<std::string> usualFolders(const std::string& home);
// Every AppImage (of the squashfs kind) directly in `folders`, each file once
// however many links lead to it, described by `unsquashfs` (none: not described).
std::vector<AppImage> find(const std::vector<std::string>& folders, const std::optional<std::string>& unsquashfs);
// Where the image starts in a file that begins with `header` (its first 64
// bytes): after the ELF section headers; none when it is no AppImage of type 2.
std::optional<std::uint64_t> imageOffset(std::string_view header);
// unsquashfs on this machine, if there is one.
std::optional<std::string> systemUnsquashfs();

} // namespace AppImages

} // namespace tessel
