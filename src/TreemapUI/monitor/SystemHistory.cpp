#include "monitor/SystemHistory.h"

#include <memory>

#include "SystemStatsKit/CPUSampler.h"
#include "SystemStatsKit/DiskActivitySampler.h"
#include "SystemStatsKit/MemorySampler.h"
#include "SystemStatsKit/NetworkSampler.h"
#include "SystemStatsKit/BatterySampler.h"
#include "SystemStatsKit/TemperatureSampler.h"
#include "overview/HealthInputs.h"

namespace tessel {

namespace {
constexpr int slowEvery = 15;
} // namespace

SystemHistory::Readers SystemHistory::Readers::system(const SystemRoots& roots) {
    struct Samplers {
        explicit Samplers(const SystemRoots& roots)
            : cpu(roots.proc), memory(roots), network(roots), disks(roots), temperatures(roots.sys), battery(roots.sys) {}
        CPUSampler cpu;
        MemorySampler memory;
        NetworkSampler network;
        DiskActivitySampler disks;
        TemperatureSampler temperatures;
        BatterySampler battery;
        int beats = 0;
        std::optional<double> chip;
        std::optional<double> charge;
    };
    auto samplers = std::make_shared<Samplers>(roots);
    auto take = [samplers](double now) {
        HistorySample sample;
        sample.time = now;
        if (std::optional<CPULoad> load = samplers->cpu.sample()) {
            sample.cpuUser = load->user + load->nice;
            sample.cpuSystem = load->system;
        }
        if (std::optional<MemoryUsage> usage = samplers->memory.sample()) {
            sample.memoryApp = usage->app;
            sample.memoryWired = usage->wired;
            sample.memoryCompressed = usage->compressed;
            sample.memoryTotal = usage->total;
        }
        if (std::optional<NetworkThroughput> rate = samplers->network.sample(now)) {
            sample.download = rate->received;
            sample.upload = rate->sent;
        }
        if (std::optional<DiskActivity> disk = samplers->disks.sample(now)) {
            sample.diskRead = disk->read;
            sample.diskWrite = disk->write;
        }
        // Heat and charge move slowly: read every fifteenth beat, the last reading standing between.
        if (samplers->beats++ % slowEvery == 0) {
            samplers->chip = HealthInputs::processorCelsius(samplers->temperatures.sample());
            const std::optional<BatteryStatus> battery = samplers->battery.sample();
            samplers->charge = battery ? std::optional(battery->charge) : std::nullopt;
        }
        sample.chipCelsius = samplers->chip;
        sample.batteryCharge = samplers->charge;
        return sample;
    };
    return {take, [samplers] { samplers->cpu.reset(); }};
}

SystemHistory::SystemHistory(Readers readers, MonitorClock clock, double beat, QObject* parent)
    : QObject(parent), readers_(std::move(readers)), clock_(clock), sleep_(clock) {
    timer_.setInterval(static_cast<int>(beat * 1000));
    timer_.setTimerType(Qt::CoarseTimer);
    connect(&timer_, &QTimer::timeout, this, &SystemHistory::tick);
    connect(&sleep_, &SleepWatch::woke, this, [this] {
        if (readers_.dropBaselines) readers_.dropBaselines();
    });
}

void SystemHistory::watch() {
    if (watchers_++ > 0) return;
    timer_.start();
    tick();
}

void SystemHistory::unwatch() {
    if (watchers_ == 0) return;
    if (--watchers_ == 0) timer_.stop();
}

void SystemHistory::tick() {
    if (sleep_.sleptSinceLastLook() && readers_.dropBaselines) readers_.dropBaselines();
    if (!readers_.sample) return;
    window_.append(readers_.sample(clock_.now()));
    emit sampled();
}

} // namespace tessel
