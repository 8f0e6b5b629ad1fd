#include "DiskScanKit/ScanOptions.h"

#include <algorithm>
#include <thread>

namespace tessel {

namespace {
const char* const volumeTrashName = ".Trashes";
}

int ScanOptions::defaultWorkerCount() {
    int processors = static_cast<int>(std::thread::hardware_concurrency());
    return std::clamp(processors, 2, 8);
}

const NameSet& ScanOptions::skippedPathsOn(Platform platform) {
    // macOS: the data volume seen a second time, other volumes, swap, device
    // and network mounts. Linux: the kernel's pseudo file systems, whose sizes
    // are not disk space; "/home" holds real homes there and is scanned.
    static const NameSet macOS{"/System/Volumes/Data", "/Volumes", "/private/var/vm", "/dev",
                               "/net", "/home", "/.vol"};
    static const NameSet linux{"/proc", "/sys", "/dev", "/run"};
    return platform == Platform::macOS ? macOS : linux;
}

const NameSet& ScanOptions::defaultSkippedPaths() { return skippedPathsOn(currentPlatform()); }

const NameSet& ScanOptions::defaultSkippedNames() {
    static const NameSet names{".Spotlight-V100", ".fseventsd", ".DocumentRevisions-V100",
                               ".TemporaryItems", volumeTrashName};
    return names;
}

ScanOptions ScanOptions::includingVolumeTrash() const {
    ScanOptions copy = *this;
    copy.skippedNames.erase(volumeTrashName);
    copy.entersVolumeTrash = true;
    return copy;
}

bool ScanOptions::isTopTrashName(std::string_view name) {
    if (name == ".Trash") return true;
    constexpr std::string_view personal = ".Trash-";
    if (!name.starts_with(personal) || name.size() == personal.size()) return false;
    return std::all_of(name.begin() + personal.size(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace tessel
