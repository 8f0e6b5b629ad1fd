#include "SystemStatsKit/PairedRates.h"

namespace tessel {

std::variant<std::vector<std::pair<std::string, std::optional<RatePair>>>, PairedRates::NoRate>
PairedRates::advance(std::map<std::string, CounterPair> current, double now) {
    const std::optional<double> previousTime = std::exchange(previousTime_, now);
    const std::map<std::string, CounterPair> previous = std::exchange(previous_, std::move(current));
    if (!previousTime) return NoRate::first;
    const double elapsed = now - *previousTime;
    if (!(elapsed > 0) || elapsed < shortest_) return NoRate::tooSoon;
    std::vector<std::pair<std::string, std::optional<RatePair>>> rates;
    for (const auto& [name, counters] : previous_) {
        auto before = previous.find(name);
        if (before == previous.end()) {
            rates.emplace_back(name, std::nullopt);
            continue;
        }
        rates.emplace_back(name, RatePair{static_cast<double>(growth_(before->second.first, counters.first)) / elapsed,
                                          static_cast<double>(growth_(before->second.second, counters.second)) / elapsed});
    }
    return rates;
}

std::vector<std::string> PairedRates::names() const {
    std::vector<std::string> names;
    for (const auto& [name, counters] : previous_) names.push_back(name);
    return names;
}

} // namespace tessel
