#pragma once
// One run of the duplicate finder; see DuplicateRun.cpp for how it works.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "DiskScanKit/DuplicateFinder.h"
#include "DiskScanKit/DuplicateGroup.h"
#include "DiskScanKit/OpenFile.h"
#include "DiskScanKit/Sha256.h"
#include "DuplicateWork.h"

namespace tessel {

class DuplicateRun {
public:
    DuplicateRun(std::int64_t minimumBytes, int sampleBytes, int workerCount, std::string home,
                 const DuplicateFinder::Progress& progress, const DuplicateFinder::IsCancelled& isCancelled);
    DuplicateRun(const DuplicateRun&) = delete;
    DuplicateRun& operator=(const DuplicateRun&) = delete;

    // Blocks until done or cancelled.
    DuplicateReport execute(const std::vector<std::string>& paths);

    static constexpr const char* workerNamePrefix = "DuplicateFinder.worker.";
    // Whole files are read in pieces of this size, unless the samples are bigger.
    static constexpr std::size_t wholeReadBytes = 1048576;

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
    };

    struct SampleResult {
        enum class Kind { pending, sample, whole, failed };
        Kind kind = Kind::pending;
        // `sample`: of the head and the tail; `whole`: of the whole contents.
        Sha256::Digest digest{};
    };

    struct HashResult {
        enum class Kind { pending, hashed, failed };
        Kind kind = Kind::pending;
        Sha256::Digest digest{};
    };

    // Candidates whose bytes on disk are the same blocks, read once for all.
    struct Stream {
        std::vector<std::size_t> members;
        std::int64_t size = 0;
    };

    // Candidates known to hold the same contents.
    struct Group {
        Sha256::Digest hash{};
        std::vector<std::size_t> members;
    };

    struct Buckets {
        std::vector<Group> settled;
        std::vector<std::vector<std::size_t>> unsettled;
    };

    using WorkItem = std::function<void(std::size_t item, std::span<std::byte> buffer)>;

    std::vector<std::size_t> measure(const std::vector<std::string>& paths);
    void sample(const std::vector<std::size_t>& kept);
    SampleResult readSample(const Candidate& candidate, std::span<std::byte> buffer) const;
    Buckets bucketsBySample(const std::vector<std::size_t>& kept);
    void readSharing(const std::vector<std::size_t>& members);
    std::vector<Stream> streams(const std::vector<std::vector<std::size_t>>& unsettled) const;
    void hashWhole(const std::vector<Stream>& streams);
    HashResult hash(const Stream& stream, std::span<std::byte> buffer, std::size_t& opened);
    void record(const Stream& stream, const HashResult& result, std::size_t opened);
    std::vector<Group> groupsByHash(const std::vector<std::vector<std::size_t>>& unsettled);
    DuplicateReport finish(const std::vector<Group>& groups, double start);
    DuplicateFile duplicateFile(const Candidate& candidate) const;

    // Runs `work` over items 0..count-1 on min(workerCount, count) threads.
    void runWorkers(std::size_t count, const WorkItem& work);
    // Asks the caller, and remembers a yes: the run then stops early.
    bool cancelled();

    const std::int64_t minimumBytes_;
    const int sampleBytes_;
    const int workerCount_;
    const std::string home_;
    const DuplicateFinder::IsCancelled& isCancelled_;
    ProgressMeter meter_;

    std::vector<Candidate> candidates_;
    std::int64_t unreadablePaths_ = 0;

    // Workers write only their own item's entry, under the lock.
    std::mutex resultsLock_;
    std::vector<SampleResult> samples_;
    std::vector<HashResult> hashes_;

    std::mutex cancelLock_;
    bool stoppedEarly_ = false;
};

} // namespace tessel
