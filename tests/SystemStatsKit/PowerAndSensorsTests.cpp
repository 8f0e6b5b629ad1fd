// The battery, temperatures and fans from a /sys described in a fixture, and
// the decoding of a Mac controller's answers: which battery counts, how its
// charge and time remaining are made, which sensors stand for which place,
// and which readings are not believed.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include <map>

#include "KernelTree.h"
#include "SystemStatsKit/BatterySampler.h"
#include "SystemStatsKit/FanReader.h"
#include "SystemStatsKit/SmcValues.h"
#include "SystemStatsKit/TemperatureSampler.h"

using namespace tessel;
using namespace tessel::test;

namespace {

void battery(const KernelTree& kernel, const std::string& name, const std::map<std::string, std::string>& files) {
    for (const auto& [file, value] : files) kernel.sys("class/power_supply/" + name + "/" + file, value + "\n");
}

} // namespace

TEST(Battery, APeripheralsBatteryAndAnEmptyBayAreSkipped) {
    KernelTree kernel;
    BatterySampler sampler(kernel.roots.sys);
    EXPECT_FALSE(sampler.sample()) << "no power_supply folder";
    battery(kernel, "hidpp_battery_0", {{"type", "Battery"}, {"scope", "Device"}, {"capacity", "90"}});
    battery(kernel, "AC", {{"type", "Mains"}, {"online", "0"}});
    EXPECT_FALSE(sampler.sample());
    EXPECT_NE(sampler.failure().find("no system battery"), std::string::npos);
    battery(kernel, "BAT0", {{"type", "Battery"}, {"present", "0"}});
    battery(kernel, "BAT1", {{"type", "Battery"}, {"status", "Discharging"}, {"capacity", "42"}});
    const std::optional<BatteryStatus> status = sampler.sample();
    ASSERT_TRUE(status) << sampler.failure();
    EXPECT_EQ(status->percentage(), 42);
    EXPECT_EQ(status->source, BatteryStatus::PowerSource::battery);
    EXPECT_FALSE(status->minutesRemaining) << "no draw, no estimate";
    EXPECT_FALSE(BatteryHealthReader(kernel.roots.sys).read()) << "it tells neither cycles nor capacities";
}

TEST(Battery, ChargeAndTimeRemainingComeFromEnergyAndDraw) {
    KernelTree kernel;
    battery(kernel, "BAT0", {{"type", "Battery"}, {"status", "Discharging"}, {"energy_now", "30000000"},
                             {"energy_full", "50000000"}, {"energy_full_design", "40000000"}, {"power_now", "-10000000"},
                             {"cycle_count", "312"}, {"capacity", "1"}});
    battery(kernel, "AC", {{"type", "Mains"}, {"online", "0"}});
    BatterySampler sampler(kernel.roots.sys);
    EXPECT_EQ(sampler.sample(), (BatteryStatus{0.6, false, false, BatteryStatus::PowerSource::battery, 180}));
    battery(kernel, "BAT0", {{"status", "Charging"}, {"power_now", "20000000"}});
    battery(kernel, "AC", {{"online", "1"}});
    EXPECT_EQ(sampler.sample(), (BatteryStatus{0.6, true, false, BatteryStatus::PowerSource::adapter, 60}));
    battery(kernel, "BAT0", {{"time_to_full_now", "1800"}});
    EXPECT_EQ(sampler.sample()->minutesRemaining, 30) << "the kernel's own figure comes first";
    battery(kernel, "BAT0", {{"status", "Full"}, {"energy_now", "51000000"}});
    std::filesystem::remove(kernel.roots.sys + "/class/power_supply/AC/online");
    EXPECT_EQ(sampler.sample(), (BatteryStatus{1.0, false, true, BatteryStatus::PowerSource::adapter, std::nullopt}));
    battery(kernel, "BAT0", {{"status", "Discharging"}, {"power_now", "1"}});
    EXPECT_EQ(sampler.sample()->minutesRemaining, std::nullopt) << "a draw of 1 µW forecasts nothing";
    EXPECT_EQ(BatteryHealthReader(kernel.roots.sys).read(), (BatteryHealth{312, 1.0})) << "capped at 1";
    EXPECT_EQ(BatteryHealth::capacityOf(35, 50), 0.7);
    EXPECT_EQ(BatteryHealth::capacityOf(35, 0), std::nullopt);
}

