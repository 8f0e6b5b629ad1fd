#pragma once
// Whether this process may read the folders that macOS protects. Judged by
// trying to list a few of them in the home folder; where none exists (any
// Linux home) there is nothing to judge by and the answer is `undetermined`.

#include <string>
#include <vector>

namespace tessel {

class FileManager;

enum class FullDiskAccessStatus { granted, denied, undetermined };

namespace FullDiskAccess {

std::vector<std::string> probePaths(const std::string& home);
FullDiskAccessStatus status(const std::string& home, const FileManager& fileManager);

} // namespace FullDiskAccess
} // namespace tessel
