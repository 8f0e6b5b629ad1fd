// dupes-bench DIR [--rounds N]: the duplicate finder against the floor of hashing.
//
// A finder that hashes every byte it reads can't take less wall time than the
// bytes read divided by what both cores hash per second: that is the floor.
// Files compared side by side are not hashed at all, so a warm run that
// compares most of its buckets comes in well under it (a ratio below 1). The
// bench measures that rate here and now (two threads hashing a buffer already
// in memory), then times warm runs of the finder over every regular file of
// DIR, with the bytes each run read (rchar, and read_bytes from the disk,
// from /proc/self/io). Last, the page-cache check: with the cache left half
// warm on purpose, a run must neither evict a page that was cached before it
// nor leave behind a page it brought in.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/OpenFile.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/Sha256.h"

using namespace tessel;
using Clock = std::chrono::steady_clock;

namespace {

struct IoCounters {
    long long rchar = 0;
    long long readBytes = 0;
};

IoCounters ioNow() {
    IoCounters counters;
    std::ifstream io("/proc/self/io");
    std::string key;
    long long value = 0;
    while (io >> key >> value) {
        if (key == "rchar:") counters.rchar = value;
        if (key == "read_bytes:") counters.readBytes = value;
    }
    return counters;
}

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Bytes per second that `threads` threads hash together, from memory.
double hashRate(int threads) {
    constexpr std::size_t chunk = 1 << 20;
    constexpr int chunksEach = 512;
    std::vector<std::byte> buffer(chunk, std::byte{0x5a});
    const auto start = Clock::now();
    std::vector<std::thread> workers;
    for (int index = 0; index < threads; ++index)
        workers.emplace_back([&] {
            Sha256 hash;
            for (int round = 0; round < chunksEach; ++round) hash.add(buffer);
            (void)hash.finish();
        });
    for (std::thread& worker : workers) worker.join();
    return static_cast<double>(chunk) * chunksEach * threads / secondsSince(start);
}

std::vector<std::string> regularFiles(const std::string& root) {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root))
        if (entry.is_regular_file() && !entry.is_symlink()) paths.push_back(entry.path().string());
    std::sort(paths.begin(), paths.end());
    return paths;
}

void readWhole(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    std::vector<char> buffer(1 << 20);
    while (read(fd, buffer.data(), buffer.size()) > 0) {
    }
    close(fd);
}

// Resident pages per file, in the same order as `paths`.
std::vector<std::vector<unsigned char>> residency(const std::vector<std::string>& paths) {
    const long page = sysconf(_SC_PAGESIZE);
    std::vector<std::vector<unsigned char>> all;
    for (const std::string& path : paths) {
        std::vector<unsigned char> pages;
        const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        const off_t size = fd >= 0 ? lseek(fd, 0, SEEK_END) : 0;
        if (size > 0) {
            void* map = mmap(nullptr, static_cast<std::size_t>(size), PROT_READ, MAP_SHARED, fd, 0);
            if (map != MAP_FAILED) {
                pages.resize(static_cast<std::size_t>((size + page - 1) / page));
                if (mincore(map, static_cast<std::size_t>(size), pages.data()) != 0) pages.clear();
                munmap(map, static_cast<std::size_t>(size));
            }
        }
        if (fd >= 0) close(fd);
        for (unsigned char& state : pages) state &= 1;
        all.push_back(std::move(pages));
    }
    return all;
}

// Half warm: every other file has its first half cached, the rest nothing.
void halfWarm(const std::vector<std::string>& paths) {
    for (std::size_t index = 0; index < paths.size(); ++index) {
        const int fd = open(paths[index].c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) continue;
        posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
        // No readahead: pages it brought in after the look at the cache would pass for the run's.
        posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
        if (index % 2 == 0) {
            const off_t half = lseek(fd, 0, SEEK_END) / 2;
            std::vector<char> buffer(1 << 20);
            for (off_t at = 0; at < half;) {
                const ssize_t got = pread(fd, buffer.data(), std::min<std::size_t>(buffer.size(), static_cast<std::size_t>(half - at)), at);
                if (got <= 0) break;
                at += got;
            }
        }
        close(fd);
    }
}

