// The duplicate finder on real files: groups and keepers, the sample boundary,
// hard links, files changed under it, cancellation, progress and workers,
// side by side or hashed by what is cached; the paths it takes from a tree;
// the file reader's identity check; SHA-256.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <optional>
#include <mutex>
#include <set>
#include <thread>

#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/Lockstep.h"
#include "DiskScanKit/OpenFile.h"
#include "DiskScanKit/Sha256.h"
#include "FifoRelease.h"
#include "Fixture.h"
#include "TreeBuilder.h"

using namespace tessel;
using namespace tessel::test;
using Phase = DuplicateScanProgress::Phase;
using Paths = std::vector<std::string>;

namespace {

// Bytes that differ from seed to seed, so files of one size are not equal by accident.
std::string contents(std::size_t size, unsigned seed) {
    std::string bytes(size, '\0');
    std::uint32_t state = seed * 2654435761u + 1;
    for (char& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

void write(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("write " + path);
}

std::string digestHex(const std::string& bytes) {
    return Sha256::hex(Sha256::of(std::as_bytes(std::span(bytes.data(), bytes.size()))));
}

class DuplicateFinding : public testing::Test {
protected:
    std::string file(const std::string& relative, const std::string& bytes) {
        const std::string path = folder / relative;
        for (std::size_t slash = relative.find('/'); slash != std::string::npos; slash = relative.find('/', slash + 1))
            mkdir((folder / relative.substr(0, slash)).c_str(), 0755);
        write(path, bytes);
        return path;
    }

    DuplicateReport find(const Paths& paths, const DuplicateFinder::Progress& progress = {},
                         const DuplicateFinder::IsCancelled& isCancelled = {}, int workers = 2) {
        return DuplicateFinder(1000, 16384, workers, folder.path()).find(paths, progress, isCancelled);
    }

    // Same size, same inode, one byte different and a later time.
    static bool rewriteInPlace(const std::string& path) {
        const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        const bool wrote = pwrite(fd, "!", 1, 6000) == 1;
        const timespec times[2] = {{0, UTIME_OMIT}, {time(nullptr) + 60, 0}};
        const bool touched = futimens(fd, times) == 0;
        close(fd);
        return wrote && touched;
    }

    // What the hashing stage was told it must read.
    std::int64_t bytesToHash(const Paths& paths) {
        std::int64_t announced = -1;
        find(paths, [&](const DuplicateScanProgress& now) {
            if (now.phase == Phase::hashing) announced = now.bytesToHash;
        });
        return announced;
    }

    TempFolder folder;
};

} // namespace

TEST_F(DuplicateFinding, GroupsCopiesWithTheKeeperFirstMostReclaimableFirst) {
    const std::string report = contents(100000, 1);
    const std::string kept = file("Documents/Projects/report.pdf", report);
    const std::string downloaded = file("Downloads/report.pdf", report);
    const std::string other = file("Desktop/report (2).pdf", report);
    const std::string lookalike = file("Desktop/other.pdf", contents(100000, 2));
    // At the minimum size, and one byte below it.
    const std::string atMinimum = contents(1000, 11);
    const std::string below = contents(999, 10);
    const Paths small{file("a/at", atMinimum), file("b/at", atMinimum), file("a/below", below), file("b/below", below)};

    const DuplicateReport result = find({downloaded, small[0], other, small[2], lookalike, small[1], kept, small[3]});
    ASSERT_EQ(result.groups.size(), 2u);
    const DuplicateGroup& group = result.groups[0];
    EXPECT_EQ(group.files.size(), 3u);
    EXPECT_EQ(group.files.front().path, kept);
    EXPECT_EQ(group.logicalSize, 100000);
    EXPECT_EQ(group.reclaimableBytes, allocatedOf(downloaded) + allocatedOf(other));
    EXPECT_EQ(result.groups[1].logicalSize, 1000);
    EXPECT_EQ(result.totalReclaimableBytes, group.reclaimableBytes + result.groups[1].reclaimableBytes);
    EXPECT_EQ(result.filesExamined, 6);
    EXPECT_EQ(result.unreadable, 0);
    EXPECT_FALSE(result.wasCancelled);
}

TEST_F(DuplicateFinding, TwiceTheSampleIsHashedWholeAndOneByteMoreIsSampled) {
    const std::string even = contents(32768, 5);
    const std::string odd = contents(32769, 6);
    const Paths paths{file("a/even", even), file("b/even", even), file("a/odd", odd), file("b/odd", odd)};
    // The 32,768-byte pair is settled by sampling; only the other pair is read again.
    EXPECT_EQ(bytesToHash(paths), 2 * 32769);
    EXPECT_EQ(find(paths).groups.size(), 2u);
}

TEST_F(DuplicateFinding, FilesEqualInHeadAndTailPartAtTheHash) {
    std::string first = contents(100000, 7);
    std::string second = first;
    second[50000] = static_cast<char>(second[50000] ^ 1);
    const Paths paths{file("a/twin", first), file("b/twin", second)};
    EXPECT_EQ(bytesToHash(paths), 200000);
    EXPECT_TRUE(find(paths).groups.empty());
}

TEST_F(DuplicateFinding, AHardLinkIsAnotherNameOfAFileNeverACopyOfIt) {
    const std::string bytes = contents(50000, 9);
    const std::string original = file("a/film.mov", bytes);
    makeHardLink(original, folder / "a/film-link.mov");
    const DuplicateReport alone = find({original, folder / "a/film-link.mov"});
    EXPECT_TRUE(alone.groups.empty());
    EXPECT_EQ(alone.filesExamined, 1);

    const std::string copy = file("b/film.mov", bytes);
    const DuplicateReport result = find({original, copy, folder / "a/film-link.mov"});
    ASSERT_EQ(result.groups.size(), 1u);
    ASSERT_EQ(result.groups[0].files.size(), 2u);
    for (const DuplicateFile& member : result.groups[0].files) {
        if (member.path == original) {
            EXPECT_EQ(member.otherNames, Paths{folder / "a/film-link.mov"});
            EXPECT_EQ(member.linkCount, 2);
        } else {
            EXPECT_EQ(member.path, copy);
            EXPECT_TRUE(member.otherNames.empty());
        }
    }
    EXPECT_EQ(result.filesExamined, 2);
}

TEST_F(DuplicateFinding, ACopyWithALinkOutsideThePathsIsKeptAndTheOtherIsWhatFrees) {
    const std::string bytes = contents(50000, 26);
    const std::string filed = file("Documents/Projects/film.mov", bytes);
    const std::string downloaded = file("Downloads/film.mov", bytes);
    makeHardLink(downloaded, folder / "elsewhere.mov");
    const DuplicateReport result = find({filed, downloaded});
    ASSERT_EQ(result.groups.size(), 1u);
    const DuplicateGroup& group = result.groups[0];
    ASSERT_EQ(group.files.size(), 2u);
    EXPECT_EQ(group.files[0].path, downloaded);
    EXPECT_EQ(group.reclaimableBytes, allocatedOf(filed));
    EXPECT_EQ(result.totalReclaimableBytes, allocatedOf(filed));
}

TEST_F(DuplicateFinding, AFileRewrittenBeforeSamplingOrHashingIsSkippedAndCountedUnreadable) {
    // Small enough to be settled by sampling, and large enough to be hashed.
    for (const auto& [phase, size] : {std::pair{Phase::sampling, std::size_t{20000}}, std::pair{Phase::hashing, std::size_t{100000}}}) {
        const std::string bytes = contents(size, 12);
        const std::string first = file("a/data", bytes);
        const std::string second = file("b/data", bytes);
        bool changed = false;
        const DuplicateReport result = find({first, second}, [&](const DuplicateScanProgress& now) {
            if (now.phase == phase && !changed) changed = rewriteInPlace(second);
        });
        ASSERT_TRUE(changed) << size;
        EXPECT_TRUE(result.groups.empty()) << size;
        EXPECT_EQ(result.unreadable, 1) << size;
    }
}

TEST_F(DuplicateFinding, AFileSwappedForAnEqualOneIsStillSkipped) {
    const std::string bytes = contents(100000, 13);
    const std::string first = file("a/data", bytes);
    const std::string second = file("b/data", bytes);
    const std::string replacement = file("replacement", bytes);
    const DuplicateReport result = find({first, second}, [&](const DuplicateScanProgress& now) {
        if (now.phase == Phase::hashing && now.filesDone == 0) std::rename(replacement.c_str(), second.c_str());
    });
    EXPECT_TRUE(result.groups.empty());
    EXPECT_EQ(result.unreadable, 1);
}

TEST_F(DuplicateFinding, ACancelledRunReportsTheGroupsSettledBeforeIt) {
    const std::string small = contents(20000, 14);
    const std::string large = contents(100000, 15);
    const Paths paths{file("a/small", small), file("b/small", small), file("a/large", large), file("b/large", large)};
    std::atomic<bool> stop = false;
    const DuplicateReport result = find(
        paths, [&](const DuplicateScanProgress& now) { stop = stop || now.phase == Phase::hashing; },
        [&] { return stop.load(); });
    EXPECT_TRUE(result.wasCancelled);
    ASSERT_EQ(result.groups.size(), 1u);
    EXPECT_EQ(result.groups[0].logicalSize, 20000);
    EXPECT_EQ(result.groups[0].files.size(), 2u);
    EXPECT_EQ(result.unreadable, 0);
}

TEST_F(DuplicateFinding, RepeatedMissingAndOddPathsAreNoCandidatesAndTheRestGoOn) {
    const std::string bytes = contents(5000, 16);
    const std::string first = file("a/doc", bytes);
    const std::string second = file("b/doc", bytes);
    makeSymlink(first, folder / "link");
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0644), 0);
    const FifoRelease guard(folder / "fifo");
    const DuplicateReport result =
        find({folder / "gone", first, second, first, folder.path() + "/a//./doc", folder / "link", folder / "fifo", folder / "a"});
    EXPECT_FALSE(guard.hadToRelease()) << "the finder waited on a FIFO";
    ASSERT_EQ(result.groups.size(), 1u);
    EXPECT_EQ(result.groups[0].files.size(), 2u);
    for (const DuplicateFile& member : result.groups[0].files) EXPECT_TRUE(member.otherNames.empty()) << member.path;
    EXPECT_EQ(result.filesExamined, 2) << "a path given twice counts once; links, FIFOs and folders not at all";
    EXPECT_EQ(result.unreadable, 1) << "the missing one";
}

