#pragma once
// Comparing files of one size by reading them side by side; see Lockstep.cpp.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "DiskScanKit/OpenFile.h"

namespace tessel::Lockstep {

struct Verdict {
    enum class Kind {
        // Holds the bytes of at least one other file (or stands for two or more).
        same,
        // Holds bytes no other file does.
        parted,
        // Could not be read as it was measured, or changed while it was read.
        failed,
        // The comparison stopped before this file was settled.
        unfinished,
    };
    Kind kind = Kind::unfinished;
    // `same`: the first file of its class, the same for every file of it.
    std::size_t sameAs = 0;
};

// Hears of every round's bytes read, and returns false to stop.
using AfterRound = std::function<bool(std::int64_t bytes)>;

// Bytes each file is read by in one round, at most. Small enough that the
// pieces of a round are still in the core's own cache when they are compared
// right after the reads that copied them there; larger pieces cost more.
inline constexpr std::size_t pieceBytes = std::size_t{256} << 10;

// The piece each of `files` files is read by in one round, sharing a buffer
// of `bufferBytes`: `pieceBytes`, or less when there are many, in whole
// pages; 0 when the buffer can't give each a page.
std::size_t pieceFor(std::size_t files, std::size_t bufferBytes);

// Compares `files`, all measured at the same size, front to back. A file that
// didn't open is absent and gets `failed`. `copies[i]` is how many files file
// i stands for (a set of clones is read once for all): a class of files goes
// on being read while it stands for two or more. `buffer` is shared out among
// the files, `pieceBytes` each or less when there are many; it must give each
// at least a page. Files are closed as soon as they are settled.
std::vector<Verdict> compare(std::vector<std::optional<OpenFile>>& files, std::span<const std::size_t> copies,
                             std::span<std::byte> buffer, const AfterRound& afterRound);

} // namespace tessel::Lockstep
