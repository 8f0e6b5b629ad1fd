#pragma once
// The last hour of the machine, one sample per beat, for the charts. Samples
// come in time order; each append drops those older than the window. A chart
// is narrower than an hour of beats, so `recent` folds the samples into at
// most `points` buckets of consecutive samples, each the mean of its own:
// 1,800 samples asked for 300 points give 300 means of 6. A mean keeps a
// short spike visible as a bump, where picking every sixth sample could skip
// it altogether. A reading that only some samples have is the mean of those
// that have it, and none in a bucket where none has it.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace tessel {

struct HistorySample {
    double time = 0; // seconds of a monotonic clock
    double cpuUser = 0; // share of the processor, 0 to 1
    double cpuSystem = 0;
    std::uint64_t memoryApp = 0;
    std::uint64_t memoryWired = 0;
    std::uint64_t memoryCompressed = 0;
    std::uint64_t memoryTotal = 0;
    double download = 0; // bytes per second
    double upload = 0;
    double diskRead = 0;
    double diskWrite = 0;
    // Slow readings, taken every few beats; none where the machine has no
    // such sensor or battery, which a chart leaves out rather than draw as 0.
    std::optional<double> chipCelsius;
    std::optional<double> batteryCharge; // 0 to 1

    bool operator==(const HistorySample&) const = default;
};

class HistoryWindow {
public:
    explicit HistoryWindow(double window = 3600) : window_(window) {}

    void append(const HistorySample& sample);
    const std::deque<HistorySample>& samples() const { return samples_; }
    double window() const { return window_; }
    // The samples of the window that ends at `now`, or of its last `span`
    // seconds, folded into at most `points` means, oldest first; each mean's
    // time is its last sample's.
    std::vector<HistorySample> recent(std::size_t points, double now, std::optional<double> span = {}) const;

private:
    double window_;
    std::deque<HistorySample> samples_;
};

} // namespace tessel
