#include "DiskScanKit/DiskWords.h"

#include "DiskScanKit/ByteFormat.h"

namespace tessel::DiskWords {

std::string usage(std::int64_t used, std::int64_t total, std::int64_t available, std::int64_t reserved) {
    std::string line = ByteFormat::string(used) + " used of " + ByteFormat::string(total) + ", " +
                       ByteFormat::string(available) + " free";
    if (reserved > 0) line += ", " + ByteFormat::string(reserved) + " reserved for the system";
    return line;
}

std::string freeOf(std::int64_t available, std::int64_t total) {
    return ByteFormat::string(available) + " free of " + ByteFormat::string(total);
}

std::string_view reservedTitle() { return "Reserved for the system"; }

std::string_view reservedExplanation() {
    return "The file system keeps this back so that the system can still run when the disk is full: "
           "nothing is stored there, and only the administrator's programs can use it.";
}

} // namespace tessel::DiskWords
