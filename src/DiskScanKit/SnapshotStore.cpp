// The snapshot files. Each root has its own folder, named by a hash of its
// standardised path; a file names its date and a random tag, so two saves in
// the same millisecond still get two names, and the rename that publishes a
// file refuses to replace one that is already there. Listing reads each file's
// header only and keeps those whose root really is the one asked for: two roots
// may share a folder when their hashes collide.
//
// The folder is in the user's data folder, but anything may turn up there: a
// FIFO, a link, a folder named "x.json", a huge file, a file edited by hand.
// Each "*.json" is read without following a link, without waiting on a FIFO
// and only up to a bound, and whatever can't be read as a snapshot is told
// with the reason, not passed over in silence. A file of another root is not
// unreadable, only not this root's.
//
// The files written and pruned here are Tessel's own records, not the user's:
// pruning them is housekeeping, like replacing a cache file. Only files read
// as snapshots of the root are ever removed; an unreadable one may be anyone's.
//
// Before snapshots kept names that are not UTF-8 exactly, such a root was
// written with U+FFFD for its bad bytes, and its snapshots were never listed
// again, nor pruned. Pruning counts those lossy copies among the root's
// snapshots, oldest first to go, so they don't pile up for ever.

#include "DiskScanKit/SnapshotStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>

#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/NameBytes.h"
#include "DiskScanKit/Paths.h"

namespace tessel {

namespace {

// SnapshotStore::largestFile. A snapshot holds the paths of 10 MB or more:
// a few thousand even on a large disk, at about a hundred bytes each, a few
// hundred kilobytes of JSON. 64 MB holds some 600,000 such entries, room for a
// hundred times a large disk's or for a floor set far lower, while a hostile
// file costs no more than parsing 64 MB does: under half a second and under
// 200 MB of memory in an optimised build (a 256 MB bound let one file take
// several seconds and most of a gigabyte). The size is checked on the open
// file before a byte is read.
constexpr const char* tooLarge = "It is larger than 64 MB, more than any snapshot needs.";
constexpr const char* notRegular = "It is not a regular file.";

[[noreturn]] void failed(const char* call, const std::string& path, int error) {
    throw SnapshotError(std::string(call) + " " + path + ": " + std::strerror(error));
}

void makeFolders(const std::string& path) {
    for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string prefix = slash == std::string::npos ? path : path.substr(0, slash);
        if (mkdir(prefix.c_str(), 0755) != 0 && errno != EEXIST) failed("Could not make the folder", prefix, errno);
        if (slash == std::string::npos) return;
    }
}

void writeAll(int fd, const std::string& data, const std::string& path) {
    std::size_t done = 0;
    while (done < data.size()) {
        const ssize_t wrote = write(fd, data.data() + done, data.size() - done);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) failed("Could not write", path, wrote < 0 ? errno : EIO);
        done += static_cast<std::size_t>(wrote);
    }
}

// Why the file could not be read, asked after the reader said only "no".
std::string unreadableReason(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return std::string("It could not be read: ") + std::strerror(errno) + ".";
    if (!S_ISREG(info.st_mode)) return notRegular;
    if (info.st_size > SnapshotStore::largestFile) return tooLarge;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) return std::string("It could not be read: ") + std::strerror(errno) + ".";
    close(fd);
    return "It could not be read whole: it changed while it was read.";
}

bool newestFirst(const SnapshotInfo& a, const SnapshotInfo& b) {
    return a.date != b.date ? a.date > b.date : a.path > b.path;
}

// A root's folder as read: the listing, and the lossy copies of the root that
// an older build wrote when its path was not UTF-8.
struct FolderRead {
    SnapshotListing listing;
    std::vector<SnapshotInfo> lossyCopies;
};

FolderRead readFolder(const FileManager& files, const std::string& folder, const std::string& standardRoot) {
    FolderRead read;
    const std::optional<std::vector<std::string>> names = files.contentsOfDirectory(folder);
    if (!names) return read;
    const std::string lossyRoot = Utf8::repaired(standardRoot);
    for (const std::string& name : *names) {
        if (!name.ends_with(".json") || name.starts_with('.')) continue;
        const std::string path = folder + "/" + name;
        const std::optional<std::string> text = files.contents(path, SnapshotStore::largestFile);
        if (!text) {
            read.listing.unreadable.push_back({path, unreadableReason(path)});
            continue;
        }
        try {
            SnapshotJson::Header header = SnapshotJson::decodeHeader(*text);
            const std::string root = Paths::standardized(header.rootPath);
            SnapshotInfo info{path, std::move(header.rootPath), header.date, header.totalBytes};
            if (root == standardRoot) read.listing.readable.push_back(std::move(info));
            else if (root == lossyRoot) read.lossyCopies.push_back(std::move(info));
        } catch (const SnapshotError& error) {
            read.listing.unreadable.push_back({path, error.what()});
        }
    }
    std::sort(read.listing.readable.begin(), read.listing.readable.end(), newestFirst);
    std::sort(read.listing.unreadable.begin(), read.listing.unreadable.end(),
              [](const UnreadableSnapshot& a, const UnreadableSnapshot& b) { return a.path > b.path; });
    return read;
}

