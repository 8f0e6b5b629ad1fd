#pragma once
// Tables of places differ between macOS and Linux. Both are kept as data and
// the one for the machine at hand is chosen at run time, so tests can read either.

namespace tessel {

enum class Platform { macOS, linuxOS };

constexpr Platform currentPlatform() {
#if defined(__APPLE__)
    return Platform::macOS;
#else
    return Platform::linuxOS;
#endif
}

// What the startup disk is called when it has no name of its own.
constexpr const char* unnamedStartupDisk(Platform platform = currentPlatform()) {
    return platform == Platform::macOS ? "Macintosh HD" : "Startup Disk";
}

} // namespace tessel
