// Reading a file's contents without disturbing the page cache.
//
// The duplicate finder may read gigabytes the user will never open. Read
// plainly, those pages would push out what the user's programs had cached,
// and everything would be slow for a while after. O_DIRECT is no answer: it
// would go to the disk even for files already in memory, which is the common,
// fast case. So the reader goes through the cache and then puts it back as it
// was:
//
//  1. Before reading, it notes which pages of the file are resident, as runs
//     of pages. cachestat (Linux 6.5) answers "all", "none" or "some" for a
//     range in one call; only for "some", or where cachestat is missing, the
//     reader maps the file (PROT_READ, MAP_SHARED), never touches the
//     mapping, and asks mincore page by page, a window at a time so that a
//     huge file needs no huge table.
//  2. After each piece is read, it drops with POSIX_FADV_DONTNEED exactly the
//     pages of that piece that were not resident before. Pages that were stay.
//     (POSIX_FADV_NOREUSE does nothing useful on most kernels; a plain
//     DONTNEED over the whole file would evict what others had cached.)
//  3. Pages the kernel read ahead past the current piece are dropped when
//     their piece is reached, and whatever is left when the file is closed
//     (after an error, a cancelled hash, or a file parted early from its
//     bucket) is dropped then. Pages still on their way from the disk at
//     that moment can't be dropped until they arrive, so the reader looks
//     again, a millisecond apart and for 50 ms at most, until none of its
//     own are left.
//
// Example, a file of 8 pages whose pages 0-3 are cached by an editor:
// resident runs = [0,4). Reading 2 pages at a time: after [0,2) and [2,4)
// nothing is dropped; after [4,6) pages 4-5 go, after [6,8) pages 6-7 go.
// At the end pages 0-3 are still cached and nothing else is.
//
// Large folios. The kernel may cache a file in naturally aligned blocks of up
// to 2 MiB, and DONTNEED skips any such block that reaches outside the range
// asked for. So every drop starts at the 2 MiB boundary below where the last
// one ended, and the windows noted in step 1 are widened to 2 MiB boundaries
// (but not past the file's last page, which no block passes); a block the
// reader brought in is then always wholly inside some drop.
//
// Who may see. Since Linux 5.0, mincore tells page-cache residency only to a
// caller that owns the file, may write it, or has CAP_FOWNER; anyone else is
// told about the pages mapped in their own process (5.0 and 5.1) or that
// every page is resident (later kernels), and newer kernels hold cachestat to
// the same rule. The first answer would make the reader drop other people's
// pages, so for a file that isn't ours (and when the kernel won't answer)
// residency is unknown and nothing is dropped at all.
//
// Readahead. Two small samples are read with POSIX_FADV_RANDOM, so the kernel
// reads the pages asked for and no more; a whole file is read with
// POSIX_FADV_SEQUENTIAL, which doubles the readahead window. A file with a
// few pages missing can have them all asked for at once (POSIX_FADV_WILLNEED,
// after its residency is noted, so they count as the reader's to drop).
//
// Identity. The file is opened O_NOFOLLOW (a link swapped in is refused) and
// O_NONBLOCK (a FIFO swapped in can't hang the open), then checked with fstat
// against what was measured: a file changed or replaced since is refused. The
// status change time is part of what is checked: a writer can put the
// modification time back, but not that. After reading, the same check on the
// open descriptor tells whether the file changed while it was read.
//
// Seeking. Whether a device pays for reading two files in turn is what
// /sys/dev/block/MAJOR:MINOR/queue/rotational says, or, for a partition, the
// same file of the disk that holds it. Virtual disks often call themselves
// rotational whatever lies below; that errs on the careful side.

#include "DiskScanKit/OpenFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>

#include "DiskScanKit/AnchoredPath.h"
#include "DiskScanKit/CheckedSize.h"

