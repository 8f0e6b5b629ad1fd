// The parallel scan.
//
// Work stack. Folders still to read sit on one stack (`pending_`) that a few
// worker threads pop from. Each worker reads a whole folder, builds its part
// of the tree off to the side (a `DirectoryOutcome`), commits it under one
// short lock, and pushes the subfolders it found. Popping from the top makes
// the walk depth-first, which keeps the stack small: on a home folder of a
// million entries it rarely holds more than a few hundred folders.
//
// Totals without a second pass. A committed folder records how many
// subfolders it is still waiting for. When the last one finishes, its total
// is added to the parent and the parent's count drops; a parent reaching zero
// passes its own total up in the same way. So every total reaches its parent
// exactly once, at the moment it is complete.
//
//     /a  (commit: 1 file of 4 KB, waits for b and c)
//     /a/b  (commit: 8 KB, no subfolders -> adds 8 KB to a; a waits for c)
//     /a/c  (commit: 0 KB, no subfolders -> adds 0 to a; a is done, a adds 12 KB to its parent)
//
// Small files. A file below the listing size gets no node: it becomes one
// more count and a few more bytes on its folder. The tree then grows with the
// number of folders and large files, not with the number of files.
//
// Hard links. A file with two or more links is counted once: the first link
// met, on whichever thread, carries its bytes; later ones count as files of 0
// bytes, and get a node of 0 bytes where the file is big enough to be listed,
// so that every name of it can be found. Only such files take the link lock,
// so the common file takes none.
//
// Tickets and the watchdog. Every folder in progress has a ticket whose
// `lastActivity` is renewed after each batch of entries. The thread that
// started the run waits on a semaphore; each second without news it looks for
// tickets silent for `stallTimeout` (a dead network share, a disk that never
// wakes), marks them released, lets their folders stand as empty, and starts
// a replacement thread. A thread blocked in the kernel can't be killed, so the
// stuck one is abandoned: if its read ever returns it sees `released` and
// leaves without touching the tree. It keeps the run alive through its own
// reference. On cancellation every ticket is released at the next tick, so a
// cancelled scan returns within about a second whatever the disk is doing.
//
// Folders that may hang. Abandoning a thread is not enough on Linux: a thread
// waiting in the kernel for a FUSE daemon or an NFS server that never answers
// can't be interrupted, and keeps the whole process from exiting. So folders
// on such file systems (HangingMounts.h) are listed by a reader process
// (ReaderHelper.h) that sends the entries back a batch at a time; the worker
// takes them as it takes its own, and renews its ticket after each batch.
// When the watchdog releases such a folder, the worker itself is not stuck:
// it sees `released` within a tenth of a second, kills its reader without
// waiting for it, and ends as a replaced worker does. Even listing the folder
// that holds such a mount would look at the mount's top, so a mount point of
// a file system that may hang is listed as the mount table gives it, and
// only its reader ever looks inside. A folder read in this process that
// stalls marks its device, and the folders of that device met afterwards go
// to reader processes too. Local disks never see any of this: whether a
// folder may hang is decided where the device changes, and carried from
// folder to folder as one flag.
//
// Devices. A scan stays on its file system: a folder on another device is
// another disk mounted there, and is left out. Every folder carries the
// device it was found on, so the test is one comparison per subfolder. The
// one exception is btrfs, whose subvolumes have device numbers of their
// own: a subvolume of the root's btrfs is entered, once (see Subvolumes.h).
// The first folder of a device, or a mount's root, is a top: the place where
// a disk keeps the per-user trashes (".Trash-1000", ".Trash/1000") that are
// left out unless asked for, as ".Trashes" is anywhere.
//
// Locks. Six plain mutexes guard the stack, the tree, the link set, the
// subvolumes entered, the counters and the tickets. No two are ever held
// together, so there is no order to keep, and none is held across a call
// that reads the disk.

#include "ScanRun.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <system_error>

#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/HangingMounts.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/Threads.h"