TEST_F(DuplicateFinding, ProgressGoesThroughThePhasesInOrderWithoutGoingBack) {
    const std::string bytes = contents(100000, 19);
    const Paths paths{file("a/x", bytes), file("b/x", bytes), file("c/x", contents(4000, 20))};
    std::vector<DuplicateScanProgress> reports;
    find(paths, [&](const DuplicateScanProgress& now) { reports.push_back(now); });
    std::vector<Phase> phases;
    for (const DuplicateScanProgress& now : reports) {
        if (phases.empty() || phases.back() != now.phase) phases.push_back(now.phase);
        EXPECT_LE(now.filesDone, now.filesTotal);
        EXPECT_LE(now.bytesHashed, now.bytesToHash);
    }
    EXPECT_EQ(phases, (std::vector<Phase>{Phase::sizing, Phase::sampling, Phase::hashing}));
    EXPECT_EQ(reports.front().filesTotal, 3);
    // The file alone in its size was never sampled.
    const auto sampling = std::find_if(reports.begin(), reports.end(),
                                       [](const DuplicateScanProgress& now) { return now.phase == Phase::sampling; });
    ASSERT_NE(sampling, reports.end());
    EXPECT_EQ(sampling->filesTotal, 2);
}

TEST_F(DuplicateFinding, NoMoreWorkersThanAskedForNorThanItems) {
    Paths eight;
    for (unsigned i = 0; i < 8; ++i) eight.push_back(file("f" + std::to_string(i), contents(50000, 100 + i)));
    std::mutex lock;
    std::set<std::thread::id> workers;
    auto noteWorker = [&] {
        char name[16] = {};
        pthread_getname_np(pthread_self(), name, sizeof name);
        if (std::string_view(name).starts_with("DuplicateFinde")) {
            std::lock_guard guard(lock);
            workers.insert(std::this_thread::get_id());
        }
        // Long enough that every worker started gets an item.
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return false;
    };
    find(eight, {}, noteWorker, 3);
    EXPECT_LE(workers.size(), 3u);
    EXPECT_GE(workers.size(), 2u);

    // Two items: still on named workers, and never more than two of them.
    workers.clear();
    find({eight[0], eight[1]}, {}, noteWorker, 4);
    EXPECT_LE(workers.size(), 2u);
    EXPECT_GE(workers.size(), 1u);
}

