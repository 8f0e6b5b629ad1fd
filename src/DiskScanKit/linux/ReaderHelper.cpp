// Reader processes: where a read that may never return is left to happen.
//
// A thread blocked in the kernel can't be killed, and on Linux it can't even
// be left behind for good: once a request has reached a FUSE daemon (or an
// NFS server on a hard mount), the kernel waits for the answer without
// regard to signals, and a process with such a thread can't finish exiting.
// It stays a zombie, and the shell that started it waits with it, for as
// long as the mount hangs. So folders and files on file systems that can
// hang are read by a small separate program, "tessel-reader", which answers
// over a socket. The engine waits for it in short slices, asking between
// them whether to go on; when the reader has been silent too long, or the
// user has cancelled, the engine kills it and closes the socket without
// waiting. A reader stuck in the kernel ends whenever the kernel lets it go;
// until then nothing of the app or the tool depends on it.
//
// The reader runs in a process group of its own, so Ctrl-C in a terminal
// reaches the tool alone, which decides what to stop. It holds none of the
// tool's descriptors: its standard output and error are /dev/null, so a
// shell pipeline or a test reading the tool's output sees its end when the
// tool ends, not when a stuck reader does.
//
// Readers let go of are remembered and reaped, without waiting, whenever a
// new one starts (and when asked), so a long-running app collects no zombies
// beyond those the kernel still holds.
//
// Example: the scan meets /mnt/share, an NFS mount. A worker starts a reader
// and asks it to list /mnt/share; batches arrive and are taken like its own.
// The server goes away during /mnt/share/photos: nothing arrives for 30
// seconds, the watchdog releases the folder, the worker kills the reader and
// takes the next folder with a new one.

#include "DiskScanKit/ReaderHelper.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <mutex>
#include <vector>

#include "../ReaderProtocol.h"

extern char** environ;

