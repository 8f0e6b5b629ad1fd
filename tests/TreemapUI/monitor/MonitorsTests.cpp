// The monitors: who runs when, what each reads at which beat, what a history
// keeps, and what the room says where the machine gives no reading. Clocks
// are moved by hand and ticks called directly, so nothing here sleeps.

#include <gtest/gtest.h>

#include <QSettings>
#include <QTemporaryDir>

#include "KernelTree.h"
#include "monitor/DiskUsageHistory.h"
#include "monitor/MenuBarReadings.h"
#include "monitor/MonitorModel.h"
#include "monitor/MonitorWords.h"
#include "monitor/SystemHistory.h"

using namespace tessel;
using namespace tessel::test;

namespace {

struct HandClock {
    double now = 100;
    double asleep = 0;
    MonitorClock clock() {
        return {[this] { return now; }, [this] { return asleep; }};
    }
};

// Readers that count their calls and give what the test sets.
struct CountingReaders {
    int cpuReads = 0, memoryReads = 0, networkReads = 0, batteryReads = 0, baselineDrops = 0;
    std::optional<double> cpu = 0.25;
    std::optional<BatteryStatus> battery = BatteryStatus{0.5, false, false, BatteryStatus::PowerSource::battery, {}};

    MenuBarReadings::Readers readers() {
        return {[this] { ++cpuReads; return cpu; },
                [this] { ++memoryReads; return std::optional<double>(0.5); },
                [this](double) { ++networkReads; return std::optional<NetworkThroughput>(NetworkThroughput{10, 20}); },
                [this] { ++batteryReads; return battery; },
                [this] { ++baselineDrops; }};
    }
};

} // namespace

TEST(MenuBarReadings, NothingWantedStopsTheTimerAndReadsNothing) {
    CountingReaders counting;
    HandClock clock;
    MenuBarReadings readings(counting.readers(), clock.clock());
    readings.update({MenuBarWants::cpu});
    EXPECT_TRUE(readings.timer().isActive());
    EXPECT_EQ(readings.cpu(), 0.25);
    readings.update({});
    EXPECT_FALSE(readings.timer().isActive());
    EXPECT_FALSE(readings.cpu()) << "an unwanted reading is cleared";
    const int before = counting.cpuReads + counting.memoryReads + counting.networkReads + counting.batteryReads;
    readings.update({});
    EXPECT_EQ(counting.cpuReads + counting.memoryReads + counting.networkReads + counting.batteryReads, before);
}

TEST(MenuBarReadings, BatteryAloneBeatsEveryThirtySecondsThenCpuMakesItTwo) {
    CountingReaders counting;
    HandClock clock;
    MenuBarReadings readings(counting.readers(), clock.clock());
    readings.update({MenuBarWants::battery});
    EXPECT_EQ(readings.timer().interval(), 30000);
    EXPECT_EQ(counting.batteryReads, 1) << "a restart ticks at once";
    readings.tick();
    EXPECT_EQ(counting.batteryReads, 2) << "alone, the battery is read at each beat";
    EXPECT_EQ(counting.cpuReads, 0);

    const int batteryBefore = counting.batteryReads;
    readings.update({MenuBarWants::cpu | MenuBarWants::battery});
    EXPECT_EQ(readings.timer().interval(), 2000);
    EXPECT_EQ(counting.baselineDrops, 1) << "a restart drops the processor's baseline";
    for (int tick = 1; tick < 30; ++tick) readings.tick();
    EXPECT_EQ(counting.cpuReads, 30);
    EXPECT_EQ(counting.batteryReads - batteryBefore, 2) << "beats 0 and 15 of 30";
    EXPECT_EQ(readings.battery()->percentage(), 50);
}