namespace {

constexpr std::int64_t mebibyte = 1 << 20;

// Lets go of a file's pages, so that the next read must come from the disk.
void evict(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    fdatasync(fd);
    posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    close(fd);
}

// Caches the file but for the pages at `missing` (offsets, in order), as a
// cache is some time after a read, when pages here and there were reclaimed.
void cacheAllBut(const std::string& path, std::int64_t size, const std::vector<std::int64_t>& missing) {
    evict(path);
    const auto page = static_cast<std::int64_t>(sysconf(_SC_PAGESIZE));
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
    std::vector<char> buffer(mebibyte);
    std::int64_t at = 0;
    for (std::size_t gap = 0; gap <= missing.size(); ++gap) {
        const std::int64_t end = gap < missing.size() ? missing[gap] / page * page : size;
        while (at < end) {
            const ssize_t got = pread(fd, buffer.data(), static_cast<std::size_t>(std::min(mebibyte, end - at)), at);
            if (got <= 0) break;
            at += got;
        }
        at = end + page;
    }
    close(fd);
}

// The pieces of `path` that side-by-side reading would have to take from the disk.
std::optional<std::int64_t> uncachedPieces(const std::string& path) {
    const std::optional<FileIdentity> identity = FileIdentity::ofPath(path);
    if (!identity) return std::nullopt;
    std::optional<OpenFile> file = OpenFile::bypassCache(path, *identity, OpenFile::Pattern::sequential);
    return file ? file->piecesNotCached(Lockstep::pieceBytes) : std::nullopt;
}

// What this process has read so far: through any call that reads ("rchar"),
// or from the disk, read ahead or asked for ("read_bytes").
std::int64_t bytesReadSoFar(const std::string& counter = "rchar") {
    std::ifstream io("/proc/self/io");
    std::string key;
    std::int64_t value = 0;
    while (io >> key >> value)
        if (key == counter + ":") return value;
    throw std::runtime_error("no " + counter + " in /proc/self/io");
}

std::set<std::set<std::string>> groupsOf(const DuplicateReport& report) {
    std::set<std::set<std::string>> groups;
    for (const DuplicateGroup& group : report.groups) {
        std::set<std::string> paths;
        for (const DuplicateFile& member : group.files) paths.insert(member.path);
        groups.insert(paths);
    }
    return groups;
}

std::set<std::string> idsOf(const DuplicateReport& report) {
    std::set<std::string> ids;
    for (const DuplicateGroup& group : report.groups) ids.insert(group.id);
    return ids;
}

// The whole-file stage: files that share a size and a sample read side by
// side or hashed, and files that change while they are read.
class WholeFileStage : public DuplicateFinding {
protected:
    // Runs the finder over `paths` and, once the whole-file stage has read
    // its first piece, lets `change` loose on `path`.
    DuplicateReport changedDuringTheStage(const Paths& paths, const std::string& path,
                                          const std::function<bool(const std::string&)>& change) {
        bool waited = false;
        changed = false;
        return find(paths, [&](const DuplicateScanProgress& now) {
            if (now.phase != Phase::hashing) return;
            // Reports come at most every 0.1 s: after this pause, the next one comes with the first piece.
            if (!waited) {
                waited = true;
                std::this_thread::sleep_for(std::chrono::milliseconds(150));
            } else if (!changed && now.bytesHashed > 0) {
                changed = change(path);
            }
        });
    }

