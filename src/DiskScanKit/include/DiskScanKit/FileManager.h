#pragma once
// The questions about files that code above the scan asks, behind a seam so
// that tests can answer them for a fake home. The base answers from the real
// disk; a test overrides only what it needs to make up.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessel {

class AnchoredPath;

class FileManager {
public:
    virtual ~FileManager() = default;
    // lstat finds a folder there (a symbolic link is not one).
    virtual bool isFolder(const std::string& path) const;
    // The folder's entries can be listed.
    virtual bool canList(const std::string& path) const;
    // Whether lstat finds anything there.
    virtual bool exists(const std::string& path) const;
    // Whether this user may take the item out of its folder: the folder is
    // writable and enterable, and, where the folder is sticky (as /tmp is),
    // the user owns the item or the folder.
    virtual bool isDeletable(const AnchoredPath& item) const;
    // The item itself is writable: a folder moved elsewhere must be, for its "..".
    virtual bool isWritable(const AnchoredPath& item) const;
    // The names in a folder, "." and ".." left out; none when it can't be listed.
    virtual std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path) const;
    // A whole small regular file, links not followed; none when it can't be
    // read, is larger than `limit` or is not a regular file (a FIFO in a
    // folder someone else writes is never waited on).
    virtual std::optional<std::string> contents(const std::string& path, std::int64_t limit = 16 << 20) const;
};

// The real disk, as it stands.
class LocalFileManager final : public FileManager {};

} // namespace tessel