TEST(MenuBarReadings, AReadingWithoutValueLeavesTheLastAndASleepDropsTheBaseline) {
    CountingReaders counting;
    HandClock clock;
    MenuBarReadings readings(counting.readers(), clock.clock());
    readings.update({MenuBarWants::cpu | MenuBarWants::network});
    EXPECT_EQ(counting.networkReads, 2) << "a baseline taken at once, then the first tick";
    counting.cpu.reset();
    readings.tick();
    EXPECT_EQ(readings.cpu(), 0.25);
    const int drops = counting.baselineDrops;
    clock.asleep += 600;
    readings.tick();
    EXPECT_EQ(counting.baselineDrops, drops + 1);
    readings.tick();
    EXPECT_EQ(counting.baselineDrops, drops + 1) << "once per sleep";
}

namespace {
SystemHistory::Readers steadyHistory(int* reads) {
    return {[reads](double now) {
                ++*reads;
                HistorySample sample;
                sample.time = now;
                sample.cpuUser = 0.3;
                sample.cpuSystem = 0.1;
                sample.memoryApp = 4;
                sample.memoryTotal = 8;
                sample.download = 1000;
                return sample;
            },
            {}};
}
} // namespace

TEST(SystemHistory, RunsWhileAnyoneWatches) {
    int reads = 0;
    HandClock clock;
    SystemHistory history(steadyHistory(&reads), clock.clock());
    history.watch();
    EXPECT_TRUE(history.isRunning());
    EXPECT_EQ(reads, 1) << "the first watch samples at once";
    history.watch();
    EXPECT_EQ(reads, 1);
    history.unwatch();
    EXPECT_TRUE(history.isRunning()) << "one watcher is left";
    history.unwatch();
    EXPECT_FALSE(history.isRunning());
    history.unwatch();
    EXPECT_EQ(history.watchers(), 0);
}

TEST(MonitorModel, ARoomOpenedRightAfterLaunchShowsTheFewSamplesThereAre) {
    int reads = 0;
    HandClock clock;
    KernelTree kernel; // a machine that tells nothing
    SystemHistory history(steadyHistory(&reads), clock.clock());
    history.watch();
    for (int beat = 0; beat < 2; ++beat) {
        clock.now += 2;
        history.tick();
    }
    MonitorModel monitor({&history, kernel.roots, kernel.folder.path(), clock.clock()});
    EXPECT_FALSE(monitor.running());
    monitor.appear();
    EXPECT_TRUE(monitor.running());
    EXPECT_EQ(history.watchers(), 2);
    const QVariantMap charts = monitor.charts();
    ASSERT_EQ(charts["xs"].toList().size(), 3) << "three samples, fewer than a chart holds";
    EXPECT_DOUBLE_EQ(charts["xs"].toList().last().toDouble(), 1.0) << "the newest at the right edge";
    EXPECT_DOUBLE_EQ(charts["cpuBusy"].toList().first().toDouble(), 0.4);
    EXPECT_DOUBLE_EQ(charts["memory"].toList().first().toDouble(), 0.5);
    EXPECT_EQ(monitor.figures()["cpuText"].toString(), "40%") << "the history's last sample until the room's own";
    monitor.disappear();
    EXPECT_FALSE(monitor.running());
    EXPECT_EQ(history.watchers(), 1);
}

TEST(MonitorModel, WhatTheMachineDoesNotReportIsADashAndASentence) {
    HandClock clock;
    KernelTree kernel;
    MonitorModel monitor({nullptr, kernel.roots, kernel.folder.path(), clock.clock()});
    monitor.appear();
    const QVariantMap figures = monitor.figures();
    const QString dash = QString::fromUtf8(MonitorWords::dash);
    for (const char* key : {"cpuText", "memoryText", "receivedText", "readText", "batteryText", "loadText", "swapText"})
        EXPECT_EQ(figures[key].toString(), dash) << key;
    EXPECT_EQ(figures["batteryState"].toString(), MonitorWords::noBattery);
    EXPECT_EQ(figures["temperatureNote"].toString(), MonitorWords::noTemperatures);
    EXPECT_EQ(figures["fanNote"].toString(), MonitorWords::noFans);
    EXPECT_NE(figures["volumeText"].toString(), dash) << "the folder's own file system has a size";
}

