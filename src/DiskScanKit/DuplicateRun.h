#pragma once
// One run of the duplicate finder; see DuplicateRun.cpp for how it works.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/DuplicateGroup.h"
#include "DiskScanKit/Lockstep.h"
#include "DiskScanKit/OpenFile.h"
#include "DiskScanKit/ReaderHelper.h"
#include "DiskScanKit/Sha256.h"
#include "ContentDigest.h"
#include "DuplicateWork.h"

namespace tessel {

class DuplicateRun {
public:
    DuplicateRun(std::int64_t minimumBytes, int sampleBytes, int workerCount, std::string home, double stallTimeout,
                 const DuplicateFinder::Progress& progress, const DuplicateFinder::IsCancelled& isCancelled);
    DuplicateRun(const DuplicateRun&) = delete;
    DuplicateRun& operator=(const DuplicateRun&) = delete;

    // Blocks until done or cancelled.
    DuplicateReport execute(const std::vector<std::string>& paths);

    static constexpr const char* workerNamePrefix = "DuplicateFinder.worker.";
    // Whole files are hashed in pieces of this size, unless the samples are bigger.
    static constexpr std::size_t wholeReadBytes = 1048576;
    // A bucket of at most this many streams is compared side by side; a
    // larger one is hashed, a stream at a time on every worker.
    static constexpr std::size_t sideBySideStreams = 64;
    // Each worker's buffer in the whole-file stage: a whole piece for each of
    // the streams compared side by side, even at the most streams.
    static constexpr std::size_t sideBySideBufferBytes = sideBySideStreams * Lockstep::pieceBytes;
    // A seek of a disk that rotates (about 8 ms) costs as long as hashing
    // this many bytes on one core; reading side by side is worth the seeks
    // it adds while they cost less than hashing the files would.
    static constexpr std::int64_t seekCostBytes = std::int64_t{16} << 20;
    // A bucket whose files miss at most this much of the cache in all has
    // those pages read in first, file after file, and is then compared side
    // by side; the cache holds them only until the reading passes them.
    static constexpr std::int64_t fetchFirstBytes = std::int64_t{32} << 20;

private:
    struct Candidate {
        std::string path;
        // Further hard links to the same inode met among the paths.
        std::vector<std::string> otherNames;
        std::int64_t size = 0;
        std::int64_t allocated = 0;
        FileIdentity identity;
        int linkCount = 1;
        BlockSharing sharing;
        // On a file system that may stop answering: read by a reader process.
        bool mayHang = false;
    };

    using SampleResult = ContentDigest::Sample;

    // What the whole-file stage settled for a candidate.
    struct WholeResult {
        enum class Kind { pending, hashed, compared, failed };
        Kind kind = Kind::pending;
        // hashed: the digest of the whole contents.
        Sha256::Digest digest{};
        // compared: a candidate of the same contents, one for all of them (itself when alone).
        std::size_t sameAs = 0;
    };

    // Candidates whose bytes on disk are the same blocks, read once for all.
    struct Stream {
        std::vector<std::size_t> members;
        std::int64_t size = 0;
    };

    // One task of the whole-file stage: the streams of a bucket, compared side
    // by side where the reading allows, or one stream of a bucket too large
    // for that, hashed.
    struct WholeTask {
        std::vector<Stream> streams;
        bool sideBySide = false;
        std::int64_t bytes = 0;
    };

    // Candidates known to hold the same contents.
    using Group = std::vector<std::size_t>;

    struct Buckets {
        std::vector<Group> settled;
        std::vector<std::vector<std::size_t>> unsettled;
    };

    // What each worker keeps for all its items: its buffer, and a reader
    // process once it meets a file that may hang.
    struct Worker {
        std::span<std::byte> buffer;
        std::unique_ptr<ReaderHelper> reader;
    };
    using WorkItem = std::function<void(std::size_t item, Worker& worker)>;

    std::vector<std::size_t> measure(const std::vector<std::string>& paths);
    void sample(const std::vector<std::size_t>& kept);
    // Asks a reader process, started for the worker when it has none. A read
    // given up on comes back as nothing: stalled, or cancelled.
    std::optional<MeasuredPath> measureThroughReader(const std::string& path, std::unique_ptr<ReaderHelper>& reader);
    SampleResult sampleThroughReader(const Candidate& candidate, std::unique_ptr<ReaderHelper>& reader);
    WholeResult hashThroughReader(const Stream& stream, std::unique_ptr<ReaderHelper>& reader);
    // Waits for a reader while the run goes on and the reader has been heard
    // from within the stall timeout.
    ReaderHelper::KeepWaiting keepWaiting();
    // A read of `path`, on `device`, made no progress for the stall timeout:
    // it is named. Another read of the device answered.
    void noteStalled(const std::string& path, std::uint64_t device);
    void noteAnswered(std::uint64_t device);
    // The device stalled twice with no answer between: its other files are left out.
    bool givenUp(std::uint64_t device);
    Buckets bucketsBySample(const std::vector<std::size_t>& kept);
    void readSharing(const std::vector<std::size_t>& members);
    std::vector<Stream> streams(const std::vector<std::size_t>& bucket) const;
    std::vector<WholeTask> wholeTasks(const std::vector<std::vector<std::size_t>>& unsettled) const;
    void compareWhole(const std::vector<WholeTask>& tasks);
    void compareSideBySide(const WholeTask& task, std::span<std::byte> buffer);
    // Whether the task's files are better read side by side than hashed one
    // after another; when it says yes to files missing a few pages of cache,
    // it has asked for those pages already.
    bool worthSideBySide(const WholeTask& task, std::vector<std::optional<OpenFile>>& files,
                         const std::vector<std::size_t>& opened, std::size_t bufferBytes) const;
    std::optional<OpenFile> openStream(const Stream& stream, std::size_t& opened) const;
    WholeResult hash(OpenFile& file, const Stream& stream, std::span<std::byte> buffer);
    void record(const Stream& stream, const WholeResult& result, std::size_t opened);
    std::vector<Group> wholeGroups(const std::vector<std::vector<std::size_t>>& unsettled);
    std::string groupID(const Group& group) const;
    DuplicateReport finish(const std::vector<Group>& groups, double start);
    DuplicateFile duplicateFile(const Candidate& candidate) const;

    // Runs `work` over items 0..count-1 on min(workerCount, count) threads,
    // each with a buffer of `bufferBytes`.
    void runWorkers(std::size_t count, std::size_t bufferBytes, const WorkItem& work);
    // Asks the caller, and remembers a yes: the run then stops early.
    bool cancelled();

    const std::int64_t minimumBytes_;
    const int sampleBytes_;
    const int workerCount_;
    const std::string home_;
    const double stallTimeout_;
    const DuplicateFinder::IsCancelled& isCancelled_;
    ProgressMeter meter_;

    std::vector<Candidate> candidates_;
    std::int64_t unreadablePaths_ = 0;

    // Workers write only their own item's entry, under the lock.
    std::mutex resultsLock_;
    std::vector<SampleResult> samples_;
    std::vector<WholeResult> wholes_;
    // Devices where reading two files in turn costs seeks; filled before the
    // whole-file stage, read by its workers.
    std::map<std::uint64_t, bool> seeks_;

    std::mutex cancelLock_;
    bool stoppedEarly_ = false;

    // The files given up on, and for each device how many stalled since one last answered.
    std::mutex stallLock_;
    std::vector<std::string> stalledPaths_;
    std::map<std::uint64_t, int> stallsInARow_;
};

} // namespace tessel
