#pragma once
// The last hour of the processor, memory, network and disk, one sample a
// beat, for the monitor's charts. One per app: the session starts it at
// launch, so that the monitor room shows an hour's charts at once, and
// whoever else needs it watches it too. It runs while anyone watches: the
// first watch starts the timer and takes a sample at once, the last unwatch
// stops it. A sampler without a value gives zero in that sample, so the
// charts keep their beat.

#include <QObject>
#include <QTimer>

#include <functional>
#include <vector>

#include "SystemStatsKit/HistoryWindow.h"
#include "SystemStatsKit/SystemRoots.h"
#include "monitor/MonitorClock.h"
#include "monitor/SleepWatch.h"

namespace tessel {

class SystemHistory : public QObject {
    Q_OBJECT

public:
    struct Readers {
        // The machine now, `now` the monotonic time the sample carries.
        std::function<HistorySample(double now)> sample;
        // Forgets the rate samplers' baselines after a sleep.
        std::function<void()> dropBaselines;
        static Readers system(const SystemRoots& roots = {});
    };

    static constexpr double defaultBeat = 2.0;

    SystemHistory(Readers readers, MonitorClock clock, double beat = defaultBeat, QObject* parent = nullptr);

    void watch();
    void unwatch();
    void tick();
    // At most `points` means of the hour that ends at `now`, or of its last `span` seconds, oldest first.
    std::vector<HistorySample> recent(std::size_t points, double now, std::optional<double> span = {}) const {
        return window_.recent(points, now, span);
    }
    const HistoryWindow& window() const { return window_; }
    bool isRunning() const { return timer_.isActive(); }
    int watchers() const { return watchers_; }
    const MonitorClock& clock() const { return clock_; }

signals:
    void sampled();

private:
    Readers readers_;
    MonitorClock clock_;
    SleepWatch sleep_;
    HistoryWindow window_;
    QTimer timer_;
    int watchers_ = 0;
};

} // namespace tessel
