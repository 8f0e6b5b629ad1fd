#include "monitor/TrayModel.h"

#include <QVariantMap>

#include <algorithm>
#include <cmath>

#include "DiskScanKit/ByteFormat.h"
#include "monitor/MonitorWords.h"
#include "support/QtText.h"

namespace tessel {

namespace TrayWords {

std::vector<std::pair<std::string, std::string>> lines(const TrayChoice& choice, const TrayFigures& figures) {
    std::vector<std::pair<std::string, std::string>> shown;
    if (choice.freeSpace)
        shown.emplace_back("Free space", figures.free ? ByteFormat::string(*figures.free) : MonitorWords::dash);
    if (choice.cpu) shown.emplace_back("CPU", MonitorWords::percent(figures.cpu));
    if (choice.memory) shown.emplace_back("Memory", MonitorWords::percent(figures.memory));
    if (choice.network)
        shown.emplace_back("Network", figures.network ? "\u2193 " + MonitorWords::rate(figures.network->received) +
                                                            "  \u2191 " + MonitorWords::rate(figures.network->sent)
                                                      : MonitorWords::dash);
    if (choice.battery)
        shown.emplace_back("Battery", figures.battery ? std::to_string(figures.battery->percentage()) + "%, " +
                                                            MonitorWords::batteryState(*figures.battery)
                                                      : MonitorWords::dash);
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

TrayModel::TrayModel(MenuBarReadings* readings, FreeSpaceBadge* freeSpace, QObject* parent)
    : QObject(parent), readings_(readings), freeSpace_(freeSpace) {
    connect(readings_, &MenuBarReadings::readingsChanged, this, &TrayModel::changed);
    connect(freeSpace_, &FreeSpaceBadge::availableChanged, this, &TrayModel::changed);
    apply();
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
    if (panelOpen_) return {true, true, true, true, true, true};
    return choice_;
}

void TrayModel::apply() {
    const TrayChoice now = reading();
    readings_->update(TrayWords::wants(now));
    if (now.shown && now.freeSpace) freeSpace_->start();
    else freeSpace_->stop();
    emit changed();
}

TrayFigures TrayModel::figures() const {
    return {freeSpace_->available(), readings_->cpu(), readings_->memory(), readings_->network(), readings_->battery()};
}

QVariantList TrayModel::readings() const {
    QVariantList rows;
    for (const auto& [title, value] : TrayWords::lines(reading(), figures()))
        rows.append(QVariantMap{{"title", toQString(title)}, {"text", toQString(value)}});
    return rows;
}

QString TrayModel::tooltip() const {
    QStringList shown{QStringLiteral("Tessel")};
    for (const auto& [title, value] : TrayWords::lines(choice_, figures()))
        shown.append(toQString(title) + ": " + toQString(value));
    return shown.join('\n');
}

QString TrayModel::badge() const {
    const std::optional<std::string> figure = TrayWords::badge(choice_, figures());
    return figure ? toQString(*figure) : QString();
}

} // namespace tessel
