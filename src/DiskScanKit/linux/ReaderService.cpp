// The reader process: one question at a time from the socket on its standard
// input, each answered with the same code the engine runs in its own
// process (the directory reader, the duplicate finder's measuring and
// digests), so that a folder or file reads alike on either side.
//
// A folder's entries go back one batch per frame, as soon as the batch is
// read: the engine hears from its reader as often as the reader hears from
// the file system, and its watchdog measures silence, not total time. A whole
// file's digest sends a frame of progress after every piece for the same reason.
//
// The process keeps no state between questions. When the engine gives up on
// it (the file system stopped answering, or the user cancelled), it is killed
// and its socket closed; if the kernel never lets it go, nothing waits for it.

#include "DiskScanKit/ReaderService.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "../ContentDigest.h"
#include "../ReaderProtocol.h"
#include "DiskScanKit/AnchoredPath.h"
#include "DiskScanKit/DirectoryReader.h"

namespace tessel::ReaderService {

namespace {

using namespace ReaderProtocol;

// Folders are read with the buffer a scan's worker uses.
constexpr std::size_t listBufferBytes = 131072;
// Whole files are read in the pieces the duplicate finder uses.
constexpr std::size_t pieceBytes = 1048576;

bool receiveAll(int socket, char* into, std::size_t count) {
    std::size_t got = 0;
    while (got < count) {
        const ssize_t read = ::recv(socket, into + got, count - got, 0);
        if (read < 0 && errno == EINTR) continue;
        if (read <= 0) return false;
        got += static_cast<std::size_t>(read);
    }
    return true;
}

bool list(int socket, const std::string& path, bool retainNames, std::vector<std::byte>& buffer) {
    try {
        DirectoryReader reader(path, std::span(buffer), retainNames);
        for (;;) {
            FrameWriter frame(Answer::entries);
            const std::size_t countAt = frame.mark();
            frame.u32(0);
            std::uint32_t sent = 0;
            auto add = [&](const RawEntry& entry) {
                frame.text(entry.name).u32(entry.objectType).u64(entry.fileID).u64(entry.deviceID)
                    .i64(entry.allocatedBytes).u32(entry.linkCount).u8(entry.mountRoot ? 1 : 0);
                ++sent;
            };
            const int records = reader.readBatch(EntrySink(add));
            if (records == 0) return sendAll(socket, FrameWriter(Answer::end).finished());
            frame.patchU32(countAt, sent);
            // The records the batch held, entries or not, so that the engine counts batches as the reader does.
            frame.u32(static_cast<std::uint32_t>(records));
            if (!sendAll(socket, frame.finished())) return false;
        }
    } catch (const DirectoryReaderError& error) {
        return sendAll(socket, FrameWriter(Answer::failed)
                                   .u8(error.kind() == DirectoryReaderError::Kind::open ? 0 : 1)
                                   .u32(static_cast<std::uint32_t>(error.code()))
                                   .finished());
    }
}

bool status(int socket, const std::string& path) {
    struct statx info {};
    FrameWriter frame(Answer::status);
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE | STATX_INO, &info) != 0)
        return sendAll(socket, frame.u32(static_cast<std::uint32_t>(errno)).finished());
    return sendAll(socket, frame.u32(0)
                               .u32(info.stx_mode)
                               .u32(info.stx_dev_major)
                               .u32(info.stx_dev_minor)
                               .u8((info.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0 ? 1 : 0)
                               .finished());
}

bool measure(int socket, const std::string& path) {
    const MeasuredPath measured = MeasuredPath::of(path);
    return sendAll(socket, FrameWriter(Answer::measured)
                               .u8(static_cast<std::uint8_t>(measured.kind))
                               .identity(measured.identity)
                               .i64(measured.allocated)
                               .u32(static_cast<std::uint32_t>(measured.linkCount))
                               .finished());
}

bool digestFrame(int socket, ContentDigest::Sample::Kind kind, const Sha256::Digest& digest) {
    FrameWriter frame(Answer::digest);
    frame.u8(static_cast<std::uint8_t>(kind));
    for (std::uint8_t byte : digest) frame.u8(byte);
    return sendAll(socket, frame.finished());
}

bool hash(int socket, const std::string& path, const FileIdentity& identity, std::vector<std::byte>& buffer) {
    using Kind = ContentDigest::Sample::Kind;
    std::optional<OpenFile> file = OpenFile::bypassCache(path, identity, OpenFile::Pattern::sequential);
    if (!file) return digestFrame(socket, Kind::failed, {});
    Sha256 hasher;
    bool talking = true;
    const ContentDigest::WholeRead read = ContentDigest::readWhole(*file, hasher, std::span(buffer), [&](std::size_t piece) {
        talking = sendAll(socket, FrameWriter(Answer::progress).u64(piece).finished());
        return talking;
    });
    if (!talking) return false;
    if (read != ContentDigest::WholeRead::done || !file->unchanged()) return digestFrame(socket, Kind::failed, {});
    return digestFrame(socket, Kind::whole, hasher.finish());
}

} // namespace

int serve(int socket) {
    std::vector<std::byte> listBuffer(listBufferBytes);
    std::vector<std::byte> pieceBuffer;
    std::string body;
    for (;;) {
        char head[4];
        // The engine closed its side: nothing more to do.
        if (!receiveAll(socket, head, sizeof head)) return 0;
        std::uint32_t length = 0;
        for (int i = 0; i < 4; ++i) length |= std::uint32_t{static_cast<unsigned char>(head[i])} << (8 * i);
        if (length == 0 || length > largestFrame) return 1;
        body.resize(length);
        if (!receiveAll(socket, body.data(), length)) return 1;
        FrameReader fields(std::string_view(body).substr(1));
        bool answered = false;
        switch (static_cast<Ask>(body[0])) {
        case Ask::list: {
            const std::string path(fields.text());
            const bool retainNames = fields.u8() != 0;
            answered = fields.ok() && list(socket, path, retainNames, listBuffer);
            break;
        }
        case Ask::status: {
            const std::string path(fields.text());
            answered = fields.ok() && status(socket, path);
            break;
        }
        case Ask::measure: {
            const std::string path(fields.text());
            answered = fields.ok() && measure(socket, path);
            break;
        }
        case Ask::sample: {
            const std::string path(fields.text());
            const FileIdentity identity = fields.identity();
            const std::uint32_t sampleBytes = fields.u32();
            if (!fields.ok() || sampleBytes == 0) break;
            if (pieceBuffer.size() < std::max<std::size_t>(sampleBytes, pieceBytes)) pieceBuffer.resize(std::max<std::size_t>(sampleBytes, pieceBytes));
            const ContentDigest::Sample sampled = ContentDigest::sample(path, identity, sampleBytes, std::span(pieceBuffer));
            answered = digestFrame(socket, sampled.kind, sampled.digest);
            break;
        }
        case Ask::hash: {
            const std::string path(fields.text());
            const FileIdentity identity = fields.identity();
            if (!fields.ok()) break;
            if (pieceBuffer.size() < pieceBytes) pieceBuffer.resize(pieceBytes);
            answered = hash(socket, path, identity, pieceBuffer);
            break;
        }
        }
        if (!answered) return 1;
    }
}

} // namespace tessel::ReaderService