namespace tessel {

namespace {

constexpr int cloudOnlyCode = 11; // EDEADLK: the folder is a placeholder that would have to download
constexpr const char* volumeTrashName = ".Trashes";

double uptime() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

double wallClock() {
    using namespace std::chrono;
    return duration<double>(system_clock::now().time_since_epoch()).count();
}

} // namespace

ScanRun::DirectoryHandle::~DirectoryHandle() { close(fd); }

ScanRun::Worker::Worker(Arena& arena, std::size_t size)
    : cursor(arena), buffer(new std::byte[size]), bufferSize(size) {}

ScanRun::ScanRun(std::string rootPath, ScanRoot root, ScanOptions options, Progress progress,
                 IsCancelled isCancelled)
    : rootPath_(std::move(rootPath)), root_(std::move(root)), options_(std::move(options)),
      progress_(std::move(progress)), isCancelled_(std::move(isCancelled)),
      tree_(std::make_shared<FileTree>()),
      rootNode_(tree_->makeNode(rootPath_ == "/" ? std::string_view{} : rootPath_, true, nullptr)),
      enteredSubvolumes_{root_.device}, watchdogCursor_(tree_->arena()) {
    for (const MountEntry& mount : MountTable::current()) {
        const std::size_t slash = mount.mountPoint.rfind('/');
        if (!HangingMounts::mayHang(mount.fileSystem) || slash == std::string::npos || mount.mountPoint == "/") continue;
        const std::string holder = slash == 0 ? "/" : mount.mountPoint.substr(0, slash);
        mountStandIns_[holder].push_back({mount.mountPoint.substr(slash + 1), mount.device});
    }
}

ScanResult ScanRun::execute() {
    const double start = uptime();
    if (root_.stalled) {
        // The root did not answer when it was looked at: nothing to walk.
        stalledPaths_.push_back(rootPath_);
        DirectoryOutcome standIn;
        standIn.reading = FolderReading::stalled;
        commit(standIn, rootNode_, watchdogCursor_);
    } else {
        pending_.push_back({rootPath_, rootNode_, nullptr, root_.device, root_.isTop, root_.mayHang});
    }

    // Threads are a resource like any other: with the process limit reached
    // the walk goes on with those that could start, or on this thread alone.
    const int workers = std::clamp(options_.workerCount, 1, ScanOptions::maximumWorkerCount);
    int remaining = 0;
    while (remaining < workers && startWorker()) ++remaining;
    bool shortOfThreads = remaining < workers;

    // The watchdog looks often enough that a folder is given up on within a
    // quarter of the timeout of its limit, and at least once a second.
    const auto lookEvery = std::chrono::duration<double>(std::clamp(options_.stallTimeout / 4, 0.02, 1.0));
    while (remaining > 0) {
        if (finished_.try_acquire_for(std::chrono::duration_cast<std::chrono::milliseconds>(lookEvery))) {
            --remaining;
            continue;
        }
        auto [released, replacements] = releaseStalledFolders();
        remaining -= released;
        for (int i = 0; i < replacements; ++i) {
            if (!startWorker()) {
                shortOfThreads = true;
                break;
            }
            ++remaining;
        }
    }
    // What no thread was left to walk, this one walks, without a watchdog to
    // stand in for a folder that never answers.
    if (shortOfThreads) {
        Worker worker(tree_->arena(), readBufferSize());
        workerLoop(worker);
    }

    ScanResult result;
    result.root = FileTree::share(tree_, rootNode_);
    std::lock_guard guard(statsLock_);
    result.directories = directoryCount_;
    result.files = fileCount_;
    result.bytes = rootNode_->totalBytes();
    result.hardLinkBytesSkipped = hardLinkBytesSkipped_;
    result.hardLinksSkipped = hardLinksSkipped_;
    result.unreadableDirectories = unreadableDirectories_;
    result.cloudOnlyDirectories = cloudOnlyDirectories_;
    result.stalledPaths = stalledPaths_;
    result.duration = uptime() - start;
    return result;
}

std::size_t ScanRun::readBufferSize() const {
    return static_cast<std::size_t>(std::max<std::int64_t>(options_.bufferSize, 4096));
}

bool ScanRun::startWorker() {
    std::shared_ptr<ScanRun> self = shared_from_this();
    try {
        startDetachedThread(workerNamePrefix, nextWorkerNumber_++, workerStackBytes, [self, bufferSize = readBufferSize()] {
            Worker worker(self->tree_->arena(), bufferSize);
            if (self->workerLoop(worker)) self->finished_.release();
        });
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

bool ScanRun::workerLoop(Worker& worker) {
    Ticket& ticket = *worker.ticket;
    while (std::optional<PendingDirectory> job = takeWork()) {
        {
            std::lock_guard guard(ticketLock_);
            ticket.path = &job->path;
            ticket.node = job->node;
            ticket.device = job->device;
            ticket.throughReader = false;
            ticket.lastActivity = uptime();
            reading_.push_back(worker.ticket);
        }
        bool stillOurs = scanDirectory(*job, ticket, worker);
        {
            std::lock_guard guard(ticketLock_);
            // Replaced while reading: the watchdog has already stood in for this folder.
            if (!stillOurs || ticket.released) return false;
            std::erase(reading_, worker.ticket);
        }
        DirectoryOutcome& outcome = worker.outcome;
        commit(outcome, job->node, worker.cursor);
        {
            std::lock_guard guard(workLock_);
            pending_.insert(pending_.end(), std::make_move_iterator(outcome.subdirectories.begin()),
                            std::make_move_iterator(outcome.subdirectories.end()));
            --activeWorkers_;
        }
        workChanged_.notify_all();
    }
    return true;
}

std::optional<ScanRun::PendingDirectory> ScanRun::takeWork() {
    std::unique_lock guard(workLock_);
    for (;;) {
        if (cancelledNow()) pending_.clear();
        if (!pending_.empty()) {
            PendingDirectory job = std::move(pending_.back());
            pending_.pop_back();
            ++activeWorkers_;
            return job;
        }
        if (activeWorkers_ == 0) {
            guard.unlock();
            workChanged_.notify_all();
            return std::nullopt;
        }
        workChanged_.wait(guard);
    }
}

bool ScanRun::scanDirectory(PendingDirectory& job, Ticket& ticket, Worker& worker) {
    DirectoryOutcome& outcome = worker.outcome;
    outcome.subdirectories.clear();
    outcome.childNodes.clear();
    outcome.ownBytes = outcome.files = outcome.aggregatedBytes = outcome.aggregatedFiles = 0;
    outcome.hardLinksSkipped = outcome.hardLinkBytesSkipped = 0;
    outcome.unreadable = outcome.onlyInTheCloud = false;
    outcome.reading = FolderReading::complete;
    if (options_.beforeReading) options_.beforeReading(job.path);
    if (readsThroughReader(job, worker)) return scanThroughReader(job, ticket, worker);

    std::optional<DirectoryReader> reader;
    try {
        const int parentFd = job.parent ? job.parent->fd : -1;
        reader.emplace(job.path, std::span(worker.buffer.get(), worker.bufferSize),
                       options_.retainFileNames, parentFd, job.node->nameCString());
    } catch (const DirectoryReaderError& error) {
        if (std::optional<PendingDirectory> trash = ownTrashFolder(job, worker.cursor)) {
            outcome.childNodes.push_back(trash->node);
            outcome.subdirectories.push_back(std::move(*trash));
            return true;
        }
        (error.code() == cloudOnlyCode ? outcome.onlyInTheCloud : outcome.unreadable) = true;
        outcome.reading = FolderReading::unreadable;
        return true;
    }
    // Once this folder is open its parent's descriptor is no longer needed by it.
    job.parent.reset();
    if (!mountStandIns_.empty())
        if (const auto standIns = mountStandIns_.find(job.path); standIns != mountStandIns_.end())
            reader->setMountStandIns(standIns->second);

    const std::size_t prefixLength = job.path == "/" ? 1 : job.path.size() + 1;
    auto consumeEntry = [&](const RawEntry& entry) { consume(entry, job, reader->fd(), prefixLength, worker); };
    for (;;) {
        int count = 0;
        try {
            count = reader->readBatch(EntrySink(consumeEntry));
        } catch (const DirectoryReaderError& error) {
            (error.code() == cloudOnlyCode ? outcome.onlyInTheCloud : outcome.unreadable) = true;
            outcome.reading = FolderReading::partial;
            break;
        }
        {
            std::lock_guard guard(ticketLock_);
            if (ticket.released) return false;
            ticket.lastActivity = uptime();
        }
        if (count == 0) break;
    }

    // Subfolders open relative to this folder, which stays open until the last of them has.
    if (!outcome.subdirectories.empty()) {
        auto handle = std::make_shared<DirectoryHandle>(reader->releaseDescriptor());
        for (PendingDirectory& subdirectory : outcome.subdirectories) subdirectory.parent = handle;
    }
    return true;
}

bool ScanRun::readsThroughReader(const PendingDirectory& job, Worker& worker) {
    if (!job.mayHang && !(HangingMounts::anyStalled() && HangingMounts::mayHang(job.device))) return false;
    if (!worker.reader || worker.reader->abandoned()) worker.reader = ReaderHelper::start();
    // Without a reader process there is only this one to read with.
    return worker.reader != nullptr;
}

bool ScanRun::scanThroughReader(PendingDirectory& job, Ticket& ticket, Worker& worker) {
    DirectoryOutcome& outcome = worker.outcome;
    {
        std::lock_guard guard(ticketLock_);
        ticket.throughReader = true;
    }
    // Its subfolders are opened by their paths: the reader's descriptors are its own.
    job.parent.reset();
    const std::size_t prefixLength = job.path == "/" ? 1 : job.path.size() + 1;
    auto consumeEntry = [&](const RawEntry& entry) { consume(entry, job, -1, prefixLength, worker); };
    auto keepWaiting = [&](double) {
        std::lock_guard guard(ticketLock_);
        return !ticket.released;
    };
    for (;;) {
        std::optional<int> count;
        try {
            count = worker.reader->readBatch(job.path, options_.retainFileNames, EntrySink(consumeEntry), keepWaiting);
        } catch (const DirectoryReaderError& error) {
            (error.code() == cloudOnlyCode ? outcome.onlyInTheCloud : outcome.unreadable) = true;
            const bool nothingRead = error.kind() == DirectoryReaderError::Kind::open;
            outcome.reading = nothingRead ? FolderReading::unreadable : FolderReading::partial;
            return true;
        }
        // Released while waiting: the reader has been let go, and the watchdog stands in for the folder.
        if (!count) return false;
        {
            std::lock_guard guard(ticketLock_);
            if (ticket.released) {
                worker.reader->abandon();
                return false;
            }
            ticket.lastActivity = uptime();
        }
        if (*count == 0) return true;
    }
}

void ScanRun::consume(const RawEntry& entry, const PendingDirectory& folder, int folderFd, std::size_t prefixLength,
                      Worker& worker) {
    DirectoryOutcome& outcome = worker.outcome;
    FileNode* parent = folder.node;
    if (entry.objectType == ObjectType::directory) {
        if (options_.skippedNames.contains(entry.name)) return;
        if (folder.isTop && !options_.entersVolumeTrash && ScanOptions::isTopTrashName(entry.name)) return;
        // The folder's path, a "/" unless the folder is the root, and the name.
        std::string path;
        path.reserve(prefixLength + entry.name.size());
        path.append(folder.path, 0, prefixLength - 1).push_back('/');
        path += entry.name;
        if (options_.skippedPaths.contains(path)) return;
        const bool otherDevice = entry.deviceID != folder.device;
        if (otherDevice && !options_.crossDeviceBoundaries && !entersSubvolume(entry, folderFd)) return;
        // Whether a folder may hang changes only where the file system does.
        const bool mayHang = otherDevice ? HangingMounts::mayHang(entry.deviceID) : folder.mayHang;
        FileNode* node = FileNode::create(worker.cursor, entry.name, true, parent);
        outcome.childNodes.push_back(node);
        outcome.subdirectories.push_back(
            {std::move(path), node, nullptr, entry.deviceID, otherDevice || entry.mountRoot, mayHang});
        return;
    }

    std::int64_t size = entry.allocatedBytes;
    bool furtherName = false;
    if (entry.linkCount >= 2) {
        bool firstLink = false;
        {
            std::lock_guard guard(linkLock_);
            firstLink = seenLinkedFiles_.insert({entry.deviceID, entry.fileID}).second;
        }
        if (!firstLink) {
            ++outcome.hardLinksSkipped;
            outcome.hardLinkBytesSkipped = checkedAdd(outcome.hardLinkBytesSkipped, size);
            size = 0;
            furtherName = true;
        }
    }
    ++outcome.files;
    outcome.ownBytes = checkedAdd(outcome.ownBytes, size);
    // A further name of a file big enough to be listed is listed too, at 0
    // bytes: its bytes count once, under the name met first, and every name
    // can still be found (the duplicate finder shows them all).
    const std::int64_t listedSize = furtherName ? entry.allocatedBytes : size;
    if (options_.fileNodeThreshold < 0 || listedSize < options_.fileNodeThreshold) {
        outcome.aggregatedBytes = checkedAdd(outcome.aggregatedBytes, size);
        ++outcome.aggregatedFiles;
        return;
    }
    FileNode* node = FileNode::create(worker.cursor, entry.name, false, parent);
    node->setTotalBytes(size);
    if (furtherName) node->markAsFurtherName();
    outcome.childNodes.push_back(node);
}

bool ScanRun::entersSubvolume(const RawEntry& entry, int folderFd) {
    // Off btrfs, another device is another file system. On it, a subvolume is
    // entered at its top, once: a second mount of it, or a mount of one of its
    // folders, shows what is counted already (or will be, where the walk
    // meets its top).
    if (!root_.btrfs || entry.fileID != Subvolumes::topInode || folderFd < 0) return false;
    {
        std::lock_guard guard(subvolumeLock_);
        if (enteredSubvolumes_.contains(entry.deviceID)) return false;
    }
    if (Subvolumes::btrfsIdentity(folderFd, std::string(entry.name).c_str()) != root_.btrfs) return false;
    std::lock_guard guard(subvolumeLock_);
    return enteredSubvolumes_.insert(entry.deviceID).second;
}

std::optional<ScanRun::PendingDirectory> ScanRun::ownTrashFolder(const PendingDirectory& job, ArenaCursor& cursor) {
    // A volume's trash can't be listed by a user, but the user's own part of it can.
    if (Paths::lastComponent(job.path) != volumeTrashName) return std::nullopt;
    const std::string uid = std::to_string(getuid());
    std::string own = Paths::join(job.path, uid);
    struct stat info {};
    if (lstat(own.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return std::nullopt;
    const auto device = static_cast<std::uint64_t>(info.st_dev);
    if (!options_.crossDeviceBoundaries && device != job.device) return std::nullopt;
    return PendingDirectory{std::move(own), FileNode::create(cursor, uid, true, job.node), nullptr, device, false,
                            job.mayHang};
}

void ScanRun::commit(const DirectoryOutcome& outcome, FileNode* node, ArenaCursor& cursor) {
    {
        std::lock_guard guard(treeLock_);
        node->setChildren(cursor, outcome.childNodes);
        node->setAggregatedFiles(outcome.aggregatedBytes, outcome.aggregatedFiles);
        node->setReading(outcome.reading);
        node->addTotalBytes(outcome.ownBytes);
        node->setPendingChildren(static_cast<std::int64_t>(outcome.subdirectories.size()));
        if (outcome.subdirectories.empty()) {
            for (FileNode* current = node; current->parent() != nullptr;) {
                FileNode* parent = current->parent();
                parent->addTotalBytes(current->totalBytes());
                parent->setPendingChildren(parent->pendingChildren() - 1);
                if (parent->pendingChildren() > 0) break;
                current = parent;
            }
        }
    }
    mergeStatistics(outcome);
}

void ScanRun::mergeStatistics(const DirectoryOutcome& outcome) {
    std::optional<ScanProgress> report;
    {
        std::lock_guard guard(statsLock_);
        ++directoryCount_;
        fileCount_ += outcome.files;
        byteCount_ = checkedAdd(byteCount_, outcome.ownBytes);
        hardLinksSkipped_ += outcome.hardLinksSkipped;
        hardLinkBytesSkipped_ = checkedAdd(hardLinkBytesSkipped_, outcome.hardLinkBytesSkipped);
        if (outcome.unreadable) ++unreadableDirectories_;
        if (outcome.onlyInTheCloud) ++cloudOnlyDirectories_;
        if (progress_) {
            const double now = wallClock();
            if (now - lastProgressReport_ >= options_.progressInterval) {
                lastProgressReport_ = now;
                report = ScanProgress{directoryCount_, fileCount_, byteCount_};
            }
        }
    }
    if (report) progress_(*report);
}

std::pair<int, int> ScanRun::releaseStalledFolders() {
    const double now = uptime();
    const bool cancelled = cancelledNow();
    struct Released {
        std::string path;
        FileNode* node;
        std::uint64_t device;
        bool throughReader;
    };
    std::vector<Released> collected;
    {
        std::lock_guard guard(ticketLock_);
        std::erase_if(reading_, [&](const std::shared_ptr<Ticket>& ticket) {
            if (!cancelled && now - ticket->lastActivity < options_.stallTimeout) return false;
            ticket->released = true;
            // Copied now: once released, the stuck worker may drop its job at any moment.
            collected.push_back({*ticket->path, ticket->node, ticket->device, ticket->throughReader});
            return true;
        });
    }
    for (const Released& released : collected) {
        if (!cancelled) {
            // A thread of this process is stuck there: what that disk holds goes to readers from now on.
            if (!released.throughReader) HangingMounts::noteStalled(released.device);
            std::lock_guard guard(statsLock_);
            stalledPaths_.push_back(released.path);
        }
        DirectoryOutcome standIn;
        if (!cancelled) standIn.reading = FolderReading::stalled;
        commit(standIn, released.node, watchdogCursor_);
        {
            std::lock_guard guard(workLock_);
            --activeWorkers_;
        }
        workChanged_.notify_all();
    }
    const int released = static_cast<int>(collected.size());
    return {released, cancelled ? 0 : released};
}

} // namespace tessel
