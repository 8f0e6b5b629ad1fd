#include "monitor/ProcessTableModel.h"

#include <QThreadPool>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/TextFormat.h"
#include "support/QtText.h"
#include "UninstallKit/AppIcons.h"

namespace tessel {

namespace {

const QString notGiven = QStringLiteral("—");

double monotonicSeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

} // namespace

// What one run of the table owns on the pool's thread: start() makes a new one.
struct ProcessTableModel::Walk {
    Walk(std::string procRoot, DesktopWindows::Settings windowSettings)
        : sampler(std::move(procRoot)), machine(DesktopMachine::fromEnvironment("/")), windows(std::move(windowSettings)) {}
    ProcessSampler sampler;
    DesktopMachine machine;
    DesktopWindows windows;
    std::map<std::string, std::optional<std::string>> icons; // by desktop ID, found or not
};

const std::vector<RowField<ProcessTableRow>>& ProcessTableRow::fields() {
    using Row = ProcessTableRow;
    static const std::vector<RowField<Row>> list{{"key", &Row::key},       {"name", &Row::name},     {"icon", &Row::icon},
                                                 {"processes", &Row::processes}, {"cpu", &Row::cpu}, {"memory", &Row::memory},
                                                 {"disk", &Row::disk},   {"windows", &Row::windows}};
    return list;
}

std::vector<ProcessTableRow> ProcessTableRows::make(std::vector<ProcessUsage> usage, ProcessOrder order,
                                                    const std::map<std::string, std::string>& iconFiles,
                                                    const std::optional<WindowsByPid>& windows) {
    std::stable_sort(usage.begin(), usage.end(), [order](const ProcessUsage& a, const ProcessUsage& b) {
        const double cpuA = a.cpu.value_or(-1), cpuB = b.cpu.value_or(-1);
        if (order == ProcessOrder::cpu && cpuA != cpuB) return cpuA > cpuB;
        if (a.memory != b.memory) return a.memory > b.memory;
        return a.name < b.name;
    });
    std::vector<ProcessTableRow> rows;
    rows.reserve(usage.size());
    for (const ProcessUsage& u : usage) {
        const auto count = static_cast<std::int64_t>(u.pids.size());
        QString icon;
        if (auto file = u.appID ? iconFiles.find(*u.appID) : iconFiles.end(); file != iconFiles.end())
            icon = QStringLiteral("image://appicon/") +
                   QString::fromLatin1(QByteArray(file->second.data(), static_cast<qsizetype>(file->second.size())).toPercentEncoding());
        rows.push_back({QString::number(u.appPID), toQString(u.name), icon,
                        toQString(TextFormat::counted(count, "process", "processes")),
                        u.cpu ? toQString(TextFormat::share(*u.cpu * 100)) : notGiven,
                        toQString(ByteFormat::string(static_cast<std::int64_t>(u.memory))),
                        u.disk ? toQString(ByteFormat::string(std::llround(*u.disk)) + "/s") : notGiven,
                        toQString(WindowFigures::text(windows ? std::optional(WindowFigures::ofFamily(*windows, u.pids)) : std::nullopt))});
    }
    return rows;
}

ProcessTableModel::ProcessTableModel(QObject* parent) : QObject(parent), list_(this), relay_(MainThreadRelay::make(this)) {
    timer_.setInterval(2000);
    timer_.setTimerType(Qt::CoarseTimer);
    connect(&timer_, &QTimer::timeout, this, &ProcessTableModel::tick);
}

ProcessTableModel::~ProcessTableModel() { relay_->detach(); }

void ProcessTableModel::start() {
    if (timer_.isActive()) return;
    walk_ = std::make_shared<Walk>(procRoot_, windowSettings_);
    measured_ = false;
    timer_.start();
    emit runningChanged();
    tick();
}

void ProcessTableModel::stop() {
    if (!timer_.isActive()) return;
    timer_.stop();
    ++generation_;
    walking_ = false;
    emit runningChanged();
}

void ProcessTableModel::tick() {
    if (walking_ || !walk_) return;
    walking_ = true;
    const unsigned generation = generation_;
    // The walk's state goes with the job: a job still under way after stop()
    // keeps the old one, and start() makes a new one.
    QThreadPool::globalInstance()->start([self = this, walk = walk_, relay = relay_, generation] {
        std::vector<ProcessUsage> usage = walk->sampler.sample({}, monotonicSeconds());
        WindowsReading windows = walk->windows.read();
        std::map<std::string, std::string> iconFiles;
        for (const ProcessUsage& u : usage) {
            if (!u.appID) continue;
            auto [known, added] = walk->icons.try_emplace(*u.appID);
            if (added) known->second = AppIcons::find(*u.appID, walk->machine);
            if (known->second) iconFiles.emplace(*u.appID, *known->second);
        }
        relay->post([self, usage = std::move(usage), iconFiles = std::move(iconFiles), windows = std::move(windows), generation]() mutable {
            self->take(std::move(usage), std::move(iconFiles), std::move(windows), generation);
        });
    });
}

void ProcessTableModel::take(std::vector<ProcessUsage> usage, std::map<std::string, std::string> iconFiles, WindowsReading windows,
                             unsigned generation) {
    if (generation != generation_) return;
    walking_ = false;
    measured_ = std::any_of(usage.begin(), usage.end(), [](const ProcessUsage& u) { return u.cpu.has_value(); });
    last_ = std::move(usage);
    iconFiles_ = std::move(iconFiles);
    windows_ = std::move(windows.byPid);
    windowsUnknown_ = windows_ ? QString() : toQString(WindowFigures::unknownSentence(windows.why));
    list_.reset(ProcessTableRows::make(last_, order_, iconFiles_, windows_));
    emit sampled();
}

QString ProcessTableModel::order() const { return order_ == ProcessOrder::cpu ? QStringLiteral("cpu") : QStringLiteral("memory"); }

void ProcessTableModel::setOrder(const QString& order) {
    const ProcessOrder wanted = order == QStringLiteral("memory") ? ProcessOrder::memory : ProcessOrder::cpu;
    if (wanted == order_) return;
    order_ = wanted;
    list_.reset(ProcessTableRows::make(last_, order_, iconFiles_, windows_));
    emit orderChanged();
}

void ProcessTableModel::setIntervalMilliseconds(int milliseconds) {
    milliseconds = std::max(milliseconds, 250);
    if (milliseconds == timer_.interval()) return;
    timer_.setInterval(milliseconds);
    emit intervalChanged();
}

} // namespace tessel
