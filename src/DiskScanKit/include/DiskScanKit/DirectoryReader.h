#pragma once
// Reads one folder: every entry with exactly the seven attributes a scan
// needs, a batch at a time, without a path string per entry. The platform's
// implementation lives in linux/ (getdents64, then statx relative to the
// folder's descriptor).

#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <string_view>

namespace tessel {

// The vnode types of the entry, numbered as macOS numbers them.
namespace ObjectType {
constexpr std::uint32_t none = 0;
constexpr std::uint32_t regular = 1;
constexpr std::uint32_t directory = 2;
constexpr std::uint32_t blockDevice = 3;
constexpr std::uint32_t characterDevice = 4;
constexpr std::uint32_t symbolicLink = 5;
constexpr std::uint32_t socket = 6;
constexpr std::uint32_t fifo = 7;
} // namespace ObjectType

struct RawEntry {
    // Points into the reader's buffer and lasts until the next batch. Empty for
    // a non-folder when names are not retained.
    std::string_view name;
    std::uint32_t objectType = ObjectType::none;
    std::uint64_t fileID = 0;
    std::uint64_t deviceID = 0;
    std::int64_t allocatedBytes = 0;
    std::uint32_t linkCount = 1;
    // The entry is the root of a mount (a bind mount shares its parent's device).
    bool mountRoot = false;
};

// A mount point met in a folder, given as the mount table has it instead of
// being examined: examining it asks the file system mounted there, which may
// not answer.
struct MountStandIn {
    std::string name;
    std::uint64_t device = 0;
};

class DirectoryReaderError : public std::exception {
public:
    enum class Kind { open, read };
    DirectoryReaderError(Kind kind, std::string path, int code);
    Kind kind() const { return kind_; }
    const std::string& path() const { return path_; }
    int code() const { return code_; }
    // "open(/x): Permission denied"
    const char* what() const noexcept override { return message_.c_str(); }

private:
    Kind kind_;
    std::string path_;
    int code_;
    std::string message_;
};

// A callable borrowed for the length of one call: no allocation, one indirect
// call per entry.
class EntrySink {
public:
    template <class Consume>
    explicit EntrySink(Consume& consume)
        : context_(&consume),
          call_([](void* context, const RawEntry& entry) { (*static_cast<Consume*>(context))(entry); }) {}
    void operator()(const RawEntry& entry) const { call_(context_, entry); }

private:
    void* context_;
    void (*call_)(void*, const RawEntry&);
};

class DirectoryReader {
public:
    // Opens the folder at `path`, or, when `parentFd` is an open folder, the
    // entry `nameInParent` inside it: a folder's name always fits the kernel's
    // limit where its whole path may not. Throws DirectoryReaderError::open.
    // `path` and `buffer` are the caller's and must outlive the reader.
    DirectoryReader(const std::string& path, std::span<std::byte> buffer, bool retainFileNames,
                    int parentFd = -1, const char* nameInParent = nullptr);
    ~DirectoryReader();
    DirectoryReader(const DirectoryReader&) = delete;
    DirectoryReader& operator=(const DirectoryReader&) = delete;

    // Hands each entry of the next batch to `consume` and returns how many
    // records the batch held; 0 means the folder is done. An entry that can't
    // be examined (gone since it was listed) is skipped without a word.
    // Throws DirectoryReaderError::read.
    int readBatch(EntrySink consume);

    const std::string& path() const { return path_; }
    int fd() const { return fd_; }
    // Entries of these names are given as folders that are mount roots on
    // their device, without being examined. The span must outlive the reader.
    void setMountStandIns(std::span<const MountStandIn> standIns) { standIns_ = standIns; }
    // Gives up ownership of the descriptor, which stays open.
    int releaseDescriptor();

private:
    // Fills `entry` with the stand-in named `name`, if there is one.
    bool standIn(const char* name, RawEntry& entry) const;

    const std::string& path_;
    int fd_ = -1;
    std::span<std::byte> buffer_;
    bool retainFileNames_;
    std::span<const MountStandIn> standIns_;
};

} // namespace tessel
