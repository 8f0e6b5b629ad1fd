// The reader process against this process's own reading, on a local folder:
// the same entries (names as bytes), the same failures, the same measures and
// digests; a reader given up on is killed and reaped without being waited for.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <set>
#include <thread>
#include <tuple>
#include <vector>

#include "DiskScanKit/DirectoryReader.h"
#include "DiskScanKit/ReaderHelper.h"
#include "DiskScanKit/Sha256.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;

namespace {

using Entry = std::tuple<std::string, std::uint32_t, std::uint64_t, std::uint64_t, std::int64_t, std::uint32_t, bool>;

Entry entryOf(const RawEntry& entry) {
    return {std::string(entry.name), entry.objectType, entry.fileID, entry.deviceID, entry.allocatedBytes, entry.linkCount,
            entry.mountRoot};
}

std::set<Entry> readHere(const std::string& path, bool retainNames) {
    std::vector<std::byte> buffer(4096);
    DirectoryReader reader(path, std::span(buffer), retainNames);
    std::set<Entry> entries;
    auto add = [&](const RawEntry& entry) { entries.insert(entryOf(entry)); };
    while (reader.readBatch(EntrySink(add)) > 0) {}
    return entries;
}

std::set<Entry> readThrough(ReaderHelper& reader, const std::string& path, bool retainNames) {
    std::set<Entry> entries;
    auto add = [&](const RawEntry& entry) { entries.insert(entryOf(entry)); };
    for (;;) {
        const std::optional<int> count = reader.readBatch(path, retainNames, EntrySink(add), [](double) { return true; });
        if (!count || *count == 0) break;
    }
    return entries;
}

std::string bytesOf(std::size_t size, unsigned seed) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>((seed * 31 + i * 7) % 251);
    return text;
}

Sha256::Digest digestOf(const std::string& text) { return Sha256::of(std::as_bytes(std::span(text))); }

const ReaderHelper::KeepWaiting always = [](double) { return true; };

class Reader : public testing::Test {
protected:
    void SetUp() override {
        reader = ReaderHelper::start();
        ASSERT_NE(reader, nullptr) << "no reader process at " << ReaderHelper::programPath();
    }
    TempFolder folder;
    std::unique_ptr<ReaderHelper> reader;
};

TEST_F(Reader, ListsAFolderAsTheDirectoryReaderDoesBatchByBatch) {
    // More entries than one batch of the reader's buffer holds, and hostile names.
    for (int i = 0; i < 3000; ++i) close(open((folder / ("file-with-a-long-name-" + std::to_string(i))).c_str(), O_CREAT | O_WRONLY, 0644));
    writeFile(folder / "new\nline", 5000);
    writeFile(folder / "bad-\xff\xfe-bytes", 1);
    makeFolder(folder / "sub");
    makeHardLink(folder / "new\nline", folder / "sub/link");
    makeSymlink("/nowhere", folder / "dangling");
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);

    for (const bool retainNames : {true, false}) {
        const std::set<Entry> here = readHere(folder.path(), retainNames);
        EXPECT_EQ(readThrough(*reader, folder.path(), retainNames), here) << "retainNames " << retainNames;
    }
    EXPECT_EQ(readThrough(*reader, folder / "sub", true), readHere(folder / "sub", true));
}

TEST_F(Reader, FailsAsTheDirectoryReaderDoesAndGoesOnAnswering) {
    writeFile(folder / "file", 10);
    auto failure = [&](const std::string& path) {
        try {
            readThrough(*reader, path, true);
        } catch (const DirectoryReaderError& error) {
            return std::pair{error.kind(), error.code()};
        }
        return std::pair{DirectoryReaderError::Kind::read, 0};
    };
    EXPECT_EQ(failure(folder / "missing"), std::pair(DirectoryReaderError::Kind::open, ENOENT));
    EXPECT_EQ(failure(folder / "file"), std::pair(DirectoryReaderError::Kind::open, ENOTDIR));
    EXPECT_FALSE(reader->abandoned());
    EXPECT_EQ(readThrough(*reader, folder.path(), true).size(), 1u);
}

TEST_F(Reader, MeasuresSamplesAndHashesAsThisProcessDoes) {
    const std::string big = bytesOf(100000, 3);
    const std::string small = bytesOf(20000, 4);
    writeText(folder / "big", big);
    writeText(folder / "small", small);
    makeFolder(folder / "folder");

    const std::optional<ReaderHelper::Status> status = reader->status(folder / "folder", always);
    ASSERT_TRUE(status);
    EXPECT_TRUE(S_ISDIR(status->mode));
    EXPECT_EQ(reader->status(folder / "missing", always)->code, ENOENT);

    const std::optional<MeasuredPath> measured = reader->measure(folder / "big", always);
    ASSERT_TRUE(measured);
    const MeasuredPath here = MeasuredPath::of(folder / "big");
    EXPECT_EQ(measured->kind, MeasuredPath::Kind::regularFile);
    EXPECT_EQ(measured->identity, here.identity);
    EXPECT_EQ(measured->allocated, here.allocated);
    EXPECT_EQ(reader->measure(folder / "folder", always)->kind, MeasuredPath::Kind::notAFile);
    EXPECT_EQ(reader->measure(folder / "missing", always)->kind, MeasuredPath::Kind::unreadable);

    // Head and tail of the big file; the whole of the small one, which two samples would cover.
    const std::optional<ReaderHelper::Digest> sampled = reader->sample(folder / "big", here.identity, 16384, always);
    ASSERT_TRUE(sampled);
    EXPECT_EQ(sampled->kind, ReaderHelper::Digest::Kind::sample);
    EXPECT_EQ(sampled->digest, digestOf(big.substr(0, 16384) + big.substr(big.size() - 16384)));
    const MeasuredPath smallMeasured = MeasuredPath::of(folder / "small");
    const std::optional<ReaderHelper::Digest> whole = reader->sample(folder / "small", smallMeasured.identity, 16384, always);
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->kind, ReaderHelper::Digest::Kind::whole);
    EXPECT_EQ(whole->digest, digestOf(small));

    std::int64_t heard = 0;
    const std::optional<ReaderHelper::Digest> hashed =
        reader->hash(folder / "big", here.identity, [&](std::int64_t bytes) { heard += bytes; }, always);
    ASSERT_TRUE(hashed);
    EXPECT_EQ(hashed->kind, ReaderHelper::Digest::Kind::whole);
    EXPECT_EQ(hashed->digest, digestOf(big));
    EXPECT_EQ(heard, 100000);

    // A file that changed since it was measured is refused, not read.
    FileIdentity stale = here.identity;
    stale.size += 1;
    EXPECT_EQ(reader->hash(folder / "big", stale, {}, always)->kind, ReaderHelper::Digest::Kind::failed);
}

TEST_F(Reader, OneGivenUpOnIsKilledAndReapedWithoutBeingWaitedFor) {
    makeFolder(folder / "folder");
    const pid_t pid = reader->pid();
    EXPECT_FALSE(reader->status(folder / "folder", [](double) { return false; }));
    EXPECT_TRUE(reader->abandoned());
    EXPECT_FALSE(reader->measure(folder / "folder", always)) << "a reader given up on answers nothing more";
    const auto start = std::chrono::steady_clock::now();
    while (ReaderHelper::stillRunning() > 0 && std::chrono::steady_clock::now() - start < std::chrono::seconds(5))
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(ReaderHelper::stillRunning(), 0u);
    EXPECT_NE(kill(pid, 0), 0) << "the reader was reaped, so its number is free";
}

} // namespace