struct Run {
    double seconds = 0;
    IoCounters io;
    DuplicateReport report;
    std::int64_t bytesToHash = 0;
};

Run runOnce(const DuplicateFinder& finder, const std::vector<std::string>& paths) {
    Run run;
    std::mutex lock;
    const IoCounters before = ioNow();
    const auto start = Clock::now();
    run.report = finder.find(paths, [&](const DuplicateScanProgress& now) {
        std::lock_guard guard(lock);
        if (now.phase == DuplicateScanProgress::Phase::hashing) run.bytesToHash = now.bytesToHash;
    });
    run.seconds = secondsSince(start);
    const IoCounters after = ioNow();
    run.io = {after.rchar - before.rchar, after.readBytes - before.readBytes};
    return run;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: dupes-bench DIR [--rounds N]\n");
        return 2;
    }
    const std::string root = argv[1];
    int rounds = 7;
    if (argc >= 4 && std::strcmp(argv[2], "--rounds") == 0) rounds = std::max(1, std::atoi(argv[3]));

    const std::vector<std::string> paths = regularFiles(root);
    const DuplicateFinder finder(DuplicateFinder::toolMinimumBytes, DuplicateFinder::toolSampleBytes,
                                 DuplicateFinder::defaultWorkerCount(), Paths::homeFolder());
    const int cores = static_cast<int>(std::min<unsigned>(std::thread::hardware_concurrency(), 4));
    const double rate = hashRate(cores);
    std::printf("files: %zu, workers: %d, SHA-256 on %d threads: %.0f MB/s\n", paths.size(), finder.workerCount(), cores,
                rate / 1e6);

    for (const std::string& path : paths) readWhole(path);
    std::vector<double> times;
    Run last;
    for (int round = 0; round < rounds; ++round) {
        last = runOnce(finder, paths);
        times.push_back(last.seconds);
        std::printf("warm run %d: %.3f s, read %.1f MB (from disk %.1f MB)\n", round + 1, last.seconds,
                    static_cast<double>(last.io.rchar) / 1e6, static_cast<double>(last.io.readBytes) / 1e6);
    }
    std::sort(times.begin(), times.end());
    const double median = times[times.size() / 2];
    const double floor = static_cast<double>(last.io.rchar) / rate;
    std::printf("groups: %zu, reclaimable: %lld bytes, files examined: %lld, unreadable: %lld\n", last.report.groups.size(),
                static_cast<long long>(last.report.totalReclaimableBytes), static_cast<long long>(last.report.filesExamined),
                static_cast<long long>(last.report.unreadable));
    std::printf("whole-file stage: %.1f MB to read; all bytes read: %.1f MB\n", static_cast<double>(last.bytesToHash) / 1e6,
                static_cast<double>(last.io.rchar) / 1e6);
    std::printf("median warm run: %.3f s (min %.3f, max %.3f); hashing floor %.3f s; ratio %.2f\n", median, times.front(),
                times.back(), floor, median / floor);

    halfWarm(paths);
    const auto before = residency(paths);
    const Run cold = runOnce(finder, paths);
    const auto after = residency(paths);
    long long evicted = 0, leftBehind = 0, cachedBefore = 0;
    for (std::size_t file = 0; file < paths.size(); ++file)
        for (std::size_t page = 0; page < std::min(before[file].size(), after[file].size()); ++page) {
            cachedBefore += before[file][page];
            evicted += before[file][page] && !after[file][page];
            leftBehind += !before[file][page] && after[file][page];
        }
    std::printf("half-warm run: %.3f s, read %.1f MB, from disk %.1f MB\n", cold.seconds,
                static_cast<double>(cold.io.rchar) / 1e6, static_cast<double>(cold.io.readBytes) / 1e6);
    std::printf("page cache: %lld pages cached before; %lld of them evicted; %lld pages left behind by the run\n",
                cachedBefore, evicted, leftBehind);
    return evicted == 0 ? 0 : 1;
}
