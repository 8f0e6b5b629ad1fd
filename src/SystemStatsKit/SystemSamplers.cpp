#include "SystemStatsKit/SystemSamplers.h"

namespace tessel {

SystemSamplers::SystemSamplers(const SystemRoots& roots)
    : roots_(roots), cpu_(roots.proc), memory_(roots), network_(roots), disks_(roots), battery_(roots.sys),
      batteryHealth_(roots.sys), temperatures_(roots.sys), fans_(roots.sys) {}

SystemReadings SystemSamplers::sample(double now) {
    SystemReadings readings;
    auto why = [&](const char* name, const std::string& failure) { readings.unavailable.emplace(name, failure); };
    if (!(readings.cpu = cpu_.sample())) why("cpu", cpu_.failure());
    readings.cores = cpu_.cores();
    if (!(readings.memory = memory_.sample())) why("memory", memory_.failure());
    else if (!readings.memory->pressure)
        why("pressure", roots_.proc + "/pressure/memory can't be read: this kernel measures no memory pressure");
    if (!(readings.network = network_.sample(now))) why("network", network_.failure());
    readings.networkTotals = network_.totals();
    readings.link = NetworkLink::current(roots_);
    if (!(readings.disk = disks_.sample(now))) why("disks", disks_.failure());
    readings.disks = disks_.disks();
    if (!(readings.battery = battery_.sample())) why("battery", battery_.failure());
    readings.batteryHealth = batteryHealth_.read();
    if ((readings.temperatures = temperatures_.sample()).empty()) why("temperatures", temperatures_.failure());
    if (!(readings.fans = fans_.read()) || readings.fans->empty()) why("fans", fans_.failure());
    return readings;
}

} // namespace tessel
