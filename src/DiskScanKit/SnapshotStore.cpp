// The snapshot files. Each root has its own folder, named by a hash of its
// standardised path; a file names its date and a random tag, so two saves in
// the same millisecond still get two names, and the rename that publishes a
// file refuses to replace one that is already there. Listing reads each file's
// header only and keeps those whose root really is the one asked for: two roots
// may share a folder when their hashes collide.
//
// The files written and pruned here are Tessel's own records, not the user's:
// pruning them is housekeeping, like replacing a cache file.

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
#include "DiskScanKit/Paths.h"

namespace tessel {

namespace {

// A snapshot of a whole disk stays far below this; a bigger file is not one of ours.
constexpr std::int64_t largestSnapshotFile = std::int64_t{1} << 28;

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
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    const std::string base = dataHome != nullptr && dataHome[0] == '/' ? std::string(dataHome)
                                                                        : Paths::homeFolder() + "/.local/share";
    return base + "/Tessel/Snapshots";
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
    makeFolders(folder);
    const std::string data = SnapshotJson::encode(snapshot);

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

std::vector<SnapshotInfo> SnapshotStore::snapshots(const std::string& rootPath) const {
    const std::string standard = Paths::standardized(rootPath);
    const std::string folder = folderFor(standard);
    std::vector<SnapshotInfo> found;
    const std::optional<std::vector<std::string>> names = files_.contentsOfDirectory(folder);
    if (!names) return found;
    for (const std::string& name : *names) {
        if (!name.ends_with(".json") || name.starts_with('.')) continue;
        const std::string path = folder + "/" + name;
        const std::optional<std::string> text = files_.contents(path, largestSnapshotFile);
        if (!text) continue;
        const std::optional<SnapshotJson::Header> header = SnapshotJson::decodeHeader(*text);
        if (!header || Paths::standardized(header->rootPath) != standard) continue;
        found.push_back({path, header->rootPath, header->date, header->totalBytes});
    }
    std::sort(found.begin(), found.end(), [](const SnapshotInfo& a, const SnapshotInfo& b) {
        return a.date != b.date ? a.date > b.date : a.path > b.path;
    });
    return found;
}

ScanSnapshot SnapshotStore::load(const SnapshotInfo& info) const {
    const std::optional<std::string> text = files_.contents(info.path, largestSnapshotFile);
    if (!text) throw SnapshotError("Could not read " + info.path + ": it is missing, unreadable or too large.");
    return SnapshotJson::decode(*text);
}

void SnapshotStore::prune(const std::string& rootPath, int keeping) const {
    const std::vector<SnapshotInfo> all = snapshots(rootPath);
    for (std::size_t index = static_cast<std::size_t>(std::max(keeping, 0)); index < all.size(); ++index)
        unlink(all[index].path.c_str());
}

} // namespace tessel
