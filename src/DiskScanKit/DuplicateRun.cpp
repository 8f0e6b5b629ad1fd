// Finding files with the same contents, reading as little as possible.
//
// Stages, each narrowing what the next must read:
//
//  1. Sizing, on the calling thread: lstat every path once. Only regular
//     files of at least the minimum size count, and each inode once: a second
//     name of a known inode joins that candidate's `otherNames` (two names of
//     one file are not two copies). A size held by one candidate alone can't
//     have a twin, so it goes; on a real disk that is most files.
//  2. Sampling, on the workers: hash the first and last `sampleBytes` of each
//     file. Files that small samples would cover anyway (size at most twice
//     `sampleBytes`) are hashed whole here instead.
//  3. Bucketing by size and sample. A bucket of whole-file hashes is already
//     a group ("settled"); a bucket of sample hashes still has to be read.
//  4. Sharing: ask the file system which files are full clones of each other.
//  5. The whole-file stage, on the workers: each remaining file is read whole.
//     Full clones of one another share every block, so they are one stream,
//     read once; every other file is a stream of its own. A bucket's streams
//     are compared side by side (Lockstep.cpp): read a piece of each in turn,
//     compare the pieces byte for byte, and part the files where they differ.
//     That is exact and costs little more than the reading, where a digest
//     would push every byte through SHA-256 at a tenth of the speed. Two cases
//     are hashed instead, each stream on its own:
//       - a bucket of more than `sideBySideStreams` streams, which would hold
//         too many files open at once on one worker, while its streams hashed
//         spread over all of them;
//       - a bucket whose reading side by side would make a disk that seeks
//         (one that rotates, or can't say) go back and forth too often.
//         Each piece of a file that is not wholly in the page cache is a
//         read from the disk; while two files or more need the disk, each
//         such piece is a seek away from the last one, where hashing reads
//         each file straight through with one seek. So when all its files
//         together miss at most `fetchFirstBytes` of the cache (a small cold
//         bucket, or a warm one that lost a few pages here and there, as
//         caches do some time after a read), the missing pages are asked for
//         first, file after file, which costs the disk what hashing would,
//         and the files are then compared from the cache. A bucket missing
//         more has the seeks that reading side by side adds beyond one per
//         file weighed against hashing it, a seek counting as
//         `seekCostBytes` hashed: so a large cold bucket is hashed.
//     A digest is SHA-256 and nothing weaker, so equal digests are equal
//     contents. The largest tasks go first, so that a big file doesn't start
//     last and hold up the end.
//  6. Grouping, by the class a side-by-side comparison put a file in or by
//     full hash, and the report: groups of at least two files, each with its
//     keeper first, the one reclaiming most first.
//
// Example, with 16 KiB samples: a.mov and b.mov (40 MB, same bytes), c.mov
// (40 MB, same head and tail, a different middle), d.txt (1 MB alone in its
// size). Sizing drops d.txt. Sampling puts a, b and c in one bucket. Reading
// them side by side parts c from a and b at the first byte where c differs,
// and c is read no further: one group, a and b.
//
// Group ids. Not every group has a digest of its contents, and a group's id
// must not depend on whether the cache was warm, so every group's id is the
// SHA-256 of its size, its sample digest (of the whole contents, for a file
// small enough to be read whole while sampling) and the device and inode of
// its file with the lowest of them. A file is in one group at most, so ids
// are unique; they stay the same for as long as the files do.
//
// Between two stages, before each item a worker takes, and between the
// pieces of a whole-file read, the run asks whether it was cancelled. When it
// was, it skips what is left and reports what stands: the groups settled by
// then, with `wasCancelled` set.
//
// Files that may hang. A file on a file system that can stop answering
// (HangingMounts.h) is measured, sampled and hashed by a reader process
// (ReaderHelper.h), which runs the same code as the workers do here, and
// compared by hashing, never side by side. A worker waits for its reader in
// slices of a tenth of a second, and gives up when the run is cancelled or
// when the reader has not been heard from for `stallTimeout`: the file is
// then named among the stalled, counts as unreadable, and the run goes on
// without waiting for the reader, which is killed and left to the kernel. One
// file that hangs says little of the others beside it, which may answer; a
// file system that stalled twice with no answer between is taken for dead,
// and its other files count as unreadable at once, so a dead share costs two
// stall timeouts, not one per file. Local disks are read here as ever.
//
// A file is opened through OpenFile, which refuses one that changed or was
// swapped since it was measured, looks again once it has been read whole, and
// leaves the page cache as it found it. A file that changed counts as
// unreadable, and is never in a group.
//
// Threads. Each stage's items are handed out by a WorkCursor to at most
// `workerCount` joined threads. Each thread keeps one page-aligned buffer for
// all its items, and writes only its own item's result, under `resultsLock_`;
// no lock is held while a file is read. The threads keep the caller's
// scheduling priority. No I/O priority is set: on Linux an idle or lowered
// I/O class only means something under the BFQ scheduler, where it can starve
// a search the user is waiting for behind any other I/O; the scan sets none
// either.