TEST(Temperatures, PlacesByDriverTheMeanOfEachAndUnbelievableValuesDropped) {
    KernelTree kernel;
    kernel.sys("class/hwmon/hwmon0/name", "coretemp\n");
    kernel.sys("class/hwmon/hwmon0/temp1_input", "54000\n");
    kernel.sys("class/hwmon/hwmon0/temp2_input", "58000\n");
    kernel.sys("class/hwmon/hwmon0/temp3_input", "150000\n");
    kernel.sys("class/hwmon/hwmon1/name", "nvme\n");
    kernel.sys("class/hwmon/hwmon1/temp1_input", "149900\n");
    kernel.sys("class/hwmon/hwmon2/name", "iwlwifi_1\n");
    kernel.sys("class/hwmon/hwmon2/temp1_input", "40000\n");
    kernel.sys("class/thermal/thermal_zone0/type", "x86_pkg_temp\n");
    kernel.sys("class/thermal/thermal_zone0/temp", "90000\n");
    kernel.sys("class/thermal/thermal_zone1/type", "acpitz\n");
    kernel.sys("class/thermal/thermal_zone1/temp", "0\n");
    kernel.sys("class/thermal/thermal_zone2/type", "acpitz\n");
    kernel.sys("class/thermal/thermal_zone2/temp", "41000\n");
    TemperatureSampler sampler(kernel.roots.sys);
    EXPECT_EQ(sampler.sample(), (std::vector<TemperatureReading>{{"Chip", 56}, {"Board", 41}, {"SSD", 149.9}}))
        << "the package zone is not counted beside coretemp";
    EXPECT_EQ(TemperaturePlaces::ofMacSensor("PMU tdie3"), "Chip");
    EXPECT_EQ(TemperaturePlaces::ofMacSensor("PMU TDEV1"), "Board");
    EXPECT_EQ(TemperaturePlaces::ofMacSensor("NAND CH0 temp"), "SSD");
    EXPECT_EQ(TemperaturePlaces::ofMacSensor("gas gauge battery"), "Battery");
    EXPECT_EQ(TemperaturePlaces::ofMacSensor("PMU tcal ssd"), "Chip") << "the first rule wins";
    EXPECT_EQ(TemperaturePlaces::ofMacSensor("PMU vbat"), std::nullopt);
    EXPECT_TRUE(TemperatureSampler(kernel.roots.proc).sample().empty());
}

TEST(Fans, EachFanWithItsLabelOrChipAndNoUnbelievableSpeed) {
    KernelTree kernel;
    EXPECT_FALSE(FanReader(kernel.roots.sys).read());
    kernel.sys("class/hwmon/hwmon3/name", "thinkpad\n");
    kernel.sys("class/hwmon/hwmon3/fan1_input", "2400\n");
    kernel.sys("class/hwmon/hwmon3/fan2_input", "12000\n");
    kernel.sys("class/hwmon/hwmon10/name", "nct6775\n");
    kernel.sys("class/hwmon/hwmon10/fan1_input", "800\n");
    kernel.sys("class/hwmon/hwmon10/fan1_label", "CPU Fan\n");
    EXPECT_EQ(FanReader(kernel.roots.sys).read(),
              (std::vector<FanReader::Fan>{{0, 2400, "thinkpad fan 1"}, {2, 800, "CPU Fan"}}));
}

TEST(SmcValues, BytesDecodeByTypeAndFansNeedTheControllerAndABelievableCount) {
    const std::vector<std::uint8_t> bytes{0x12, 0x34, 0x56, 0x78};
    auto decode = [&](std::string_view type, std::size_t size) { return SmcValues::decode(type, std::span(bytes).first(size)); };
    EXPECT_EQ(decode("ui8 ", 1), 0x12);
    EXPECT_EQ(decode("ui16", 2), 4660);
    EXPECT_EQ(decode("fpe2", 2), 1165);
    EXPECT_EQ(decode("ui32", 4), 0x12345678);
    EXPECT_EQ(decode("ui32", 2), std::nullopt);
    EXPECT_EQ(decode("sp78", 2), std::nullopt);
    EXPECT_EQ(decode("ui8 ", 0), std::nullopt);
    EXPECT_EQ(SmcValues::decode("ui8 ", std::vector<std::uint8_t>(33, 1)), std::nullopt);
    const float half = 0.5f;
    std::uint8_t raw[4];
    std::memcpy(raw, &half, 4);
    EXPECT_EQ(SmcValues::decode("flt ", raw), 0.5);

    std::map<std::string, double, std::less<>> keys{{"#KEY", 1200}, {"FNum", 3}, {"F0Ac", 1800}, {"F1Ac", 12000}, {"F2Ac", 0}};
    auto reader = [&](std::string_view key) -> std::optional<double> {
        auto found = keys.find(key);
        return found == keys.end() ? std::nullopt : std::optional(found->second);
    };
    EXPECT_EQ(SmcValues::fans(reader), (std::vector<FanReader::Fan>{{0, 1800, "Fan 1"}, {2, 0, "Fan 3"}}));
    keys["FNum"] = 9;
    EXPECT_EQ(SmcValues::fans(reader), std::vector<FanReader::Fan>{});
    keys["#KEY"] = 0;
    EXPECT_EQ(SmcValues::fans(reader), std::nullopt);
}
