#include "SystemStatsKit/ProcessTable.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "Base/Lines.h"
#include "KernelFiles.h"

namespace tessel::ProcessTable {

namespace {

// The files of one process are a few hundred bytes; cgroup under the old
// hierarchy a few kilobytes. Anything near this is not the kernel's.
constexpr std::size_t processFileLimit = 64 << 10;

// The folder /proc/PID, open so that its files are read relative to it and
// its owner is one fstat away.
class ProcessFolder {
public:
    // `onProcfs`: the root is the kernel's own, where no entry is a device
    // or a FIFO, so a file need not be looked at before it is opened.
    ProcessFolder(const std::string& procRoot, std::int32_t pid, bool onProcfs = false) : onProcfs_(onProcfs) {
        const std::string path = procRoot + "/" + std::to_string(pid);
        fd_ = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }
    ~ProcessFolder() {
        if (fd_ >= 0) ::close(fd_);
    }
    ProcessFolder(const ProcessFolder&) = delete;
    ProcessFolder& operator=(const ProcessFolder&) = delete;

    bool ownedBy(std::uint32_t uid) const {
        struct stat info {};
        return fd_ >= 0 && ::fstat(fd_, &info) == 0 && info.st_uid == uid;
    }

    // The whole of `name`, when it is a regular file of no more than the limit.
    std::optional<std::string> read(const char* name) const {
        struct stat seen {};
        if (!onProcfs_ && (::fstatat(fd_, name, &seen, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(seen.st_mode) ||
                           seen.st_size > static_cast<off_t>(processFileLimit)))
            return std::nullopt;
        const int file = ::openat(fd_, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (file < 0) return std::nullopt;
        struct stat info {};
        std::optional<std::string> text;
        if (onProcfs_ || (::fstat(file, &info) == 0 && S_ISREG(info.st_mode))) {
            char block[4096];
            std::string bytes;
            for (;;) {
                const ssize_t got = ::read(file, block, sizeof block);
                if (got < 0 && errno == EINTR) continue;
                if (got <= 0 || bytes.size() + static_cast<std::size_t>(got) > processFileLimit) {
                    if (got == 0) text = std::move(bytes);
                    break;
                }
                bytes.append(block, static_cast<std::size_t>(got));
                // The kernel's files come whole in one read when they fit,
                // so a short read is the end: one call less per file.
                if (static_cast<std::size_t>(got) < sizeof block) {
                    text = std::move(bytes);
                    break;
                }
            }
        }
        ::close(file);
        return text;
    }

    std::string link(const char* name) const {
        char target[PATH_MAX];
        const ssize_t length = ::readlinkat(fd_, name, target, sizeof target);
        return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
    }

private:
    int fd_ = -1;
    bool onProcfs_ = false;
};

bool isProcfs(const std::string& root) {
    struct statfs info {};
    return ::statfs(root.c_str(), &info) == 0 && info.f_type == PROC_SUPER_MAGIC;
}

// The number after `key` on the line that starts with it: "Pss:  123 kB".
std::optional<std::uint64_t> numberAfter(std::string_view text, std::string_view key) {
    std::optional<std::uint64_t> found;
    forEachLine(text, [&](std::string_view line) {
        if (found || !line.starts_with(key)) return;
        const std::vector<std::string_view> words = KernelFiles::words(line.substr(key.size()));
        if (!words.empty()) found = KernelFiles::parseUnsigned(words.front());
    });
    return found;
}

// PF_KTHREAD of the flags, field 9: a thread of the kernel's own, which has
// no program and no memory of a user's.
constexpr std::uint64_t kernelThreadFlag = 0x00200000;

std::uint64_t pageBytes() {
    static const long size = ::sysconf(_SC_PAGESIZE);
    return size > 0 ? static_cast<std::uint64_t>(size) : 4096;
}

} // namespace

std::optional<ProcessStat> parseStat(std::string_view stat) {
    // "1234 (a name) S 1200 ...": the name may hold spaces and ")", so the
    // fields start after the last ")".
    const std::size_t open = stat.find('(');
    const std::size_t close = stat.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open) return std::nullopt;
    const std::vector<std::string_view> fields = KernelFiles::words(trimmed(stat.substr(close + 1), " \t\n"));
    // fields[0] is field 3 (state), so field N is fields[N - 3].
    if (fields.size() < 20) return std::nullopt;
    const std::optional<std::int64_t> parent = KernelFiles::parseInteger(fields[1]);
    const std::optional<std::uint64_t> user = KernelFiles::parseUnsigned(fields[11]);
    const std::optional<std::uint64_t> system = KernelFiles::parseUnsigned(fields[12]);
    const std::optional<std::uint64_t> start = KernelFiles::parseUnsigned(fields[19]);
    const std::optional<std::uint64_t> flags = KernelFiles::parseUnsigned(fields[6]);
    const std::optional<std::int64_t> resident = fields.size() > 21 ? KernelFiles::parseInteger(fields[21]) : std::nullopt;
    if (!flags || !parent || *parent < 0 || *parent > INT32_MAX || !user || !system || !start) return std::nullopt;
    return ProcessStat{static_cast<std::int32_t>(*parent), resident && *resident > 0 ? static_cast<std::uint64_t>(*resident) : 0,
                       std::string(stat.substr(open + 1, close - open - 1)), *user + *system, *start,
                       (*flags & kernelThreadFlag) != 0};
}

std::optional<std::uint64_t> parsePss(std::string_view smapsRollup) {
    const std::optional<std::uint64_t> kilobytes = numberAfter(smapsRollup, "Pss:");
    if (!kilobytes || *kilobytes > (UINT64_MAX >> 10)) return std::nullopt;
    return *kilobytes << 10;
}

std::optional<std::uint64_t> parseStatmResident(std::string_view statm, std::uint64_t pageBytes) {
    const std::vector<std::string_view> words = KernelFiles::words(trimmed(statm, " \t\n"));
    if (words.size() < 2) return std::nullopt;
    const std::optional<std::uint64_t> pages = KernelFiles::parseUnsigned(words[1]);
    if (!pages || (pageBytes != 0 && *pages > UINT64_MAX / pageBytes)) return std::nullopt;
    return *pages * pageBytes;
}

std::optional<std::uint64_t> parseIo(std::string_view io) {
    const std::optional<std::uint64_t> read = numberAfter(io, "read_bytes:");
    const std::optional<std::uint64_t> written = numberAfter(io, "write_bytes:");
    if (!read || !written || *read > UINT64_MAX - *written) return std::nullopt;
    return *read + *written;
}

std::optional<std::vector<std::int32_t>> pids(const std::string& procRoot) {
    DIR* listing = ::opendir(procRoot.c_str());
    if (listing == nullptr) return std::nullopt;
    std::vector<std::int32_t> found;
    while (const dirent* entry = ::readdir(listing)) {
        const std::string_view name = entry->d_name;
        if (name.empty() || name[0] < '1' || name[0] > '9') continue;
        const std::optional<std::int64_t> pid = KernelFiles::parseInteger(name);
        if (pid && *pid > 0 && *pid <= INT32_MAX) found.push_back(static_cast<std::int32_t>(*pid));
    }
    ::closedir(listing);
    return found;
}

std::optional<std::string> file(const std::string& procRoot, std::int32_t pid, std::uint32_t uid, const char* name) {
    const ProcessFolder folder(procRoot, pid);
    if (!folder.ownedBy(uid)) return std::nullopt;
    return folder.read(name);
}

namespace {

// Whether the Pss read at `then` still stands for `residentPages` now.
bool stillStands(const PssCache::Reading& then, const ProcessStat& now, unsigned refreshWalks, unsigned resizedWalks, std::int32_t pid) {
    if (then.startTicks != now.startTicks || then.residentPages == 0) return false;
    const std::uint64_t moved = now.residentPages > then.residentPages ? now.residentPages - then.residentPages
                                                                        : then.residentPages - now.residentPages;
    if (moved > then.residentPages / 16 && then.walksSince + 1 >= resizedWalks) return false;
    // Spread by pid, so that the processes of one start are not all read again at the same walk.
    return refreshWalks == 0 || (then.walksSince + static_cast<unsigned>(pid)) % refreshWalks != 0;
}

std::optional<std::uint64_t> pssOf(const ProcessFolder& folder) {
    if (const std::optional<std::string> rollup = folder.read("smaps_rollup")) return parsePss(*rollup);
    return std::nullopt;
}

} // namespace

std::vector<ProcessRecord> walk(const std::string& procRoot, std::uint32_t uid, long ticksPerSecond, PssCache* cache,
                                const WalkReads& reads) {
    std::vector<ProcessRecord> records;
    const std::uint64_t nanosecondsPerTick = ticksPerSecond > 0 ? 1'000'000'000ULL / static_cast<std::uint64_t>(ticksPerSecond) : 10'000'000ULL;
    std::unordered_map<std::int32_t, PssCache::Reading> kept;
    const bool onProcfs = isProcfs(procRoot);
    for (const std::int32_t pid : pids(procRoot).value_or(std::vector<std::int32_t>{})) {
        const ProcessFolder folder(procRoot, pid, onProcfs);
        if (!folder.ownedBy(uid)) continue;
        const std::optional<std::string> statText = folder.read("stat");
        const std::optional<ProcessStat> stat = statText ? parseStat(*statText) : std::nullopt;
        if (!stat || stat->kernelThread) continue;
        std::optional<std::uint64_t> memory;
        if (!reads.memory) {
            memory = 0;
        } else if (cache != nullptr) {
            auto then = cache->readings.find(pid);
            if (then != cache->readings.end() && stillStands(then->second, *stat, cache->refreshWalks, cache->resizedWalks, pid)) {
                PssCache::Reading reading = then->second;
                ++reading.walksSince;
                memory = static_cast<std::uint64_t>(static_cast<double>(reading.pss) * static_cast<double>(stat->residentPages) /
                                                    static_cast<double>(reading.residentPages));
                kept.emplace(pid, reading);
            } else if ((memory = pssOf(folder))) {
                kept.emplace(pid, PssCache::Reading{stat->startTicks, stat->residentPages, *memory, 0});
            }
        } else {
            memory = pssOf(folder);
        }
        if (!memory)
            if (const std::optional<std::string> statm = folder.read("statm")) memory = parseStatmResident(*statm, pageBytes());
        if (!memory) continue;
        ProcessRecord record;
        record.pid = pid;
        record.parent = stat->parent;
        record.startTicks = stat->startTicks;
        record.name = stat->name;
        record.cpu = stat->cpuTicks * nanosecondsPerTick;
        record.memory = *memory;
        if (const std::optional<std::string> io = folder.read("io")) record.disk = parseIo(*io);
        if (reads.program) record.path = folder.link("exe");
        if (reads.wantsCgroup && reads.wantsCgroup(pid, stat->startTicks)) record.cgroup = folder.read("cgroup");
        records.push_back(std::move(record));
    }
    if (cache != nullptr && reads.memory) cache->readings = std::move(kept);
    return records;
}

} // namespace tessel::ProcessTable
