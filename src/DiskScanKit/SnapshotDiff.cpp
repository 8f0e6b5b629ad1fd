// Comparing two snapshots.
//
// Every path in either snapshot whose size moved by at least `minimumDelta` is
// a candidate: grew or shrank when both snapshots have it, appeared or
// disappeared when only one does. Left alone, one change would be told at
// every level of its path: 80 MB added to ~/Movies/Trip shows as ~/Movies/Trip,
// ~/Movies, ~ and / growing by 80 MB each. Two rules leave the echoes out.
//
// First, an item that appeared inside a parent that appeared too (or went with
// a parent that went) is the parent's news: only the parent is listed.
//
// Second, folding. Going from the deepest candidates up, each candidate hands
// its delta to its nearest candidate ancestor, which subtracts it: what is left
// is the change the ancestor has that no row beneath it tells. A candidate
// stays when that remainder is itself at least `minimumDelta`. So:
//
//   /a/b/c grew 80 MB, nothing else changed   -> /a/b/c only (/a/b, /a, / keep 0)
//   /a/x and /a/y grew 30 MB each             -> /a only (neither child is a candidate)
//   /a/b grew 80 MB and /a/c 30 MB            -> /a/b only (/a keeps 30 MB)
//   /a/b grew 80 MB and /a/c..g 20 MB each    -> /a/b and /a (/a keeps 100 MB)
//   /old/Trip (90 MB) moved to /new/Trip      -> /old/Trip disappeared, /new/Trip appeared
//
// A listed ancestor still shows its true old and new sizes; it is listed only
// because a worthwhile part of its change is told nowhere else. The list is
// sorted by the size of the change, largest first, then by path, and cut to
// `limit`.

#include "DiskScanKit/SnapshotDiff.h"

#include <algorithm>
#include <cstdlib>

namespace tessel::SnapshotDiff {

namespace {

std::int64_t magnitude(std::int64_t value) { return value < 0 ? -value : value; }

SizeTable sizeTable(const ScanSnapshot& from, const ScanSnapshot& to) {
    SizeTable sizes;
    sizes.reserve(from.entries.size() + to.entries.size());
    for (const auto& [path, bytes] : from.entries) sizes[path].old = bytes;
    for (const auto& [path, bytes] : to.entries) sizes[path].now = bytes;
    return sizes;
}

std::optional<SnapshotChange> candidate(const std::string& path, const Sizes& size, std::int64_t minimumDelta) {
    if (size.old && size.now) {
        const std::int64_t delta = *size.now - *size.old;
        if (magnitude(delta) < minimumDelta) return std::nullopt;
        return SnapshotChange{path, *size.old, *size.now,
                              delta > 0 ? SnapshotChange::Kind::grew : SnapshotChange::Kind::shrank};
    }
    if (size.now && *size.now >= minimumDelta) return SnapshotChange{path, 0, *size.now, SnapshotChange::Kind::appeared};
    if (size.old && *size.old >= minimumDelta) return SnapshotChange{path, *size.old, 0, SnapshotChange::Kind::disappeared};
    return std::nullopt;
}

} // namespace

bool isInsideParentOfSameKind(const SnapshotChange& change, const SizeTable& sizes, std::int64_t threshold) {
    if (change.kind != SnapshotChange::Kind::appeared && change.kind != SnapshotChange::Kind::disappeared) return false;
    const std::optional<std::string> parent = SnapshotPaths::parent(change.path);
    if (!parent) return false;
    const auto found = sizes.find(*parent);
    if (found == sizes.end()) return false;
    const Sizes& size = found->second;
    if (magnitude(size.now.value_or(0) - size.old.value_or(0)) < threshold) return false;
    if (change.kind == SnapshotChange::Kind::appeared) return !size.old && size.now;
    return size.old && !size.now;
}

const SnapshotChange* nearestCandidate(std::string_view path,
                                       const std::unordered_map<std::string, SnapshotChange>& candidates) {
    for (std::optional<std::string> above = SnapshotPaths::parent(path); above; above = SnapshotPaths::parent(*above))
        if (const auto found = candidates.find(*above); found != candidates.end()) return &found->second;
    return nullptr;
}

std::vector<SnapshotChange> changes(const ScanSnapshot& from, const ScanSnapshot& to, std::int64_t minimumDelta,
                                    int limit) {
    if (limit <= 0) return {};
    const SizeTable sizes = sizeTable(from, to);

    std::unordered_map<std::string, SnapshotChange> candidates;
    for (const auto& [path, size] : sizes)
        if (std::optional<SnapshotChange> change = candidate(path, size, minimumDelta))
            if (!isInsideParentOfSameKind(*change, sizes, minimumDelta)) candidates.emplace(path, std::move(*change));

    // Deepest first, so each candidate has received from everything beneath it before it hands on.
    // "/" and "/a" have the same depth; the longer path is never the ancestor.
    std::vector<const SnapshotChange*> order;
    order.reserve(candidates.size());
    for (const auto& entry : candidates) order.push_back(&entry.second);
    std::sort(order.begin(), order.end(), [](const SnapshotChange* a, const SnapshotChange* b) {
        const int depthA = SnapshotPaths::depth(a->path), depthB = SnapshotPaths::depth(b->path);
        if (depthA != depthB) return depthA > depthB;
        return a->path.size() != b->path.size() ? a->path.size() > b->path.size() : a->path < b->path;
    });
    std::unordered_map<const SnapshotChange*, std::int64_t> untold;
    for (const SnapshotChange* change : order) untold[change] = change->delta();
    std::vector<SnapshotChange> kept;
    for (const SnapshotChange* change : order) {
        if (const SnapshotChange* above = nearestCandidate(change->path, candidates)) untold[above] -= change->delta();
        if (magnitude(untold[change]) >= minimumDelta) kept.push_back(*change);
    }

    std::stable_sort(kept.begin(), kept.end(), [](const SnapshotChange& a, const SnapshotChange& b) {
        const std::int64_t sizeA = magnitude(a.delta()), sizeB = magnitude(b.delta());
        return sizeA != sizeB ? sizeA > sizeB : a.path < b.path;
    });
    if (kept.size() > static_cast<std::size_t>(limit)) kept.resize(static_cast<std::size_t>(limit));
    return kept;
}

std::string_view kindName(SnapshotChange::Kind kind) {
    switch (kind) {
    case SnapshotChange::Kind::grew: return "grew";
    case SnapshotChange::Kind::shrank: return "shrank";
    case SnapshotChange::Kind::appeared: return "appeared";
    case SnapshotChange::Kind::disappeared: return "disappeared";
    }
    return "grew";
}

} // namespace tessel::SnapshotDiff