    static bool touch(const std::string& path) {
        const timespec times[2] = {{0, UTIME_OMIT}, {time(nullptr) + 60, 0}};
        return utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) == 0;
    }

    static bool grow(const std::string& path) {
        const int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        const bool wrote = ::write(fd, "more", 4) == 4;
        close(fd);
        return wrote;
    }

    // A byte already compared is rewritten, and the modification time put back as it was.
    static bool rewriteBehindTheReader(const std::string& path) {
        struct stat before {};
        if (lstat(path.c_str(), &before) != 0) return false;
        const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        const bool wrote = pwrite(fd, "!", 1, 10) == 1;
        const timespec times[2] = {before.st_atim, before.st_mtim};
        const bool restored = futimens(fd, times) == 0;
        close(fd);
        return wrote && restored;
    }

    bool changed = false;
};

} // namespace

TEST_F(WholeFileStage, ABucketOfFourPartsIntoTwoPairsWithIdsOfTheirOwn) {
    const std::string first = contents(100000, 30);
    std::string second = first;
    second[50000] = static_cast<char>(second[50000] ^ 1);
    const Paths paths{file("a/x", first), file("b/x", second), file("c/x", first), file("d/x", second)};
    const DuplicateReport result = find(paths);
    EXPECT_EQ(groupsOf(result), (std::set<std::set<std::string>>{{paths[0], paths[2]}, {paths[1], paths[3]}}));
    EXPECT_EQ(idsOf(result).size(), 2u);
    EXPECT_EQ(result.unreadable, 0);
}

