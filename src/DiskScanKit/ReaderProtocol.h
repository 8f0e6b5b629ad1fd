#pragma once
// What the scan engine and its reader process say to each other over their
// socket. Every message is a frame: a 32-bit length (of what follows), a kind,
// and fields in a fixed order, integers little-endian, strings as a 32-bit
// length and their bytes (names are bytes, never re-encoded).
//
// The engine asks one thing at a time and waits for the answer:
//   list PATH RETAIN        -> entries ... entries, then end or failed
//   status PATH             -> status
//   measure PATH            -> measured
//   sample PATH IDENTITY N  -> digest
//   hash PATH IDENTITY      -> progress ... progress, then digest
// `entries` carries one batch of a folder, as the directory reader gave it;
// `progress` the bytes read since the last one. Each frame that arrives
// tells the engine that the reader is still getting answers from its file system.

#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "DiskScanKit/OpenFile.h"

namespace tessel::ReaderProtocol {

enum class Ask : std::uint8_t { list = 1, status, measure, sample, hash };
enum class Answer : std::uint8_t { entries = 1, end, failed, status, measured, progress, digest };

// Larger frames are refused as a broken stream: a batch of the largest folder
// buffer, every name at its longest, stays well below this.
constexpr std::uint32_t largestFrame = 64u << 20;

class FrameWriter {
public:
    explicit FrameWriter(std::uint8_t kind) : bytes_(4, '\0') { bytes_.push_back(static_cast<char>(kind)); }
    template <class Kind>
    explicit FrameWriter(Kind kind) : FrameWriter(static_cast<std::uint8_t>(kind)) {}

    FrameWriter& u8(std::uint8_t value) { return raw(value, 1); }
    FrameWriter& u32(std::uint32_t value) { return raw(value, 4); }
    FrameWriter& u64(std::uint64_t value) { return raw(value, 8); }
    FrameWriter& i64(std::int64_t value) { return raw(static_cast<std::uint64_t>(value), 8); }
    FrameWriter& text(std::string_view value) {
        u32(static_cast<std::uint32_t>(value.size()));
        bytes_.append(value);
        return *this;
    }
    FrameWriter& identity(const FileIdentity& id) {
        return u64(id.device).u64(id.inode).i64(id.size).i64(id.modifiedSeconds).i64(id.modifiedNanoseconds)
            .i64(id.changedSeconds).i64(id.changedNanoseconds);
    }
    // Where the next frame's count of records goes back in, once known.
    std::size_t mark() const { return bytes_.size(); }
    void patchU32(std::size_t at, std::uint32_t value) {
        for (int i = 0; i < 4; ++i) bytes_[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> (8 * i));
    }
    // The frame with its length in front.
    const std::string& finished() {
        patchU32(0, static_cast<std::uint32_t>(bytes_.size() - 4));
        return bytes_;
    }
    std::size_t size() const { return bytes_.size(); }

private:
    FrameWriter& raw(std::uint64_t value, int width) {
        for (int i = 0; i < width; ++i) bytes_.push_back(static_cast<char>(value >> (8 * i)));
        return *this;
    }
    std::string bytes_;
};

// Reads the fields of one frame's body in order; a frame too short for what
// is asked of it leaves `ok()` false and yields zeros.
class FrameReader {
public:
    explicit FrameReader(std::string_view body) : rest_(body) {}
    std::uint8_t u8() { return static_cast<std::uint8_t>(raw(1)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(raw(4)); }
    std::uint64_t u64() { return raw(8); }
    std::int64_t i64() { return static_cast<std::int64_t>(raw(8)); }
    std::string_view text() {
        const std::uint32_t length = u32();
        if (!ok_ || rest_.size() < length) return fail();
        std::string_view value = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return value;
    }
    FileIdentity identity() {
        FileIdentity id;
        id.device = u64();
        id.inode = u64();
        id.size = i64();
        id.modifiedSeconds = i64();
        id.modifiedNanoseconds = i64();
        id.changedSeconds = i64();
        id.changedNanoseconds = i64();
        return id;
    }
    bool ok() const { return ok_; }

private:
    std::uint64_t raw(int width) {
        if (!ok_ || rest_.size() < static_cast<std::size_t>(width)) {
            fail();
            return 0;
        }
        std::uint64_t value = 0;
        for (int i = 0; i < width; ++i) value |= std::uint64_t{static_cast<unsigned char>(rest_[static_cast<std::size_t>(i)])} << (8 * i);
        rest_.remove_prefix(static_cast<std::size_t>(width));
        return value;
    }
    std::string_view fail() {
        ok_ = false;
        rest_ = {};
        return {};
    }
    std::string_view rest_;
    bool ok_ = true;
};

// The first whole frame at the front of `inbox`: its kind and body, and how
// many bytes it took; none while it is incomplete. `broken` is set for a
// length past `largestFrame` or an empty frame.
struct Frame {
    std::uint8_t kind = 0;
    std::string_view body;
    std::size_t length = 0;
};
inline std::optional<Frame> frontFrame(std::string_view inbox, bool& broken) {
    if (inbox.size() < 4) return std::nullopt;
    std::uint32_t length = 0;
    for (int i = 0; i < 4; ++i) length |= std::uint32_t{static_cast<unsigned char>(inbox[static_cast<std::size_t>(i)])} << (8 * i);
    if (length == 0 || length > largestFrame) {
        broken = true;
        return std::nullopt;
    }
    if (inbox.size() < 4 + std::size_t{length}) return std::nullopt;
    return Frame{static_cast<std::uint8_t>(inbox[4]), inbox.substr(5, length - 1), 4 + std::size_t{length}};
}

// Writes all of `bytes`; false when the other side is gone (never SIGPIPE).
inline bool sendAll(int socket, std::string_view bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t wrote = ::send(socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) return false;
        sent += static_cast<std::size_t>(wrote);
    }
    return true;
}

} // namespace tessel::ReaderProtocol
