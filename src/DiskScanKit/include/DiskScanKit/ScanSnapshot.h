#pragma once
// A small record of where a scan's space went: every path of at least
// `minimumBytes`, never the tree. Kept on disk after each scan so that a later
// scan of the same place can be compared with it.

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>

namespace tessel {

class FileNode;

// Dates in snapshots are seconds since 2001-01-01 00:00:00 UTC, as a number.
namespace ReferenceDate {
double seconds(std::chrono::system_clock::time_point when);
std::chrono::system_clock::time_point timePoint(double seconds);
} // namespace ReferenceDate

struct ScanSnapshot {
    static constexpr int currentFormatVersion = 1;
    static constexpr std::int64_t defaultMinimumBytes = 10'000'000;

    int formatVersion = currentFormatVersion;
    std::string rootPath;
    double date = 0; // seconds since the reference date
    std::int64_t totalBytes = 0;
    std::int64_t minimumBytes = defaultMinimumBytes;
    std::unordered_map<std::string, std::int64_t> entries; // full path to bytes

    // The root and every node of at least `minimumBytes` below it.
    static ScanSnapshot of(const FileNode& root, double date, std::int64_t minimumBytes = defaultMinimumBytes);

    bool operator==(const ScanSnapshot&) const = default;
};

// Why a snapshot could not be written or read, in words a person can act on.
class SnapshotError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

namespace SnapshotJson {
// Dates a snapshot may hold: from 1970-01-01T00:00:00Z, before which no scan
// was made on this system, up to but not including 2262-01-01T00:00:00Z, where
// the system clock's 64-bit count of nanoseconds ends; a later date could not
// even be shown. In seconds since the reference date.
inline constexpr double earliestDate = -978'307'200;
inline constexpr double endOfDates = 8'236'339'200;

// Sorted keys, slashes as they are. A path that is valid UTF-8 is written as
// it is; one that is not keeps its exact bytes in base64: the root as
// "rootPathBytes" beside its repaired "rootPath", an entry under
// "entriesBytes" instead of "entries". Throws SnapshotError for a snapshot
// that `decode` would refuse, so none is written that can't be read back.
std::string encode(const ScanSnapshot& snapshot);
// Throws SnapshotError saying what is wrong: a format newer than this build,
// anything not a snapshot, a value out of range.
ScanSnapshot decode(std::string_view text);

// Everything but the entries, which are checked as they pass but never built.
struct Header {
    std::int64_t formatVersion = 0;
    std::string rootPath; // exact bytes
    double date = 0;
    std::int64_t totalBytes = 0;
    std::int64_t minimumBytes = 0;
};
// Throws SnapshotError as `decode` does, except for a newer format: its
// header is read, and refusing it is left to `decode`.
Header decodeHeader(std::string_view text);
} // namespace SnapshotJson

// Paths of snapshot entries, as plain strings.
namespace SnapshotPaths {
// The number of "/" in the path.
int depth(std::string_view path);
// The path without its last component; "/" and a path with no "/" have none.
std::optional<std::string> parent(std::string_view path);
} // namespace SnapshotPaths

} // namespace tessel
