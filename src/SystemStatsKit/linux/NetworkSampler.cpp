#include "SystemStatsKit/NetworkSampler.h"

#include <utility>

#include "Base/Lines.h"
#include "KernelFiles.h"
#include "SystemStatsKit/CounterGrowth.h"

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
    SmallFileRead file = KernelFiles::read(roots_.proc + "/net/dev");
    if (!file.text) {
        failure_ = file.failure;
        return std::nullopt;
    }
    std::map<std::string, NetworkTotals> interfaces = parse(*file.text);
    std::erase_if(interfaces, [&](const auto& entry) {
        return !KernelFiles::exists(roots_.sys + "/class/net/" + entry.first + "/device");
    });
    return interfaces;
}

std::optional<NetworkThroughput> NetworkSampler::sample(double now) {
    std::optional<std::map<std::string, NetworkTotals>> current = read();
    if (!current) return std::nullopt;
    const std::optional<double> previousTime = previousTime_;
    std::map<std::string, NetworkTotals> previous = std::exchange(previous_, std::move(*current));
    previousTime_ = now;
    if (!previousTime) {
        failure_ = "a rate needs two readings of " + roots_.proc + "/net/dev, and this was the first";
        return std::nullopt;
    }
    const double elapsed = now - *previousTime;
    if (elapsed < 0.25) {
        failure_ = "the last reading was less than a quarter of a second ago";
        return std::nullopt;
    }
    std::uint64_t received = 0, sent = 0;
    for (const auto& [name, counters] : previous_) {
        auto before = previous.find(name);
        if (before == previous.end()) continue;
        received += counterGrowth(before->second.received, counters.received);
        sent += counterGrowth(before->second.sent, counters.sent);
    }
    failure_.clear();
    return NetworkThroughput{static_cast<double>(received) / elapsed, static_cast<double>(sent) / elapsed};
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