namespace tessel {

namespace {

std::uint64_t pageSize() {
    static const auto size = static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    return size;
}

// The largest block the page cache keeps a file in, in pages.
std::uint64_t largestFolioPages() { return std::max<std::uint64_t>(1, (std::uint64_t{2} << 20) / pageSize()); }

std::uint64_t alignDown(std::uint64_t page, std::uint64_t unit) { return page - page % unit; }
std::uint64_t alignUp(std::uint64_t page, std::uint64_t unit) { return alignDown(page + unit - 1, unit); }

std::uint64_t pagesCovering(std::int64_t bytes) {
    const auto size = static_cast<std::uint64_t>(std::max<std::int64_t>(bytes, 0));
    return (size + pageSize() - 1) / pageSize();
}

// Pages still being read in when a file is let go (read ahead, or fetched)
// can't be dropped until they arrive; the reader looks again this many
// times, a millisecond apart, while they do.
constexpr int settleAttempts = 50;

// mincore answers one byte per page; 16,384 pages (64 MiB) per window keeps that table small.
constexpr std::uint64_t windowPages = 16384;

// cachestat has number 451 on every architecture; the C library may not name it yet.
constexpr long cachestatCall = 451;
struct CachestatRange {
    std::uint64_t offset;
    std::uint64_t length;
};
struct Cachestat {
    std::uint64_t cached;
    std::uint64_t dirty;
    std::uint64_t writeback;
    std::uint64_t evicted;
    std::uint64_t recentlyEvicted;
};
// Cleared on the first ENOSYS, so an older kernel is asked once.
std::atomic<bool> cachestatAvailable{true};

// How many of the pages of [firstPage, endPage) are cached, when the kernel says.
std::optional<std::uint64_t> cachedCount(int fd, std::uint64_t firstPage, std::uint64_t endPage) {
    if (!cachestatAvailable.load(std::memory_order_relaxed)) return std::nullopt;
    CachestatRange range{firstPage * pageSize(), (endPage - firstPage) * pageSize()};
    Cachestat answer{};
    if (syscall(cachestatCall, fd, &range, &answer, 0) == 0) return answer.cached;
    if (errno == ENOSYS) cachestatAvailable.store(false, std::memory_order_relaxed);
    return std::nullopt;
}

std::string sentence(const char* call, const std::string& path, int error) {
    return std::string(call) + "(" + path + "): " + std::strerror(error);
}

FileIdentity identityOf(const struct stat& status) {
    return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
            static_cast<std::int64_t>(status.st_size), static_cast<std::int64_t>(status.st_mtim.tv_sec),
            static_cast<std::int64_t>(status.st_mtim.tv_nsec), static_cast<std::int64_t>(status.st_ctim.tv_sec),
            static_cast<std::int64_t>(status.st_ctim.tv_nsec)};
}

} // namespace

std::optional<FileIdentity> FileIdentity::ofPath(const std::string& path) {
    const MeasuredPath measured = MeasuredPath::of(path);
    if (measured.kind != MeasuredPath::Kind::regularFile) return std::nullopt;
    return measured.identity;
}

MeasuredPath MeasuredPath::of(const std::string& path) {
    MeasuredPath measured;
    struct stat status {};
    if (AnchoredPath::lstatAnyLength(path, status) != 0) return measured;
    // Linux has no placeholders whose reading would download them, so no file is `inTheCloud` here.
    measured.kind = S_ISREG(status.st_mode) ? Kind::regularFile : Kind::notAFile;
    measured.identity = identityOf(status);
    measured.allocated = checkedMultiply(static_cast<std::int64_t>(status.st_blocks), 512);
    measured.linkCount = static_cast<int>(status.st_nlink);
    return measured;
}

std::optional<OpenFile> OpenFile::bypassCache(const std::string& path, const FileIdentity& expected,
                                              Pattern pattern, std::string* failure) {
    auto refuse = [&](std::string why, int fd) -> std::optional<OpenFile> {
        if (fd >= 0) ::close(fd);
        if (failure != nullptr) *failure = std::move(why);
        return std::nullopt;
    };
    const int fd = AnchoredPath::openAnyLength(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return refuse(sentence("open", path, errno), -1);
    struct stat status {};
    if (fstat(fd, &status) != 0) return refuse(sentence("fstat", path, errno), fd);
    if (!S_ISREG(status.st_mode)) return refuse(path + ": no longer a regular file", fd);
    if (identityOf(status) != expected) return refuse(path + ": changed since it was measured", fd);
    const int flags = fcntl(fd, F_GETFL);
    if (flags < 0 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) return refuse(sentence("fcntl", path, errno), fd);
    // Advice only: a file system that ignores it reads the same bytes.
    posix_fadvise(fd, 0, 0, pattern == Pattern::ranges ? POSIX_FADV_RANDOM : POSIX_FADV_SEQUENTIAL);
    static const uid_t user = geteuid();
    const bool ours = status.st_uid == user || user == 0;
    return OpenFile(fd, path, expected, ours);
}

OpenFile::OpenFile(int fd, std::string path, const FileIdentity& identity, bool residencyVisible)
    : fd_(fd), path_(std::move(path)), identity_(identity), size_(identity.size), residencyVisible_(residencyVisible) {}

OpenFile::OpenFile(OpenFile&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), path_(std::move(other.path_)), identity_(other.identity_), size_(other.size_),
      residencyVisible_(other.residencyVisible_), position_(other.position_),
      residentBefore_(std::move(other.residentBefore_)), releasedBelow_(other.releasedBelow_),
      failure_(std::move(other.failure_)) {
    other.residentBefore_.reset();
}

OpenFile& OpenFile::operator=(OpenFile&& other) noexcept {
    if (this == &other) return *this;
    close();
    fd_ = std::exchange(other.fd_, -1);
    path_ = std::move(other.path_);
    identity_ = other.identity_;
    size_ = other.size_;
    residencyVisible_ = other.residencyVisible_;
    position_ = other.position_;
    residentBefore_ = std::move(other.residentBefore_);
    other.residentBefore_.reset();
    releasedBelow_ = other.releasedBelow_;
    failure_ = std::move(other.failure_);
    return *this;
}

OpenFile::~OpenFile() { close(); }

void OpenFile::close() {
    if (fd_ < 0) return;
    if (residentBefore_) {
        const std::uint64_t from = alignDown(releasedBelow_, largestFolioPages());
        dropNotResident(from, filePages(), *residentBefore_);
        for (int attempt = 0; attempt < settleAttempts && holdsMoreThanBefore(from, filePages()); ++attempt) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            dropNotResident(from, filePages(), *residentBefore_);
        }
    }
    ::close(std::exchange(fd_, -1));
}

