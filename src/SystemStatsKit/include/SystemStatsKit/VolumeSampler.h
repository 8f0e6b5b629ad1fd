#pragma once
// Capacity of the volume that holds a path: its size, what is used, what an
// ordinary user may still write and what is kept for the system, as statvfs
// tells them. Linux has no purgeable space, so `includesPurgeable` stays false.

#include <optional>
#include <string>
#include <variant>

#include "SystemStatsKit/VolumeCapacity.h"

namespace tessel {

class VolumeSampler {
public:
    explicit VolumeSampler(std::string path) : path_(std::move(path)) {}
    // Named as the disk list names the file system that holds the path.
    std::optional<VolumeCapacity> sample() const;

    // The figures of the file system at `path`, without a name, or why there
    // are none: "statvfs(/media/usb): Permission denied".
    static std::variant<VolumeCapacity, std::string> measure(const std::string& path);
    // The name a volume gets when it has none of its own.
    static const char* unnamedVolume();

private:
    std::string path_;
};

} // namespace tessel
