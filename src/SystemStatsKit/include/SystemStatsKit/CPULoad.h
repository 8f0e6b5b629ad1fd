#pragma once
// How the processor spent an interval: shares of all its ticks, each 0 to 1.
// See CPULoad.cpp for the arithmetic between two readings of the counters.

#include <cstdint>
#include <optional>

namespace tessel {

// The four tick counters, since boot: what the kernel gives split as a load
// reads it (see CPUSampler.h for how /proc/stat's ten columns fold into four).
struct CPUTicks {
    std::uint64_t user = 0;
    std::uint64_t system = 0;
    std::uint64_t idle = 0;
    std::uint64_t nice = 0;
};

struct CPULoad {
    double user = 0;
    double system = 0;
    double nice = 0;
    double idle = 0;

    static const CPULoad zero;

    // user + system + nice, clamped to 0 ... 1; a negative or NaN sum reads 0.
    double busy() const;
    // The load between two readings of the counters; none when no tick went by.
    static std::optional<CPULoad> between(const CPUTicks& previous, const CPUTicks& current);

    bool operator==(const CPULoad&) const = default;
};

inline constexpr CPULoad CPULoad::zero{};

} // namespace tessel