bool OpenFile::holdsMoreThanBefore(std::uint64_t firstPage, std::uint64_t endPage) const {
    std::uint64_t before = 0;
    for (const PageRun& run : *residentBefore_)
        if (run.end > firstPage && run.first < endPage)
            before += std::min(run.end, endPage) - std::max(run.first, firstPage);
    if (const std::optional<std::uint64_t> cached = cachedCount(fd_, firstPage, endPage)) return *cached > before;
    const std::optional<std::vector<PageRun>> now = residentPages(firstPage, endPage);
    if (!now) return false;
    std::uint64_t cachedNow = 0;
    for (const PageRun& run : *now) cachedNow += run.end - run.first;
    return cachedNow > before;
}

std::uint64_t OpenFile::filePages() const { return pagesCovering(size_); }

std::optional<std::vector<OpenFile::PageRun>> OpenFile::residentPages(std::uint64_t firstPage,
                                                                      std::uint64_t endPage) const {
    std::vector<PageRun> runs;
    if (firstPage >= endPage) return runs;
    if (const std::optional<std::uint64_t> cached = cachedCount(fd_, firstPage, endPage)) {
        if (*cached == 0) return runs;
        if (*cached >= endPage - firstPage) return std::vector<PageRun>{{firstPage, endPage}};
    }
    std::vector<unsigned char> table;
    for (std::uint64_t window = firstPage; window < endPage; window += windowPages) {
        const std::uint64_t pages = std::min(windowPages, endPage - window);
        const std::size_t length = pages * pageSize();
        // Mapped and never touched: no page is faulted in, mincore only looks.
        void* mapping = mmap(nullptr, length, PROT_READ, MAP_SHARED, fd_, static_cast<off_t>(window * pageSize()));
        if (mapping == MAP_FAILED) return std::nullopt;
        table.resize(pages);
        const int answer = mincore(mapping, length, table.data());
        munmap(mapping, length);
        if (answer != 0) return std::nullopt;
        for (std::uint64_t i = 0; i < pages; ++i) {
            if ((table[i] & 1) == 0) continue;
            const std::uint64_t page = window + i;
            if (!runs.empty() && runs.back().end == page)
                runs.back().end = page + 1;
            else
                runs.push_back({page, page + 1});
        }
    }
    return runs;
}

void OpenFile::dropNotResident(std::uint64_t firstPage, std::uint64_t endPage, const std::vector<PageRun>& resident) {
    if (!residencyVisible_ || firstPage >= endPage) return;
    auto drop = [&](std::uint64_t from, std::uint64_t to) {
        if (from >= to) return;
        posix_fadvise(fd_, static_cast<off_t>(from * pageSize()), static_cast<off_t>((to - from) * pageSize()),
                      POSIX_FADV_DONTNEED);
    };
    auto run = std::upper_bound(resident.begin(), resident.end(), firstPage,
                                [](std::uint64_t page, const PageRun& r) { return page < r.end; });
    std::uint64_t cursor = firstPage;
    for (; run != resident.end() && run->first < endPage; ++run) {
        drop(cursor, run->first);
        cursor = std::max(cursor, run->end);
    }
    drop(cursor, endPage);
}

