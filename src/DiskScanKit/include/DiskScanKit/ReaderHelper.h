#pragma once
// A reader process, from the engine's side: reads a folder or a file on a file
// system that may stop answering, and can be left behind when it does. See
// linux/ReaderHelper.cpp.

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "DiskScanKit/DirectoryReader.h"
#include "DiskScanKit/OpenFile.h"
#include "DiskScanKit/Sha256.h"

namespace tessel {

class ReaderHelper {
public:
    // Asked while an answer is awaited, with the seconds since the reader was
    // last heard from (or asked); false gives up on it.
    using KeepWaiting = std::function<bool(double secondsSilent)>;

    // What `status` says of a path, without following a final link.
    struct Status {
        int code = 0; // errno; 0 when the rest holds
        std::uint32_t mode = 0;
        std::uint64_t device = 0;
        bool mountRoot = false;
    };
    // A digest, as the duplicate finder's sampling and hashing give it.
    struct Digest {
        enum class Kind { pending, sample, whole, failed };
        Kind kind = Kind::pending;
        Sha256::Digest digest{};
    };

    // A reader process, started from the program "tessel-reader" beside this
    // process's own, or installed among Tessel's helpers (libexec/tessel);
    // none when it can't be found or started.
    static std::unique_ptr<ReaderHelper> start();
    // Where the reader's program is looked for.
    static std::string programPath();

    // Closes the socket, after which the reader ends; it is never waited for.
    ~ReaderHelper();
    ReaderHelper(const ReaderHelper&) = delete;
    ReaderHelper& operator=(const ReaderHelper&) = delete;

    // The next batch of the folder `path` (asked for with the first call),
    // each entry handed to `consume`: the number of records the batch held,
    // 0 at the end. Throws DirectoryReaderError as the directory reader does;
    // a reader that ended without a word throws a read error (EIO). Nothing
    // when `keepWaiting` gave up, after which the reader is abandoned.
    std::optional<int> readBatch(const std::string& path, bool retainNames, EntrySink consume,
                                 const KeepWaiting& keepWaiting);
    std::optional<Status> status(const std::string& path, const KeepWaiting& keepWaiting);
    std::optional<MeasuredPath> measure(const std::string& path, const KeepWaiting& keepWaiting);
    std::optional<Digest> sample(const std::string& path, const FileIdentity& identity, std::size_t sampleBytes,
                                 const KeepWaiting& keepWaiting);
    // `progress` hears of every piece read.
    std::optional<Digest> hash(const std::string& path, const FileIdentity& identity,
                               const std::function<void(std::int64_t bytes)>& progress, const KeepWaiting& keepWaiting);

    // Gives up on the reader: kills it, closes the socket and lets it go,
    // whether or not the kernel lets it end. Every later question gets nothing.
    void abandon();
    bool abandoned() const { return socket_ < 0; }
    pid_t pid() const { return pid_; }

    // Reaps the readers that have ended since they were let go, and returns
    // how many are still alive: those the kernel holds in a read that never
    // came back.
    static std::size_t stillRunning();

private:
    ReaderHelper(pid_t pid, int socket) : pid_(pid), socket_(socket) {}
    // The next frame from the reader into `kind` and `body`; false when the
    // reader was given up on or broke the stream (then it is abandoned).
    bool receive(std::uint8_t& kind, std::string& body, const KeepWaiting& keepWaiting);
    // Sends `frame` and returns the body of the answer, which must be of
    // kind `answer`; nothing (and the reader abandoned) otherwise.
    std::optional<std::string> ask(const std::string& frame, std::uint8_t answer, const KeepWaiting& keepWaiting);

    pid_t pid_;
    int socket_;
    std::string inbox_;
    // A folder is being listed: its batches follow until its end.
    bool listing_ = false;
};

} // namespace tessel
