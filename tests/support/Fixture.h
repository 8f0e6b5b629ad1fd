#pragma once
// Fixture trees for the scan tests, built in a temporary folder that goes away
// with the fixture. Files get real bytes so that blocks are allocated.

#include <cstdint>
#include <string>
#include <vector>

#include "DiskScanKit/FileNode.h"

namespace tessel::test {

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(const std::string& relative) const { return path_ + "/" + relative; }

private:
    std::string path_;
};

void makeFolder(const std::string& path);
void writeFile(const std::string& path, std::int64_t bytes);
// `text` as the whole file, its folders made first.
void writeText(const std::string& path, const std::string& text);
std::string readText(const std::string& path);
void setModificationTime(const std::string& path, long seconds);
// A file of `logicalBytes` that holds only one written block.
void writeSparseFile(const std::string& path, std::int64_t logicalBytes);
void makeHardLink(const std::string& existing, const std::string& link);
void makeSymlink(const std::string& target, const std::string& link);
// Nested folders named `name`, `levels` deep, made relative to each other so
// that the full path may exceed PATH_MAX. Returns the number of levels made.
int makeDeepChain(const std::string& base, const std::string& name, int levels);
// The names in `folder`, "." and ".." left out; none when it can't be read.
std::vector<std::string> entryNames(const std::string& folder);
// st_blocks * 512 of the entry itself.
std::int64_t allocatedOf(const std::string& path);

// What an independent walk (GNU find) says the tree occupies: the blocks of
// everything that is not a folder, each multi-link inode once, no other device.
struct IndependentCount {
    std::int64_t bytes = 0;
    std::int64_t entries = 0; // non-folders
    std::int64_t folders = 0;
};
IndependentCount independentCount(const std::string& root);

// Finds a node by its path relative to `root` ("a/b"), or nullptr.
FileNode* findNode(FileNode& root, const std::string& relative);
// Every folder's total equals its child nodes plus its aggregated files.
bool totalsAddUp(const FileNode& root);

} // namespace tessel::test
