// Machine health.
//
// Each reading can raise one concern, and the concerns are met in a fixed
// order: disk, memory, heat, battery. The worst level decides the word; of
// two equally bad, the first in that order stays: a full disk comes first
// because it is the one this app can help with.
//
// The disk is low when little is left in absolute terms (under 15 GB), or
// when under a tenth of it is free. The tenth alone would cry wolf on a large
// disk, where 60 GB of 2 TB is plenty, so it only counts below 50 GB.
//
// Sizes between 10 and 999 GB read better as whole gigabytes ("12 GB");
// below that a decimal matters, and the usual byte format gives it.

#include "overview/MacHealth.h"

#include <cmath>
#include <cstdio>
#include <vector>

#include "Base/Platform.h"
#include "DiskScanKit/ByteFormat.h"

namespace tessel {

namespace {

constexpr std::int64_t gigabyte = 1'000'000'000;

std::string freeSpaceText(std::int64_t free) {
    if (free >= 0) {
        const std::int64_t wholeGigabytes = free / gigabyte + (free % gigabyte >= gigabyte / 2 ? 1 : 0);
        if (wholeGigabytes >= 10 && wholeGigabytes < 1000) return std::to_string(wholeGigabytes) + " GB";
    }
    return ByteFormat::string(free);
}

// Who is short of memory, or recommends a battery's service: the Mac's own
// system by its name, elsewhere the system in plain words.
std::string systemName() { return currentPlatform() == Platform::macOS ? "macOS" : "The system"; }

std::string wholeNumber(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.0f", std::round(value));
    return text;
}

std::optional<MacHealth> diskConcern(const VolumeCapacity& volume) {
    const std::int64_t free = volume.available;
    MacHealth health;
    health.concern = MacHealth::Concern::disk;
    if (free < 5 * gigabyte) {
        health.level = MacHealth::Level::poor;
        health.word = "Disk nearly full";
        health.reason = "Only " + freeSpaceText(free) + " is free on the startup disk.";
        return health;
    }
    // Below 50 GB, ten times the free space can't overflow.
    const bool underATenth = free < 50 * gigabyte && free * 10 < volume.total;
    if (free < 15 * gigabyte || underATenth) {
        health.level = MacHealth::Level::fair;
        health.word = "Low on space";
        health.reason = freeSpaceText(free) + " is free on the startup disk.";
        return health;
    }
    return std::nullopt;
}

std::optional<MacHealth> memoryConcern(MemoryUsage::Pressure pressure) {
    MacHealth health;
    health.concern = MacHealth::Concern::memory;
    switch (pressure) {
    case MemoryPressure::normal: return std::nullopt;
    case MemoryPressure::warning:
        health.level = MacHealth::Level::fair;
        health.word = "Memory is tight";
        health.reason = systemName() + " is working to find memory for what is open.";
        return health;
    case MemoryPressure::critical:
        health.level = MacHealth::Level::poor;
        health.word = "Short of memory";
        health.reason = systemName() + " is short of memory, and apps may slow down.";
        return health;
    }
    return std::nullopt;
}

// A sensor that answers nonsense (NaN, infinity) counts as no reading.
std::optional<MacHealth> heatConcern(double celsius) {
    if (!std::isfinite(celsius) || celsius < 95) return std::nullopt;
    MacHealth health;
    health.concern = MacHealth::Concern::heat;
    health.level = MacHealth::Level::fair;
    health.word = "Running hot";
    health.reason = "The chip is at " + wholeNumber(celsius) + "\u00B0";
    return health;
}

std::optional<MacHealth> batteryConcern(double capacity) {
    if (!std::isfinite(capacity) || capacity >= 0.8) return std::nullopt;
    MacHealth health;
    health.concern = MacHealth::Concern::battery;
    health.level = MacHealth::Level::fair;
    health.word = "Battery pace";
    health.reason = "The battery holds " + wholeNumber(capacity * 100) +
                    "% of what it did when new. " +
                    (currentPlatform() == Platform::macOS ? "macOS recommends service below 80%." : "Batteries are due for service below 80%.");
    return health;
}

} // namespace

MacHealth MacHealth::assess(const std::optional<VolumeCapacity>& volume,
                            std::optional<MemoryUsage::Pressure> pressure, std::optional<double> chipCelsius,
                            std::optional<double> batteryCapacity) {
    std::vector<MacHealth> concerns;
    auto collect = [&concerns](std::optional<MacHealth> concern) {
        if (concern) concerns.push_back(std::move(*concern));
    };
    if (volume) collect(diskConcern(*volume));
    if (pressure) collect(memoryConcern(*pressure));
    if (chipCelsius) collect(heatConcern(*chipCelsius));
    if (batteryCapacity) collect(batteryConcern(*batteryCapacity));

    MacHealth worst;
    for (MacHealth& concern : concerns)
        if (!worst.concern || concern.level > worst.level) worst = std::move(concern);
    return worst;
}

} // namespace tessel
