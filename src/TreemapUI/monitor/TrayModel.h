#pragma once
// What the tray icon and its panel show: the readings the settings choose
// ("tessel.menuBar.*" and "tessel.menuBarFreeSpace"), as text. Most Linux
// trays draw an icon and nothing beside it, so the chosen readings go into
// the icon's tooltip, one a line, and the first percentage among them is
// drawn on the icon itself. The panel, while open, shows every reading, so
// only then are they all read.

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <string>

#include "monitor/FreeSpaceBadge.h"
#include "monitor/MenuBarReadings.h"

namespace tessel {

// The readings a tray may show, by the settings' switches.
struct TrayChoice {
    bool shown = true;
    bool freeSpace = true;
    bool cpu = false;
    bool memory = false;
    bool network = false;
    bool battery = false;
};

struct TrayFigures {
    std::optional<std::int64_t> free;
    std::optional<double> cpu;
    std::optional<double> memory;
    std::optional<NetworkThroughput> network;
    std::optional<BatteryStatus> battery;
};

namespace TrayWords {
// "Free space: 33.1 GB", "CPU: 12%", ...: one line per chosen reading, a dash
// where it has no value yet.
std::vector<std::pair<std::string, std::string>> lines(const TrayChoice& choice, const TrayFigures& figures);
// The figure drawn on the icon: the first chosen of CPU, memory and battery,
// in whole per cent without the sign ("42"); none when none is chosen or read.
std::optional<std::string> badge(const TrayChoice& choice, const TrayFigures& figures);
MenuBarWants wants(const TrayChoice& choice);
} // namespace TrayWords

class TrayModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app creates the tray")
    Q_PROPERTY(QVariantList readings READ readings NOTIFY changed)
    Q_PROPERTY(QString tooltip READ tooltip NOTIFY changed)
    Q_PROPERTY(bool panelOpen READ panelOpen WRITE setPanelOpen NOTIFY changed)

public:
    TrayModel(MenuBarReadings* readings, FreeSpaceBadge* freeSpace, QObject* parent = nullptr);

    void choose(const TrayChoice& choice);
    const TrayChoice& choice() const { return choice_; }
    TrayFigures figures() const;

    QVariantList readings() const;
    QString tooltip() const;
    QString badge() const;
    bool panelOpen() const { return panelOpen_; }
    void setPanelOpen(bool open);
    // The panel's buttons: "window", "monitor", "settings", "quit"; the app answers.
    Q_INVOKABLE void ask(const QString& what) { emit asked(what); }

signals:
    void changed();
    void asked(const QString& what);

private:
    void apply();
    // What is read now: the choice, or everything while the panel is open.
    TrayChoice reading() const;

    MenuBarReadings* readings_;
    FreeSpaceBadge* freeSpace_;
    // Hidden until the app chooses, so nothing is read before the settings are known.
    TrayChoice choice_{false};
    bool panelOpen_ = false;
};

} // namespace tessel
