#include "DiskScanKit/ScanRecords.h"

namespace tessel {

namespace {
std::string sentence(DiskScanError::Kind kind, const std::string& path) {
    switch (kind) {
    case DiskScanError::Kind::rootNotFound:
        return "There is no folder at " + path + ".";
    case DiskScanError::Kind::rootNotADirectory:
        return path + " is not a folder.";
    case DiskScanError::Kind::cancelled:
        return "The scan was cancelled.";
    }
    return {};
}
} // namespace

DiskScanError::DiskScanError(Kind kind, std::string path)
    : kind_(kind), path_(std::move(path)), message_(sentence(kind_, path_)) {}

} // namespace tessel
