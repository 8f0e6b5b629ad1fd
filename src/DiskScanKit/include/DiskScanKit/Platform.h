#pragma once
// Tables of places differ between macOS and Linux. Both are kept as data and
// the one for the machine at hand is chosen at run time, so tests can read either.

namespace tessel {

enum class Platform { macOS, linux };

constexpr Platform currentPlatform() {
#if defined(__APPLE__)
    return Platform::macOS;
#else
    return Platform::linux;
#endif
}

} // namespace tessel
