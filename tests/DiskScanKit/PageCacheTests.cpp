// Reading a file to compare it leaves the page cache as it was: what was
// cached stays cached, and nothing else is left behind; and the reader tells
// how much of a file would come from the disk. Checked with mincore of the
// test's own, on real files.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "DiskScanKit/Lockstep.h"
#include "DiskScanKit/OpenFile.h"
#include "DiskScanKit/Sha256.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;

namespace {

const auto pageBytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));

// One flag per page of the file: is it in the page cache now?
std::vector<bool> residencyOf(const std::string& path, std::int64_t fileBytes) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw std::runtime_error("open " + path);
    const std::size_t length = static_cast<std::size_t>(fileBytes);
    void* mapping = mmap(nullptr, length, PROT_READ, MAP_SHARED, fd, 0);
    close(fd);
    if (mapping == MAP_FAILED) throw std::runtime_error("mmap " + path);
    std::vector<unsigned char> table((length + pageBytes - 1) / pageBytes);
    const int answer = mincore(mapping, length, table.data());
    munmap(mapping, length);
    if (answer != 0) throw std::runtime_error("mincore " + path);
    std::vector<bool> pages;
    for (unsigned char entry : table) pages.push_back((entry & 1) != 0);
    return pages;
}

std::size_t residentIn(const std::vector<bool>& pages, std::size_t from, std::size_t to) {
    return static_cast<std::size_t>(std::count(pages.begin() + static_cast<std::ptrdiff_t>(from),
                                               pages.begin() + static_cast<std::ptrdiff_t>(to), true));
}

// What changed between two looks, in words; empty when nothing did.
std::string changes(const std::vector<bool>& before, const std::vector<bool>& after) {
    std::size_t gained = 0;
    std::size_t lost = 0;
    std::size_t firstGained = 0;
    for (std::size_t page = 0; page < before.size(); ++page) {
        if (after[page] && !before[page] && gained++ == 0) firstGained = page;
        if (before[page] && !after[page]) ++lost;
    }
    if (gained == 0 && lost == 0) return "";
    return std::to_string(gained) + " pages newly cached (the first is page " + std::to_string(firstGained) + "), " +
           std::to_string(lost) + " cached pages lost";
}

void evict(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    close(fd);
}

// Brings [from, to) into the cache and nothing past it.
void warm(const std::string& path, std::int64_t from, std::int64_t to) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
    std::vector<char> buffer(1 << 20);
    for (std::int64_t at = from; at < to;) {
        const auto want = static_cast<std::size_t>(std::min<std::int64_t>(to - at, 1 << 20));
        const ssize_t got = pread(fd, buffer.data(), want, at);
        if (got <= 0) break;
        at += got;
    }
    close(fd);
}

class PageCache : public testing::Test {
protected:
    void SetUp() override {
        const std::int64_t fileBytes = bytes;
        writeFile(path, fileBytes); // fsynced: clean pages, which DONTNEED can drop
        evict(path);
        warm(path, 0, fileBytes / 2);
        const std::vector<bool> pages = residencyOf(path, fileBytes);
        const std::size_t half = pages.size() / 2;
        if (residentIn(pages, 0, half) != half || residentIn(pages, half, pages.size()) != 0)
            GTEST_SKIP() << "mincore doesn't show this file system's page cache here";
        evict(path);
    }

    OpenFile open(OpenFile::Pattern pattern) {
        std::optional<FileIdentity> identity = FileIdentity::ofPath(path);
        if (!identity) throw std::runtime_error("lstat " + path);
        std::string failure;
        std::optional<OpenFile> file = OpenFile::bypassCache(path, *identity, pattern, &failure);
        if (!file) throw std::runtime_error(failure);
        return std::move(*file);
    }

    // Reads the file whole through the reader, as the hashing stage does.
    std::int64_t readWhole(OpenFile& file) {
        std::int64_t total = 0;
        Sha256 hasher;
        while (std::optional<std::size_t> got = file.readNext(buffer)) {
            if (*got == 0) break;
            hasher.add(std::span(buffer).first(*got));
            total += static_cast<std::int64_t>(*got);
        }
        return total;
    }

    std::vector<bool> residency(const std::string& file) const { return residencyOf(file, bytes); }

    std::int64_t bytes = 8 << 20;
    TempFolder folder;
    std::string path = folder / "movie.mkv";
    std::vector<std::byte> buffer = std::vector<std::byte>(1 << 20);
};

// Long enough for the kernel's readahead to grow to its largest blocks of
// cache, which must be dropped whole.
class LongFilePageCache : public PageCache {
protected:
    LongFilePageCache() { bytes = 64 << 20; }
};

} // namespace

TEST_F(PageCache, WholeReadKeepsWhatWasCachedAndLeavesTheRestOut) {
    using Ranges = std::vector<std::pair<std::int64_t, std::int64_t>>;
    for (const Ranges& cached : {Ranges{{0, bytes / 2}}, Ranges{{0, bytes}},
                                 Ranges{{bytes / 4, bytes / 4 + 65536}, {bytes - 8192, bytes}}}) {
        evict(path);
        for (const auto& [from, to] : cached) warm(path, from, to);
        const std::vector<bool> before = residency(path);
        OpenFile file = open(OpenFile::Pattern::sequential);
        EXPECT_EQ(readWhole(file), bytes);
        EXPECT_EQ(changes(before, residency(path)), "") << cached.size() << " ranges from " << cached[0].first;
    }
}

