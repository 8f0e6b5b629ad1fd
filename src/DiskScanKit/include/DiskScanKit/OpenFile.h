#pragma once
// Measuring a path and opening the file for comparing its contents: the
// platform's part of the duplicate finder. An open file makes two promises:
//  - It is the file that was measured: same device, inode, size, and times of
//    change of contents and of status, and a regular file. One that was
//    changed or swapped since is refused, so it is skipped rather than
//    compared; and after reading, `unchanged()` tells whether it changed while
//    it was read.
//  - Reading it leaves the page cache as it found it: pages other programs had
//    cached stay cached, and pages brought in only for this read are let go.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tessel {

// Who a file was when it was measured.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t modifiedNanoseconds = 0;
    // Any write moves the status change time, even one that puts the
    // modification time back afterwards.
    std::int64_t changedSeconds = 0;
    std::int64_t changedNanoseconds = 0;
    bool operator==(const FileIdentity&) const = default;

    // The identity of what `path` names now, without following a final link;
    // nothing when it can't be examined or is not a regular file.
    static std::optional<FileIdentity> ofPath(const std::string& path);
};

// A path as the duplicate finder's sizing sees it, without following a final link.
struct MeasuredPath {
    enum class Kind {
        regularFile,
        notAFile, // a folder, a link, a device, a FIFO, a socket
        inTheCloud, // a placeholder whose contents would have to be downloaded
        unreadable, // gone, or not ours to look at
    };
    Kind kind = Kind::unreadable;
    FileIdentity identity;
    std::int64_t allocated = 0;
    int linkCount = 1;

    static MeasuredPath of(const std::string& path);
};

class OpenFile {
public:
    // How the file is about to be read, so the kernel reads ahead just enough:
    // a few ranges here and there, or the whole file front to back.
    enum class Pattern { ranges, sequential };

    // The file, if it is still the one measured. `failure`, when given, gets a
    // sentence naming the call and the path: "open(/x): Permission denied".
    static std::optional<OpenFile> bypassCache(const std::string& path, const FileIdentity& expected,
                                               Pattern pattern, std::string* failure = nullptr);

    OpenFile(OpenFile&& other) noexcept;
    OpenFile& operator=(OpenFile&& other) noexcept;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    // Lets go of what this read brought into the cache and is still there.
    ~OpenFile();

    // Exactly `count` bytes at `offset` into the front of `buffer`; false on an
    // error or a short read (the file shrank), with `failure()` saying which.
    bool read(std::size_t count, std::int64_t offset, std::span<std::byte> buffer);
    // The next piece of the file, up to the buffer's size, in order from the
    // start: its length, 0 at the end, or nothing on an error.
    std::optional<std::size_t> readNext(std::span<std::byte> buffer);
    // Fills the buffer with the next bytes, short only at the end of the file.
    std::optional<std::size_t> readFull(std::span<std::byte> buffer);
    // Whether the file is still as it was measured; false, with `failure()`
    // saying so, when it was written to or its status changed meanwhile.
    bool unchanged();
    // Of the file's pieces of `pieceBytes` (whole pages), counted from its
    // start, how many hold a page that is not in the page cache: the reads
    // that must go to the disk when the file is read a piece at a time. 0 for
    // a file wholly cached; nothing when the kernel won't say.
    std::optional<std::int64_t> piecesNotCached(std::size_t pieceBytes);
    // Asks the kernel to start reading the pages that are not cached, all of
    // them now, so that the disk reads them together; they are let go again
    // as the reading passes them, like any other. False when the kernel
    // won't say what is cached.
    bool fetchMissing();

    // Whether reading two places of `device` in turn costs a seek each time:
    // true unless the device says that it doesn't rotate. A file system with
    // no block device of its own (a network one, a device-mapper stack the
    // kernel doesn't describe) counts as seeking.
    static bool deviceSeeks(std::uint64_t device);

    const std::string& path() const { return path_; }
    std::int64_t size() const { return size_; }
    const std::string& failure() const { return failure_; }

private:
    // Pages, counted from the start of the file, as [first, end).
    struct PageRun {
        std::uint64_t first = 0;
        std::uint64_t end = 0;
    };

    OpenFile(int fd, std::string path, const FileIdentity& identity, bool residencyVisible);
    void close();
    std::uint64_t filePages() const;
    // The pages of [firstPage, endPage) in the cache now, as runs; nothing
    // when the kernel won't tell.
    std::optional<std::vector<PageRun>> residentPages(std::uint64_t firstPage, std::uint64_t endPage) const;
    // Before the first sequential read: notes which pages are cached.
    void noteResidency();
    // The runs of pages that were not cached when residency was noted.
    std::vector<PageRun> missingRuns() const;
    // Whether [firstPage, endPage) has more pages cached now than before the first read.
    bool holdsMoreThanBefore(std::uint64_t firstPage, std::uint64_t endPage) const;
    // Drops the pages of [firstPage, endPage) that `resident` doesn't hold.
    void dropNotResident(std::uint64_t firstPage, std::uint64_t endPage, const std::vector<PageRun>& resident);

    int fd_;
    std::string path_;
    FileIdentity identity_;
    std::int64_t size_;
    // False when the kernel can't tell us what was cached (the file isn't
    // ours): then nothing is dropped, since it may be others' pages.
    bool residencyVisible_;
    // Sequential reading: where the next read starts, the pages resident
    // before the first read, and the page below which all has been let go.
    std::int64_t position_ = 0;
    std::optional<std::vector<PageRun>> residentBefore_;
    std::uint64_t releasedBelow_ = 0;
    std::string failure_;
};

} // namespace tessel
