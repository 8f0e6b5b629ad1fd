// Which file systems may hang, by device number.
//
// The scan knows the device of every folder it meets, and it changes only
// where another file system is mounted, so the question is asked once per
// mount met, not once per folder. The answer comes from the kernel's mount
// table, whose file system types tell a FUSE daemon, an NFS or SMB client or
// a 9p share from a disk. Never from statfs: asking a file system that has
// stopped answering what type it is would hang the asker.
//
// The table is read again when a device is not in it, or when it is more
// than a few seconds old, so a share mounted while the app runs is known
// when it is first met; a path's mount is always looked up in a fresh one.
// A device that once stalled stays marked as such for the life of the
// process, whatever its type: a local disk that stopped answering once is
// read from a reader process from then on.
//
// A path's text can lie about its mount: "~/work/src" may pass through a link
// to a share. So its mount is found by following its links one name at a
// time, as the kernel would, but asking about each name only once the table
// says the mount its text lies on cannot hang; the first name that lies on one
// that can ends the walk with that mount, whatever lies beyond it.

#include "DiskScanKit/HangingMounts.h"
#include "DiskScanKit/Paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <deque>
#include <mutex>
#include <set>
#include <unordered_map>
#include <vector>

namespace tessel::HangingMounts {

namespace {

constexpr double tableLifetimeSeconds = 5;

double uptime() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

struct Known {
    std::mutex lock;
    std::vector<MountEntry> table;
    double readAt = -1;
    std::unordered_map<std::uint64_t, bool> mayHang;
    std::set<std::uint64_t> stalled;
};

Known& known() {
    static Known* instance = new Known; // outlives every thread that may still ask
    return *instance;
}

std::atomic<bool> somethingStalled{false};

void readTable(Known& state) {
    state.table = MountTable::current();
    state.readAt = uptime();
    state.mayHang.clear();
    for (const MountEntry& entry : state.table) {
        bool& hangs = state.mayHang[entry.device];
        hangs = hangs || mayHang(entry.fileSystem);
    }
}

} // namespace

bool mayHang(std::string_view fileSystem) {
    static const std::set<std::string, std::less<>> network{
        "nfs", "nfs4", "cifs", "smb3", "smbfs", "9p", "afs", "ceph", "virtiofs", "davfs", "fuse", "fuseblk"};
    return network.contains(fileSystem) || fileSystem.starts_with("fuse.") || fileSystem.starts_with("fuseblk.");
}

bool mayHang(std::uint64_t device) {
    Known& state = known();
    std::lock_guard guard(state.lock);
    if (state.stalled.contains(device)) return true;
    auto found = state.mayHang.find(device);
    if (found == state.mayHang.end() || uptime() - state.readAt > tableLifetimeSeconds) {
        readTable(state);
        found = state.mayHang.find(device);
    }
    if (found != state.mayHang.end()) return found->second;
    // Not mounted as such: a btrfs subvolume, or something unmounted meanwhile.
    state.mayHang.emplace(device, false);
    return false;
}

void noteStalled(std::uint64_t device) {
    Known& state = known();
    std::lock_guard guard(state.lock);
    state.stalled.insert(device);
    somethingStalled.store(true, std::memory_order_relaxed);
}

bool anyStalled() { return somethingStalled.load(std::memory_order_relaxed); }

std::optional<MountEntry> holding(std::string_view path) {
    std::vector<MountEntry> table;
    {
        Known& state = known();
        std::lock_guard guard(state.lock);
        // Always the table as it is now: a share mounted a moment ago must not pass for the disk below it.
        readTable(state);
        table = state.table;
    }
    return holdingIn(table, path, [](const MountEntry& mount) { return mayHang(mount.fileSystem) || mayHang(mount.device); });
}

std::optional<MountEntry> holdingIn(const std::vector<MountEntry>& table, std::string_view path,
                                    const std::function<bool(const MountEntry&)>& hangs) {
    // Linux gives up past 40 links in one lookup; so does this.
    constexpr int linkLimit = 40;
    std::string reached = "/"; // followed so far, with no link left in it
    std::deque<std::string> rest;
    const auto prepend = [&rest](std::string_view text) {
        std::vector<std::string> names;
        for (std::size_t start = 0; start <= text.size();) {
            const std::size_t slash = std::min(text.find('/', start), text.size());
            if (slash > start) names.emplace_back(text.substr(start, slash - start));
            start = slash + 1;
        }
        rest.insert(rest.begin(), names.begin(), names.end());
    };
    prepend(path);
    int links = 0;
    while (!rest.empty()) {
        const std::string name = std::move(rest.front());
        rest.pop_front();
        if (name == ".") continue;
        if (name == "..") {
            reached.resize(std::max<std::size_t>(reached.rfind('/'), 1));
            continue;
        }
        const std::string next = Paths::join(reached, name);
        if (const std::optional<MountEntry> mount = MountTable::containing(table, next); mount && hangs(*mount)) return mount;
        struct stat info {};
        if (links >= linkLimit || ::lstat(next.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) {
            reached = next;
            continue;
        }
        std::string target(PATH_MAX, '\0');
        const ssize_t length = ::readlink(next.c_str(), target.data(), target.size());
        // A target that fills the buffer may have been cut short: not one to follow.
        if (length <= 0 || static_cast<std::size_t>(length) >= target.size()) {
            reached = next;
            continue;
        }
        target.resize(static_cast<std::size_t>(length));
        ++links;
        if (target.starts_with('/')) reached.resize(1); // back to "/"
        prepend(target);
    }
    return MountTable::containing(table, reached);
}

std::optional<MountEntry> ofDevice(std::uint64_t device) {
    Known& state = known();
    std::lock_guard guard(state.lock);
    if (uptime() - state.readAt > tableLifetimeSeconds) readTable(state);
    for (const MountEntry& entry : state.table)
        if (entry.device == device) return entry;
    return std::nullopt;
}

} // namespace tessel::HangingMounts
