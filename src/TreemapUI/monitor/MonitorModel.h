#pragma once
// The monitor room: the processor and each core, memory and its pressure,
// the network, the disks and the startup volume, the battery, temperatures
// and fans, live, with the last hour's charts. It runs only while the room
// is shown: appear() starts a one-second beat, disappear() stops it. Like
// the samplers, the beat is cheap by default and thorough where it has to
// be: the processor, memory, network and disks each beat; the link, totals,
// temperatures and fans every fifth; the battery, its wear and the volume
// every tenth. The charts are drawn from the shared history, so a room
// opened a minute after launch shows a minute at once.

#include <QDateTime>
#include <QObject>
#include <QTimer>
#include <QVariantList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "SystemStatsKit/BatterySampler.h"
#include "SystemStatsKit/CPUSampler.h"
#include "SystemStatsKit/DiskActivitySampler.h"
#include "SystemStatsKit/FanReader.h"
#include "SystemStatsKit/MemorySampler.h"
#include "SystemStatsKit/NetworkLink.h"
#include "SystemStatsKit/NetworkSampler.h"
#include "SystemStatsKit/SystemFacts.h"
#include "SystemStatsKit/TemperatureSampler.h"
#include "SystemStatsKit/VolumeCapacity.h"
#include "monitor/DiskUsageHistory.h"
#include "monitor/SleepWatch.h"
#include "monitor/SystemHistory.h"

namespace tessel {

class MonitorModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session creates the monitor")
    // Every figure as the room shows it, a dash where the machine gives none.
    Q_PROPERTY(QVariantMap figures READ figures NOTIFY changed)
    // {xs: [0..1 across the hour], cpuBusy, cpuSystem, memory, received, sent, read, write,
    //  networkPeak, diskPeak, networkPeakText, diskPeakText}
    Q_PROPERTY(QVariantMap charts READ charts NOTIFY changed)
    // The startup disk's used space over the last days: {count, xs, used (shares of the disk's
    // size), topText, firstLabel, lastLabel, note (instead of a chart of fewer than two days)}.
    Q_PROPERTY(QVariantMap diskDays READ diskDays NOTIFY diskDaysChanged)
    Q_PROPERTY(bool running READ running NOTIFY runningChanged)

public:
    struct Dependencies {
        SystemHistory* history = nullptr;
        SystemRoots roots;
        std::string volumePath = "/";
        MonitorClock clock = MonitorClock::system();
        DiskUsageHistory* diskHistory = nullptr;
        // The calendar's now, which names the days; the monotonic clock above can't.
        std::function<QDateTime()> today = [] { return QDateTime::currentDateTime(); };
    };
    static constexpr int chartPoints = 240;

    explicit MonitorModel(Dependencies dependencies, QObject* parent = nullptr);
    ~MonitorModel() override;

    Q_INVOKABLE void appear();
    Q_INVOKABLE void disappear();
    void tick();

    QVariantMap figures() const { return figures_; }
    QVariantMap charts() const { return charts_; }
    QVariantMap diskDays() const;
    bool running() const { return timer_.isActive(); }
    const QTimer& timer() const { return timer_; }
    int ticks() const { return ticks_; }

signals:
    void changed();
    void runningChanged();
    void diskDaysChanged();

private:
    void readEveryBeat();
    void readEveryFifth();
    void readEveryTenth();
    void seedFromHistory();
    void publish();
    void drawCharts();

    Dependencies dependencies_;
    SleepWatch sleep_;
    QTimer timer_;
    int ticks_ = 0;
    bool visible_ = false;

    CPUSampler cpuSampler_;
    MemorySampler memorySampler_;
    NetworkSampler networkSampler_;
    DiskActivitySampler diskSampler_;
    BatterySampler batterySampler_;
    BatteryHealthReader batteryHealthReader_;
    TemperatureSampler temperatureSampler_;
    FanReader fanReader_;

    std::optional<CPULoad> cpu_;
    std::vector<CoreLoad> cores_;
    std::optional<MemoryUsage> memory_;
    std::optional<SystemFacts::Swap> swap_;
    std::optional<NetworkThroughput> network_;
    std::optional<NetworkTotals> networkTotals_;
    std::optional<NetworkLink> link_;
    std::optional<std::string> address_;
    std::optional<DiskActivity> disk_;
    std::optional<VolumeCapacity> volume_;
    std::optional<BatteryStatus> battery_;
    std::optional<BatteryHealth> batteryHealth_;
    std::vector<TemperatureReading> temperatures_;
    std::optional<std::vector<FanReader::Fan>> fans_;
    std::optional<std::array<double, 3>> loads_;
    std::optional<double> uptime_;
    std::optional<std::string> processorName_;

    QVariantMap figures_;
    QVariantMap charts_;
};

} // namespace tessel
