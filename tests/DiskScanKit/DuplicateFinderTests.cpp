// The duplicate finder on real files: groups and keepers, the size and sample
// boundaries and progress, hard links, files changed under it, cancellation,
// workers, buckets read side by side or hashed; the paths it takes from a
// tree; the file reader's identity check; SHA-256.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <set>
#include <utility>
#include <thread>

#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/OpenFile.h"
#include "DiskScanKit/Sha256.h"
#include "FifoRelease.h"
#include "Fixture.h"
#include "TreeBuilder.h"

using namespace tessel;
using namespace tessel::test;
using Phase = DuplicateScanProgress::Phase;
using Paths = std::vector<std::string>;
using Groups = std::set<std::set<std::string>>;

namespace {

// `size` bytes of the value `seed`: files of one size are equal when their seeds are.
std::string contents(std::size_t size, unsigned seed) { return std::string(size, static_cast<char>(seed)); }

Groups groupsOf(const DuplicateReport& report) {
    Groups groups;
    for (const DuplicateGroup& group : report.groups) {
        std::set<std::string> paths;
        for (const DuplicateFile& member : group.files) paths.insert(member.path);
        groups.insert(paths);
    }
    return groups;
}

class DuplicateFinding : public testing::Test {
protected:
    std::string file(const std::string& relative, const std::string& bytes) {
        writeText(folder / relative, bytes);
        return folder / relative;
    }

    DuplicateReport find(const Paths& paths, const DuplicateFinder::Progress& progress = {},
                         const DuplicateFinder::IsCancelled& isCancelled = {}, int workers = 2) {
        return DuplicateFinder(1000, 16384, workers, folder.path()).find(paths, progress, isCancelled);
    }

    // What a scan of the folder offers the finder.
    Paths candidates() {
        ScanOptions options;
        options.fileNodeThreshold = 1000;
        return DuplicateFinder::candidatePaths(*DiskScanner::scan(folder.path(), options).root, 1000, "/nowhere");
    }

    TempFolder folder;
};

} // namespace

TEST_F(DuplicateFinding, GroupsCopiesWithTheKeeperFirstMostReclaimableFirst) {
    const std::string report = contents(100000, 1);
    const std::string kept = file("Documents/Projects/report.pdf", report);
    const std::string downloaded = file("Downloads/report.pdf", report);
    const std::string other = file("Desktop/report (2).pdf", report);
    // Equal in head and tail: only reading it whole parts it from the others.
    std::string middle = report;
    middle[50000] = static_cast<char>(middle[50000] ^ 1);
    const std::string lookalike = file("Desktop/other.pdf", middle);
    // At the minimum size and one byte below it; twice the sample, settled by
    // sampling, and one byte more; and a size no other file has.
    Paths pairs;
    for (const auto& [size, seed] : {std::pair{1000u, 11u}, {999u, 10u}, {32768u, 5u}, {32769u, 6u}})
        for (const char* side : {"a/", "b/"}) pairs.push_back(file(side + std::to_string(size), contents(size, seed)));
    const std::string alone = file("alone", contents(4000, 20));

    std::vector<std::pair<Phase, int>> phases; // each with the files it began with
    std::int64_t bytesToHash = -1;
    Paths given = pairs;
    given.insert(given.begin() + 1, {downloaded, other, lookalike, kept, alone});
    const DuplicateReport result = find(given, [&](const DuplicateScanProgress& now) {
        if (phases.empty() || phases.back().first != now.phase) phases.emplace_back(now.phase, now.filesTotal);
        if (now.phase == Phase::hashing) bytesToHash = now.bytesToHash;
        EXPECT_LE(now.filesDone, now.filesTotal);
        EXPECT_LE(now.bytesHashed, now.bytesToHash);
    });
    ASSERT_EQ(groupsOf(result),
              (Groups{{kept, downloaded, other}, {pairs[0], pairs[1]}, {pairs[4], pairs[5]}, {pairs[6], pairs[7]}}));
    EXPECT_EQ(std::pair(result.groups[0].files.front().path, result.groups[0].reclaimableBytes),
              std::pair(kept, allocatedOf(downloaded) + allocatedOf(other)));
    std::int64_t total = 0;
    for (const DuplicateGroup& group : result.groups) total += group.reclaimableBytes;
    EXPECT_EQ(result.totalReclaimableBytes, total);
    EXPECT_EQ(result.filesExamined, 11);
    // Only what sampling couldn't settle is read again; the file alone in its size is never sampled.
    EXPECT_EQ(phases, (std::vector<std::pair<Phase, int>>{{Phase::sizing, 13}, {Phase::sampling, 10}, {Phase::hashing, 6}}));
    EXPECT_EQ(bytesToHash, 4 * 100000 + 2 * 32769);
}

