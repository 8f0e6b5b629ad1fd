#include "DiskScanKit/ChangeWords.h"

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ScanReport.h"
#include "DiskScanKit/ScanSnapshot.h"

namespace tessel::ChangeWords {

namespace {

// The floor as people say it: a round "50 MB", where the size format would write "50.0 MB".
static_assert(SnapshotDiff::standardMinimumDelta == 50'000'000);
constexpr std::string_view floorText = "50 MB";

} // namespace

std::string_view kindTitle(SnapshotChange::Kind kind) {
    switch (kind) {
    case SnapshotChange::Kind::grew: return "Grew";
    case SnapshotChange::Kind::shrank: return "Shrank";
    case SnapshotChange::Kind::appeared: return "New";
    case SnapshotChange::Kind::disappeared: return "Gone";
    }
    return "Grew";
}

std::string rule(std::string_view rootPath) {
    const std::string_view name = rootPath == "/" ? std::string_view("/") : Paths::lastComponent(rootPath);
    return "Files and folders in " + std::string(name) + " that have changed by " + std::string(floorText) + " or more.";
}

std::string since(double date, std::int64_t bytes) {
    return "Since the scan of " + ScanReport::readableDate(ReferenceDate::timePoint(date)) + ", when it held " +
           ByteFormat::string(bytes);
}

std::string unreadable(std::string_view reason) { return "That snapshot could not be read: " + std::string(reason); }

std::string nothingEarlier() { return "Nothing to compare with yet"; }

std::string nothingChanged() {
    return "Nothing changed by " + std::string(floorText) + " or more";
}

} // namespace tessel::ChangeWords
