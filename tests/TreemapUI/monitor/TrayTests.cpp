// The tray: which readings the settings' switches make it read, what the
// tooltip, the icon's figure and the panel's cards say, that a hidden tray
// reads nothing, and that only an open dashboard watches the history.

#include <gtest/gtest.h>

#include "monitor/MonitorWords.h"
#include "monitor/TrayModel.h"

using namespace tessel;

namespace {

struct TrayFixture : testing::Test {
    double now = 1000;
    int samples = 0;
    SystemHistory history{{[this](double time) {
                               ++samples;
                               HistorySample sample;
                               sample.time = time;
                               sample.cpuUser = 0.5;
                               sample.memoryApp = 2;
                               sample.memoryTotal = 8;
                               return sample;
                           },
                           {}},
                          {[this] { return now; }, [] { return 0.0; }}};
    int volumeReads = 0;
    int cpuReads = 0;
    MenuBarReadings readings{{[this] { ++cpuReads; return std::optional<double>(0.423); },
                              [] { return std::optional<double>(0.5); },
                              [](double) { return std::optional<NetworkThroughput>(NetworkThroughput{2000, 1000}); },
                              [] { return std::optional<BatteryStatus>(); },
                              {}},
                             {[] { return 0.0; }, [] { return 0.0; }}};
    FreeSpaceBadge freeSpace{[this] {
        ++volumeReads;
        VolumeCapacity volume;
        volume.total = 100'000'000'000;
        volume.available = 33'100'000'000;
        return std::optional(volume);
    }};
    TrayModel tray{&readings, &freeSpace, &history};
};

} // namespace

TEST_F(TrayFixture, AHiddenTrayOrNothingChosenReadsNothing) {
    tray.choose({false, true, true, false, false, false});
    EXPECT_FALSE(readings.timer().isActive());
    EXPECT_FALSE(freeSpace.timer().isActive());
    EXPECT_EQ(cpuReads + volumeReads, 0);
    tray.choose({true, false, false, false, false, false});
    EXPECT_FALSE(readings.timer().isActive()) << "shown, but with no reading chosen";
    tray.choose({true, true, true, false, false, false});
    EXPECT_TRUE(readings.timer().isActive());
    EXPECT_TRUE(freeSpace.timer().isActive());
    tray.choose({true, false, false, false, false, false});
    EXPECT_FALSE(readings.timer().isActive()) << "the tray readings stop when nothing wants them";
    EXPECT_FALSE(freeSpace.timer().isActive());
}

TEST_F(TrayFixture, TheOpenPanelReadsEverythingAndClosingGoesBack) {
    tray.choose({true, true, false, false, false, false});
    EXPECT_EQ(tray.readings().size(), 1);
    tray.setPanelOpen(true);
    EXPECT_EQ(readings.wants().rawValue, MenuBarWants::cpu | MenuBarWants::memory | MenuBarWants::network | MenuBarWants::battery);
    EXPECT_EQ(tray.readings().size(), 5);
    tray.setPanelOpen(false);
    EXPECT_TRUE(readings.wants().empty());
}

TEST_F(TrayFixture, TooltipHoldsTheChosenLinesAndTheIconItsFirstPercentage) {
    tray.choose({true, true, true, true, false, true});
    EXPECT_EQ(tray.tooltip(), "Tessel\nFree space: 33.1 GB\nCPU: 42%\nMemory: 50%\nBattery: \u2014")
        << "a battery not read is a dash";
    EXPECT_EQ(tray.badge(), "42");
    tray.choose({true, true, false, false, false, true});
    EXPECT_EQ(tray.badge(), "") << "no battery reading, no figure";
    EXPECT_EQ(TrayWords::badge({true, false, false, true, false, false}, {{}, {}, {}, 0.999, {}, {}}), "100");
}

TEST_F(TrayFixture, CardsSplitEachReadingIntoItsFigureAndWhatFollows) {
    const TrayFigures figures{75, 300, {}, {}, NetworkThroughput{2000, 1000}, {}};
    const std::vector<TrayReading> shown = TrayWords::readings({true, true, false, false, true, true}, figures);
    ASSERT_EQ(shown.size(), 3u);
    EXPECT_EQ(shown[0].detail, "of 300 bytes");
    EXPECT_DOUBLE_EQ(*shown[0].share, 0.75) << "the bar fills what is not free";
    EXPECT_EQ(shown[1].figure, "\u2193 2.0 KB/s");
    EXPECT_EQ(shown[1].detail, "\u2191 1.0 KB/s");
    EXPECT_EQ(shown[1].text, shown[1].figure + "  " + shown[1].detail);
    EXPECT_EQ(shown[2].text, MonitorWords::dash) << "the tooltip keeps a dash for a battery not read";
    EXPECT_EQ(shown[2].detail, MonitorWords::noBattery);
    EXPECT_FALSE(TrayWords::readings({true, true}, {75, {}, {}, {}, {}, {}})[0].share) << "no size, no bar";
}

TEST_F(TrayFixture, OnlyAnOpenDashboardWatchesTheHistoryAndChartsTenMinutes) {
    tray.choose({true, true, false, false, false, false, true});
    EXPECT_EQ(history.watchers(), 0) << "a closed panel charts nothing";
    tray.setPanelOpen(true);
    EXPECT_EQ(history.watchers(), 1);
    for (int beat = 0; beat < 400; ++beat) {
        now += 2;
        history.tick();
    }
    const QVariantList xs = tray.charts()["xs"].toList();
    ASSERT_EQ(xs.size(), static_cast<qsizetype>(TrayModel::chartPoints)) << "800 seconds kept, ten minutes drawn";
    EXPECT_DOUBLE_EQ(xs.last().toDouble(), 1.0);
    EXPECT_NEAR(xs.first().toDouble(), 0.0, 0.02) << "the span fills the chart";
    EXPECT_DOUBLE_EQ(tray.charts()["memory"].toList().last().toDouble(), 0.25);
    tray.choose({true, true, false, false, false, false, false});
    EXPECT_EQ(history.watchers(), 0) << "switched to cards while open";
    EXPECT_TRUE(tray.charts().isEmpty());
    tray.choose({true, true, false, false, false, false, true});
    tray.setPanelOpen(false);
    EXPECT_EQ(history.watchers(), 0);
}