TEST_F(PageCache, ReadAbandonedHalfWayLeavesNothingReadAheadBehind) {
    {
        OpenFile file = open(OpenFile::Pattern::sequential);
        for (int piece = 0; piece < 3; ++piece) ASSERT_EQ(file.readNext(buffer), buffer.size());
    }
    const std::vector<bool> after = residency(path);
    EXPECT_EQ(residentIn(after, 0, after.size()), 0u);
}

TEST_F(PageCache, SamplesAtTheHeadAndTailLeaveNothingBehind) {
    warm(path, 3 * bytes / 8, bytes / 2);
    const std::vector<bool> before = residency(path);
    OpenFile file = open(OpenFile::Pattern::ranges);
    ASSERT_TRUE(file.read(16384, 0, buffer));
    ASSERT_TRUE(file.read(16384, bytes - 16384, buffer));
    EXPECT_EQ(changes(before, residency(path)), "");
}

TEST_F(PageCache, SampleOverCachedPagesLeavesThemCached) {
    warm(path, 0, 16384);
    OpenFile file = open(OpenFile::Pattern::ranges);
    ASSERT_TRUE(file.read(16384, 0, buffer));
    const std::vector<bool> after = residency(path);
    EXPECT_EQ(residentIn(after, 0, 16384 / pageBytes), 16384 / pageBytes);
}

TEST_F(LongFilePageCache, WholeReadOfAnUncachedFileLeavesNothingBehind) {
    warm(path, bytes / 2, bytes / 2 + 4096);
    const std::vector<bool> before = residency(path);
    OpenFile file = open(OpenFile::Pattern::sequential);
    EXPECT_EQ(readWhole(file), bytes);
    EXPECT_EQ(changes(before, residency(path)), "");
}

TEST_F(PageCache, SideBySideComparisonLeavesEachFileAsItFoundIt) {
    // A twin of the file but for one byte three quarters in, not cached at all.
    const std::string twin = folder / "twin.mkv";
    writeFile(twin, bytes);
    const int fd = ::open(twin.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_EQ(pwrite(fd, "y", 1, 3 * bytes / 4), 1);
    ASSERT_EQ(fsync(fd), 0);
    close(fd);
    evict(twin);
    warm(path, 0, bytes / 2);
    const std::vector<bool> before = residency(path);
    const std::vector<bool> twinBefore = residency(twin);

    std::vector<std::optional<OpenFile>> files;
    files.push_back(open(OpenFile::Pattern::sequential));
    files.push_back(OpenFile::bypassCache(twin, *FileIdentity::ofPath(twin), OpenFile::Pattern::sequential));
    const std::vector<std::size_t> copies{1, 1};
    std::vector<std::byte> pieces(4 << 20);
    const std::vector<Lockstep::Verdict> verdicts = Lockstep::compare(files, copies, pieces, [](std::int64_t) { return true; });
    ASSERT_EQ(verdicts.size(), 2u);
    EXPECT_EQ(verdicts[0].kind, Lockstep::Verdict::Kind::parted);
    EXPECT_EQ(changes(before, residency(path)), "");
    EXPECT_EQ(changes(twinBefore, residency(twin)), "");
}

TEST_F(PageCache, PiecesNotCachedCountsEachPieceHoldingAnUncachedPageOnce) {
    const auto page = static_cast<std::int64_t>(pageBytes);
    const std::int64_t mebibyte = 1 << 20;
    // Missing: the two pages either side of 3 MiB, and the last page.
    warm(path, 0, 3 * mebibyte - page);
    warm(path, 3 * mebibyte + page, bytes - page);
    const std::vector<bool> pages = residency(path);
    if (residentIn(pages, 0, pages.size()) != pages.size() - 3)
        GTEST_SKIP() << "the page cache can't be set up page by page here";
    OpenFile file = open(OpenFile::Pattern::sequential);
    EXPECT_EQ(file.piecesNotCached(static_cast<std::size_t>(mebibyte)), 3);
    EXPECT_EQ(file.piecesNotCached(static_cast<std::size_t>(2 * mebibyte)), 2);
    EXPECT_EQ(file.piecesNotCached(pageBytes), 3);
    EXPECT_EQ(file.piecesNotCached(static_cast<std::size_t>(bytes)), 1);
}

TEST_F(PageCache, PiecesNotCachedIsNoneForACachedFileAndEveryPieceForAnUncachedOne) {
    {
        OpenFile cold = open(OpenFile::Pattern::sequential);
        EXPECT_EQ(cold.piecesNotCached(1 << 20), bytes >> 20);
        EXPECT_EQ(cold.piecesNotCached(3 << 20), 3);
    }
    warm(path, 0, bytes);
    OpenFile file = open(OpenFile::Pattern::sequential);
    EXPECT_EQ(file.piecesNotCached(1 << 20), 0);
}

TEST_F(LongFilePageCache, FetchedPagesStillOnTheirWayWhenTheFileIsLetGoAreDroppedToo) {
    {
        OpenFile file = open(OpenFile::Pattern::sequential);
        ASSERT_TRUE(file.fetchMissing());
        ASSERT_EQ(file.readNext(buffer), buffer.size());
    }
    const std::vector<bool> after = residency(path);
    EXPECT_EQ(residentIn(after, 0, after.size()), 0u);
}
