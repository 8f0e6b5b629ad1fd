#include "DiskScanKit/FullDiskAccess.h"

#include "DiskScanKit/FileManager.h"

namespace tessel::FullDiskAccess {

std::vector<std::string> probePaths(const std::string& home) {
    return {home + "/Library/Application Support/com.apple.TCC", home + "/Library/Safari",
            home + "/Library/Cookies", home + "/Library/Messages"};
}

FullDiskAccessStatus status(const std::string& home, const FileManager& fileManager) {
    for (const std::string& probe : probePaths(home)) {
        if (!fileManager.isFolder(probe)) continue;
        return fileManager.canList(probe) ? FullDiskAccessStatus::granted
                                          : FullDiskAccessStatus::denied;
    }
    return FullDiskAccessStatus::undetermined;
}

} // namespace tessel::FullDiskAccess