TEST_F(WholeFileStage, FilesDifferingOnlyInTheLastByteArePartedAcrossPieces) {
    const std::string bytes = contents(2 * mebibyte + 3, 31);
    std::string last = bytes;
    last.back() = static_cast<char>(last.back() ^ 1);
    const Paths paths{file("a/x", bytes), file("b/x", last), file("c/x", bytes)};
    EXPECT_EQ(groupsOf(find(paths)), (std::set<std::set<std::string>>{{paths[0], paths[2]}}));
}

TEST_F(WholeFileStage, UncachedFilesGiveTheSameGroupsAndIds) {
    const std::string first = contents(2 * mebibyte, 32);
    std::string second = first;
    second[mebibyte] = static_cast<char>(second[mebibyte] ^ 1);
    const Paths paths{file("a/x", first), file("b/x", second), file("c/x", first), file("d/x", second)};
    const DuplicateReport warm = find(paths);
    for (const std::string& path : paths) evict(path);
    const DuplicateReport cold = find(paths);
    EXPECT_EQ(groupsOf(cold), groupsOf(warm));
    EXPECT_EQ(idsOf(cold), idsOf(warm));
    EXPECT_EQ(groupsOf(cold).size(), 2u);
}

namespace {

// Whether a bucket is compared side by side or hashed, by what is cached of
// it: told apart by the bytes read, since hashing reads every file whole
// while side by side the files stop in the piece where they part.
class SideBySideOrHashed : public WholeFileStage {
protected:
    struct Reads {
        DuplicateReport report;
        std::int64_t total = 0;
        std::int64_t fromDisk = 0;
    };

    // Two files of `size`, the same but for a byte in their second piece (past the samples).
    Paths nearTwins(std::int64_t size, unsigned seed) {
        const std::string first = contents(static_cast<std::size_t>(size), seed);
        std::string second = first;
        second[300000] = static_cast<char>(second[300000] ^ 1);
        return {file("a/x", first), file("b/x", second)};
    }

    Reads findCounting(const Paths& paths) {
        Reads reads;
        const std::int64_t total = bytesReadSoFar();
        const std::int64_t fromDisk = bytesReadSoFar("read_bytes");
        reads.report = find(paths);
        reads.total = bytesReadSoFar() - total;
        reads.fromDisk = bytesReadSoFar("read_bytes") - fromDisk;
        return reads;
    }

