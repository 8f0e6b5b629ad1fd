// Reading AppImages without running them.
//
// An AppImage of type 2 is an ELF program, marked by "AI\x02" at byte 8 of
// its header, with a squashfs image appended right after the ELF section
// headers: at e_shoff + e_shnum × e_shentsize, which the 64-byte header of a
// 64-bit little-endian ELF gives at offsets 0x28, 0x3C and 0x3A (a 32-bit
// one at 0x20, 0x30 and 0x2E). The image holds the app's desktop entry at its
// top and, by convention, its AppStream file in usr/share/metainfo.
//
// The image is read with unsquashfs pointed at that offset: `-lc` lists it,
// `-cat` prints one file. Both run through CommandRunner, with a short time
// limit, so a hostile image costs a few seconds at worst and never runs
// anything of its own. Where a top-level entry is a link (often so), the
// same name under usr/share/applications is read instead.

#include "UninstallKit/AppImages.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <set>
#include <utility>

#include "Base/FolderNames.h"
#include "Base/Lines.h"
#include "DiskScanKit/Paths.h"
#include "UninstallKit/CommandRunner.h"
#include "UninstallKit/SandboxedApps.h"

namespace tessel::AppImages {

namespace {

constexpr CommandRunner::Limits imageReading{.timeout = std::chrono::seconds(5), .outputBytes = 4 << 20};
constexpr std::string_view listedPrefix = "squashfs-root/";

std::uint64_t littleEndian(std::string_view bytes, std::size_t at, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i)
        value |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return value;
}

struct OpenedFile {
    std::string header;
    std::int64_t bytes = 0;
    dev_t device = 0;
    ino_t inode = 0;
};

// The first 64 bytes of a regular file; a pipe or a device is never opened,
// and one swapped in after the look is never read.
std::optional<OpenedFile> openedFile(const std::string& path) {
    struct stat seen {};
    if (::stat(path.c_str(), &seen) != 0 || !S_ISREG(seen.st_mode)) return std::nullopt;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return std::nullopt;
    struct stat info {};
    OpenedFile file;
    file.header.resize(64);
    const bool regular = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_dev == seen.st_dev && info.st_ino == seen.st_ino;
    const ssize_t got = regular ? ::pread(fd, file.header.data(), file.header.size(), 0) : -1;
    ::close(fd);
    if (got != 64) return std::nullopt;
    file.bytes = info.st_blocks * 512;
    file.device = info.st_dev;
    file.inode = info.st_ino;
    return file;
}

std::optional<std::string> catFile(const std::string& unsquashfs, const std::string& image, std::uint64_t offset,
                                   const std::string& inside) {
    std::optional<std::string> text =
        CommandRunner::output(unsquashfs, {"-o", std::to_string(offset), "-cat", image, inside}, imageReading);
    if (text && text->empty()) return std::nullopt;
    return text;
}

void describe(AppImage& app, const std::string& unsquashfs, std::uint64_t offset) {
    const std::optional<std::string> listing =
        CommandRunner::output(unsquashfs, {"-o", std::to_string(offset), "-lc", app.path}, imageReading);
    if (!listing) return;
    std::optional<std::string> entry, metainfo;
    forEachLine(*listing, [&](std::string_view line) {
        if (!line.starts_with(listedPrefix)) return;
        line.remove_prefix(listedPrefix.size());
        if (!entry && line.ends_with(".desktop") && line.find('/') == std::string_view::npos) entry = std::string(line);
        if (!metainfo && line.starts_with("usr/share/metainfo/") && line.ends_with(".xml")) metainfo = std::string(line);
    });
    if (entry) {
        app.desktopId = *entry;
        app.desktopEntry = catFile(unsquashfs, app.path, offset, *entry);
        if (!app.desktopEntry) app.desktopEntry = catFile(unsquashfs, app.path, offset, "usr/share/applications/" + *entry);
    }
    if (metainfo)
        if (std::optional<std::string> xml = catFile(unsquashfs, app.path, offset, *metainfo))
            app.version = SandboxedApps::metainfoVersion(*xml);
}

} // namespace

std::vector<std::string> usualFolders(const std::string& home) {
    return {home + "/Applications", home + "/.local/bin", home + "/Downloads"};
}

std::optional<std::uint64_t> imageOffset(std::string_view header) {
    if (header.size() < 64 || !header.starts_with("\x7f" "ELF") || header.substr(8, 3) != std::string_view("AI\x02", 3))
        return std::nullopt;
    if (header[5] != 1) return std::nullopt; // little-endian only: what AppImages are built as
    const bool wide = header[4] == 2;
    const std::uint64_t sectionHeaders = littleEndian(header, wide ? 0x28 : 0x20, wide ? 8 : 4);
    const std::uint64_t entrySize = littleEndian(header, wide ? 0x3A : 0x2E, 2);
    const std::uint64_t entries = littleEndian(header, wide ? 0x3C : 0x30, 2);
    return sectionHeaders + entrySize * entries;
}

std::optional<std::string> systemUnsquashfs() {
    for (const char* candidate : {"/usr/bin/unsquashfs", "/usr/sbin/unsquashfs", "/bin/unsquashfs"})
        if (::access(candidate, X_OK) == 0) return std::string(candidate);
    return std::nullopt;
}

std::vector<AppImage> find(const std::vector<std::string>& folders, const std::optional<std::string>& unsquashfs) {
    std::vector<AppImage> found;
    std::set<std::pair<dev_t, ino_t>> seen;
    for (const std::string& folder : folders) {
        for (const std::string& name : folderNames(folder)) {
            const std::string path = Paths::join(folder, name);
            const std::optional<OpenedFile> file = openedFile(path);
            if (!file) continue;
            const std::optional<std::uint64_t> offset = imageOffset(file->header);
            if (!offset || !seen.insert({file->device, file->inode}).second) continue;
            AppImage app{path, std::nullopt, std::nullopt, std::nullopt, file->bytes};
            if (unsquashfs) describe(app, *unsquashfs, *offset);
            found.push_back(std::move(app));
        }
    }
    return found;
}

} // namespace tessel::AppImages
