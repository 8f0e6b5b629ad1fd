#pragma once
// What changed between two snapshots by a worthwhile amount, each change told
// once: not again by every folder above it, nor by every new folder inside a
// new one.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "DiskScanKit/ScanSnapshot.h"

namespace tessel {

struct SnapshotChange {
    enum class Kind { grew, shrank, appeared, disappeared };
    std::string path;
    std::int64_t oldBytes = 0;
    std::int64_t newBytes = 0;
    Kind kind = Kind::grew;

    std::int64_t delta() const { return newBytes - oldBytes; }
    bool operator==(const SnapshotChange&) const = default;
};

namespace SnapshotDiff {

inline constexpr std::int64_t standardMinimumDelta = 50'000'000;
inline constexpr int standardLimit = 200;

struct Sizes {
    std::optional<std::int64_t> old, now;
};
using SizeTable = std::unordered_map<std::string, Sizes>;

std::vector<SnapshotChange> changes(const ScanSnapshot& from, const ScanSnapshot& to,
                                    std::int64_t minimumDelta = standardMinimumDelta, int limit = standardLimit);

// An appeared item whose parent appeared too (or a disappeared one whose parent
// disappeared), by at least `threshold`: the parent tells it.
bool isInsideParentOfSameKind(const SnapshotChange& change, const SizeTable& sizes, std::int64_t threshold);

// The nearest ancestor of `path` that is a key of `candidates`.
const SnapshotChange* nearestCandidate(std::string_view path,
                                       const std::unordered_map<std::string, SnapshotChange>& candidates);

std::string_view kindName(SnapshotChange::Kind kind);

} // namespace SnapshotDiff
} // namespace tessel
