#pragma once
// When the readings beside the tray icon are taken. They run for as long as
// the app does, so they cost only what is shown: nothing wanted, no timer at
// all; the processor, memory or network, a beat of 2 seconds; the battery
// alone, 30 seconds, since a charge moves slowly. With other readings the
// battery rides along every 15th beat, so it is read every 30 seconds either
// way.
//
//     wants {battery}          beat 30 s, battery each beat
//     wants {cpu, battery}     beat 2 s, battery at beats 0, 15, 30, ...
//     wants {}                 no beat

#include <optional>

namespace tessel {

struct MenuBarWants {
    enum : int { cpu = 1, memory = 2, network = 4, battery = 8 };
    int rawValue = 0;

    bool has(int want) const { return (rawValue & want) != 0; }
    bool empty() const { return rawValue == 0; }
    bool operator==(const MenuBarWants&) const = default;
};

struct MonitorBeat {
    double interval = 0; // seconds
    // How late a beat may come, so that the system can bundle wake-ups.
    double tolerance = 0;
};

namespace MenuBarSchedule {

// None when nothing is wanted.
std::optional<MonitorBeat> beat(MenuBarWants wants);
// Whether the battery is read at the beat numbered `tick`, counted from 0 at the restart.
bool readsBattery(MenuBarWants wants, int tick);

} // namespace MenuBarSchedule
} // namespace tessel
