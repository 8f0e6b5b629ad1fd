#include "SystemStatsKit/HistoryWindow.h"

#include <iterator>

namespace tessel {

void HistoryWindow::append(const HistorySample& sample) {
    samples_.push_back(sample);
    while (!samples_.empty() && samples_.front().time < sample.time - window_) samples_.pop_front();
}

namespace {

HistorySample meanOf(std::deque<HistorySample>::const_iterator first, std::deque<HistorySample>::const_iterator last) {
    const auto count = static_cast<double>(std::distance(first, last));
    double user = 0, system = 0, app = 0, wired = 0, compressed = 0, total = 0, down = 0, up = 0, read = 0, write = 0;
    double chip = 0, charge = 0;
    int chips = 0, charges = 0;
    for (auto it = first; it != last; ++it) {
        if (it->chipCelsius) {
            chip += *it->chipCelsius;
            ++chips;
        }
        if (it->batteryCharge) {
            charge += *it->batteryCharge;
            ++charges;
        }
        user += it->cpuUser;
        system += it->cpuSystem;
        app += static_cast<double>(it->memoryApp);
        wired += static_cast<double>(it->memoryWired);
        compressed += static_cast<double>(it->memoryCompressed);
        total += static_cast<double>(it->memoryTotal);
        down += it->download;
        up += it->upload;
        read += it->diskRead;
        write += it->diskWrite;
    }
    auto bytes = [&](double sum) { return static_cast<std::uint64_t>(sum / count); };
    auto meanOfSome = [](double sum, int some) { return some > 0 ? std::optional(sum / some) : std::nullopt; };
    return {std::prev(last)->time, user / count, system / count, bytes(app), bytes(wired), bytes(compressed),
            bytes(total), down / count, up / count, read / count, write / count, meanOfSome(chip, chips),
            meanOfSome(charge, charges)};
}

} // namespace

std::vector<HistorySample> HistoryWindow::recent(std::size_t points, double now, std::optional<double> span) const {
    std::vector<HistorySample> folded;
    if (points == 0) return folded;
    const double from = now - (span && *span < window_ ? *span : window_);
    auto first = samples_.begin();
    while (first != samples_.end() && first->time < from) ++first;
    auto last = first;
    while (last != samples_.end() && last->time <= now) ++last;
    const auto count = static_cast<std::size_t>(std::distance(first, last));
    if (count == 0) return folded;
    const std::size_t buckets = count < points ? count : points;
    folded.reserve(buckets);
    for (std::size_t bucket = 0; bucket < buckets; ++bucket) {
        // Bucket edges spread the remainder, so no bucket is more than one sample larger than another.
        const auto begin = static_cast<std::ptrdiff_t>(bucket * count / buckets);
        const auto end = static_cast<std::ptrdiff_t>((bucket + 1) * count / buckets);
        folded.push_back(meanOf(first + begin, first + end));
    }
    return folded;
}

} // namespace tessel
