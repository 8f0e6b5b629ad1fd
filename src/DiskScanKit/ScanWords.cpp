#include "DiskScanKit/ScanWords.h"

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/TextFormat.h"

namespace tessel::ScanWords {

std::string stalledTitle(std::int64_t count) {
    if (count == 1) return "Skipped a folder that did not respond";
    return "Skipped " + TextFormat::grouped(count) + " folders that did not respond";
}

std::string unreadableTitle(std::int64_t count) {
    return TextFormat::counted(count, "folder", "folders") + " could not be read";
}

std::string unreadableDetail(std::int64_t count) {
    return count == 1 ? "The total leaves out what it holds." : "The total leaves out what they hold.";
}

std::string cloudOnly(std::int64_t count) {
    return count == 1 ? "1 folder is only in the cloud and was not downloaded."
                      : TextFormat::grouped(count) + " folders are only in the cloud and were not downloaded.";
}

std::string fileSystemPhrase(const MountEntry& mount) {
    const std::string_view type = mount.fileSystem;
    const std::string at = " mounted at " + mount.mountPoint;
    if (type == "nfs" || type == "nfs4") return "an NFS share" + at;
    if (type == "cifs" || type == "smb3" || type == "smbfs") return "an SMB share" + at;
    if (type == "9p") return "a 9p share" + at;
    if (type == "fuse" || type == "fuseblk") return "a FUSE file system" + at;
    // "fuse.sshfs": the daemon's name says what it is.
    if (const std::size_t dot = type.find('.'); dot != std::string_view::npos && type.starts_with("fuse"))
        return "a FUSE file system (" + std::string(type.substr(dot + 1)) + ")" + at;
    return "the " + std::string(type) + " file system" + at;
}

std::string stalledFolder(std::string_view path, const std::optional<MountEntry>& mount) {
    if (!mount) return std::string(path) + " did not answer, and what it holds is left out.";
    return std::string(path) + " did not answer: it is on " + fileSystemPhrase(*mount) + ", and what it holds is left out.";
}

std::string finishedTitle(std::int64_t bytes) { return "Scanned " + ByteFormat::string(bytes); }

} // namespace tessel::ScanWords
