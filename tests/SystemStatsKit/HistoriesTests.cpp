// The plain parts of the monitors: when the tray readings beat, the hour's
// window and its folding into chart points, and the disk's one point a day.

#include <gtest/gtest.h>

#include "SystemStatsKit/DiskUsagePoints.h"
#include "SystemStatsKit/HistoryWindow.h"
#include "SystemStatsKit/MenuBarSchedule.h"

using namespace tessel;

TEST(MenuBarSchedule, BeatFollowsWhatIsWanted) {
    EXPECT_FALSE(MenuBarSchedule::beat({}));
    const auto battery = MenuBarSchedule::beat({MenuBarWants::battery});
    ASSERT_TRUE(battery);
    EXPECT_EQ(battery->interval, 30.0);
    EXPECT_EQ(battery->tolerance, 7.5);
    for (int fast : {MenuBarWants::cpu, MenuBarWants::memory, MenuBarWants::network})
        EXPECT_EQ(MenuBarSchedule::beat({fast | MenuBarWants::battery})->interval, 2.0) << fast;
}

TEST(MenuBarSchedule, BatteryEveryThirtySecondsEitherWay) {
    for (int tick : {0, 1, 7}) EXPECT_TRUE(MenuBarSchedule::readsBattery({MenuBarWants::battery}, tick));
    const MenuBarWants both{MenuBarWants::cpu | MenuBarWants::battery};
    std::vector<int> read;
    for (int tick = 0; tick < 46; ++tick)
        if (MenuBarSchedule::readsBattery(both, tick)) read.push_back(tick);
    EXPECT_EQ(read, (std::vector<int>{0, 15, 30, 45}));
    EXPECT_FALSE(MenuBarSchedule::readsBattery({MenuBarWants::cpu}, 0));
}

namespace {
HistorySample at(double time, double user = 0) {
    HistorySample sample;
    sample.time = time;
    sample.cpuUser = user;
    return sample;
}
} // namespace

TEST(HistoryWindow, KeepsOneHourAndFoldsIntoMeans) {
    HistoryWindow window(3600);
    for (int second = 0; second <= 4000; second += 2) window.append(at(second, second % 4 == 0 ? 1.0 : 0.0));
    ASSERT_FALSE(window.samples().empty());
    EXPECT_EQ(window.samples().front().time, 400) << "older than an hour before the newest is dropped";
    const std::vector<HistorySample> points = window.recent(300, 4000);
    ASSERT_EQ(points.size(), 300u);
    EXPECT_EQ(points.back().time, 4000);
    for (const HistorySample& point : points) EXPECT_NEAR(point.cpuUser, 0.5, 0.1) << "a mean of alternating 1 and 0";
    const std::vector<HistorySample> lastMinutes = window.recent(60, 4000, 600);
    ASSERT_EQ(lastMinutes.size(), 60u) << "the last ten minutes in means of ten seconds";
    EXPECT_NEAR(lastMinutes.front().time, 3400, 10) << "nothing from before the span";
    EXPECT_EQ(window.recent(300, 4000, 7200).size(), 300u) << "a span beyond the hour is the hour";
}

TEST(HistoryWindow, FewerSamplesThanPointsComeOutAsTheyAre) {
    HistoryWindow window;
    window.append(at(10, 0.2));
    window.append(at(12, 0.4));
    window.append(at(14, 0.6));
    const std::vector<HistorySample> points = window.recent(300, 13);
    ASSERT_EQ(points.size(), 2u) << "a sample after `now` is not yet";
    EXPECT_EQ(points[1], at(12, 0.4));
    EXPECT_TRUE(window.recent(300, 5000).empty()) << "all older than the hour before now";
    EXPECT_TRUE(window.recent(0, 14).empty());
}

TEST(HistoryWindow, ASlowReadingIsTheMeanOfTheSamplesThatHaveIt) {
    HistoryWindow window;
    for (auto [time, chip] : std::vector<std::pair<double, std::optional<double>>>{
             {1, 50.0}, {2, std::nullopt}, {3, 70.0}, {4, std::nullopt}, {5, std::nullopt}}) {
        HistorySample sample = at(time);
        sample.chipCelsius = chip;
        window.append(sample);
    }
    const std::vector<HistorySample> points = window.recent(2, 5);
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[0].chipCelsius, 50.0) << "samples 1 and 2: only the first has it";
    EXPECT_EQ(points[1].chipCelsius, 70.0);
    EXPECT_FALSE(window.recent(1, 5).front().batteryCharge) << "no sample has a battery: none, not 0";
    EXPECT_EQ(window.recent(1, 5).front().chipCelsius, 60.0);
}

TEST(DiskUsagePoints, OnePointADayWithTheLaterFigures) {
    std::vector<DiskUsagePoint> points;
    EXPECT_TRUE(DiskUsagePoints::record(points, {86400, 10, 100}));
    EXPECT_TRUE(DiskUsagePoints::record(points, {86400, 12, 100}));
    EXPECT_FALSE(DiskUsagePoints::record(points, {86400, 12, 100})) << "the same figures change nothing";
    EXPECT_EQ(points, (std::vector<DiskUsagePoint>{{86400, 12, 100}}));
    EXPECT_TRUE(DiskUsagePoints::record(points, {0, 9, 100}));
    EXPECT_EQ(points.front().day, 0) << "sorted by day";
    EXPECT_EQ(DiskUsagePoints::before(points, 86400), (DiskUsagePoint{0, 9, 100}));
    EXPECT_FALSE(DiskUsagePoints::before(points, 0));
}

TEST(DiskUsagePoints, TheOldestDaysGoPastTheKeptSpan) {
    std::vector<DiskUsagePoint> points;
    for (std::int64_t day = 0; day < static_cast<std::int64_t>(DiskUsagePoints::keptDays) + 5; ++day)
        DiskUsagePoints::record(points, {day * 86400, day, 100});
    ASSERT_EQ(points.size(), DiskUsagePoints::keptDays);
    EXPECT_EQ(points.front().used, 5);
}
