// Linux directory reader: raw getdents64 on the open folder, then one statx
// per entry relative to that folder's descriptor. Relative lookups cost the
// kernel one component each instead of a whole path walk, and they work for
// paths longer than PATH_MAX. AT_SYMLINK_NOFOLLOW keeps links as links and
// AT_NO_AUTOMOUNT keeps an automounter from mounting anything because we looked.

#include "DiskScanKit/DirectoryReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

namespace tessel {

namespace {

struct LinuxDirent64 {
    std::uint64_t d_ino;
    std::int64_t d_off;
    unsigned short d_reclen;
    unsigned char d_type;
    char d_name[1];
};

std::uint32_t objectTypeOf(std::uint16_t mode) {
    switch (mode & S_IFMT) {
    case S_IFREG: return ObjectType::regular;
    case S_IFDIR: return ObjectType::directory;
    case S_IFBLK: return ObjectType::blockDevice;
    case S_IFCHR: return ObjectType::characterDevice;
    case S_IFLNK: return ObjectType::symbolicLink;
    case S_IFSOCK: return ObjectType::socket;
    case S_IFIFO: return ObjectType::fifo;
    default: return ObjectType::none;
    }
}

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

constexpr int openFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
// Only what the scan uses; device numbers come with every statx.
constexpr unsigned statxMask = STATX_TYPE | STATX_NLINK | STATX_INO | STATX_BLOCKS;

} // namespace

DirectoryReaderError::DirectoryReaderError(Kind kind, std::string path, int code)
    : kind_(kind), path_(std::move(path)), code_(code),
      message_(std::string(kind == Kind::open ? "open(" : "getdents64(") + path_ +
               "): " + std::strerror(code)) {}

DirectoryReader::DirectoryReader(const std::string& path, std::span<std::byte> buffer,
                                 bool retainFileNames, int parentFd, const char* nameInParent)
    : path_(path), buffer_(buffer), retainFileNames_(retainFileNames) {
    if (parentFd >= 0 && nameInParent != nullptr && nameInParent[0] != '\0') {
        fd_ = openat(parentFd, nameInParent, openFlags | O_NOFOLLOW);
        // Out of descriptors: the whole path still works where it fits.
        if (fd_ < 0 && (errno == EMFILE || errno == ENFILE) && path_.size() < PATH_MAX)
            fd_ = open(path_.c_str(), openFlags | O_NOFOLLOW);
    } else {
        fd_ = open(path_.c_str(), openFlags);
    }
    if (fd_ < 0) throw DirectoryReaderError(DirectoryReaderError::Kind::open, path_, errno);
}

DirectoryReader::~DirectoryReader() {
    if (fd_ >= 0) close(fd_);
}

int DirectoryReader::releaseDescriptor() {
    int fd = fd_;
    fd_ = -1;
    return fd;
}

bool DirectoryReader::standIn(const char* name, RawEntry& entry) const {
    for (const MountStandIn& standIn : standIns_) {
        if (standIn.name != name) continue;
        entry = RawEntry{};
        entry.name = standIn.name;
        entry.objectType = ObjectType::directory;
        entry.deviceID = standIn.device;
        entry.mountRoot = true;
        return true;
    }
    return false;
}

int DirectoryReader::readBatch(EntrySink consume) {
    long length = syscall(SYS_getdents64, fd_, buffer_.data(), buffer_.size());
    if (length < 0) throw DirectoryReaderError(DirectoryReaderError::Kind::read, path_, errno);
    int records = 0;
    RawEntry entry;
    struct statx info {};
    for (long offset = 0; offset < length;) {
        const auto* record = reinterpret_cast<const LinuxDirent64*>(buffer_.data() + offset);
        offset += record->d_reclen;
        ++records;
        const char* name = record->d_name;
        if (isDotOrDotDot(name)) continue;
        if (!standIns_.empty() && standIn(name, entry)) {
            consume(entry);
            continue;
        }
        if (statx(fd_, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, statxMask, &info) != 0)
            continue;
        entry.objectType = objectTypeOf(info.stx_mode);
        entry.fileID = info.stx_ino;
        entry.deviceID = makedev(info.stx_dev_major, info.stx_dev_minor);
        entry.allocatedBytes = static_cast<std::int64_t>(info.stx_blocks) * 512;
        entry.linkCount = info.stx_nlink;
        entry.mountRoot = (info.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
        entry.name = retainFileNames_ || entry.objectType == ObjectType::directory
                         ? std::string_view(name)
                         : std::string_view();
        consume(entry);
    }
    return records;
}

} // namespace tessel