std::string randomTag() {
    static thread_local std::mt19937 generator{std::random_device{}()};
    char tag[9];
    std::snprintf(tag, sizeof tag, "%08X", static_cast<unsigned>(generator()));
    return tag;
}

} // namespace

SnapshotStore::SnapshotStore(std::string directory, const FileManager& files)
    : directory_(std::move(directory)), files_(files) {}

std::string SnapshotStore::defaultDirectory() {
    return Paths::xdgFolder("XDG_DATA_HOME", Paths::homeFolder(), ".local/share") + "/Tessel/Snapshots";
}

std::string SnapshotStore::folderName(const std::string& rootPath) {
    std::uint64_t hash = 0xcbf29ce484222325ULL;
    for (const char byte : Paths::standardized(rootPath)) {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 0x100000001b3ULL;
    }
    char name[17];
    std::snprintf(name, sizeof name, "%016llx", static_cast<unsigned long long>(hash));
    return name;
}

std::string SnapshotStore::fileName(double date) {
    const auto since = ReferenceDate::timePoint(date).time_since_epoch();
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(since).count();
    const std::time_t seconds = static_cast<std::time_t>(milliseconds >= 0 ? milliseconds / 1000 : (milliseconds - 999) / 1000);
    const auto millis = static_cast<int>(milliseconds - static_cast<std::int64_t>(seconds) * 1000);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char name[64];
    std::snprintf(name, sizeof name, "%04d-%02d-%02dT%02d-%02d-%02d-%03dZ-%s.json", utc.tm_year + 1900, utc.tm_mon + 1,
                  utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, millis, randomTag().c_str());
    return name;
}

std::string SnapshotStore::folderFor(const std::string& rootPath) const {
    return directory_ + "/" + folderName(rootPath);
}

SnapshotInfo SnapshotStore::save(const ScanSnapshot& snapshot) const {
    const std::string folder = folderFor(snapshot.rootPath);
    std::string data;
    try {
        data = SnapshotJson::encode(snapshot);
    } catch (const SnapshotError& error) {
        throw SnapshotError("Could not save a snapshot of " + snapshot.rootPath + ": " + error.what());
    }
    if (static_cast<std::int64_t>(data.size()) > largestFile)
        throw SnapshotError("Could not save a snapshot of " + snapshot.rootPath +
                            ": it would be larger than 64 MB, too large to be read back.");
    makeFolders(folder);

    std::string temporary = folder + "/.snapshot-XXXXXX";
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) failed("Could not create a file in", folder, errno);
    try {
        writeAll(fd, data, temporary);
        if (fchmod(fd, 0644) != 0 || fsync(fd) != 0) failed("Could not write", temporary, errno);
    } catch (...) {
        close(fd);
        unlink(temporary.c_str());
        throw;
    }
    close(fd);

    // A name already taken gets a new tag rather than replacing another snapshot.
    for (int attempt = 0;; ++attempt) {
        const std::string path = folder + "/" + fileName(snapshot.date);
        if (renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0)
            return SnapshotInfo{path, snapshot.rootPath, snapshot.date, snapshot.totalBytes};
        if (errno != EEXIST || attempt == 8) {
            const int error = errno;
            unlink(temporary.c_str());
            failed("Could not save", path, error);
        }
    }
}

SnapshotListing SnapshotStore::listing(const std::string& rootPath) const {
    const std::string standard = Paths::standardized(rootPath);
    return readFolder(files_, folderFor(standard), standard).listing;
}

std::vector<SnapshotInfo> SnapshotStore::snapshots(const std::string& rootPath) const {
    return listing(rootPath).readable;
}

ScanSnapshot SnapshotStore::load(const SnapshotInfo& info) const {
    const std::optional<std::string> text = files_.contents(info.path, largestFile);
    if (!text) throw SnapshotError(unreadableReason(info.path));
    return SnapshotJson::decode(*text);
}

SnapshotBaseline SnapshotStore::baseline(const std::vector<SnapshotInfo>& readable, const std::string& except) const {
    SnapshotBaseline found;
    for (const SnapshotInfo& info : readable) {
        if (info.path == except) continue;
        try {
            found.snapshot = load(info);
            found.info = info;
            return found;
        } catch (const SnapshotError& error) {
            found.passedOver.push_back({info.path, error.what()});
        }
    }
    return found;
}

void SnapshotStore::prune(const std::string& rootPath, int keeping) const {
    const std::string standard = Paths::standardized(rootPath);
    FolderRead read = readFolder(files_, folderFor(standard), standard);
    std::vector<SnapshotInfo>& all = read.listing.readable;
    all.insert(all.end(), read.lossyCopies.begin(), read.lossyCopies.end());
    std::sort(all.begin(), all.end(), newestFirst);
    for (std::size_t index = static_cast<std::size_t>(std::max(keeping, 0)); index < all.size(); ++index)
        unlink(all[index].path.c_str());
}

} // namespace tessel
