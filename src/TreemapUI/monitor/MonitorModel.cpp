#include "monitor/MonitorModel.h"

#include <QLocale>
#include <QVariantList>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "DiskScanKit/ByteFormat.h"
#include "SystemStatsKit/VolumeSampler.h"
#include "monitor/ChartLines.h"
#include "monitor/MonitorWords.h"
#include "support/QtText.h"

namespace tessel {

namespace {

QString text(const std::string& value) { return toQString(value); }

QString bytesText(std::uint64_t bytes) {
    return text(ByteFormat::string(static_cast<std::int64_t>(std::min<std::uint64_t>(bytes, INT64_MAX))));
}

QString loadsText(const std::array<double, 3>& loads) {
    char line[96];
    std::snprintf(line, sizeof line, "%.2f, %.2f, %.2f", loads[0], loads[1], loads[2]);
    return QString::fromLatin1(line);
}

QString uptimeText(double seconds) {
    const auto minutes = static_cast<long long>(seconds / 60);
    const long long days = minutes / (60 * 24);
    const std::string rest = MonitorWords::duration(static_cast<int>(minutes % (60 * 24)));
    return text(days > 0 ? std::to_string(days) + (days == 1 ? " day " : " days ") + rest : rest);
}

} // namespace

MonitorModel::MonitorModel(Dependencies dependencies, QObject* parent)
    : QObject(parent), dependencies_(std::move(dependencies)), sleep_(dependencies_.clock),
      cpuSampler_(dependencies_.roots.proc), memorySampler_(dependencies_.roots), networkSampler_(dependencies_.roots),
      diskSampler_(dependencies_.roots), batterySampler_(dependencies_.roots.sys),
      batteryHealthReader_(dependencies_.roots.sys), temperatureSampler_(dependencies_.roots.sys),
      fanReader_(dependencies_.roots.sys) {
    timer_.setInterval(1000);
    connect(&timer_, &QTimer::timeout, this, &MonitorModel::tick);
    connect(&sleep_, &SleepWatch::woke, this, [this] { cpuSampler_.reset(); });
    if (dependencies_.history != nullptr)
        connect(dependencies_.history, &SystemHistory::sampled, this, [this] {
            if (visible_) drawCharts();
        });
    if (dependencies_.diskHistory != nullptr)
        connect(dependencies_.diskHistory, &DiskUsageHistory::changed, this, &MonitorModel::diskDaysChanged);
    publish();
}

MonitorModel::~MonitorModel() {
    if (visible_ && dependencies_.history != nullptr) dependencies_.history->unwatch();
}

void MonitorModel::appear() {
    if (visible_) return;
    visible_ = true;
    if (dependencies_.history != nullptr) dependencies_.history->watch();
    // No load spans the time the room was away.
    cpuSampler_.reset();
    ticks_ = 0;
    seedFromHistory();
    timer_.start();
    emit runningChanged();
    // A room opened on a new day draws up to that day.
    emit diskDaysChanged();
    tick();
}

void MonitorModel::disappear() {
    if (!visible_) return;
    visible_ = false;
    timer_.stop();
    if (dependencies_.history != nullptr) dependencies_.history->unwatch();
    emit runningChanged();
}

void MonitorModel::seedFromHistory() {
    if (dependencies_.history == nullptr || dependencies_.history->window().samples().empty()) return;
    // Until the room's own second reading, the figures are the history's last.
    const HistorySample& last = dependencies_.history->window().samples().back();
    if (!cpu_) cpu_ = CPULoad{last.cpuUser, last.cpuSystem, 0, std::max(0.0, 1 - last.cpuUser - last.cpuSystem)};
    if (!network_) network_ = NetworkThroughput{last.download, last.upload};
    if (!disk_) disk_ = DiskActivity{last.diskRead, last.diskWrite};
}

void MonitorModel::tick() {
    if (sleep_.sleptSinceLastLook()) cpuSampler_.reset();
    readEveryBeat();
    if (ticks_ % 5 == 0) readEveryFifth();
    if (ticks_ % 10 == 0) readEveryTenth();
    uptime_ = SystemFacts::uptime(dependencies_.roots);
    loads_ = SystemFacts::loadAverages(dependencies_.roots);
    swap_ = SystemFacts::swap(dependencies_.roots);
    ++ticks_;
    publish();
}

void MonitorModel::readEveryBeat() {
    const double now = dependencies_.clock.now();
    // A reading that fails leaves the last one standing.
    if (std::optional<CPULoad> load = cpuSampler_.sample()) {
        cpu_ = load;
        cores_ = cpuSampler_.cores();
    }
    if (std::optional<MemoryUsage> usage = memorySampler_.sample()) memory_ = usage;
    if (std::optional<NetworkThroughput> rate = networkSampler_.sample(now)) network_ = rate;
    if (std::optional<DiskActivity> rate = diskSampler_.sample(now)) disk_ = rate;
}

void MonitorModel::readEveryFifth() {
    link_ = NetworkLink::current(dependencies_.roots);
    address_ = link_->interface ? NetworkLink::address(*link_->interface) : std::nullopt;
    networkTotals_ = networkSampler_.totals();
    temperatures_ = temperatureSampler_.sample();
    fans_ = fanReader_.read();
    if (!processorName_) processorName_ = SystemFacts::processorName(dependencies_.roots);
}

void MonitorModel::readEveryTenth() {
    battery_ = batterySampler_.sample();
    batteryHealth_ = battery_ ? batteryHealthReader_.read() : std::nullopt;
    volume_ = VolumeSampler(dependencies_.volumePath).sample();
}

void MonitorModel::publish() {
    using namespace MonitorWords;
    QVariantMap f;
    const QString none = QString::fromUtf8(dash);
    // Processor.
    f["cpuText"] = text(percent(cpu_ ? std::optional(cpu_->busy()) : std::nullopt));
    f["cpuDetail"] = cpu_ ? text("User " + percent(cpu_->user + cpu_->nice) + ", system " + percent(cpu_->system))
                          : QString();
    QVariantList cores;
    for (const CoreLoad& core : cores_)
        cores.append(QVariantMap{{"name", QStringLiteral("Core %1").arg(core.core)},
                                 {"busy", core.load ? QVariant(core.load->busy()) : QVariant()},
                                 {"text", text(percent(core.load ? std::optional(core.load->busy()) : std::nullopt))}});
    f["cores"] = cores;
    f["loadText"] = loads_ ? loadsText(*loads_) : none;
    f["processorName"] = processorName_ ? text(*processorName_) : none;
    f["uptimeText"] = uptime_ ? uptimeText(*uptime_) : none;
    // Memory.
    f["memoryText"] = memory_ ? bytesText(memory_->used()) : none;
    f["memoryOf"] = memory_ ? QStringLiteral("of %1").arg(bytesText(memory_->total)) : QString();
    f["memoryShare"] = memory_ ? QVariant(memory_->usedFraction()) : QVariant();
    QVariantList parts;
    auto part = [&](const char* title, std::optional<std::uint64_t> bytes) {
        parts.append(QVariantMap{{"title", title}, {"text", bytes ? bytesText(*bytes) : none}});
    };
    part("App", memory_ ? std::optional(memory_->app) : std::nullopt);
    part("Wired", memory_ ? std::optional(memory_->wired) : std::nullopt);
    part("Compressed", memory_ ? std::optional(memory_->compressed) : std::nullopt);
    part("Cached", memory_ ? std::optional(memory_->cached) : std::nullopt);
    f["memoryParts"] = parts;
    const std::optional<MemoryPressure> pressureLevel = memory_ ? memory_->pressure : std::nullopt;
    f["pressureWord"] = text(pressure(pressureLevel));
    f["pressureLevel"] = pressureLevel ? static_cast<int>(*pressureLevel) : -1;
    f["pressureNote"] = memory_ && !pressureLevel ? QString::fromUtf8(noPressure) : QString();
    f["swapText"] = swap_ ? (swap_->total == 0 ? QStringLiteral("No swap")
                                               : QStringLiteral("%1 of %2").arg(bytesText(swap_->used), bytesText(swap_->total)))
                          : none;
    // Network.
    f["receivedText"] = text(rate(network_ ? std::optional(network_->received) : std::nullopt));
    f["sentText"] = text(rate(network_ ? std::optional(network_->sent) : std::nullopt));
    f["linkText"] = link_ ? text(link_->description()) : none;
    f["interfaceText"] = link_ && link_->interface ? text(*link_->interface) : none;
    f["addressText"] = address_ ? text(*address_) : none;
    f["totalsText"] = networkTotals_ ? QStringLiteral("%1 received, %2 sent since start-up")
                                           .arg(bytesText(networkTotals_->received), bytesText(networkTotals_->sent))
                                     : none;
    // Disks and the volume.
    f["readText"] = text(rate(disk_ ? std::optional(disk_->read) : std::nullopt));
    f["writeText"] = text(rate(disk_ ? std::optional(disk_->write) : std::nullopt));
    f["volumeName"] = volume_ ? text(volume_->name) : QString();
    f["volumeText"] = volume_ ? QStringLiteral("%1 free of %2")
                                    .arg(text(ByteFormat::string(volume_->available)), text(ByteFormat::string(volume_->total)))
                              : none;
    f["volumeUsedShare"] = volume_ && volume_->total > 0
                               // Beside "free of", the bar fills all that is not free to the user, the system's reserve too.
                               ? QVariant(static_cast<double>(volume_->total - volume_->available) / static_cast<double>(volume_->total))
                               : QVariant();
    // Battery.
    f["hasBattery"] = battery_.has_value();
    f["batteryText"] = battery_ ? QStringLiteral("%1%").arg(battery_->percentage()) : none;
    f["batteryShare"] = battery_ ? QVariant(battery_->charge) : QVariant();
    f["batteryState"] = battery_ ? text(batteryState(*battery_)) : QString::fromUtf8(noBattery);
    f["batteryWear"] = battery_ ? text(batteryWear(batteryHealth_)) : QString();
    // Temperatures and fans.
    QVariantList temperatures;
    for (const TemperatureReading& reading : temperatures_)
        temperatures.append(QVariantMap{{"place", text(reading.place)}, {"text", text(celsius(reading.celsius))},
                                        {"celsius", reading.celsius}});
    f["temperatures"] = temperatures;
    f["temperatureNote"] = temperatures_.empty() ? QString::fromUtf8(noTemperatures) : QString();
    QVariantList fans;
    if (fans_)
        for (const FanReader::Fan& fan : *fans_)
            fans.append(QVariantMap{{"name", text(fan.name)}, {"text", QStringLiteral("%1 rpm").arg(qRound(fan.rpm))}});
    f["fans"] = fans;
    f["fanNote"] = fans.isEmpty() ? QString::fromUtf8(noFans) : QString();
    figures_ = f;
    drawCharts();
}

QVariantMap MonitorModel::diskDays() const {
    const DiskDaysChart chart = dependencies_.diskHistory != nullptr
                                    ? dependencies_.diskHistory->chart(dependencies_.today())
                                    : DiskDaysChart{};
    const QDate today = dependencies_.today().date();
    auto dayLabel = [&](std::int64_t day) {
        const QDate date = QDateTime::fromSecsSinceEpoch(day).date();
        return date == today ? QStringLiteral("Today") : QLocale().toString(date, QStringLiteral("MMM d"));
    };
    return {{"count", static_cast<int>(chart.xs.size())},
            {"xs", ChartLines::list(chart.xs)},
            {"used", ChartLines::list(chart.used)},
            {"topText", chart.top > 0 ? text(ByteFormat::string(chart.top)) : QString()},
            {"firstLabel", chart.xs.empty() ? QString() : dayLabel(chart.firstDay)},
            {"lastLabel", chart.xs.empty() ? QString() : dayLabel(chart.lastDay)},
            {"note", text(MonitorWords::diskDaysNote(chart.xs.size()))}};
}

void MonitorModel::drawCharts() {
    if (dependencies_.history != nullptr) {
        const double now = dependencies_.clock.now();
        charts_ = ChartLines::of(dependencies_.history->recent(chartPoints, now), now,
                                 dependencies_.history->window().window())
                      .toMap();
    } else {
        charts_ = ChartLines{}.toMap();
    }
    emit changed();
}

} // namespace tessel