#include "DuplicateRun.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <system_error>
#include <thread>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include "DiskScanKit/HangingMounts.h"
#include "DiskScanKit/Lockstep.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/Threads.h"

namespace tessel {

namespace {

using Phase = DuplicateScanProgress::Phase;

struct FileKey {
    std::uint64_t device;
    std::uint64_t inode;
    bool operator==(const FileKey&) const = default;
};
struct FileKeyHash {
    std::size_t operator()(const FileKey& key) const {
        return std::hash<std::uint64_t>{}(key.inode * 0x9e3779b97f4a7c15ULL ^ key.device);
    }
};

using ContentDigest::WholeRead;

bool mayHang(const MountEntry& mount) {
    return HangingMounts::mayHang(mount.fileSystem) || HangingMounts::mayHang(mount.device);
}

} // namespace

DuplicateRun::DuplicateRun(std::int64_t minimumBytes, int sampleBytes, int workerCount, std::string home,
                           double stallTimeout, const DuplicateFinder::Progress& progress,
                           const DuplicateFinder::IsCancelled& isCancelled)
    : minimumBytes_(minimumBytes), sampleBytes_(sampleBytes), workerCount_(workerCount), home_(std::move(home)),
      stallTimeout_(stallTimeout), isCancelled_(isCancelled), meter_(progress) {}

DuplicateReport DuplicateRun::execute(const std::vector<std::string>& paths) {
    const double start = uptimeSeconds();
    const std::vector<std::size_t> kept = measure(paths);
    if (!cancelled()) sample(kept);
    Buckets buckets = bucketsBySample(kept);
    std::vector<Group> groups = std::move(buckets.settled);
    // Settled groups are reported even by a run that stops here, and what they
    // reclaim depends on how their files share blocks.
    for (const Group& group : groups) readSharing(group);
    if (!cancelled()) {
        for (const std::vector<std::size_t>& bucket : buckets.unsettled) readSharing(bucket);
        if (!cancelled()) compareWhole(wholeTasks(buckets.unsettled));
    }
    std::vector<Group> whole = wholeGroups(buckets.unsettled);
    groups.insert(groups.end(), std::make_move_iterator(whole.begin()), std::make_move_iterator(whole.end()));
    return finish(groups, start);
}

std::vector<std::size_t> DuplicateRun::measure(const std::vector<std::string>& paths) {
    meter_.begin(Phase::sizing, paths.size(), 0);
    std::unordered_set<std::string> seen;
    std::unordered_map<FileKey, std::size_t, FileKeyHash> byInode;
    // Whether a path lies on a mount that may hang is judged by its text: asking its file system could hang.
    const std::vector<MountEntry> mounts = MountTable::current();
    const bool anyMayHang = std::any_of(mounts.begin(), mounts.end(), mayHang);
    std::unique_ptr<ReaderHelper> reader;
    for (const std::string& given : paths) {
        if (cancelled()) break;
        meter_.add(1, 0);
        std::string path = given.starts_with('/') ? Paths::standardized(given, home_) : given;
        if (!seen.insert(path).second) continue;
        std::optional<MountEntry> mount;
        if (anyMayHang) mount = MountTable::containing(mounts, path);
        if (mount && !mayHang(*mount)) mount.reset();
        MeasuredPath measured;
        if (!mount) {
            measured = MeasuredPath::of(path);
        } else if (givenUp(mount->device)) {
            measured.kind = MeasuredPath::Kind::unreadable;
        } else if (std::optional<MeasuredPath> told = measureThroughReader(path, reader)) {
            noteAnswered(mount->device);
            measured = *told;
        } else {
            if (cancelled()) break;
            noteStalled(path, mount->device);
            measured.kind = MeasuredPath::Kind::unreadable;
        }
        if (measured.kind == MeasuredPath::Kind::unreadable) {
            ++unreadablePaths_;
            continue;
        }
        // A cloud placeholder is skipped silently: reading it would download it.
        if (measured.kind != MeasuredPath::Kind::regularFile || measured.identity.size < minimumBytes_) continue;
        const FileKey key{measured.identity.device, measured.identity.inode};
        const auto [known, isNew] = byInode.try_emplace(key, candidates_.size());
        if (!isNew) {
            candidates_[known->second].otherNames.push_back(std::move(path));
            continue;
        }
        Candidate candidate;
        candidate.path = std::move(path);
        candidate.size = measured.identity.size;
        candidate.allocated = measured.allocated;
        candidate.identity = measured.identity;
        candidate.linkCount = measured.linkCount;
        candidate.mayHang = mount.has_value();
        candidates_.push_back(std::move(candidate));
    }

    std::unordered_map<std::int64_t, int> perSize;
    for (const Candidate& candidate : candidates_) ++perSize[candidate.size];
    std::vector<std::size_t> kept;
    for (std::size_t i = 0; i < candidates_.size(); ++i)
        if (perSize[candidates_[i].size] >= 2) kept.push_back(i);
    return kept;
}

void DuplicateRun::sample(const std::vector<std::size_t>& kept) {
    samples_.assign(candidates_.size(), {});
    const std::int64_t sampled = 2 * std::int64_t{sampleBytes_};
    auto bytesRead = [sampled](std::int64_t size) { return size <= sampled ? size : sampled; };
    std::int64_t total = 0;
    for (std::size_t index : kept) total = checkedAdd(total, bytesRead(candidates_[index].size));
    meter_.begin(Phase::sampling, kept.size(), total);
    const std::size_t bufferBytes = std::max(static_cast<std::size_t>(sampleBytes_), wholeReadBytes);
    runWorkers(kept.size(), bufferBytes, [&](std::size_t item, Worker& worker) {
        const Candidate& candidate = candidates_[kept[item]];
        const SampleResult result =
            candidate.mayHang ? sampleThroughReader(candidate, worker.reader)
                              : ContentDigest::sample(candidate.path, candidate.identity,
                                                      static_cast<std::size_t>(sampleBytes_), worker.buffer);
        {
            std::lock_guard guard(resultsLock_);
            samples_[kept[item]] = result;
        }
        meter_.add(1, bytesRead(candidate.size));
    });
}

DuplicateRun::Buckets DuplicateRun::bucketsBySample(const std::vector<std::size_t>& kept) {
    // Ordered, so that the same paths give the same groups in the same order.
    std::map<std::tuple<std::int64_t, bool, Sha256::Digest>, std::vector<std::size_t>> buckets;
    for (std::size_t index : kept) {
        if (index >= samples_.size()) continue; // never sampled: the run stopped first
        const SampleResult& sampled = samples_[index];
        if (sampled.kind == SampleResult::Kind::failed) ++unreadablePaths_;
        if (sampled.kind != SampleResult::Kind::sample && sampled.kind != SampleResult::Kind::whole) continue;
        const bool whole = sampled.kind == SampleResult::Kind::whole;
        buckets[{candidates_[index].size, whole, sampled.digest}].push_back(index);
    }
    Buckets result;
    for (auto& [key, members] : buckets) {
        if (members.size() < 2) continue;
        if (std::get<1>(key))
            result.settled.push_back(std::move(members));
        else
            result.unsettled.push_back(std::move(members));
    }
    return result;
}

void DuplicateRun::readSharing(const std::vector<std::size_t>& members) {
    // A file that may hang shares nothing as far as can be told: asking could hang.
    for (std::size_t index : members)
        if (!candidates_[index].mayHang) candidates_[index].sharing = BlockSharing::read(candidates_[index].path);
}

std::vector<DuplicateRun::Stream> DuplicateRun::streams(const std::vector<std::size_t>& bucket) const {
    std::vector<Stream> result;
    std::map<CloneStream::Key, std::size_t> byClone;
    for (std::size_t index : bucket) {
        const Candidate& candidate = candidates_[index];
        if (candidate.sharing.isFullClone() && candidate.sharing.cloneID) {
            const CloneStream::Key key{candidate.identity.device, *candidate.sharing.cloneID};
            const auto [known, isNew] = byClone.try_emplace(key, result.size());
            // Clones of one another are the same size; anything else is read on its own.
            if (!isNew && result[known->second].size == candidate.size) {
                result[known->second].members.push_back(index);
                continue;
            }
        }
        result.push_back({{index}, candidate.size});
    }
    return result;
}

std::vector<DuplicateRun::WholeTask> DuplicateRun::wholeTasks(const std::vector<std::vector<std::size_t>>& unsettled) const {
    std::vector<WholeTask> tasks;
    for (const std::vector<std::size_t>& bucket : unsettled) {
        std::vector<Stream> found = streams(bucket);
        // Reading side by side would leave a file that hangs holding up all the others.
        const bool mayHang = std::any_of(bucket.begin(), bucket.end(), [&](std::size_t index) { return candidates_[index].mayHang; });
        if (found.size() <= sideBySideStreams && !mayHang) {
            WholeTask task{std::move(found), true, 0};
            for (const Stream& stream : task.streams) task.bytes = checkedAdd(task.bytes, stream.size);
            tasks.push_back(std::move(task));
            continue;
        }
        for (Stream& stream : found) {
            const std::int64_t bytes = stream.size;
            tasks.push_back({{std::move(stream)}, false, bytes});
        }
    }
    std::stable_sort(tasks.begin(), tasks.end(), [](const WholeTask& a, const WholeTask& b) { return a.bytes > b.bytes; });
    return tasks;
}

void DuplicateRun::compareWhole(const std::vector<WholeTask>& tasks) {
    wholes_.assign(candidates_.size(), {});
    std::size_t files = 0;
    std::int64_t bytes = 0;
    for (const WholeTask& task : tasks) {
        bytes = checkedAdd(bytes, task.bytes);
        for (const Stream& stream : task.streams) {
            files += stream.members.size();
            for (std::size_t index : stream.members) {
                const std::uint64_t device = candidates_[index].identity.device;
                if (!seeks_.contains(device)) seeks_[device] = OpenFile::deviceSeeks(device);
            }
        }
    }
    meter_.begin(Phase::hashing, files, bytes);
    runWorkers(tasks.size(), sideBySideBufferBytes, [&](std::size_t item, Worker& worker) {
        const std::span<std::byte> buffer = worker.buffer;
        const WholeTask& task = tasks[item];
        if (task.sideBySide) {
            compareSideBySide(task, buffer);
            return;
        }
        const Stream& stream = task.streams.front();
        if (candidates_[stream.members.front()].mayHang) {
            record(stream, hashThroughReader(stream, worker.reader), 0);
            return;
        }
        std::size_t opened = 0;
        std::optional<OpenFile> file = openStream(stream, opened);
        WholeResult result{WholeResult::Kind::failed};
        if (file)
            result = hash(*file, stream, buffer.first(wholeReadBytes));
        else
            meter_.add(stream.members.size(), stream.size);
        record(stream, result, opened);
    });
}

void DuplicateRun::compareSideBySide(const WholeTask& task, std::span<std::byte> buffer) {
    const std::size_t count = task.streams.size();
    std::vector<std::optional<OpenFile>> files;
    files.reserve(count);
    std::vector<std::size_t> opened(count);
    std::vector<std::size_t> copies(count);
    for (std::size_t index = 0; index < count; ++index) {
        const Stream& stream = task.streams[index];
        files.push_back(openStream(stream, opened[index]));
        copies[index] = stream.members.size();
    }

    if (!worthSideBySide(task, files, opened, buffer.size())) {
        for (std::size_t index = 0; index < count; ++index) {
            const Stream& stream = task.streams[index];
            WholeResult result{WholeResult::Kind::failed};
            if (files[index]) {
                result = hash(*files[index], stream, buffer.first(wholeReadBytes));
                files[index].reset(); // lets go of its pages before the next file is read
            } else {
                meter_.add(stream.members.size(), stream.size);
            }
            record(stream, result, opened[index]);
        }
        return;
    }

    std::int64_t done = 0;
    const std::vector<Lockstep::Verdict> verdicts = Lockstep::compare(files, copies, buffer, [&](std::int64_t bytes) {
        done += bytes;
        meter_.add(0, bytes);
        return !cancelled();
    });
    using Verdict = Lockstep::Verdict;
    const bool finished = std::none_of(verdicts.begin(), verdicts.end(),
                                       [](const Verdict& verdict) { return verdict.kind == Verdict::Kind::unfinished; });
    // The bar still reaches its end for the bytes a file parted early never needed.
    if (finished) {
        std::size_t members = 0;
        for (const Stream& stream : task.streams) members += stream.members.size();
        meter_.add(members, std::max<std::int64_t>(0, task.bytes - done));
    }
    for (std::size_t index = 0; index < count; ++index) {
        const Verdict& verdict = verdicts[index];
        WholeResult result;
        switch (verdict.kind) {
        case Verdict::Kind::same: result = {WholeResult::Kind::compared, {}, task.streams[verdict.sameAs].members.front()}; break;
        case Verdict::Kind::parted: result = {WholeResult::Kind::compared, {}, task.streams[index].members.front()}; break;
        case Verdict::Kind::failed: result = {WholeResult::Kind::failed}; break;
        case Verdict::Kind::unfinished: result = {WholeResult::Kind::pending}; break;
        }
        record(task.streams[index], result, opened[index]);
    }
}

bool DuplicateRun::worthSideBySide(const WholeTask& task, std::vector<std::optional<OpenFile>>& files,
                                   const std::vector<std::size_t>& opened, std::size_t bufferBytes) const {
    const std::size_t piece = Lockstep::pieceFor(files.size(), bufferBytes);
    if (piece == 0) return false;
    const auto page = static_cast<std::int64_t>(sysconf(_SC_PAGESIZE));
    std::vector<OpenFile*> fromDisk;
    std::int64_t missingBytes = 0;
    // False when the kernel won't say what is cached of a file: then none of it counts as cached.
    bool missingKnown = true;
    std::int64_t extraSeeks = 0;
    for (std::size_t index = 0; index < files.size(); ++index) {
        if (!files[index]) continue;
        if (!seeks_.at(candidates_[task.streams[index].members[opened[index]]].identity.device)) continue;
        OpenFile& file = *files[index];
        const auto size = static_cast<std::uint64_t>(file.size());
        const std::int64_t pieces =
            file.piecesNotCached(piece).value_or(static_cast<std::int64_t>((size + piece - 1) / piece));
        if (pieces == 0) continue;
        fromDisk.push_back(&file);
        extraSeeks = checkedAdd(extraSeeks, pieces - 1);
        const std::optional<std::int64_t> pages = file.piecesNotCached(static_cast<std::size_t>(page));
        missingKnown = missingKnown && pages;
        if (pages) missingBytes = checkedAdd(missingBytes, checkedMultiply(*pages, page));
    }
    if (fromDisk.size() < 2) return true;
    if (missingKnown && missingBytes <= fetchFirstBytes) {
        for (OpenFile* file : fromDisk) file->fetchMissing();
        return true;
    }
    return checkedMultiply(extraSeeks, seekCostBytes) <= task.bytes;
}

std::optional<OpenFile> DuplicateRun::openStream(const Stream& stream, std::size_t& opened) const {
    for (opened = 0; opened < stream.members.size(); ++opened) {
        const Candidate& candidate = candidates_[stream.members[opened]];
        std::optional<OpenFile> file = OpenFile::bypassCache(candidate.path, candidate.identity, OpenFile::Pattern::sequential);
        if (file) return file;
    }
    return std::nullopt;
}

ReaderHelper::KeepWaiting DuplicateRun::keepWaiting() {
    return [this](double silent) { return !cancelled() && silent < stallTimeout_; };
}

void DuplicateRun::noteStalled(const std::string& path, std::uint64_t device) {
    std::lock_guard guard(stallLock_);
    stalledPaths_.push_back(path);
    ++stallsInARow_[device];
}

void DuplicateRun::noteAnswered(std::uint64_t device) {
    std::lock_guard guard(stallLock_);
    stallsInARow_.erase(device);
}

bool DuplicateRun::givenUp(std::uint64_t device) {
    std::lock_guard guard(stallLock_);
    const auto found = stallsInARow_.find(device);
    return found != stallsInARow_.end() && found->second >= 2;
}

std::optional<MeasuredPath> DuplicateRun::measureThroughReader(const std::string& path,
                                                               std::unique_ptr<ReaderHelper>& reader) {
    if (!reader || reader->abandoned()) reader = ReaderHelper::start();
    // Without a reader process there is only this one to read with.
    if (!reader) return MeasuredPath::of(path);
    return reader->measure(path, keepWaiting());
}

DuplicateRun::SampleResult DuplicateRun::sampleThroughReader(const Candidate& candidate,
                                                             std::unique_ptr<ReaderHelper>& reader) {
    if (givenUp(candidate.identity.device)) return {SampleResult::Kind::failed, {}};
    if (!reader || reader->abandoned()) reader = ReaderHelper::start();
    if (!reader) {
        WorkerBuffer buffer(std::max(static_cast<std::size_t>(sampleBytes_), wholeReadBytes));
        return ContentDigest::sample(candidate.path, candidate.identity, static_cast<std::size_t>(sampleBytes_), buffer.bytes());
    }
    const std::optional<ReaderHelper::Digest> digest =
        reader->sample(candidate.path, candidate.identity, static_cast<std::size_t>(sampleBytes_), keepWaiting());
    if (digest) {
        noteAnswered(candidate.identity.device);
        return {static_cast<SampleResult::Kind>(digest->kind), digest->digest};
    }
    if (cancelled()) return {SampleResult::Kind::pending, {}};
    noteStalled(candidate.path, candidate.identity.device);
    return {SampleResult::Kind::failed, {}};
}

DuplicateRun::WholeResult DuplicateRun::hashThroughReader(const Stream& stream, std::unique_ptr<ReaderHelper>& reader) {
    const Candidate& candidate = candidates_[stream.members.front()];
    std::int64_t done = 0;
    // The bar reaches its end for whatever was not read.
    auto finished = [&](WholeResult result) {
        meter_.add(stream.members.size(), std::max<std::int64_t>(0, stream.size - done));
        return result;
    };
    if (givenUp(candidate.identity.device)) return finished({WholeResult::Kind::failed});
    if (!reader || reader->abandoned()) reader = ReaderHelper::start();
    if (!reader) {
        std::size_t opened = 0;
        std::optional<OpenFile> file = openStream(stream, opened);
        WorkerBuffer buffer(wholeReadBytes);
        if (!file || buffer.bytes().empty()) return finished({WholeResult::Kind::failed});
        return hash(*file, stream, buffer.bytes());
    }
    const std::optional<ReaderHelper::Digest> digest = reader->hash(
        candidate.path, candidate.identity,
        [&](std::int64_t bytes) {
            done += bytes;
            meter_.add(0, bytes);
        },
        keepWaiting());
    if (digest) noteAnswered(candidate.identity.device);
    if (digest && digest->kind == ReaderHelper::Digest::Kind::whole)
        return finished({WholeResult::Kind::hashed, digest->digest});
    if (digest) return finished({WholeResult::Kind::failed});
    if (cancelled()) return {WholeResult::Kind::pending};
    noteStalled(candidate.path, candidate.identity.device);
    return finished({WholeResult::Kind::failed});
}

DuplicateRun::WholeResult DuplicateRun::hash(OpenFile& file, const Stream& stream, std::span<std::byte> buffer) {
    Sha256 hasher;
    std::int64_t done = 0;
    const WholeRead outcome = ContentDigest::readWhole(file, hasher, buffer, [&](std::size_t piece) {
        done += static_cast<std::int64_t>(piece);
        meter_.add(0, static_cast<std::int64_t>(piece));
        return !cancelled();
    });
    if (outcome == WholeRead::cancelled) return {WholeResult::Kind::pending};
    // The bar still reaches its end when a file gives out early.
    meter_.add(stream.members.size(), std::max<std::int64_t>(0, stream.size - done));
    if (outcome == WholeRead::failed || !file.unchanged()) return {WholeResult::Kind::failed};
    return {WholeResult::Kind::hashed, hasher.finish()};
}

void DuplicateRun::record(const Stream& stream, const WholeResult& result, std::size_t opened) {
    using Kind = WholeResult::Kind;
    const bool settled = result.kind == Kind::hashed || result.kind == Kind::compared;
    std::vector<WholeResult> results(stream.members.size(), result);
    for (std::size_t i = 0; i < stream.members.size(); ++i) {
        const Candidate& candidate = candidates_[stream.members[i]];
        // Those tried before the one read wouldn't open; the rest were not read
        // themselves, so each must still be the file measured to share its result.
        if (i < opened && result.kind != Kind::pending) results[i] = {Kind::failed};
        if (i > opened && settled && FileIdentity::ofPath(candidate.path) != candidate.identity) results[i] = {Kind::failed};
    }
    std::lock_guard guard(resultsLock_);
    for (std::size_t i = 0; i < stream.members.size(); ++i) wholes_[stream.members[i]] = results[i];
}

std::vector<DuplicateRun::Group> DuplicateRun::wholeGroups(const std::vector<std::vector<std::size_t>>& unsettled) {
    std::map<std::pair<std::int64_t, Sha256::Digest>, Group> byHash;
    std::map<std::size_t, Group> byComparison;
    for (const std::vector<std::size_t>& bucket : unsettled) {
        for (std::size_t index : bucket) {
            if (index >= wholes_.size()) continue; // never read: the run stopped first
            const WholeResult& whole = wholes_[index];
            switch (whole.kind) {
            case WholeResult::Kind::failed: ++unreadablePaths_; break;
            case WholeResult::Kind::hashed: byHash[{candidates_[index].size, whole.digest}].push_back(index); break;
            case WholeResult::Kind::compared: byComparison[whole.sameAs].push_back(index); break;
            case WholeResult::Kind::pending: break;
            }
        }
    }
    std::vector<Group> groups;
    for (auto& [key, members] : byHash)
        if (members.size() >= 2) groups.push_back(std::move(members));
    for (auto& [key, members] : byComparison)
        if (members.size() >= 2) groups.push_back(std::move(members));
    return groups;
}

std::string DuplicateRun::groupID(const Group& group) const {
    const auto lowest = std::min_element(group.begin(), group.end(), [&](std::size_t a, std::size_t b) {
        const FileIdentity& x = candidates_[a].identity;
        const FileIdentity& y = candidates_[b].identity;
        return std::tie(x.device, x.inode) < std::tie(y.device, y.inode);
    });
    const FileIdentity& first = candidates_[*lowest].identity;
    // Little-endian, so that the same files give the same id on any machine.
    std::array<std::byte, 24> fields{};
    const std::array<std::uint64_t, 3> values{static_cast<std::uint64_t>(first.size), first.device, first.inode};
    for (std::size_t field = 0; field < values.size(); ++field)
        for (std::size_t at = 0; at < 8; ++at) fields[field * 8 + at] = static_cast<std::byte>(values[field] >> (8 * at));
    Sha256 hasher;
    hasher.add(fields);
    hasher.add(std::as_bytes(std::span(samples_[*lowest].digest)));
    return Sha256::hex(hasher.finish());
}

DuplicateFile DuplicateRun::duplicateFile(const Candidate& candidate) const {
    using namespace std::chrono;
    DuplicateFile file;
    file.path = candidate.path;
    file.logicalSize = candidate.size;
    file.allocatedBytes = candidate.allocated;
    file.privateBytes = candidate.sharing.privateBytes;
    file.modified = system_clock::time_point(duration_cast<system_clock::duration>(
        seconds(candidate.identity.modifiedSeconds) + nanoseconds(candidate.identity.modifiedNanoseconds)));
    file.otherNames = candidate.otherNames;
    file.linkCount = candidate.linkCount;
    const BlockSharing::Assessment assessment =
        candidate.sharing.assess(candidate.allocated, candidate.linkCount, candidate.identity.device);
    file.sharing = assessment.sharing;
    file.unsharedBytes = assessment.unsharedBytes;
    file.cloneStream = assessment.cloneStream;
    return file;
}

DuplicateReport DuplicateRun::finish(const std::vector<Group>& groups, double start) {
    DuplicateReport report;
    for (const Group& group : groups) {
        std::vector<DuplicateFile> files;
        files.reserve(group.size());
        for (std::size_t index : group) files.push_back(duplicateFile(candidates_[index]));
        if (files.size() < 2) continue;
        DuplicateGroup found(groupID(group), candidates_[group.front()].size, std::move(files), home_);
        report.totalReclaimableBytes = checkedAdd(report.totalReclaimableBytes, found.reclaimableBytes);
        report.groups.push_back(std::move(found));
    }
    std::sort(report.groups.begin(), report.groups.end(), [](const DuplicateGroup& a, const DuplicateGroup& b) {
        if (a.reclaimableBytes != b.reclaimableBytes) return a.reclaimableBytes > b.reclaimableBytes;
        return a.id < b.id;
    });
    report.filesExamined = static_cast<std::int64_t>(candidates_.size());
    report.unreadable = unreadablePaths_;
    {
        std::lock_guard guard(stallLock_);
        report.stalledPaths = stalledPaths_;
    }
    {
        std::lock_guard guard(cancelLock_);
        report.wasCancelled = stoppedEarly_;
    }
    report.duration = uptimeSeconds() - start;
    return report;
}

void DuplicateRun::runWorkers(std::size_t count, std::size_t bufferBytes, const WorkItem& work) {
    if (count == 0) return;
    WorkCursor cursor(count);
    auto loop = [&] {
        const WorkerBuffer buffer(bufferBytes);
        if (buffer.bytes().empty()) return; // no memory: the other workers take its items
        Worker worker{buffer.bytes(), nullptr};
        while (const std::optional<std::size_t> item = cursor.next()) {
            if (cancelled()) return;
            work(*item, worker);
        }
    };
    const std::size_t threads = std::min(static_cast<std::size_t>(workerCount_), count);
    std::vector<std::thread> workers;
    workers.reserve(threads);
    for (std::size_t number = 0; number < threads; ++number) {
        try {
            workers.emplace_back([&loop, number] {
                const std::string name = kernelThreadName(workerNamePrefix, static_cast<int>(number));
                pthread_setname_np(pthread_self(), name.c_str());
                loop();
            });
        } catch (const std::system_error&) {
            break; // out of threads: those already running share the work
        }
    }
    if (workers.empty()) loop();
    for (std::thread& worker : workers) worker.join();
}

bool DuplicateRun::cancelled() {
    std::lock_guard guard(cancelLock_);
    if (!stoppedEarly_ && isCancelled_ && isCancelled_()) stoppedEarly_ = true;
    return stoppedEarly_;
}

} // namespace tessel
