#pragma once
// The readings beside the tray icon. They run all the time the icon shows
// them, so they read only what is shown (see MenuBarSchedule.h for the beat)
// and nothing at all when nothing is wanted: the timer stops and no sampler
// runs. A reading that has no value leaves the last one standing.

#include <QObject>
#include <QTimer>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <optional>

#include "SystemStatsKit/BatterySampler.h"
#include "SystemStatsKit/MenuBarSchedule.h"
#include "SystemStatsKit/NetworkSampler.h"
#include "SystemStatsKit/SystemRoots.h"
#include "monitor/MonitorClock.h"
#include "monitor/SleepWatch.h"

namespace tessel {

class MenuBarReadings : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app creates the tray readings")
    // Each undefined until read: the processor and memory as shares 0 to 1,
    // the network in bytes per second, the battery in whole per cent.
    Q_PROPERTY(QVariant cpu READ cpuValue NOTIFY readingsChanged)
    Q_PROPERTY(QVariant memory READ memoryValue NOTIFY readingsChanged)
    Q_PROPERTY(QVariant received READ receivedValue NOTIFY readingsChanged)
    Q_PROPERTY(QVariant sent READ sentValue NOTIFY readingsChanged)
    Q_PROPERTY(QVariant battery READ batteryValue NOTIFY readingsChanged)
    Q_PROPERTY(bool charging READ charging NOTIFY readingsChanged)

public:
    // What each reading comes from; tests count the calls.
    struct Readers {
        std::function<std::optional<double>()> cpu;    // busy share
        std::function<std::optional<double>()> memory; // used share
        std::function<std::optional<NetworkThroughput>(double now)> network;
        std::function<std::optional<BatteryStatus>()> battery;
        // Forgets the processor's baseline, so no load spans a gap.
        std::function<void()> dropCpuBaseline;
        static Readers system(const SystemRoots& roots = {});
    };

    MenuBarReadings(Readers readers, MonitorClock clock, QObject* parent = nullptr);

    // Reads what `wants` names from now on; restarts when that changed.
    void update(MenuBarWants wants);
    void restart();
    void tick();

    MenuBarWants wants() const { return wants_; }
    const QTimer& timer() const { return timer_; }
    std::optional<double> cpu() const { return cpu_; }
    std::optional<double> memory() const { return memory_; }
    std::optional<NetworkThroughput> network() const { return network_; }
    std::optional<BatteryStatus> battery() const { return battery_; }

signals:
    void readingsChanged();

private:
    QVariant cpuValue() const { return cpu_ ? QVariant(*cpu_) : QVariant(); }
    QVariant memoryValue() const { return memory_ ? QVariant(*memory_) : QVariant(); }
    QVariant receivedValue() const { return network_ ? QVariant(network_->received) : QVariant(); }
    QVariant sentValue() const { return network_ ? QVariant(network_->sent) : QVariant(); }
    QVariant batteryValue() const { return battery_ ? QVariant(battery_->percentage()) : QVariant(); }
    bool charging() const { return battery_ && battery_->isCharging; }

    Readers readers_;
    MonitorClock clock_;
    SleepWatch sleep_;
    MenuBarWants wants_;
    QTimer timer_;
    int ticks_ = 0;
    std::optional<double> cpu_;
    std::optional<double> memory_;
    std::optional<NetworkThroughput> network_;
    std::optional<BatteryStatus> battery_;
};

} // namespace tessel
