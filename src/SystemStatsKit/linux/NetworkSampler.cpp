#include "SystemStatsKit/NetworkSampler.h"

#include <utility>

#include "Base/Lines.h"
#include "KernelFiles.h"

namespace tessel {

NetworkSampler::NetworkSampler(SystemRoots roots) : roots_(std::move(roots)) {}

// "  eth0: 192849747 4245 0 0 0 0 0 0 228868 2692 0 0 0 0 0 0": the name, then
// eight received columns, bytes first, then eight sent ones. A name holds no
// colon or space, so the first colon ends it.
std::map<std::string, NetworkTotals> NetworkSampler::parse(std::string_view netDev) {
    std::map<std::string, NetworkTotals> interfaces;
    forEachLine(netDev, [&](std::string_view line) {
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) return;
        const std::string_view name = trimmed(line.substr(0, colon));
        const std::vector<std::string_view> columns = KernelFiles::words(line.substr(colon + 1));
        if (name.empty() || columns.size() < 16) return;
        const std::optional<std::uint64_t> received = KernelFiles::parseUnsigned(columns[0]);
        const std::optional<std::uint64_t> sent = KernelFiles::parseUnsigned(columns[8]);
        if (received && sent) interfaces[std::string(name)] = {*received, *sent};
    });
    return interfaces;
}

std::optional<std::map<std::string, NetworkTotals>> NetworkSampler::read() {
    const std::optional<std::string> text = KernelFiles::text(roots_.proc + "/net/dev", &failure_);
    if (!text) return std::nullopt;
    std::map<std::string, NetworkTotals> interfaces = parse(*text);
    std::erase_if(interfaces, [&](const auto& entry) {
        return !KernelFiles::exists(roots_.sys + "/class/net/" + entry.first + "/device");
    });
    return interfaces;
}

std::optional<NetworkThroughput> NetworkSampler::sample(double now) {
    std::optional<std::map<std::string, NetworkTotals>> current = read();
    if (!current) return std::nullopt;
    std::map<std::string, CounterPair> counters;
    for (const auto& [name, totals] : *current) counters[name] = {totals.received, totals.sent};
    const auto rates = rates_.advance(std::move(counters), now);
    if (const PairedRates::NoRate* none = std::get_if<PairedRates::NoRate>(&rates)) {
        failure_ = *none == PairedRates::NoRate::first
                       ? "a rate needs two readings of " + roots_.proc + "/net/dev, and this was the first"
                       : "the last reading was less than a quarter of a second ago";
        return std::nullopt;
    }
    NetworkThroughput all;
    for (const auto& [name, rate] : std::get<0>(rates))
        if (rate) {
            all.received += rate->first;
            all.sent += rate->second;
        }
    failure_.clear();
    return all;
}

std::optional<NetworkTotals> NetworkSampler::totals() {
    const std::optional<std::map<std::string, NetworkTotals>> interfaces = read();
    if (!interfaces) return std::nullopt;
    NetworkTotals sum;
    for (const auto& [name, counters] : *interfaces) {
        sum.received += counters.received;
        sum.sent += counters.sent;
    }
    return sum;
}

} // namespace tessel
