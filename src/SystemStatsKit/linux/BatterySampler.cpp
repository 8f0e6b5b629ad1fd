// The system battery.
//
// /sys/class/power_supply holds one folder per supply. The batteries are those
// of type "Battery", but not a mouse's, a headset's or a game pad's: the
// kernel marks those scope "Device", and they power nothing of the machine.
// A battery bay without a battery says present 0. Of what is left, the first
// by name is read (BAT0 before BAT1), as a machine with two shows the first.
//
// Charge is energy_now / energy_full where the battery counts energy (µWh),
// else charge_now / charge_full (µAh), else its own capacity in percent;
// energy_now may pass energy_full a little, so it is capped at 1.
//
// The machine runs on its adapter when a mains or USB supply says online 1;
// where no supply says either way, a battery that charges, is full or is
// held from charging is on the adapter too.
//
// Time remaining is the kernel's time_to_full_now while charging and
// time_to_empty_now while discharging; few drivers give those, so otherwise
// it is worked out from the present draw:
//
//     discharging: energy_now 30 Wh, power_now 10 W   -> 180 minutes
//     charging:    energy_full 50 Wh, energy_now 30 Wh, power_now 20 W -> 60 minutes
//
// (charge and current the same way for a battery that counts µAh). A battery
// that is full, or held from charging, has no time remaining, nor does one
// whose draw gives more than two days: a draw that small is the driver's
// rounding, not a forecast. Some drivers give power and current as negative
// numbers while discharging; the size is what counts.

#include "SystemStatsKit/BatterySampler.h"

#include <algorithm>
#include <cmath>

#include "KernelFiles.h"

namespace tessel {

namespace {

constexpr double longestEstimateMinutes = 48 * 60;

std::optional<std::string> systemBattery(const std::string& sysRoot, std::string& failure) {
    const std::string folder = sysRoot + "/class/power_supply";
    const std::optional<std::vector<std::string>> supplies = KernelFiles::entries(folder);
    if (!supplies) {
        failure = folder + " can't be listed";
        return std::nullopt;
    }
    for (const std::string& name : *supplies) {
        const std::string supply = folder + "/" + name;
        if (KernelFiles::line(supply + "/type") != "Battery" || KernelFiles::line(supply + "/scope") == "Device" ||
            KernelFiles::integer(supply + "/present") == 0)
            continue;
        return supply;
    }
    failure = "no system battery in " + folder;
    return std::nullopt;
}

std::optional<bool> anAdapterIsOnline(const std::string& sysRoot) {
    const std::string folder = sysRoot + "/class/power_supply";
    std::optional<bool> online;
    for (const std::string& name : KernelFiles::entries(folder).value_or(std::vector<std::string>{})) {
        const std::string supply = folder + "/" + name;
        if (KernelFiles::line(supply + "/type") == "Battery" || KernelFiles::line(supply + "/scope") == "Device") continue;
        if (const std::optional<std::int64_t> says = KernelFiles::integer(supply + "/online"))
            online = online.value_or(false) || *says == 1;
    }
    return online;
}

// A figure of the battery; none when absent or negative where it can't be.
std::optional<double> figure(const std::string& battery, const char* name) {
    const std::optional<std::int64_t> value = KernelFiles::integer(battery + "/" + name);
    if (!value) return std::nullopt;
    return static_cast<double>(*value);
}

// `now` and `full` of the first pair the battery has, with the draw that goes with it.
struct Gauge {
    double now = 0, full = 0;
    std::optional<double> draw;
};
std::optional<Gauge> gaugeOf(const std::string& battery) {
    struct Names {
        const char *now, *full, *draw;
    };
    for (auto [now, full, draw] : {Names{"energy_now", "energy_full", "power_now"}, Names{"charge_now", "charge_full", "current_now"}}) {
        const std::optional<double> current = figure(battery, now), most = figure(battery, full);
        if (!current || !most || !(*most > 0) || *current < 0) continue;
        std::optional<double> rate = figure(battery, draw);
        if (rate) rate = std::fabs(*rate);
        return Gauge{*current, *most, rate};
    }
    return std::nullopt;
}

std::optional<int> minutesFrom(double minutes) {
    if (!(minutes > 0)) return std::nullopt;
    return static_cast<int>(std::lround(minutes));
}

std::optional<int> minutesRemaining(const std::string& battery, const std::optional<Gauge>& gauge, bool charging) {
    const std::optional<double> kernel = figure(battery, charging ? "time_to_full_now" : "time_to_empty_now");
    if (kernel) return minutesFrom(*kernel / 60);
    if (!gauge || !gauge->draw || !(*gauge->draw > 0)) return std::nullopt;
    const double left = charging ? gauge->full - gauge->now : gauge->now;
    const double minutes = left / *gauge->draw * 60;
    if (minutes > longestEstimateMinutes) return std::nullopt;
    return minutesFrom(minutes);
}

} // namespace

BatterySampler::BatterySampler(std::string sysRoot) : sysRoot_(std::move(sysRoot)) {}

std::optional<BatteryStatus> BatterySampler::sample() {
    const std::optional<std::string> battery = systemBattery(sysRoot_, failure_);
    if (!battery) return std::nullopt;
    const std::optional<Gauge> gauge = gaugeOf(*battery);
    BatteryStatus status;
    if (gauge) {
        status.charge = std::clamp(gauge->now / gauge->full, 0.0, 1.0);
    } else if (const std::optional<double> percent = figure(*battery, "capacity")) {
        status.charge = std::clamp(*percent / 100, 0.0, 1.0);
    } else {
        failure_ = *battery + " tells no charge";
        return std::nullopt;
    }
    const std::string state = KernelFiles::line(*battery + "/status").value_or("Unknown");
    status.isCharging = state == "Charging";
    status.isCharged = state == "Full";
    const bool heldByAdapter = status.isCharging || status.isCharged || state == "Not charging";
    status.source = anAdapterIsOnline(sysRoot_).value_or(heldByAdapter) ? BatteryStatus::PowerSource::adapter
                                                                        : BatteryStatus::PowerSource::battery;
    if (status.isCharging || state == "Discharging") status.minutesRemaining = minutesRemaining(*battery, gauge, status.isCharging);
    failure_.clear();
    return status;
}

BatteryHealthReader::BatteryHealthReader(std::string sysRoot) : sysRoot_(std::move(sysRoot)) {}

std::optional<BatteryHealth> BatteryHealthReader::read() const {
    std::string failure;
    const std::optional<std::string> battery = systemBattery(sysRoot_, failure);
    if (!battery) return std::nullopt;
    BatteryHealth health;
    if (const std::optional<double> cycles = figure(*battery, "cycle_count"); cycles && *cycles >= 0 && *cycles < 1e6)
        health.cycleCount = static_cast<int>(*cycles);
    for (auto [full, design] : {std::pair{"energy_full", "energy_full_design"}, std::pair{"charge_full", "charge_full_design"}}) {
        const std::optional<double> now = figure(*battery, full), fresh = figure(*battery, design);
        if (now && fresh && (health.capacity = BatteryHealth::capacityOf(*now, *fresh))) break;
    }
    if (!health.cycleCount && !health.capacity) return std::nullopt;
    return health;
}

} // namespace tessel
