#pragma once
// Capacity of the volume that holds a path: total and free bytes, as the file
// system reports them to an ordinary user (space reserved for root is not
// free to us). Linux has no purgeable space, so `includesPurgeable` stays false.

#include <optional>
#include <string>

#include "SystemStatsKit/VolumeCapacity.h"

namespace tessel {

class VolumeSampler {
public:
    explicit VolumeSampler(std::string path) : path_(std::move(path)) {}
    std::optional<VolumeCapacity> sample() const;

    // The name a volume gets when it has none of its own.
    static const char* unnamedVolume();

private:
    std::string path_;
};

} // namespace tessel
