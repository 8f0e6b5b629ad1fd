#pragma once
// Bytes the machine's own network interfaces move, from /proc/net/dev. Its
// own: those that stand for a device (/sys/class/net/NAME/device), a cable
// port, a Wi-Fi card, a phone tethered by USB; not the loopback, bridges,
// tunnels and containers' virtual pairs, whose bytes pass a real interface
// too, or never leave the machine.
//
// A rate needs two readings: the sampler keeps the previous counters and
// time. Readings closer than a quarter of a second make no rate (a counter
// that moves in bursts would read as a spike) but become the new baseline.
// An interface that has just appeared adds nothing until its second reading.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "SystemStatsKit/CounterGrowth.h"
#include "SystemStatsKit/PairedRates.h"
#include "SystemStatsKit/SystemRoots.h"

namespace tessel {

struct NetworkThroughput {
    double received = 0; // bytes per second
    double sent = 0;
    static const NetworkThroughput zero;
    bool operator==(const NetworkThroughput&) const = default;
};
inline constexpr NetworkThroughput NetworkThroughput::zero{};

// Bytes since boot over the counted interfaces.
struct NetworkTotals {
    std::uint64_t received = 0;
    std::uint64_t sent = 0;
    bool operator==(const NetworkTotals&) const = default;
};

class NetworkSampler {
public:
    explicit NetworkSampler(SystemRoots roots = {});

    // The rate since the previous reading, `now` in seconds of a monotonic
    // clock. None on the first call, or less than 0.25 s after the previous
    // one, or when /proc/net/dev can't be read (failure() says why).
    std::optional<NetworkThroughput> sample(double now);
    std::optional<NetworkTotals> totals();
    const std::string& failure() const { return failure_; }

    // The counters of the machine's own interfaces, by name (names are bytes).
    std::optional<std::map<std::string, NetworkTotals>> read();
    // Every interface /proc/net/dev lists, by name.
    static std::map<std::string, NetworkTotals> parse(std::string_view netDev);

private:
    SystemRoots roots_;
    PairedRates rates_{0.25, counterGrowth};
    std::string failure_;
};

} // namespace tessel