    static std::int64_t pieces(std::int64_t size) { return size / static_cast<std::int64_t>(Lockstep::pieceBytes); }
};

} // namespace

TEST_F(SideBySideOrHashed, TwinsMissingTheirLastPageOfCacheArePartedSideBySide) {
    const std::int64_t size = 8 * mebibyte;
    const Paths paths = nearTwins(size, 37);
    for (const std::string& path : paths) {
        cacheAllBut(path, size, {size - 1});
        if (uncachedPieces(path) != 1) GTEST_SKIP() << "the page cache can't be set up piece by piece here";
    }
    const Reads reads = findCounting(paths);
    EXPECT_TRUE(reads.report.groups.empty());
    EXPECT_LT(reads.total, size);
}

TEST_F(SideBySideOrHashed, TwinsMissingPagesInSeveralPiecesHaveThemFetchedFirstAndLetGoAfter) {
    const std::int64_t size = 8 * mebibyte;
    const Paths paths = nearTwins(size, 39);
    for (const std::string& path : paths) {
        cacheAllBut(path, size, {2 * mebibyte, 4 * mebibyte, 6 * mebibyte, size - 1});
        if (uncachedPieces(path) != 4) GTEST_SKIP() << "the page cache can't be set up piece by piece here";
    }
    const Reads reads = findCounting(paths);
    EXPECT_TRUE(reads.report.groups.empty());
    EXPECT_LT(reads.total, size);
    // Even the pages past where the files part came from the disk, up front.
    EXPECT_GE(reads.fromDisk, 2 * 4 * sysconf(_SC_PAGESIZE));
    for (const std::string& path : paths) EXPECT_EQ(uncachedPieces(path), 4) << path;
}

TEST_F(SideBySideOrHashed, SmallColdTwinsAreFetchedWholeAndPartedSideBySide) {
    const std::int64_t size = 8 * mebibyte;
    const Paths paths = nearTwins(size, 40);
    for (const std::string& path : paths) {
        evict(path);
        if (uncachedPieces(path) != pieces(size)) GTEST_SKIP() << "the page cache can't be emptied here";
    }
    const Reads reads = findCounting(paths);
    EXPECT_TRUE(reads.report.groups.empty());
    EXPECT_LT(reads.total, size);
    for (const std::string& path : paths) EXPECT_EQ(uncachedPieces(path), pieces(size)) << path;
}

TEST_F(SideBySideOrHashed, ColdTwinsTooLargeToFetchOnADiskThatSeeksAreHashedOneAfterTheOther) {
    struct stat status {};
    ASSERT_EQ(stat(folder.path().c_str(), &status), 0);
    if (!OpenFile::deviceSeeks(status.st_dev)) GTEST_SKIP() << "the test folder is on a disk that doesn't seek";
    const std::int64_t size = 24 * mebibyte;
    const Paths paths = nearTwins(size, 38);
    for (const std::string& path : paths) evict(path);
    const Reads reads = findCounting(paths);
    EXPECT_TRUE(reads.report.groups.empty());
    EXPECT_GE(reads.total, 2 * size);
}

TEST_F(WholeFileStage, ABucketTooLargeToCompareSideBySideIsHashedIntoItsPairs) {
    const std::string bytes = contents(40000, 33);
    Paths paths;
    for (int index = 0; index < 66; ++index) {
        std::string variant = bytes;
        variant[20000] = static_cast<char>(index / 2);
        paths.push_back(file("f" + std::to_string(index), variant));
    }
    const DuplicateReport result = find(paths);
    ASSERT_EQ(result.groups.size(), 33u);
    for (const DuplicateGroup& group : result.groups) EXPECT_EQ(group.files.size(), 2u);
    EXPECT_EQ(idsOf(result).size(), 33u);
}

