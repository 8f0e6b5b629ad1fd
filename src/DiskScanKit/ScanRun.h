#pragma once
// One run of the disk scanner; see ScanRun.cpp for how it works.

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <semaphore>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "DiskScanKit/DirectoryReader.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/ReaderHelper.h"
#include "DiskScanKit/ScanOptions.h"
#include "DiskScanKit/ScanRecords.h"
#include "Subvolumes.h"

namespace tessel {

// What a run knows of its root before it starts.
struct ScanRoot {
    std::uint64_t device = 0;
    // The top of a mount or of a subvolume, where a disk keeps its Trash.
    bool isTop = false;
    // The root's btrfs, whose other subvolumes the run enters; none elsewhere.
    std::optional<Subvolumes::FileSystemID> btrfs;
    // On a file system that may stop answering: read by reader processes.
    bool mayHang = false;
    // It did not answer when first asked: it stands as stalled, unread.
    bool stalled = false;
};

class ScanRun : public std::enable_shared_from_this<ScanRun> {
public:
    using Progress = std::function<void(const ScanProgress&)>;
    using IsCancelled = std::function<bool()>;

    ScanRun(std::string rootPath, ScanRoot root, ScanOptions options, Progress progress, IsCancelled isCancelled);
    ScanRun(const ScanRun&) = delete;
    ScanRun& operator=(const ScanRun&) = delete;

    // Walks the tree on the run's own threads and blocks until it is done.
    ScanResult execute();

    static constexpr std::size_t workerStackBytes = 524288;
    static constexpr const char* workerNamePrefix = "DiskScanner.worker.";

private:
    // An open folder whose subfolders are still to be opened relative to it.
    struct DirectoryHandle {
        int fd;
        explicit DirectoryHandle(int descriptor) : fd(descriptor) {}
        ~DirectoryHandle();
        DirectoryHandle(const DirectoryHandle&) = delete;
        DirectoryHandle& operator=(const DirectoryHandle&) = delete;
    };

    struct PendingDirectory {
        std::string path;
        FileNode* node = nullptr;
        std::shared_ptr<DirectoryHandle> parent;
        std::uint64_t device = 0;
        bool isTop = false;
        // Read by a reader process (see HangingMounts.h).
        bool mayHang = false;
    };

    struct Ticket {
        // The job's path, which lives as long as the worker is on the job.
        const std::string* path = nullptr;
        FileNode* node = nullptr;
        std::uint64_t device = 0;
        // Read by a reader process, which is left behind if it stalls, not by this one.
        bool throughReader = false;
        double lastActivity = 0;
        bool released = false;
    };

    struct DirectoryOutcome {
        std::vector<PendingDirectory> subdirectories;
        std::vector<FileNode*> childNodes;
        std::int64_t ownBytes = 0;
        std::int64_t files = 0;
        std::int64_t aggregatedBytes = 0;
        std::int64_t aggregatedFiles = 0;
        std::int64_t hardLinksSkipped = 0;
        std::int64_t hardLinkBytesSkipped = 0;
        bool unreadable = false;
        bool onlyInTheCloud = false;
        FolderReading reading = FolderReading::complete;
    };

    // What each thread keeps to itself and reuses from folder to folder: its
    // place in the arena, its read buffer, its outcome's arrays and its ticket.
    struct Worker {
        explicit Worker(Arena& arena, std::size_t bufferSize);
        ArenaCursor cursor;
        std::unique_ptr<std::byte[]> buffer;
        std::size_t bufferSize;
        DirectoryOutcome outcome;
        std::shared_ptr<Ticket> ticket = std::make_shared<Ticket>();
        // Started when the worker first meets a folder that may hang.
        std::unique_ptr<ReaderHelper> reader;
    };

    struct LinkedFile {
        std::uint64_t device;
        std::uint64_t fileID;
        bool operator==(const LinkedFile&) const = default;
    };
    struct LinkedFileHash {
        std::size_t operator()(const LinkedFile& file) const {
            return std::hash<std::uint64_t>{}(file.fileID * 0x9e3779b97f4a7c15ULL ^ file.device);
        }
    };

    // False when the system would not give another thread.
    bool startWorker();
    std::size_t readBufferSize() const;
    bool workerLoop(Worker& worker);
    std::optional<PendingDirectory> takeWork();
    // Fills `worker.outcome`; returns false when the ticket was released meanwhile.
    bool scanDirectory(PendingDirectory& job, Ticket& ticket, Worker& worker);
    // The same, for a folder that may hang, read by the worker's reader process.
    bool scanThroughReader(PendingDirectory& job, Ticket& ticket, Worker& worker);
    // Whether `job` is read by a reader process: when it may hang, and one can be had.
    bool readsThroughReader(const PendingDirectory& job, Worker& worker);
    void consume(const RawEntry& entry, const PendingDirectory& folder, int folderFd, std::size_t prefixLength,
                 Worker& worker);
    // The folder `entry` of another device is a subvolume of the root's btrfs,
    // met at its top and not entered yet: it is entered from here.
    bool entersSubvolume(const RawEntry& entry, int folderFd);
    std::optional<PendingDirectory> ownTrashFolder(const PendingDirectory& job, ArenaCursor& cursor);
    void commit(const DirectoryOutcome& outcome, FileNode* node, ArenaCursor& cursor);
    void mergeStatistics(const DirectoryOutcome& outcome);
    std::pair<int, int> releaseStalledFolders();
    bool cancelledNow() const { return isCancelled_ && isCancelled_(); }

    const std::string rootPath_;
    const ScanRoot root_;
    const ScanOptions options_;
    const Progress progress_;
    const IsCancelled isCancelled_;
    const std::shared_ptr<FileTree> tree_;
    FileNode* rootNode_;

    std::mutex workLock_;
    std::condition_variable workChanged_;
    std::vector<PendingDirectory> pending_;
    int activeWorkers_ = 0;

    std::mutex treeLock_;

    std::mutex linkLock_;
    std::unordered_set<LinkedFile, LinkedFileHash> seenLinkedFiles_;

    // Taken only where the device changes: the subvolumes entered, the root's first.
    std::mutex subvolumeLock_;
    std::unordered_set<std::uint64_t> enteredSubvolumes_;

    std::mutex statsLock_;
    std::int64_t directoryCount_ = 0;
    std::int64_t fileCount_ = 0;
    std::int64_t byteCount_ = 0;
    std::int64_t hardLinksSkipped_ = 0;
    std::int64_t hardLinkBytesSkipped_ = 0;
    std::int64_t unreadableDirectories_ = 0;
    std::int64_t cloudOnlyDirectories_ = 0;
    std::vector<std::string> stalledPaths_;
    double lastProgressReport_ = 0;

    // The mount points of file systems that may hang, by the folder that holds
    // them: listed there as the mount table has them, never examined here.
    std::unordered_map<std::string, std::vector<MountStandIn>> mountStandIns_;

    std::mutex ticketLock_;
    // The reads in flight, one per worker at most: a short array beats a hash table.
    std::vector<std::shared_ptr<Ticket>> reading_;

    // Written only by the thread that runs execute().
    std::counting_semaphore<> finished_{0};
    int nextWorkerNumber_ = 0;
    ArenaCursor watchdogCursor_;
};

} // namespace tessel
