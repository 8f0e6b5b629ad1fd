#include "app/PreferencesModel.h"

#include <algorithm>

#include "linux/OpenAtLogin.h"
#include "app/SettingsKeys.h"

namespace tessel {

PreferencesModel::PreferencesModel(QSettings* settings, QObject* parent) : QObject(parent), settings_(settings) {}

bool PreferencesModel::flag(const char* key, bool fallback) const {
    return settings_ != nullptr ? settings_->value(key, fallback).toBool() : fallback;
}

void PreferencesModel::setFlag(const char* key, bool on) {
    if (settings_ == nullptr || flag(key, !on) == on) return;
    settings_->setValue(key, on);
    emit changed();
}

bool PreferencesModel::openAtLogin() const { return OpenAtLogin::read(); }

void PreferencesModel::setOpenAtLogin(bool on) {
    if (on == openAtLogin()) return;
    OpenAtLogin::set(on, [this](bool) { emit changed(); });
}

QString PreferencesModel::panelStyle() const {
    const QString style = settings_ != nullptr ? settings_->value(SettingsKey::panelStyle, "cards").toString() : "cards";
    return style == "dashboard" ? style : "cards";
}

void PreferencesModel::setPanelStyle(const QString& style) {
    if (settings_ == nullptr || (style != "cards" && style != "dashboard") || style == panelStyle()) return;
    settings_->setValue(SettingsKey::panelStyle, style);
    emit changed();
}

int PreferencesModel::lowDiskPercent() const {
    const int stored = settings_ != nullptr ? settings_->value(SettingsKey::alertsLowDiskPercent, 10).toInt() : 10;
    return std::clamp(stored, 2, 20);
}

void PreferencesModel::setLowDiskPercent(int percent) {
    percent = std::clamp(percent, 2, 20);
    if (settings_ == nullptr || percent == lowDiskPercent()) return;
    settings_->setValue(SettingsKey::alertsLowDiskPercent, percent);
    emit changed();
}

} // namespace tessel
