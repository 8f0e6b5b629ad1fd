#pragma once
// What the tray icon and its panel show: the readings the settings choose
// ("tessel.menuBar.*" and "tessel.menuBarFreeSpace"), as text. Most Linux
// trays draw an icon and nothing beside it, so the chosen readings go into
// the icon's tooltip, one a line, and the first percentage among them is
// drawn on the icon itself. The panel, while open, shows every reading, so
// only then are they all read. The panel is cards, one a reading, or a
// dashboard of rows, each with its last ten minutes charted from the app's
// history, which the model watches only while such a panel is open.

#include <QObject>
#include <QVariantList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <optional>
#include <string>

#include "monitor/FreeSpaceBadge.h"
#include "monitor/MenuBarReadings.h"
#include "monitor/SystemHistory.h"

namespace tessel {

// The readings a tray may show, by the settings' switches, and the panel's look.
struct TrayChoice {
    bool shown = true;
    bool freeSpace = true;
    bool cpu = false;
    bool memory = false;
    bool network = false;
    bool battery = false;
    // The panel as a dashboard: rows with the last minutes charted, instead of cards.
    bool dashboard = false;
};

struct TrayFigures {
    std::optional<std::int64_t> free;
    std::optional<std::int64_t> total; // the size of the disk whose space is free
    std::optional<double> cpu;
    std::optional<double> memory;
    std::optional<NetworkThroughput> network;
    std::optional<BatteryStatus> battery;
};

// One reading as the tray says it: whole on one line for the tooltip and the
// dashboard, a headline and what follows it for a card.
struct TrayReading {
    std::string key; // "freeSpace", "cpu", "memory", "network" or "battery"
    std::string title; // "Free space"
    std::string text; // "↓ 2.0 kB/s  ↑ 1.0 kB/s"
    std::string figure; // "↓ 2.0 kB/s"
    std::string detail; // "↑ 1.0 kB/s"; may be empty
    std::optional<double> share; // 0 to 1, drawn as a bar: how full the disk is
};

namespace TrayWords {
// One per chosen reading, in the settings' order, a dash where it has no value yet.
std::vector<TrayReading> readings(const TrayChoice& choice, const TrayFigures& figures);
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
    Q_PROPERTY(bool dashboard READ dashboard NOTIFY changed)
    // The last minutes of the history, as ChartLines::toMap gives them, while the open panel is a dashboard.
    Q_PROPERTY(QVariantMap charts READ charts NOTIFY chartsChanged)
    // What the charts span, in words: "Last 10 minutes".
    Q_PROPERTY(QString chartSpanWords READ chartSpanWords CONSTANT)

public:
    // The dashboard's charts: the last ten minutes, in means of ten seconds or more.
    static constexpr double chartSpan = 600;
    static constexpr std::size_t chartPoints = 60;

    // Without a history, the dashboard draws no charts.
    TrayModel(MenuBarReadings* readings, FreeSpaceBadge* freeSpace, SystemHistory* history = nullptr,
              QObject* parent = nullptr);
    ~TrayModel() override;

    void choose(const TrayChoice& choice);
    const TrayChoice& choice() const { return choice_; }
    TrayFigures figures() const;

    QVariantList readings() const;
    QString tooltip() const;
    QString badge() const;
    bool panelOpen() const { return panelOpen_; }
    void setPanelOpen(bool open);
    bool dashboard() const { return choice_.dashboard; }
    QVariantMap charts() const { return charts_; }
    static QString chartSpanWords() { return QStringLiteral("Last %1 minutes").arg(static_cast<int>(chartSpan / 60)); }
    // The panel's buttons: "window", "monitor", "settings", "quit"; the app answers.
    Q_INVOKABLE void ask(const QString& what) { emit asked(what); }
    // The open panel lost the focus to another window and closes itself.
    Q_INVOKABLE void noteFocusLost() { emit focusLost(); }

signals:
    void changed();
    void chartsChanged();
    void asked(const QString& what);
    void focusLost();

private:
    void apply();
    // What is read now: the choice, or everything while the panel is open.
    TrayChoice reading() const;
    // Watches the history while the open panel charts it, and only then.
    void followHistory();
    void drawCharts();

    MenuBarReadings* readings_;
    FreeSpaceBadge* freeSpace_;
    SystemHistory* history_;
    bool watching_ = false;
    QVariantMap charts_;
    // Hidden until the app chooses, so nothing is read before the settings are known.
    TrayChoice choice_{false};
    bool panelOpen_ = false;
};

} // namespace tessel
