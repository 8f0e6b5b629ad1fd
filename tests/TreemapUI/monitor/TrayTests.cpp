// The tray: which readings the settings' switches make it read, what the
// tooltip and the icon's figure say, and that a hidden tray reads nothing.

#include <gtest/gtest.h>

#include "monitor/TrayModel.h"

using namespace tessel;

namespace {

struct TrayFixture : testing::Test {
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
    TrayModel tray{&readings, &freeSpace};
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
    EXPECT_EQ(TrayWords::badge({true, false, false, true, false, false}, {{}, {}, 0.999, {}, {}}), "100");
}
