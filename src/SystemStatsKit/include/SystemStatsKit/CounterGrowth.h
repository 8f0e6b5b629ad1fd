#pragma once
// How much a kernel counter grew between two readings.
//
// The kernel's counters only grow, but they are not all as wide: /proc/stat
// and a 64-bit kernel's /proc/net/dev count in 64 bits, a 32-bit kernel's
// network counters in 32, and both may wrap. A counter can also step back:
// iowait in /proc/stat is known to, and a device removed and added again
// starts from 0. A wrap shows as a small number after one near the top of
// the counter's range; a step back as a number a little below the last.
//
//     4'294'967'200 -> 96         wrapped at 2^32: grew by 192
//     2^64 - 10     -> 5          wrapped at 2^64: grew by 15
//     31'115        -> 31'110     stepped back: grew by 0, not by 2^64 - 5
//
// So a drop is read as a wrap of the narrowest width at which the growth
// comes out below half that width's range, and as no growth otherwise. A
// counter reset from high in the 32-bit range reads as a wrap: nothing in
// the two numbers can tell those apart.

#include <cstdint>

namespace tessel {

constexpr std::uint64_t counterGrowth(std::uint64_t previous, std::uint64_t current) {
    if (current >= previous) return current - previous;
    constexpr std::uint64_t range32 = std::uint64_t{1} << 32;
    if (previous < range32 && range32 - previous + current < range32 / 2) return range32 - previous + current;
    const std::uint64_t wrapped64 = current - previous; // modulo 2^64
    return wrapped64 < (std::uint64_t{1} << 63) ? wrapped64 : 0;
}

} // namespace tessel