namespace tessel {

namespace {

using namespace ReaderProtocol;

// How often a wait stops to ask whether to go on: the longest a cancelled
// read keeps the engine waiting.
constexpr int waitSliceMilliseconds = 100;
// How many milliseconds a reader let go of while idle is given to end.
constexpr int idleEndTries = 50;

double now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

std::mutex leftLock;
std::vector<pid_t> left;

void letGo(pid_t pid) {
    std::lock_guard guard(leftLock);
    left.push_back(pid);
}

std::size_t reapEnded() {
    std::lock_guard guard(leftLock);
    std::erase_if(left, [](pid_t pid) {
        int status = 0;
        const pid_t ended = waitpid(pid, &status, WNOHANG);
        // Ended and reaped now, or reaped by someone else already.
        return ended == pid || (ended < 0 && errno == ECHILD);
    });
    return left.size();
}

enum class Heard { frame, gaveUp, lost };

} // namespace

std::string ReaderHelper::programPath() {
    static const std::string path = [] {
        std::string self(PATH_MAX, '\0');
        const ssize_t length = readlink("/proc/self/exe", self.data(), self.size());
        if (length <= 0) return std::string();
        self.resize(static_cast<std::size_t>(length));
        const std::string folder = self.substr(0, self.rfind('/') + 1);
        // Beside this program in a build; among the installed helpers otherwise.
        for (std::string candidate : {folder + "tessel-reader", folder + TESSEL_HELPERS_FROM_BINDIR "/tessel-reader"})
            if (access(candidate.c_str(), X_OK) == 0) return candidate;
        return folder + "tessel-reader";
    }();
    return path;
}

std::unique_ptr<ReaderHelper> ReaderHelper::start() {
    reapEnded();
    const std::string program = programPath();
    if (program.empty() || access(program.c_str(), X_OK) != 0) return nullptr;
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return nullptr;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    // Whatever else this process holds open without close-on-exec stays here.
    posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    char* argv[] = {const_cast<char*>(program.c_str()), nullptr};
    char* noEnvironment[] = {nullptr};
    pid_t pid = 0;
    const int failed = posix_spawn(&pid, program.c_str(), &actions, &attributes, argv, noEnvironment);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(ends[1]);
    if (failed != 0) {
        close(ends[0]);
        return nullptr;
    }
    return std::unique_ptr<ReaderHelper>(new ReaderHelper(pid, ends[0]));
}

ReaderHelper::~ReaderHelper() {
    if (abandoned()) return;
    // An idle reader ends as soon as it reads the end of its socket. It is
    // reaped here when it does so at once, so that a tool about to exit leaves
    // no zombie to a system whose first process never reaps orphans; else later.
    close(socket_);
    for (int tries = 0; tries < idleEndTries; ++tries) {
        int status = 0;
        if (waitpid(pid_, &status, WNOHANG) != 0) return;
        usleep(1000);
    }
    letGo(pid_);
}

void ReaderHelper::abandon() {
    if (abandoned()) return;
    kill(pid_, SIGKILL);
    close(socket_);
    socket_ = -1;
    listing_ = false;
    letGo(pid_);
}

std::size_t ReaderHelper::stillRunning() { return reapEnded(); }

namespace {

// Waits for the reader's next frame, in slices; see the essay above.
Heard receiveFrame(int socket, std::string& inbox, std::uint8_t& kind, std::string& body,
                   const ReaderHelper::KeepWaiting& keepWaiting) {
    double lastHeard = now();
    char chunk[65536];
    for (;;) {
        bool broken = false;
        if (const std::optional<Frame> frame = frontFrame(inbox, broken)) {
            kind = frame->kind;
            body.assign(frame->body);
            inbox.erase(0, frame->length);
            return Heard::frame;
        }
        if (broken) return Heard::lost;
        if (!keepWaiting(now() - lastHeard)) return Heard::gaveUp;
        pollfd waiting{socket, POLLIN, 0};
        const int ready = poll(&waiting, 1, waitSliceMilliseconds);
        if (ready < 0 && errno != EINTR) return Heard::lost;
        if (ready <= 0) continue;
        const ssize_t got = recv(socket, chunk, sizeof chunk, 0);
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (got <= 0) return Heard::lost;
        inbox.append(chunk, static_cast<std::size_t>(got));
        lastHeard = now();
    }
}

} // namespace

bool ReaderHelper::receive(std::uint8_t& kind, std::string& body, const KeepWaiting& keepWaiting) {
    if (abandoned()) return false;
    if (receiveFrame(socket_, inbox_, kind, body, keepWaiting) == Heard::frame) return true;
    abandon();
    return false;
}

std::optional<std::string> ReaderHelper::ask(const std::string& frame, std::uint8_t answer,
                                             const KeepWaiting& keepWaiting) {
    if (abandoned() || !sendAll(socket_, frame)) {
        abandon();
        return std::nullopt;
    }
    std::uint8_t kind = 0;
    std::string body;
    if (!receive(kind, body, keepWaiting)) return std::nullopt;
    if (kind == answer) return body;
    abandon();
    return std::nullopt;
}

std::optional<int> ReaderHelper::readBatch(const std::string& path, bool retainNames, EntrySink consume,
                                           const KeepWaiting& keepWaiting) {
    if (abandoned()) return std::nullopt;
    const auto lost = [&] { return DirectoryReaderError(DirectoryReaderError::Kind::read, path, EIO); };
    if (!listing_) {
        if (!sendAll(socket_, FrameWriter(Ask::list).text(path).u8(retainNames ? 1 : 0).finished())) {
            abandon();
            throw lost();
        }
        listing_ = true;
    }
    std::uint8_t kind = 0;
    std::string body;
    const Heard heard = receiveFrame(socket_, inbox_, kind, body, keepWaiting);
    if (heard != Heard::frame) {
        abandon();
        if (heard == Heard::gaveUp) return std::nullopt;
        throw lost();
    }
    FrameReader fields(body);
    switch (static_cast<Answer>(kind)) {
    case Answer::entries: {
        const std::uint32_t count = fields.u32();
        RawEntry entry;
        for (std::uint32_t i = 0; i < count && fields.ok(); ++i) {
            entry.name = fields.text();
            entry.objectType = fields.u32();
            entry.fileID = fields.u64();
            entry.deviceID = fields.u64();
            entry.allocatedBytes = fields.i64();
            entry.linkCount = fields.u32();
            entry.mountRoot = fields.u8() != 0;
            if (fields.ok()) consume(entry);
        }
        const auto records = static_cast<int>(fields.u32());
        if (!fields.ok() || records <= 0) break;
        return records;
    }
    case Answer::end: listing_ = false; return 0;
    case Answer::failed: {
        listing_ = false;
        const auto failedKind = fields.u8() == 0 ? DirectoryReaderError::Kind::open : DirectoryReaderError::Kind::read;
        const auto code = static_cast<int>(fields.u32());
        if (!fields.ok()) break;
        throw DirectoryReaderError(failedKind, path, code);
    }
    default: break;
    }
    abandon();
    throw lost();
}

std::optional<ReaderHelper::Status> ReaderHelper::status(const std::string& path, const KeepWaiting& keepWaiting) {
    const std::optional<std::string> body =
        ask(FrameWriter(Ask::status).text(path).finished(), static_cast<std::uint8_t>(Answer::status), keepWaiting);
    if (!body) return std::nullopt;
    FrameReader fields(*body);
    Status status;
    status.code = static_cast<int>(fields.u32());
    if (status.code == 0) {
        status.mode = fields.u32();
        const std::uint32_t major = fields.u32();
        const std::uint32_t minor = fields.u32();
        status.device = makedev(major, minor);
        status.mountRoot = fields.u8() != 0;
    }
    if (!fields.ok()) return abandon(), std::nullopt;
    return status;
}

std::optional<MeasuredPath> ReaderHelper::measure(const std::string& path, const KeepWaiting& keepWaiting) {
    const std::optional<std::string> body =
        ask(FrameWriter(Ask::measure).text(path).finished(), static_cast<std::uint8_t>(Answer::measured), keepWaiting);
    if (!body) return std::nullopt;
    FrameReader fields(*body);
    MeasuredPath measured;
    measured.kind = static_cast<MeasuredPath::Kind>(fields.u8());
    measured.identity = fields.identity();
    measured.allocated = fields.i64();
    measured.linkCount = static_cast<int>(fields.u32());
    if (!fields.ok() || measured.kind > MeasuredPath::Kind::unreadable)
        return abandon(), std::nullopt;
    return measured;
}

namespace {

std::optional<ReaderHelper::Digest> digestOf(std::uint8_t kind, const std::string& body) {
    FrameReader fields(body);
    ReaderHelper::Digest digest;
    const std::uint8_t digestKind = fields.u8();
    for (std::uint8_t& byte : digest.digest) byte = fields.u8();
    if (static_cast<Answer>(kind) != Answer::digest || !fields.ok() ||
        digestKind > static_cast<std::uint8_t>(ReaderHelper::Digest::Kind::failed))
        return std::nullopt;
    digest.kind = static_cast<ReaderHelper::Digest::Kind>(digestKind);
    return digest;
}

} // namespace

std::optional<ReaderHelper::Digest> ReaderHelper::sample(const std::string& path, const FileIdentity& identity,
                                                         std::size_t sampleBytes, const KeepWaiting& keepWaiting) {
    const auto frame = FrameWriter(Ask::sample).text(path).identity(identity).u32(static_cast<std::uint32_t>(sampleBytes)).finished();
    const std::optional<std::string> body = ask(frame, static_cast<std::uint8_t>(Answer::digest), keepWaiting);
    if (!body) return std::nullopt;
    std::optional<Digest> digest = digestOf(static_cast<std::uint8_t>(Answer::digest), *body);
    if (!digest) abandon();
    return digest;
}

std::optional<ReaderHelper::Digest> ReaderHelper::hash(const std::string& path, const FileIdentity& identity,
                                                       const std::function<void(std::int64_t bytes)>& progress,
                                                       const KeepWaiting& keepWaiting) {
    if (abandoned() || !sendAll(socket_, FrameWriter(Ask::hash).text(path).identity(identity).finished()))
        return abandon(), std::nullopt;
    for (;;) {
        std::uint8_t kind = 0;
        std::string body;
        if (!receive(kind, body, keepWaiting)) return std::nullopt;
        if (static_cast<Answer>(kind) == Answer::progress) {
            FrameReader fields(body);
            const auto bytes = static_cast<std::int64_t>(fields.u64());
            if (!fields.ok()) return abandon(), std::nullopt;
            if (progress) progress(bytes);
            continue;
        }
        std::optional<Digest> digest = digestOf(kind, body);
        if (!digest) abandon();
        return digest;
    }
}

} // namespace tessel
