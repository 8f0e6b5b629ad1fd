#pragma once
// What the settings window switches. Each value is read from its key with its
// own default whenever it is asked for, and written the moment it changes.

#include <QObject>
#include <QSettings>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include "app/SettingsKeys.h"

namespace tessel {

class PreferencesModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app creates the preferences")
    Q_PROPERTY(bool openAtLogin READ openAtLogin WRITE setOpenAtLogin NOTIFY changed)
    Q_PROPERTY(bool menuBarExtra READ menuBarExtra WRITE setMenuBarExtra NOTIFY changed)
    Q_PROPERTY(bool menuBarFreeSpace READ menuBarFreeSpace WRITE setMenuBarFreeSpace NOTIFY changed)
    Q_PROPERTY(bool menuBarCpu READ menuBarCpu WRITE setMenuBarCpu NOTIFY changed)
    Q_PROPERTY(bool menuBarMemory READ menuBarMemory WRITE setMenuBarMemory NOTIFY changed)
    Q_PROPERTY(bool menuBarNetwork READ menuBarNetwork WRITE setMenuBarNetwork NOTIFY changed)
    Q_PROPERTY(bool menuBarBattery READ menuBarBattery WRITE setMenuBarBattery NOTIFY changed)
    Q_PROPERTY(QString panelStyle READ panelStyle WRITE setPanelStyle NOTIFY changed)
    Q_PROPERTY(bool lowDiskAlerts READ lowDiskAlerts WRITE setLowDiskAlerts NOTIFY changed)
    Q_PROPERTY(int lowDiskPercent READ lowDiskPercent WRITE setLowDiskPercent NOTIFY changed)
    Q_PROPERTY(bool weeklyJunk READ weeklyJunk WRITE setWeeklyJunk NOTIFY changed)
    Q_PROPERTY(bool translucent READ translucent WRITE setTranslucent NOTIFY changed)
    // Whether the desktop has a tray to show an icon in; without one the switch stays off.
    Q_PROPERTY(bool trayAvailable READ trayAvailable NOTIFY changed)

public:
    explicit PreferencesModel(QSettings* settings, QObject* parent = nullptr);

    bool openAtLogin() const;
    void setOpenAtLogin(bool on);
    bool menuBarExtra() const { return flag(SettingsKey::menuBarExtra, true); }
    void setMenuBarExtra(bool on) { setFlag(SettingsKey::menuBarExtra, on); }
    bool menuBarFreeSpace() const { return flag(SettingsKey::menuBarFreeSpace, true); }
    void setMenuBarFreeSpace(bool on) { setFlag(SettingsKey::menuBarFreeSpace, on); }
    bool menuBarCpu() const { return flag(SettingsKey::menuBarCpu, false); }
    void setMenuBarCpu(bool on) { setFlag(SettingsKey::menuBarCpu, on); }
    bool menuBarMemory() const { return flag(SettingsKey::menuBarMemory, false); }
    void setMenuBarMemory(bool on) { setFlag(SettingsKey::menuBarMemory, on); }
    bool menuBarNetwork() const { return flag(SettingsKey::menuBarNetwork, false); }
    void setMenuBarNetwork(bool on) { setFlag(SettingsKey::menuBarNetwork, on); }
    bool menuBarBattery() const { return flag(SettingsKey::menuBarBattery, false); }
    void setMenuBarBattery(bool on) { setFlag(SettingsKey::menuBarBattery, on); }
    // The tray panel's look: "cards" (also for a missing or unknown value) or "dashboard".
    QString panelStyle() const;
    void setPanelStyle(const QString& style);
    bool lowDiskAlerts() const { return flag(SettingsKey::alertsLowDisk, true); }
    void setLowDiskAlerts(bool on) { setFlag(SettingsKey::alertsLowDisk, on); }
    // The "almost full" line in per cent, 2 (off) to 20.
    int lowDiskPercent() const;
    void setLowDiskPercent(int percent);
    bool weeklyJunk() const { return flag(SettingsKey::alertsWeeklyJunk, false); }
    void setWeeklyJunk(bool on) { setFlag(SettingsKey::alertsWeeklyJunk, on); }
    bool translucent() const { return flag(SettingsKey::translucent, false); }
    void setTranslucent(bool on) { setFlag(SettingsKey::translucent, on); }

    bool trayAvailable() const { return trayAvailable_; }
    void setTrayAvailable(bool available) {
        if (available == trayAvailable_) return;
        trayAvailable_ = available;
        emit changed();
    }

signals:
    void changed();

private:
    bool flag(const char* key, bool fallback) const;
    void setFlag(const char* key, bool on);

    QSettings* settings_;
    bool trayAvailable_ = false;
};

} // namespace tessel
