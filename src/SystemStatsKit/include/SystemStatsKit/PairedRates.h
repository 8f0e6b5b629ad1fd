#pragma once
// Rates from pairs of counters kept by name: an interface's bytes received
// and sent, a disk's bytes read and written. Each reading becomes the
// baseline of the next; a rate is each counter's growth over the seconds
// between the two. A name that has just appeared has no rate until its
// second reading, and one that is gone is forgotten.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace tessel {

struct CounterPair {
    std::uint64_t first = 0;
    std::uint64_t second = 0;
};

struct RatePair {
    double first = 0; // per second
    double second = 0;
};

class PairedRates {
public:
    // How much a counter grew between two readings (see CounterGrowth.h).
    using Growth = std::uint64_t (*)(std::uint64_t previous, std::uint64_t current);
    enum class NoRate { first, tooSoon };

    // Readings closer than `shortest` seconds, or not later at all, give no rate.
    PairedRates(double shortest, Growth growth) : shortest_(shortest), growth_(growth) {}

    // Each name's rate since the previous reading, in the order of the names,
    // or why there is none; either way `current` becomes the baseline.
    std::variant<std::vector<std::pair<std::string, std::optional<RatePair>>>, NoRate>
    advance(std::map<std::string, CounterPair> current, double now);
    // The names of the last reading.
    std::vector<std::string> names() const;

private:
    double shortest_;
    Growth growth_;
    std::map<std::string, CounterPair> previous_;
    std::optional<double> previousTime_;
};

} // namespace tessel
