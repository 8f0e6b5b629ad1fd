// Reading a file to compare it leaves the page cache as it was: what was
// cached stays cached, and nothing else is left behind. Checked with mincore
// of the test's own, on real files.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "DiskScanKit/OpenFile.h"
#include "DiskScanKit/Sha256.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;

namespace {

const auto pageBytes = static_cast<std::int64_t>(sysconf(_SC_PAGESIZE));
constexpr std::int64_t mebibyte = 1 << 20;

void evict(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    close(fd);
}

// Brings [from, to), whole pages, into the cache and nothing past it.
void warm(const std::string& path, std::int64_t from, std::int64_t to) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
    std::vector<char> buffer(mebibyte);
    for (std::int64_t at = from, got = 0; at < to; at += got)
        if ((got = pread(fd, buffer.data(), static_cast<std::size_t>(std::min(to - at, mebibyte)), at)) <= 0) break;
    close(fd);
}

class PageCache : public testing::Test {
protected:
    void SetUp() override {
        writeFile(path, bytes); // fsynced: clean pages, which DONTNEED can drop
        evict(path);
        warm(path, 0, bytes / 2);
        const auto half = static_cast<std::size_t>(bytes / pageBytes / 2);
        if (residency() != std::string(half, '#') + std::string(half, '.'))
            GTEST_SKIP() << "mincore doesn't show this file system's page cache here";
        evict(path);
    }

    // A character per page of the file: '#' for one in the page cache now, '.' for one that isn't.
    std::string residency() const {
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        void* mapping = mmap(nullptr, static_cast<std::size_t>(bytes), PROT_READ, MAP_SHARED, fd, 0);
        close(fd);
        std::vector<unsigned char> table(static_cast<std::size_t>(bytes / pageBytes));
        if (mapping == MAP_FAILED || mincore(mapping, static_cast<std::size_t>(bytes), table.data()) != 0)
            throw std::runtime_error("mincore " + path);
        munmap(mapping, static_cast<std::size_t>(bytes));
        std::string pages;
        for (const unsigned char entry : table) pages += (entry & 1) != 0 ? '#' : '.';
        return pages;
    }

    OpenFile open(OpenFile::Pattern pattern) {
        return std::move(OpenFile::bypassCache(path, *FileIdentity::ofPath(path), pattern).value());
    }

    // Reads the file whole through the reader, as the hashing stage does.
    std::int64_t readWhole(OpenFile& file) {
        std::int64_t total = 0;
        Sha256 hasher;
        for (std::optional<std::size_t> got; (got = file.readNext(buffer)) && *got > 0; total += static_cast<std::int64_t>(*got))
            hasher.add(std::span(buffer).first(*got));
        return total;
    }

    std::int64_t bytes = 8 * mebibyte;
    TempFolder folder;
    std::string path = folder / "movie.mkv";
    std::vector<std::byte> buffer = std::vector<std::byte>(mebibyte);
};

// Long enough for the kernel's readahead to grow to its largest blocks of
// cache, which must be dropped whole.
class LongFilePageCache : public PageCache {
protected:
    LongFilePageCache() { bytes = 64 * mebibyte; }
};

} // namespace

TEST_F(PageCache, AWholeReadOrSamplesKeepWhatWasCachedAndLeaveTheRestOut) {
    using Ranges = std::vector<std::pair<std::int64_t, std::int64_t>>;
    // What is cached first, and whether the file is read whole or sampled at its head and tail.
    const std::vector<std::pair<Ranges, bool>> cases{{{{0, bytes / 2}}, true}, {{{0, bytes}}, true},
        {{{bytes / 4, bytes / 4 + 65536}, {bytes - 8192, bytes}}, true}, {{{0, 16384}, {3 * bytes / 8, bytes / 2}}, false}};
    for (const auto& [cached, whole] : cases) {
        evict(path);
        for (const auto& [from, to] : cached) warm(path, from, to);
        const std::string before = residency();
        OpenFile file = open(whole ? OpenFile::Pattern::sequential : OpenFile::Pattern::ranges);
        if (whole) EXPECT_EQ(readWhole(file), bytes);
        else EXPECT_TRUE(file.read(16384, 0, buffer) && file.read(16384, bytes - 16384, buffer));
        EXPECT_EQ(residency(), before) << cached.size() << " ranges, " << (whole ? "read whole" : "sampled");
    }
}

TEST_F(LongFilePageCache, FetchedPagesOrAWholeReadOfAnUncachedFileLeaveNothingBehind) {
    const std::string uncached = residency();
    {
        OpenFile file = open(OpenFile::Pattern::sequential);
        ASSERT_TRUE(file.fetchMissing());
        ASSERT_EQ(file.readNext(buffer), buffer.size());
    }
    EXPECT_EQ(residency(), uncached) << "pages still on their way when the file was let go";
    warm(path, bytes / 2, bytes / 2 + 4096);
    const std::string before = residency();
    OpenFile file = open(OpenFile::Pattern::sequential);
    EXPECT_EQ(readWhole(file), bytes);
    EXPECT_EQ(residency(), before);
}
