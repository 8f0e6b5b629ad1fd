// The freedesktop.org Trash.
//
// An item on the home's disk goes to $XDG_DATA_HOME/Trash (~/.local/share/Trash).
// An item on another disk goes to a Trash at that disk's top folder, never
// across disks: first $top/.Trash/$uid, but only if $top/.Trash is a real
// folder (not a symbolic link) with the sticky bit, as an administrator sets
// it up; else $top/.Trash-$uid, made for the user if need be. If neither can
// be used, the item stays where it is, with the reason: nothing is copied
// and nothing is deleted.
//
// Items arrive followed to the folder that really holds them (AnchoredPath),
// and the top folder is found from there, walking up through real parents
// until the kernel says a folder is the top of a mount or the device changes
// (a btrfs subvolume has a device of its own without being mounted). So an
// item reached through a link onto another disk goes to the Trash at that
// disk's top, where the desktop's file manager looks, never to a folder of
// the path as it was typed.
//
// Each Trash holds files/ and info/. For an item "report.pdf":
//
//   1. info/report.pdf.trashinfo is created with O_EXCL, so two programs can
//      never take the same name; if it exists, "report 2.pdf", "report 3.pdf"...
//      A name of more than 245 bytes can't take ".trashinfo" after it within
//      the 255 bytes a name may have, so its Trash name is shortened, keeping
//      the extension; the real name stays in Path=, and comes back with it;
//   2. it records Path= (the raw bytes of where the item really is,
//      percent-encoded: absolute in the home Trash, relative to the top
//      folder elsewhere) and DeletionDate= (local time, no zone, as the
//      format says);
//   3. the item is renamed, from the folder that was judged, into
//      files/report.pdf, never replacing anything; a rename is atomic and
//      never a copy. If it fails, the .trashinfo just made is taken back, so
//      no stray record is left;
//   4. a folder also gets a line in directorysizes (size, the .trashinfo's
//      modification time, the encoded name), which file managers read so
//      they need not measure the folder again.
//
// Putting back renames files/<name> to where it was, again never over
// anything, then takes away the .trashinfo and the directorysizes line that
// spoke of it.

#include "linux/FreedesktopTrash.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/Paths.h"

namespace tessel {

namespace {

std::string parentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? std::string("/") : path.substr(0, slash);
}

std::string nameOf(const std::string& path) { return std::string(Paths::lastComponent(path)); }

std::string errorText(int code) { return std::strerror(code); }

bool isUsableFolder(const std::string& path, uid_t user) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == user;
}

// Makes `path` a folder of the user's with mode 0700 unless it is one.
bool ensureOwnFolder(const std::string& path, uid_t user) {
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return false;
    return isUsableFolder(path, user);
}

// mkdir -p, each new folder the user's alone.
void makeFolders(const std::string& path) {
    std::vector<std::string> missing;
    struct stat info {};
    for (std::string folder = path; !folder.empty() && folder != "/" && stat(folder.c_str(), &info) != 0;
         folder = parentOf(folder))
        missing.push_back(folder);
    for (auto folder = missing.rbegin(); folder != missing.rend(); ++folder) mkdir(folder->c_str(), 0700);
}

bool ensureTrashLayout(const std::string& trash, uid_t user) {
    return ensureOwnFolder(trash, user) && ensureOwnFolder(trash + "/files", user) &&
           ensureOwnFolder(trash + "/info", user);
}

// rename() that never replaces: renameat2 with RENAME_NOREPLACE, or, where a
// file system does not take that flag, a rename after making sure nothing is there.
int renameWithoutReplacing(int fromFolder, const std::string& fromName, int toFolder, const std::string& toName) {
    if (renameat2(fromFolder, fromName.c_str(), toFolder, toName.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return -1;
    struct stat info {};
    if (fstatat(toFolder, toName.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0) {
        errno = EEXIST;
        return -1;
    }
    return renameat(fromFolder, fromName.c_str(), toFolder, toName.c_str());
}

// Where a cut may fall in `text` at or before `at` without splitting a UTF-8 character.
std::size_t characterBoundary(std::string_view text, std::size_t at) {
    while (at > 0 && at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) --at;
    return at;
}

bool writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t wrote = write(fd, text.data() + done, text.size() - done);
        if (wrote <= 0) return false;
        done += static_cast<std::size_t>(wrote);
    }
    return true;
}

// Replaces the directorysizes file whole, through a temporary file, so a
// reader never sees half of it.
bool rewriteDirectorySizes(const std::string& trash, const std::function<std::string(const std::string&)>& change) {
    const std::string path = trash + "/directorysizes";
    std::string old;
    if (std::ifstream in(path, std::ios::binary); in) {
        std::ostringstream text;
        text << in.rdbuf();
        old = text.str();
    }
    const std::string updated = change(old);
    if (updated == old) return true;
    std::string temporary = path + ".XXXXXX";
    const int fd = mkstemp(temporary.data());
    if (fd < 0) return false;
    const bool written = writeAll(fd, updated) && fsync(fd) == 0;
    close(fd);
    if (!written || rename(temporary.c_str(), path.c_str()) != 0) {
        unlink(temporary.c_str()); // our own temporary file, never the user's
        return false;
    }
    return true;
}

} // namespace

