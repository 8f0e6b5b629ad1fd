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

std::string finishedTitle(std::int64_t bytes) { return "Scanned " + ByteFormat::string(bytes); }

} // namespace tessel::ScanWords