TEST_F(WholeFileStage, AFileTouchedOrGrownDuringTheStageIsSkippedAndCountedUnreadable) {
    const std::string bytes = contents(3 * mebibyte, 34);
    const Paths paths{file("a/x", bytes), file("b/x", bytes)};
    for (bool (*change)(const std::string&) : {touch, grow}) {
        const DuplicateReport result = changedDuringTheStage(paths, paths[1], change);
        ASSERT_TRUE(changed);
        EXPECT_TRUE(result.groups.empty());
        EXPECT_EQ(result.unreadable, 1);
    }
}

TEST_F(WholeFileStage, AFileRewrittenWithItsTimePutBackIsSkippedAndCountedUnreadable) {
    const std::string bytes = contents(3 * mebibyte, 36);
    const Paths paths{file("a/x", bytes), file("b/x", bytes), file("c/x", bytes)};
    const DuplicateReport result = changedDuringTheStage(paths, paths[2], rewriteBehindTheReader);
    ASSERT_TRUE(changed);
    EXPECT_EQ(groupsOf(result), (std::set<std::set<std::string>>{{paths[0], paths[1]}}));
    EXPECT_EQ(result.unreadable, 1);
}

namespace {

constexpr std::int64_t MB = 1'000'000;

Paths candidates(const FileNode& root, const std::string& home) {
    Paths paths = DuplicateFinder::candidatePaths(root, MB, home);
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace

TEST(CandidatePaths, LeaveOutWhatIsNeverScannedAndSmallFilesButLookIntoAChosenFolder) {
    TreeBuilder tree("/");
    FileNode* me = tree.folder(tree.folder(tree.root, "home"), "me");
    FileNode* documents = tree.folder(me, "Documents");
    tree.file(documents, "film.mov", 2 * MB);
    tree.file(documents, "exactly", MB);
    tree.file(documents, "note.txt", MB - 1);
    tree.file(tree.folder(tree.folder(me, "code"), "node_modules"), "big.js", 2 * MB);
    tree.file(tree.folder(tree.folder(me, "Tool.app"), "Contents"), "binary", 2 * MB);
    tree.file(tree.folder(tree.folder(tree.folder(me, ".local"), "share"), "Trash"), "old.mov", 2 * MB);
    tree.file(tree.folder(tree.folder(tree.root, "home"), "you"), "yours.mov", 2 * MB);
    tree.file(tree.folder(tree.root, "usr"), "lib.so", 2 * MB);
    tree.file(tree.folder(tree.root, "data"), "shared.iso", 2 * MB);
    EXPECT_EQ(candidates(*tree.root, "/home/me"),
              (Paths{"/data/shared.iso", "/home/me/Documents/exactly", "/home/me/Documents/film.mov"}));

    TreeBuilder chosen("/home/me/.cache/corpus");
    chosen.file(chosen.root, "a.bin", 2 * MB);
    chosen.file(chosen.folder(chosen.root, "node_modules"), "b.js", 2 * MB);
    EXPECT_EQ(candidates(*chosen.root, "/home/me"), (Paths{"/home/me/.cache/corpus/a.bin"}));
}

TEST(CandidatePaths, EveryNameOfAHardLinkedFileReachesTheFinder) {
    TempFolder folder;
    makeFolder(folder / "a");
    makeFolder(folder / "b");
    write(folder / "a/film.mov", contents(2 * MB, 40));
    makeHardLink(folder / "a/film.mov", folder / "b/film.mov");
    makeHardLink(folder / "a/film.mov", folder / "film again.mov");
    write(folder / "copy.mov", contents(2 * MB, 40));
    ScanOptions options;
    options.fileNodeThreshold = MB;
    const ScanResult scan = DiskScanner::scan(folder.path(), options);
    const Paths paths = DuplicateFinder::candidatePaths(*scan.root, MB, "/nonexistent-home");
    EXPECT_EQ(std::set<std::string>(paths.begin(), paths.end()),
              (std::set<std::string>{folder / "a/film.mov", folder / "b/film.mov", folder / "film again.mov",
                                     folder / "copy.mov"}));

    const DuplicateReport report = DuplicateFinder(MB, 16384, 2, "/nonexistent-home").find(paths);
    ASSERT_EQ(report.groups.size(), 1u);
    const DuplicateGroup& group = report.groups[0];
    ASSERT_EQ(group.files.size(), 2u) << "three names of one file are one file";
    const auto linked = std::find_if(group.files.begin(), group.files.end(),
                                     [](const DuplicateFile& file) { return file.linkCount == 3; });
    ASSERT_NE(linked, group.files.end());
    std::set<std::string> names(linked->otherNames.begin(), linked->otherNames.end());
    names.insert(linked->path);
    EXPECT_EQ(names, (std::set<std::string>{folder / "a/film.mov", folder / "b/film.mov", folder / "film again.mov"}));
    EXPECT_EQ(linked->otherNames.size(), 2u);
}

TEST(CandidatePaths, CopiesDeeperThanPathMaxAreCompared) {
    TempFolder folder;
    makeFolder(folder / "one");
    makeFolder(folder / "two");
    const std::string level(200, 'd');
    ASSERT_EQ(makeDeepChain(folder / "one", level, 25), 25);
    ASSERT_EQ(makeDeepChain(folder / "two", level, 25), 25);
    ScanOptions options;
    options.fileNodeThreshold = 1000;
    const ScanResult scan = DiskScanner::scan(folder.path(), options);
    const Paths paths = DuplicateFinder::candidatePaths(*scan.root, 1000, "/nonexistent-home");
    ASSERT_EQ(paths.size(), 2u);
    EXPECT_GT(paths[0].size(), 5000u);
    const DuplicateReport report = DuplicateFinder(1000, 4096, 2, "/nonexistent-home").find(paths);
    EXPECT_EQ(report.unreadable, 0) << "a long path is no unreadable file";
    ASSERT_EQ(report.groups.size(), 1u);
    EXPECT_EQ(report.groups[0].files.size(), 2u);
}

TEST(OpenFileIdentity, AChangedFileALinkSwappedInAndAShortReadFailNamingTheCallAndPath) {
    TempFolder folder;
    const std::string path = folder / "data";
    write(path, contents(5000, 21));
    const std::optional<FileIdentity> measured = FileIdentity::ofPath(path);
    ASSERT_TRUE(measured);
    std::optional<OpenFile> file = OpenFile::bypassCache(path, *measured, OpenFile::Pattern::ranges);
    ASSERT_TRUE(file);
    std::vector<std::byte> buffer(4096);
    EXPECT_TRUE(file->read(1000, 4000, buffer));
    EXPECT_FALSE(file->read(1001, 4000, buffer));
    EXPECT_EQ(file->failure(), "pread(" + path + "): the file ended early");

    std::rename(path.c_str(), (folder / "moved").c_str());
    makeSymlink(folder / "moved", path);
    std::string failure;
    EXPECT_FALSE(OpenFile::bypassCache(path, *measured, OpenFile::Pattern::ranges, &failure));
    EXPECT_EQ(failure, "open(" + path + "): Too many levels of symbolic links");

    std::remove(path.c_str());
    write(path, contents(6000, 21));
    EXPECT_FALSE(OpenFile::bypassCache(path, *measured, OpenFile::Pattern::sequential, &failure));
    EXPECT_EQ(failure, path + ": changed since it was measured");
}

TEST(Sha256Digest, MatchesTheStandardTestVectors) {
    const std::string abc = "abc";
    EXPECT_EQ(digestHex(abc), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(digestHex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
}

TEST(Sha256Digest, PiecesHashLikeTheWhole) {
    const std::string bytes = contents(100000, 24);
    Sha256 hasher;
    hasher.add(std::as_bytes(std::span(bytes.data(), 12345)));
    hasher.add(std::as_bytes(std::span(bytes.data() + 12345, bytes.size() - 12345)));
    EXPECT_EQ(Sha256::hex(hasher.finish()), digestHex(bytes));
    // Ready for the next message at once.
    const std::string abc = "abc";
    hasher.add(std::as_bytes(std::span(abc.data(), abc.size())));
    EXPECT_EQ(Sha256::hex(hasher.finish()), digestHex(abc));
}