FreedesktopTrash::Settings FreedesktopTrash::Settings::fromEnvironment() {
    Settings settings;
    settings.home = Paths::homeFolder();
    settings.dataHome = Paths::xdgFolder("XDG_DATA_HOME", settings.home, ".local/share");
    settings.user = geteuid();
    settings.now = [] { return std::time(nullptr); };
    return settings;
}

FreedesktopTrash::FreedesktopTrash(Settings settings) : settings_(std::move(settings)) {
    if (!settings_.now) settings_.now = [] { return std::time(nullptr); };
}

std::unique_ptr<TrashBin> makeSystemTrash() {
    return std::make_unique<FreedesktopTrash>(FreedesktopTrash::Settings::fromEnvironment());
}

std::string FreedesktopTrash::encode(std::string_view raw) { return Paths::percentEncoded(raw); }

std::optional<std::string> FreedesktopTrash::decode(std::string_view encoded) {
    auto value = [](char c) -> int {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        return -1;
    };
    std::string raw;
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        if (encoded[i] != '%') {
            raw += encoded[i];
            continue;
        }
        if (i + 2 >= encoded.size()) return std::nullopt;
        const int high = value(encoded[i + 1]);
        const int low = value(encoded[i + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        raw += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return raw;
}

std::string FreedesktopTrash::deletionDate(std::time_t when) {
    std::tm local{};
    localtime_r(&when, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
    return text;
}

std::string FreedesktopTrash::trashName(std::string_view name, int attempt) {
    static constexpr std::size_t recordSuffix = sizeof ".trashinfo" - 1;
    const std::size_t dot = name.rfind('.');
    const bool hasExtension = dot != std::string_view::npos && dot > 0;
    std::string_view stem = hasExtension ? name.substr(0, dot) : name;
    std::string_view extension = hasExtension ? name.substr(dot) : std::string_view();
    const std::string counter = attempt == 1 ? std::string() : " " + std::to_string(attempt);
    const std::size_t room = NAME_MAX - recordSuffix;
    if (stem.size() + counter.size() + extension.size() > room) {
        // An extension that long is no extension a program goes by: the name is cut as a whole.
        if (extension.size() > room / 4) {
            stem = name;
            extension = {};
        }
        stem = stem.substr(0, characterBoundary(stem, room - counter.size() - extension.size()));
    }
    return std::string(stem) + counter + std::string(extension);
}

std::variant<FreedesktopTrash::Location, TrashError> FreedesktopTrash::trashFor(const AnchoredPath& item, dev_t device) {
    const std::string homeTrash = settings_.dataHome + "/Trash";
    // A new account may have no ~/.local/share yet; the home Trash still belongs there.
    makeFolders(settings_.dataHome);
    struct stat dataInfo {};
    if (stat(settings_.dataHome.c_str(), &dataInfo) == 0 && dataInfo.st_dev == device) {
        if (!ensureTrashLayout(homeTrash, settings_.user))
            return TrashError{"Your Trash folder (" + homeTrash + ") can't be used: it is missing and can't be made, "
                              "or it isn't yours. The item stayed where it is."};
        return Location{homeTrash, {}};
    }

    std::variant<OpenFolder, AnchoredPath::Failure> found = item.fileSystemTop();
    if (const AnchoredPath::Failure* failed = std::get_if<AnchoredPath::Failure>(&found))
        return TrashError{"The top of its disk can't be found (" + failed->message + "), so it stayed where it is."};
    const std::string top = std::get<OpenFolder>(found).realPath;
    const std::string user = std::to_string(settings_.user);
    // A shared .Trash counts only as an administrator sets it up: a real folder, sticky.
    const std::string shared = top == "/" ? "/.Trash" : top + "/.Trash";
    struct stat sharedInfo {};
    if (lstat(shared.c_str(), &sharedInfo) == 0 && S_ISDIR(sharedInfo.st_mode) && (sharedInfo.st_mode & S_ISVTX) != 0) {
        const std::string own = shared + "/" + user;
        if (ensureTrashLayout(own, settings_.user)) return Location{own, top};
    }
    const std::string personal = (top == "/" ? std::string() : top) + "/.Trash-" + user;
    if (ensureTrashLayout(personal, settings_.user)) return Location{personal, top};
    return TrashError{"This disk has no Trash that Tessel may use, so the item stayed where it is: a Trash folder "
                      "can't be made at the top of the disk (" + personal + "). Nothing was copied or deleted."};
}

std::variant<std::string, TrashError> FreedesktopTrash::trashItem(const AnchoredPath& item) {
    const std::optional<struct stat> itemInfo = item.status();
    if (!itemInfo)
        return TrashError{"It can't be found any more (" + errorText(errno) + "). Nothing was moved."};
    if (item.name().empty()) return TrashError{"The top of a disk can't go to the Trash. Nothing was moved."};
    std::variant<Location, TrashError> found = trashFor(item, itemInfo->st_dev);
    if (const TrashError* error = std::get_if<TrashError>(&found)) return *error;
    const Location& location = std::get<Location>(found);

    // Where it came from: absolute for the home Trash, relative to the disk's top elsewhere.
    std::string recorded = item.realPath();
    if (!location.top.empty())
        recorded = location.top == "/" ? recorded.substr(1) : recorded.substr(location.top.size() + 1);
    const std::string info = "[Trash Info]\nPath=" + encode(recorded) + "\nDeletionDate=" +
                             deletionDate(settings_.now()) + "\n";

    for (int attempt = 1; attempt < 10000; ++attempt) {
        const std::string chosen = trashName(item.name(), attempt);
        const std::string infoPath = location.trash + "/info/" + chosen + ".trashinfo";
        const int fd = open(infoPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0) {
            if (errno == EEXIST) continue;
            return TrashError{"Could not record in the Trash where it came from (" + errorText(errno) +
                              "), so it stayed where it is."};
        }
        const bool written = writeAll(fd, info) && fsync(fd) == 0;
        close(fd);
        const std::string target = location.trash + "/files/" + chosen;
        if (!written) {
            unlink(infoPath.c_str()); // the record just made, never the item
            return TrashError{"Could not record in the Trash where it came from, so it stayed where it is."};
        }
        if (renameWithoutReplacing(item.folder(), item.name(), AT_FDCWD, target) != 0) {
            const int code = errno;
            unlink(infoPath.c_str()); // the record just made, never the item
            if (code == EEXIST) continue; // a stray file under that name: take the next one
            return TrashError{"Could not move it into the Trash (" + errorText(code) + "), so it stayed where it is."};
        }
        if (S_ISDIR(itemInfo->st_mode)) {
            struct stat recordInfo {};
            stat(infoPath.c_str(), &recordInfo);
            const std::string line = std::to_string(DiskScanner::allocatedSize(target)) + " " +
                                     std::to_string(recordInfo.st_mtim.tv_sec) + " " + encode(chosen) + "\n";
            // A missing line only costs a file manager a measurement; the move stands.
            rewriteDirectorySizes(location.trash, [&](const std::string& old) { return old + line; });
        }
        return target;
    }
    return TrashError{"The Trash holds too many items of that name; it stayed where it is."};
}

std::variant<std::monostate, TrashError> FreedesktopTrash::putBack(const AnchoredPath& trashed,
                                                                   const AnchoredPath& destination) {
    if (trashed.name().empty() || destination.name().empty() ||
        renameWithoutReplacing(trashed.folder(), trashed.name(), destination.folder(), destination.name()) != 0)
        return TrashError{"Could not move it back (" + errorText(errno) + "). It is still in the Trash."};
    // The item is back: the records that spoke of it in the Trash go.
    const std::string& files = trashed.realFolder();
    const std::string trash = parentOf(files);
    const std::string& name = trashed.name();
    if (nameOf(files) == "files") {
        unlink((trash + "/info/" + name + ".trashinfo").c_str());
        const std::string encodedName = " " + encode(name) + "\n";
        rewriteDirectorySizes(trash, [&](const std::string& old) {
            std::string kept;
            std::istringstream lines(old);
            for (std::string line; std::getline(lines, line);) {
                const std::string withEnd = line + "\n";
                if (withEnd.size() >= encodedName.size() &&
                    withEnd.compare(withEnd.size() - encodedName.size(), encodedName.size(), encodedName) == 0)
                    continue;
                kept += withEnd;
            }
            return kept;
        });
    }
    return std::monostate{};
}

} // namespace tessel