TEST(MonitorModel, DetailsWaitForTheFifthAndTenthBeat) {
    HandClock clock;
    KernelTree kernel;
    kernel.sys("class/thermal/thermal_zone0/type", "x86_pkg_temp\n");
    kernel.sys("class/thermal/thermal_zone0/temp", "50000\n");
    MonitorModel monitor({nullptr, kernel.roots, kernel.folder.path(), clock.clock()});
    monitor.appear(); // beat 0 reads everything
    auto chip = [&] { return monitor.figures()["temperatures"].toList().value(0).toMap()["text"].toString(); };
    EXPECT_EQ(chip(), "50°C");
    kernel.sys("class/thermal/thermal_zone0/temp", "60000\n");
    kernel.sys("class/power_supply/BAT0/type", "Battery\n");
    kernel.sys("class/power_supply/BAT0/capacity", "80\n");
    for (int beat = 1; beat < 5; ++beat) monitor.tick();
    EXPECT_EQ(chip(), "50°C") << "beats 1 to 4 read no sensor";
    monitor.tick();
    EXPECT_EQ(chip(), "60°C");
    EXPECT_FALSE(monitor.figures()["hasBattery"].toBool()) << "the battery waits for beat 10";
    for (int beat = 6; beat <= 10; ++beat) monitor.tick();
    EXPECT_EQ(monitor.figures()["batteryText"].toString(), "80%");
}

TEST(DiskUsageHistory, TwiceOnOneDayLeavesOnePointWithTheLaterFigures) {
    QTemporaryDir dir;
    QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
    const QDateTime morning(QDate(2026, 11, 24), QTime(8, 0));
    VolumeCapacity volume;
    volume.total = 1000;
    volume.available = 400;
    {
        DiskUsageHistory history(&settings);
        EXPECT_TRUE(history.record(morning.addDays(-1), volume));
        EXPECT_TRUE(history.record(morning, volume));
        volume.available = 300;
        EXPECT_TRUE(history.record(morning.addSecs(3600 * 10), volume));
        EXPECT_FALSE(history.record(morning.addSecs(3600 * 11), volume)) << "nothing changed, nothing written";
    }
    DiskUsageHistory reread(&settings);
    ASSERT_EQ(reread.points().size(), 2u);
    EXPECT_EQ(reread.points().back().used, 700);
    EXPECT_EQ(reread.points().back().day, DiskUsageHistory::startOfDay(morning));
    EXPECT_EQ(reread.last(morning)->used, 600) << "yesterday's point";
    settings.setValue(DiskUsageHistory::key, "[{\"day\": \"soon\"}, 12");
    EXPECT_TRUE(DiskUsageHistory(&settings).points().empty()) << "an unreadable store is an empty history";
}

TEST(MonitorWords, BatteryAndWearSentences) {
    using Source = BatteryStatus::PowerSource;
    EXPECT_EQ(MonitorWords::batteryState({0.4, true, false, Source::adapter, 65}), "Charging, 1 h 5 min to full");
    EXPECT_EQ(MonitorWords::batteryState({0.4, false, false, Source::battery, 120}), "On battery, 2 h left");
    EXPECT_EQ(MonitorWords::batteryState({1, false, true, Source::adapter, {}}), "Charged");
    EXPECT_EQ(MonitorWords::batteryState({0.9, false, false, Source::adapter, {}}), "On the power adapter");
    EXPECT_EQ(MonitorWords::batteryWear(BatteryHealth{312, 0.92}), "Holds 92% of its design capacity after 312 cycles");
    EXPECT_EQ(MonitorWords::batteryWear(BatteryHealth{1, {}}), "Charged through 1 cycle");
    EXPECT_EQ(MonitorWords::batteryWear(BatteryHealth{{}, {}}), MonitorWords::noBatteryWear);
    EXPECT_EQ(MonitorWords::percent(std::nullopt), MonitorWords::dash);
    EXPECT_EQ(MonitorWords::rate(1'500'000), "1.5 MB/s");
}