TEST_F(DuplicateFinding, EveryNameOfAHardLinkedFileReachesTheFinderAndIsOneFileNeverACopy) {
    const std::string bytes = contents(50000, 9);
    const std::string original = file("a/film.mov", bytes);
    const std::string copy = file("copy.mov", bytes);
    makeFolder(folder / "b");
    makeHardLink(original, folder / "b/film.mov");
    makeHardLink(original, folder / "film again.mov");
    const Paths paths = candidates();
    EXPECT_EQ(std::set<std::string>(paths.begin(), paths.end()),
              (std::set<std::string>{original, folder / "b/film.mov", folder / "film again.mov", copy}));

    const DuplicateReport result = find(paths);
    ASSERT_EQ(result.groups.size(), 1u);
    const std::vector<DuplicateFile>& files = result.groups[0].files;
    ASSERT_EQ(files.size(), 2u) << "three names of one file are one file";
    const DuplicateFile& linked = files[files[0].path == copy ? 1 : 0];
    EXPECT_EQ(std::pair(linked.linkCount, linked.otherNames.size()), std::pair(3, std::size_t{2}));
}

TEST_F(DuplicateFinding, AFileRewrittenWhileItIsReadIsSkippedAndCountedUnreadable) {
    const std::string bytes = contents(3 << 20, 12);
    const Paths paths{file("a/x", bytes), file("b/x", bytes), file("c/x", bytes)};
    bool waited = false;
    bool changed = false;
    const DuplicateReport result = find(paths, [&](const DuplicateScanProgress& now) {
        if (now.phase != Phase::hashing || changed) return;
        if (!std::exchange(waited, true)) {
            // Reports come at most every 0.1 s: after this pause the next comes with the first piece read.
            std::this_thread::sleep_for(std::chrono::milliseconds(150));
        } else if (now.bytesHashed > 0) {
            // A byte already compared, and the modification time put back: only the status change time tells.
            struct stat before {};
            const int fd = open(paths[2].c_str(), O_WRONLY | O_CLOEXEC);
            changed = fstat(fd, &before) == 0 && pwrite(fd, "!", 1, 10) == 1;
            const timespec times[2] = {before.st_atim, before.st_mtim};
            changed = futimens(fd, times) == 0 && changed;
            close(fd);
        }
    });
    ASSERT_TRUE(changed);
    EXPECT_EQ(groupsOf(result), (Groups{{paths[0], paths[1]}}));
    EXPECT_EQ(result.unreadable, 1);
}

TEST_F(DuplicateFinding, ACancelledRunReportsTheGroupsSettledBeforeIt) {
    const std::string small = contents(20000, 14);
    const std::string large = contents(100000, 15);
    const Paths paths{file("a/small", small), file("b/small", small), file("a/large", large), file("b/large", large)};
    std::atomic<bool> stop = false;
    const DuplicateReport result = find(paths, [&](const auto& now) { stop = stop || now.phase == Phase::hashing; },
                                        [&] { return stop.load(); });
    EXPECT_TRUE(result.wasCancelled);
    EXPECT_EQ(groupsOf(result), (Groups{{paths[0], paths[1]}}));
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
        find({folder / "gone", first, second, first, folder / "a//./doc", folder / "link", folder / "fifo", folder / "a"});
    EXPECT_FALSE(guard.hadToRelease()) << "the finder waited on a FIFO";
    ASSERT_EQ(result.groups.size(), 1u);
    for (const DuplicateFile& member : result.groups[0].files) EXPECT_TRUE(member.otherNames.empty()) << member.path;
    EXPECT_EQ(result.filesExamined, 2) << "a path given twice counts once; links, FIFOs and folders not at all";
    EXPECT_EQ(result.unreadable, 1) << "the missing one";
}

TEST_F(DuplicateFinding, NoMoreWorkersThanAskedFor) {
    Paths eight;
    for (unsigned i = 0; i < 8; ++i) eight.push_back(file("f" + std::to_string(i), contents(50000, 100 + i)));
    std::atomic<int> threads = 0;
    find(eight, {}, [&] {
        thread_local bool counted = false;
        if (!std::exchange(counted, true)) ++threads;
        // Long enough that every worker started gets an item.
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return false;
    }, 3);
    EXPECT_LE(threads, 4) << "three workers and the calling thread";
}

