#include "monitor/TrayModel.h"

#include <QVariantMap>

#include <algorithm>
#include <cmath>

#include "DiskScanKit/ByteFormat.h"
#include "monitor/ChartLines.h"
#include "monitor/MonitorWords.h"
#include "support/QtText.h"

namespace tessel {

namespace TrayWords {

std::vector<TrayReading> readings(const TrayChoice& choice, const TrayFigures& figures) {
    using MonitorWords::dash;
    std::vector<TrayReading> shown;
    auto whole = [](std::string key, std::string title, std::string figure) {
        return TrayReading{std::move(key), std::move(title), figure, figure, {}, {}};
    };
    if (choice.freeSpace) {
        TrayReading free = whole("freeSpace", "Free space", figures.free ? ByteFormat::string(*figures.free) : dash);
        if (figures.free && figures.total && *figures.total > 0) {
            free.detail = "of " + ByteFormat::string(*figures.total);
            free.share = std::clamp(static_cast<double>(*figures.total - *figures.free) / static_cast<double>(*figures.total),
                                    0.0, 1.0);
        }
        shown.push_back(std::move(free));
    }
    if (choice.cpu) shown.push_back(whole("cpu", "CPU", MonitorWords::percent(figures.cpu)));
    if (choice.memory) shown.push_back(whole("memory", "Memory", MonitorWords::percent(figures.memory)));
    if (choice.network) {
        TrayReading network = whole("network", "Network", dash);
        if (figures.network) {
            network.figure = "\u2193 " + MonitorWords::rate(figures.network->received);
            network.detail = "\u2191 " + MonitorWords::rate(figures.network->sent);
            network.text = network.figure + "  " + network.detail;
        }
        shown.push_back(std::move(network));
    }
    if (choice.battery) {
        TrayReading battery = whole("battery", "Battery", dash);
        // The panel reads the battery as it opens, so none by then is none at all.
        battery.detail = MonitorWords::noBattery;
        if (figures.battery) {
            battery.figure = std::to_string(figures.battery->percentage()) + "%";
            battery.detail = MonitorWords::batteryState(*figures.battery);
            battery.text = battery.figure + ", " + battery.detail;
        }
        shown.push_back(std::move(battery));
    }
    return shown;
}

std::optional<std::string> badge(const TrayChoice& choice, const TrayFigures& figures) {
    auto whole = [](double share) { return std::to_string(static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * 100))); };
    if (choice.cpu) return figures.cpu ? std::optional(whole(*figures.cpu)) : std::nullopt;
    if (choice.memory) return figures.memory ? std::optional(whole(*figures.memory)) : std::nullopt;
    if (choice.battery)
        return figures.battery ? std::optional(std::to_string(figures.battery->percentage())) : std::nullopt;
    return std::nullopt;
}

MenuBarWants wants(const TrayChoice& choice) {
    if (!choice.shown) return {};
    return {(choice.cpu ? MenuBarWants::cpu : 0) | (choice.memory ? MenuBarWants::memory : 0) |
            (choice.network ? MenuBarWants::network : 0) | (choice.battery ? MenuBarWants::battery : 0)};
}

} // namespace TrayWords

TrayModel::TrayModel(MenuBarReadings* readings, FreeSpaceBadge* freeSpace, SystemHistory* history, QObject* parent)
    : QObject(parent), readings_(readings), freeSpace_(freeSpace), history_(history) {
    connect(readings_, &MenuBarReadings::readingsChanged, this, &TrayModel::changed);
    connect(freeSpace_, &FreeSpaceBadge::availableChanged, this, &TrayModel::changed);
    if (history_ != nullptr)
        connect(history_, &SystemHistory::sampled, this, [this] {
            if (watching_) drawCharts();
        });
    apply();
}

TrayModel::~TrayModel() {
    if (watching_) history_->unwatch();
}

void TrayModel::choose(const TrayChoice& choice) {
    choice_ = choice;
    apply();
}

void TrayModel::setPanelOpen(bool open) {
    if (open == panelOpen_) return;
    panelOpen_ = open;
    apply();
}

TrayChoice TrayModel::reading() const {
    if (panelOpen_) return {true, true, true, true, true, true, choice_.dashboard};
    return choice_;
}

void TrayModel::apply() {
    const TrayChoice now = reading();
    readings_->update(TrayWords::wants(now));
    if (now.shown && now.freeSpace) freeSpace_->start();
    else freeSpace_->stop();
    followHistory();
    emit changed();
}

void TrayModel::followHistory() {
    const bool wanted = history_ != nullptr && panelOpen_ && choice_.dashboard;
    if (wanted == watching_) return;
    watching_ = wanted;
    if (watching_) {
        history_->watch();
        drawCharts();
    } else {
        history_->unwatch();
        charts_.clear();
        emit chartsChanged();
    }
}

void TrayModel::drawCharts() {
    const double now = history_->clock().now();
    charts_ = ChartLines::of(history_->recent(chartPoints, now, chartSpan), now, chartSpan).toMap();
    emit chartsChanged();
}

TrayFigures TrayModel::figures() const {
    return {freeSpace_->available(), freeSpace_->total(), readings_->cpu(), readings_->memory(), readings_->network(),
            readings_->battery()};
}

QVariantList TrayModel::readings() const {
    QVariantList rows;
    for (const TrayReading& shown : TrayWords::readings(reading(), figures()))
        rows.append(QVariantMap{{"key", toQString(shown.key)},
                                {"title", toQString(shown.title)},
                                {"text", toQString(shown.text)},
                                {"figure", toQString(shown.figure)},
                                {"detail", toQString(shown.detail)},
                                {"share", shown.share ? QVariant(*shown.share) : QVariant()}});
    return rows;
}

QString TrayModel::tooltip() const {
    QStringList shown{QStringLiteral("Tessel")};
    for (const TrayReading& line : TrayWords::readings(choice_, figures()))
        shown.append(toQString(line.title) + ": " + toQString(line.text));
    return shown.join('\n');
}

QString TrayModel::badge() const {
    const std::optional<std::string> figure = TrayWords::badge(choice_, figures());
    return figure ? toQString(*figure) : QString();
}

} // namespace tessel
