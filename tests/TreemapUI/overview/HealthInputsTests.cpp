// The health word's inputs read from a described machine: what the machine
// measures becomes a concern, and what it does not measure is left out.

#include <gtest/gtest.h>

#include "KernelTree.h"
#include "overview/HealthInputs.h"

using namespace tessel;
using namespace tessel::test;

namespace {

void hotWornMachine(const KernelTree& kernel) {
    kernel.proc("pressure/memory", "some avg10=25.00 avg60=1.00 avg300=0.00 total=1\n"
                                   "full avg10=2.00 avg60=0.00 avg300=0.00 total=1\n");
    kernel.sys("class/hwmon/hwmon0/name", "coretemp\n");
    kernel.sys("class/hwmon/hwmon0/temp1_input", "97400\n");
    for (const auto& [file, value] : std::map<std::string, std::string>{
             {"type", "Battery"}, {"status", "Discharging"}, {"energy_now", "10000000"},
             {"energy_full", "30000000"}, {"energy_full_design", "40000000"}, {"cycle_count", "900"}})
        kernel.sys("class/power_supply/BAT0/" + file, value + "\n");
}

} // namespace

TEST(HealthInputs, EachMeasuredReadingBecomesAnInput) {
    KernelTree kernel;
    hotWornMachine(kernel);
    const HealthInputs inputs = HealthInputs::read(kernel.roots, kernel.folder.path());
    EXPECT_EQ(inputs.pressure, MemoryPressure::warning);
    EXPECT_EQ(inputs.chipCelsius, 97.4);
    EXPECT_EQ(inputs.batteryCapacity, 0.75);
    // Memory, heat and battery are all fair; memory comes first of equals.
    const MacHealth health = inputs.assess();
    EXPECT_EQ(health.concern, MacHealth::Concern::memory);
    EXPECT_EQ(health.word, "Memory is tight");
}

TEST(HealthInputs, WhatTheMachineDoesNotMeasureIsLeftOut) {
    KernelTree kernel; // no pressure file, no sensor, no battery
    const HealthInputs inputs = HealthInputs::read(kernel.roots, kernel.folder.path());
    EXPECT_FALSE(inputs.pressure) << "a kernel without pressure information is not 'normal'";
    EXPECT_FALSE(inputs.chipCelsius);
    EXPECT_FALSE(inputs.batteryCapacity);
    ASSERT_TRUE(inputs.disk) << "the folder's own file system is always there";
    HealthInputs roomy = inputs;
    roomy.disk->total = 1'000'000'000'000;
    roomy.disk->available = 500'000'000'000;
    EXPECT_EQ(roomy.assess().level, MacHealth::Level::good);
    EXPECT_FALSE(roomy.assess().concern);
}

TEST(HealthInputs, OnlyTheChipsTemperatureIsHeat) {
    EXPECT_EQ(HealthInputs::processorCelsius({{"Board", 99}, {"Chip", 61}}), 61.0);
    EXPECT_FALSE(HealthInputs::processorCelsius({{"Board", 99}, {"SSD", 98}}))
        << "a hot disk or board is not the processor";
    EXPECT_FALSE(HealthInputs::processorCelsius({}));
}