TEST_F(DuplicateFinding, ABucketPartsIntoItsPairsWithIdsOfTheirOwnSideBySideOrHashed) {
    // Four files are compared side by side; more than 64 are too many, and hashed.
    const std::string bytes = contents(40000, 33);
    for (const int count : {4, 66}) {
        SCOPED_TRACE(count);
        Paths paths;
        Groups pairs;
        for (int index = 0; index < count; ++index) {
            std::string variant = bytes;
            variant[20000] = static_cast<char>(index / 2);
            paths.push_back(file(std::to_string(count) + "/" + std::to_string(index), variant));
            if (index % 2 == 1) pairs.insert({paths[paths.size() - 2], paths.back()});
        }
        const DuplicateReport result = find(paths);
        EXPECT_EQ(groupsOf(result), pairs);
        std::set<std::string> ids;
        for (const DuplicateGroup& group : result.groups) ids.insert(group.id);
        EXPECT_EQ(ids.size(), pairs.size());
    }
}

TEST_F(DuplicateFinding, CopiesDeeperThanPathMaxAreCompared) {
    makeFolder(folder / "one");
    makeFolder(folder / "two");
    ASSERT_EQ(makeDeepChain(folder / "one", std::string(200, 'd'), 25), 25);
    ASSERT_EQ(makeDeepChain(folder / "two", std::string(200, 'd'), 25), 25);
    const Paths paths = candidates();
    // Samples of 4,096 bytes: the files are sampled, then read whole.
    const DuplicateReport report = DuplicateFinder(1000, 4096, 2, "/nowhere").find(paths);
    EXPECT_EQ(report.unreadable, 0) << "a long path is no unreadable file";
    EXPECT_EQ(report.groups.size(), 1u);
}

TEST(CandidatePaths, LeaveOutWhatIsNeverScannedAndSmallFilesButLookIntoAChosenFolder) {
    constexpr std::int64_t MB = 1'000'000;
    TreeBuilder tree("/");
    FileNode* me = tree.folder(tree.folder(tree.root, "home"), "me");
    FileNode* documents = tree.folder(me, "Documents");
    tree.file(documents, "film.mov", 2 * MB);
    tree.file(documents, "exactly", MB);
    tree.file(documents, "note.txt", MB - 1);
    tree.file(tree.folder(tree.folder(me, "code"), "node_modules"), "big.js", 2 * MB);
    tree.file(tree.folder(tree.folder(me, "Tool.app"), "Contents"), "binary", 2 * MB);
    tree.file(tree.folder(tree.folder(tree.folder(me, ".local"), "share"), "Trash"), "old.mov", 2 * MB);
    tree.file(tree.folder(tree.root, "data"), "shared.iso", 2 * MB);
    Paths paths = DuplicateFinder::candidatePaths(*tree.root, MB, "/home/me");
    std::sort(paths.begin(), paths.end());
    EXPECT_EQ(paths, (Paths{"/data/shared.iso", "/home/me/Documents/exactly", "/home/me/Documents/film.mov"}));

    TreeBuilder chosen("/home/me/.cache/corpus");
    chosen.file(chosen.root, "a.bin", 2 * MB);
    chosen.file(chosen.folder(chosen.root, "node_modules"), "b.js", 2 * MB);
    EXPECT_EQ(DuplicateFinder::candidatePaths(*chosen.root, MB, "/home/me"), (Paths{"/home/me/.cache/corpus/a.bin"}));
}

TEST(OpenFileIdentity, ALinkSwappedInOrAChangedFileIsRefusedNamingTheCallAndPath) {
    TempFolder folder;
    const std::string path = folder / "data";
    writeText(path, contents(5000, 21));
    const FileIdentity measured = FileIdentity::ofPath(path).value();
    std::rename(path.c_str(), (folder / "moved").c_str());
    makeSymlink(folder / "moved", path);
    std::string failure;
    EXPECT_FALSE(OpenFile::bypassCache(path, measured, OpenFile::Pattern::ranges, &failure));
    EXPECT_TRUE(failure.starts_with("open(" + path + "): ")) << failure;

    std::remove(path.c_str());
    writeText(path, contents(6000, 21));
    EXPECT_FALSE(OpenFile::bypassCache(path, measured, OpenFile::Pattern::sequential, &failure));
    EXPECT_TRUE(failure.starts_with(path + ": ")) << failure;
}

TEST(Sha256Digest, MatchesTheStandardVectorsWholeOrInPieces) {
    const auto bytes = [](std::string_view text) { return std::as_bytes(std::span(text)); };
    EXPECT_EQ(Sha256::hex(Sha256::of(bytes("abc"))), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    // Two blocks, added in pieces of 10 bytes that straddle the end of the first.
    const std::string_view text = "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmn"
                                  "hijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu";
    Sha256 hasher;
    for (std::size_t at = 0; at < text.size(); at += 10) hasher.add(bytes(text.substr(at, 10)));
    EXPECT_EQ(Sha256::hex(hasher.finish()), "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1");
}
