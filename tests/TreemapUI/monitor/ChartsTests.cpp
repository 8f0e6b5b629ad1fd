// What the charts are handed: the history's samples placed across a span,
// and the disk's daily points placed across the days drawn and scaled to
// the disk's size, with the sentence that stands in for fewer than two days.

#include <gtest/gtest.h>

#include <QSettings>
#include <QTemporaryDir>

#include <cmath>

#include "KernelTree.h"
#include "monitor/ChartLines.h"
#include "monitor/DiskDaysChart.h"
#include "monitor/DiskUsageHistory.h"
#include "monitor/MonitorModel.h"
#include "monitor/MonitorWords.h"

using namespace tessel;
using namespace tessel::test;

namespace {

constexpr std::int64_t day = 86'400;
constexpr std::int64_t nov1 = 1'793'487'600; // some midnight; only the differences count

DiskUsagePoint point(std::int64_t start, std::int64_t used, std::int64_t total = 100) { return {start, used, total}; }

VolumeCapacity volumeWith(std::int64_t used, std::int64_t total) {
    VolumeCapacity volume;
    volume.total = total;
    volume.available = total - used;
    return volume;
}

} // namespace

TEST(DiskDaysChart, DaysStandWhereTheyFallBetweenTheFirstAndTheLast) {
    const DiskDaysChart chart =
        DiskDaysChart::of({point(nov1, 40), point(nov1 + day, 50), point(nov1 + 4 * day, 60)}, nov1);
    EXPECT_EQ(chart.xs, (std::vector<double>{0, 0.25, 1})) << "the days the app didn't run are a longer stretch";
    EXPECT_EQ(chart.used, (std::vector<double>{0.4, 0.5, 0.6}));
    EXPECT_EQ(chart.top, 100);
    EXPECT_EQ(chart.firstDay, nov1);
    EXPECT_EQ(chart.lastDay, nov1 + 4 * day);
}

TEST(DiskDaysChart, OnlyDaysFromTheFirstShownWithASizeAreDrawn) {
    const DiskDaysChart chart = DiskDaysChart::of(
        {point(nov1 - day, 10), point(nov1, 20), point(nov1 + day, 30, 0), point(nov1 + 2 * day, 40)}, nov1);
    EXPECT_EQ(chart.firstDay, nov1) << "the day before the window is left out";
    EXPECT_EQ(chart.used, (std::vector<double>{0.2, 0.4})) << "a day without a size can't be scaled";
    const DiskDaysChart one = DiskDaysChart::of({point(nov1, 20)}, nov1);
    EXPECT_EQ(one.xs, (std::vector<double>{1})) << "a lone day stands at the right, where today is";
    EXPECT_TRUE(DiskDaysChart::of({point(nov1 - day, 10)}, nov1).xs.empty());
}

TEST(DiskDaysChart, TheTopIsTheLargestSizeSoAGrownDiskStaysInside) {
    // The disk was enlarged from 100 to 200 and then filled beyond its old size.
    const DiskDaysChart chart = DiskDaysChart::of({point(nov1, 90), point(nov1 + day, 150, 200)}, nov1);
    EXPECT_EQ(chart.top, 200);
    EXPECT_EQ(chart.used, (std::vector<double>{0.45, 0.75}));
    const DiskDaysChart odd = DiskDaysChart::of({point(nov1, -5), point(nov1 + day, 120)}, nov1);
    EXPECT_EQ(odd.used, (std::vector<double>{0, 1})) << "figures past the ends are held at the edges";
}

TEST(DiskDaysChart, TheHistoryDrawsItsLastThirtyLocalDays) {
    QTemporaryDir dir;
    QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
    DiskUsageHistory history(&settings);
    const QDateTime today(QDate(2026, 11, 24), QTime(15, 0));
    for (int back = 39; back >= 0; --back) history.record(today.addDays(-back), volumeWith(100 - back, 1000));
    const DiskDaysChart chart = history.chart(today);
    ASSERT_EQ(chart.xs.size(), std::size_t{DiskDaysChart::shownDays});
    EXPECT_EQ(chart.firstDay, DiskUsageHistory::startOfDay(today.addDays(-29)));
    EXPECT_EQ(chart.lastDay, DiskUsageHistory::startOfDay(today));
    EXPECT_DOUBLE_EQ(chart.used.front(), 0.071);
    EXPECT_DOUBLE_EQ(chart.used.back(), 0.1);
}

TEST(DiskDaysChart, TheRoomHasASentenceUntilTwoDaysAndLabelsTheEndsAfter) {
    QTemporaryDir dir;
    QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
    DiskUsageHistory history(&settings);
    KernelTree kernel;
    const QDateTime today(QDate(2026, 11, 24), QTime(15, 0));
    const MonitorClock still{[] { return 0.0; }, [] { return 0.0; }};
    MonitorModel monitor({nullptr, kernel.roots, kernel.folder.path(), still, &history, [today] { return today; }});
    EXPECT_EQ(monitor.diskDays()["count"].toInt(), 0);
    EXPECT_EQ(monitor.diskDays()["note"].toString().toStdString(), MonitorWords::diskDaysNote(0));
    int announced = 0;
    QObject::connect(&monitor, &MonitorModel::diskDaysChanged, [&] { ++announced; });
    history.record(today.addDays(-3), volumeWith(400'000'000'000, 500'000'000'000));
    EXPECT_EQ(announced, 1) << "a new point redraws the card";
    EXPECT_EQ(monitor.diskDays()["note"].toString().toStdString(), MonitorWords::diskDaysNote(1));
    EXPECT_FALSE(MonitorWords::diskDaysNote(1).empty());
    history.record(today, volumeWith(410'000'000'000, 500'000'000'000));
    const QVariantMap days = monitor.diskDays();
    EXPECT_EQ(days["count"].toInt(), 2);
    EXPECT_TRUE(days["note"].toString().isEmpty()) << "two days are a chart";
    EXPECT_EQ(days["lastLabel"].toString(), "Today");
    EXPECT_FALSE(days["firstLabel"].toString().isEmpty());
    EXPECT_NE(days["firstLabel"].toString(), "Today");
    EXPECT_EQ(days["topText"].toString(), "500 GB") << "the top of the chart is the disk's size";
}

TEST(ChartLines, OnlyTheSpanIsDrawnTheNewestAtTheRight) {
    std::vector<HistorySample> samples(3);
    samples[0].time = 300;
    samples[1].time = 700;
    samples[2].time = 1000;
    samples[1].cpuUser = 0.9;
    samples[1].cpuSystem = 0.3;
    samples[2].batteryCharge = 0.8;
    const ChartLines lines = ChartLines::of(samples, 1000, 600);
    EXPECT_EQ(lines.xs, (std::vector<double>{0.5, 1})) << "the sample 700 seconds old is outside ten minutes";
    EXPECT_EQ(lines.busy.front(), 1) << "a share is held at the top";
    EXPECT_TRUE(std::isnan(lines.charge.front())) << "a charge not measured is a gap, not an empty battery";
    EXPECT_TRUE(lines.toMap()["hasBattery"].toBool());
    EXPECT_FALSE(ChartLines::of({samples[0]}, 1000, 600).toMap()["hasBattery"].toBool());
}
