#pragma once

#include <cstdint>
#include <string>

namespace tessel {

struct VolumeCapacity {
    std::string name;
    std::int64_t total = 0;
    std::int64_t available = 0;
    std::int64_t purgeable = 0;
    bool includesPurgeable = false;

    std::int64_t used() const { return total - available; }
    bool operator==(const VolumeCapacity&) const = default;
};

} // namespace tessel
