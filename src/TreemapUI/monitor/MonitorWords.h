#pragma once
// What the monitor room and the tray panel say of each reading, once. A
// figure the machine does not give reads as a dash, never as a zero, and the
// card says in a sentence what is missing.

#include <cstddef>
#include <optional>
#include <string>

#include "SystemStatsKit/BatterySampler.h"
#include "SystemStatsKit/MemoryUsage.h"

namespace tessel::MonitorWords {

inline constexpr const char* dash = "\u2014";
inline constexpr const char* noBattery = "This machine reports no battery.";
inline constexpr const char* noTemperatures = "This machine reports no temperature sensors.";
inline constexpr const char* noFans = "This machine shows no fans: none is reported by its sensors.";
inline constexpr const char* noPressure = "This kernel measures no memory pressure.";
inline constexpr const char* noBatteryWear = "The battery tells neither its cycles nor its capacity.";

// A share 0 to 1 as whole per cent: "23%"; a dash without one.
std::string percent(std::optional<double> share);
// Bytes per second: "1.2 MB/s"; a dash without a rate.
std::string rate(std::optional<double> bytesPerSecond);
// "3 h 5 min", "45 min".
std::string duration(int minutes);
// "Charging, 1 h 5 min to full", "On battery, 2 h left", "Charged", "On the power adapter".
std::string batteryState(const BatteryStatus& status);
// "Holds 92% of its design capacity after 312 cycles"; the sentence above where it tells neither.
std::string batteryWear(const std::optional<BatteryHealth>& health);
// "Normal", "Warning", "Critical"; a dash where the kernel measures none.
std::string pressure(std::optional<MemoryPressure> pressure);
// "52°C".
std::string celsius(double value);
// What the disk card says in place of its chart of used space while fewer
// than two days are kept; empty from the second day on.
std::string diskDaysNote(std::size_t days);

} // namespace tessel::MonitorWords
