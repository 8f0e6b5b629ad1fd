#include "monitor/MenuBarReadings.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "SystemStatsKit/CPUSampler.h"
#include "SystemStatsKit/MemorySampler.h"

namespace tessel {

MenuBarReadings::Readers MenuBarReadings::Readers::system(const SystemRoots& roots) {
    struct Samplers {
        explicit Samplers(const SystemRoots& roots) : cpu(roots.proc), memory(roots), network(roots), battery(roots.sys) {}
        CPUSampler cpu;
        MemorySampler memory;
        NetworkSampler network;
        BatterySampler battery;
    };
    auto samplers = std::make_shared<Samplers>(roots);
    return {
        [samplers]() -> std::optional<double> {
            if (std::optional<CPULoad> load = samplers->cpu.sample()) return load->busy();
            return std::nullopt;
        },
        [samplers]() -> std::optional<double> {
            if (std::optional<MemoryUsage> usage = samplers->memory.sample()) return usage->usedFraction();
            return std::nullopt;
        },
        [samplers](double now) { return samplers->network.sample(now); },
        [samplers] { return samplers->battery.sample(); },
        [samplers] { samplers->cpu.reset(); },
    };
}

MenuBarReadings::MenuBarReadings(Readers readers, MonitorClock clock, QObject* parent)
    : QObject(parent), readers_(std::move(readers)), clock_(clock), sleep_(clock) {
    // Whole-second accuracy: the nearest Qt has to a tolerance, and it lets
    // the system bundle this wake-up with others.
    timer_.setTimerType(Qt::VeryCoarseTimer);
    connect(&timer_, &QTimer::timeout, this, &MenuBarReadings::tick);
    connect(&sleep_, &SleepWatch::woke, this, &MenuBarReadings::restart);
}

void MenuBarReadings::update(MenuBarWants wants) {
    if (wants == wants_ && (timer_.isActive() || wants.empty())) return;
    wants_ = wants;
    restart();
}

void MenuBarReadings::restart() {
    const std::optional<MonitorBeat> beat = MenuBarSchedule::beat(wants_);
    const bool hadAny = cpu_ || memory_ || network_ || battery_;
    if (!wants_.has(MenuBarWants::cpu)) cpu_.reset();
    if (!wants_.has(MenuBarWants::memory)) memory_.reset();
    if (!wants_.has(MenuBarWants::network)) network_.reset();
    if (!wants_.has(MenuBarWants::battery)) battery_.reset();
    if (!beat) {
        timer_.stop();
        if (hadAny) emit readingsChanged();
        return;
    }
    timer_.start(static_cast<int>(beat->interval * 1000));
    ticks_ = 0;
    // The first figure shown is not averaged over a stale gap.
    if (wants_.has(MenuBarWants::cpu) && readers_.dropCpuBaseline) readers_.dropCpuBaseline();
    if (wants_.has(MenuBarWants::network) && readers_.network) readers_.network(clock_.now());
    tick();
}

void MenuBarReadings::tick() {
    if (sleep_.sleptSinceLastLook() && readers_.dropCpuBaseline) readers_.dropCpuBaseline();
    auto share = [](double value) { return std::isnan(value) ? 0.0 : std::clamp(value, 0.0, 1.0); };
    if (wants_.has(MenuBarWants::cpu) && readers_.cpu)
        if (std::optional<double> busy = readers_.cpu()) cpu_ = share(*busy);
    if (wants_.has(MenuBarWants::memory) && readers_.memory)
        if (std::optional<double> used = readers_.memory()) memory_ = share(*used);
    if (wants_.has(MenuBarWants::network) && readers_.network)
        if (std::optional<NetworkThroughput> rate = readers_.network(clock_.now())) network_ = rate;
    if (MenuBarSchedule::readsBattery(wants_, ticks_) && readers_.battery)
        if (std::optional<BatteryStatus> status = readers_.battery()) battery_ = status;
    ++ticks_;
    emit readingsChanged();
}

} // namespace tessel