bool OpenFile::read(std::size_t count, std::int64_t offset, std::span<std::byte> buffer) {
    if (count > buffer.size() || offset < 0) {
        failure_ = path_ + ": a read larger than its buffer";
        return false;
    }
    const std::uint64_t unit = largestFolioPages();
    const std::uint64_t firstPage = alignDown(static_cast<std::uint64_t>(offset) / pageSize(), unit);
    const std::uint64_t endPage =
        std::min(alignUp(pagesCovering(offset + static_cast<std::int64_t>(count)), unit), filePages());
    std::optional<std::vector<PageRun>> before;
    if (residencyVisible_) before = residentPages(firstPage, endPage);

    std::size_t done = 0;
    bool ok = true;
    while (done < count) {
        const ssize_t got = pread(fd_, buffer.data() + done, count - done, offset + static_cast<off_t>(done));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) failure_ = sentence("pread", path_, errno);
        if (got == 0) failure_ = "pread(" + path_ + "): the file ended early";
        if (got <= 0) {
            ok = false;
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    if (before) dropNotResident(firstPage, endPage, *before);
    return ok;
}

void OpenFile::noteResidency() {
    if (residencyVisible_ && !residentBefore_ && position_ == 0) {
        residentBefore_ = residentPages(0, filePages());
        if (!residentBefore_) residencyVisible_ = false;
    }
}

std::optional<std::size_t> OpenFile::readNext(std::span<std::byte> buffer) {
    noteResidency();
    ssize_t got = 0;
    do {
        got = ::read(fd_, buffer.data(), buffer.size());
    } while (got < 0 && errno == EINTR);
    if (got < 0) {
        failure_ = sentence("read", path_, errno);
        return std::nullopt;
    }
    position_ += got;
    if (residentBefore_) {
        // Only whole pages: the part of a page the next read continues from stays for it.
        const std::uint64_t readPages = got == 0 ? filePages() : static_cast<std::uint64_t>(position_) / pageSize();
        const std::uint64_t upTo = std::min(readPages, filePages());
        if (upTo > releasedBelow_) {
            dropNotResident(alignDown(releasedBelow_, largestFolioPages()), upTo, *residentBefore_);
            releasedBelow_ = upTo;
        }
    }
    return static_cast<std::size_t>(got);
}

std::optional<std::size_t> OpenFile::readFull(std::span<std::byte> buffer) {
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const std::optional<std::size_t> got = readNext(buffer.subspan(filled));
        if (!got) return std::nullopt;
        if (*got == 0) break;
        filled += *got;
    }
    return filled;
}

bool OpenFile::unchanged() {
    struct stat status {};
    if (fstat(fd_, &status) != 0) {
        failure_ = sentence("fstat", path_, errno);
        return false;
    }
    if (identityOf(status) == identity_) return true;
    failure_ = path_ + ": changed while it was read";
    return false;
}

std::vector<OpenFile::PageRun> OpenFile::missingRuns() const {
    std::vector<PageRun> missing;
    if (!residentBefore_) return missing;
    const std::uint64_t end = filePages();
    std::uint64_t cursor = 0;
    for (const PageRun& run : *residentBefore_) {
        if (cursor < std::min(run.first, end)) missing.push_back({cursor, std::min(run.first, end)});
        cursor = std::max(cursor, run.end);
    }
    if (cursor < end) missing.push_back({cursor, end});
    return missing;
}

std::optional<std::int64_t> OpenFile::piecesNotCached(std::size_t pieceBytes) {
    noteResidency();
    if (!residentBefore_) return std::nullopt;
    const std::uint64_t piecePages = std::max<std::uint64_t>(1, pieceBytes / pageSize());
    std::int64_t pieces = 0;
    // The piece after the last one counted: a run that starts inside a piece
    // already counted adds only the pieces past it.
    std::uint64_t countedUpTo = 0;
    for (const PageRun& run : missingRuns()) {
        const std::uint64_t first = std::max(run.first / piecePages, countedUpTo);
        const std::uint64_t last = (run.end - 1) / piecePages;
        if (first > last) continue;
        pieces += static_cast<std::int64_t>(last - first + 1);
        countedUpTo = last + 1;
    }
    return pieces;
}

bool OpenFile::fetchMissing() {
    noteResidency();
    if (!residentBefore_) return false;
    for (const PageRun& run : missingRuns())
        posix_fadvise(fd_, static_cast<off_t>(run.first * pageSize()),
                      static_cast<off_t>((run.end - run.first) * pageSize()), POSIX_FADV_WILLNEED);
    return true;
}

bool OpenFile::deviceSeeks(std::uint64_t device) {
    const std::string block = "/sys/dev/block/" + std::to_string(major(device)) + ":" + std::to_string(minor(device));
    for (const std::string& path : {block + "/queue/rotational", block + "/../queue/rotational"}) {
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) continue;
        char answer = 0;
        const ssize_t got = ::read(fd, &answer, 1);
        ::close(fd);
        if (got == 1) return answer != '0';
    }
    return true;
}

} // namespace tessel
