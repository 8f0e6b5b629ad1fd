#pragma once
// The few questions about folders that code above the scan asks, behind a seam
// so that tests can answer them for a fake home.

#include <string>

namespace tessel {

class FileManager {
public:
    virtual ~FileManager() = default;
    // lstat finds a folder there (a symbolic link is not one).
    virtual bool isFolder(const std::string& path) const = 0;
    // The folder's entries can be listed.
    virtual bool canList(const std::string& path) const = 0;
};

class LocalFileManager final : public FileManager {
public:
    bool isFolder(const std::string& path) const override;
    bool canList(const std::string& path) const override;
};

} // namespace tessel
