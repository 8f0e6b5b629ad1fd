#pragma once
// The app in the desktop's system tray: an icon whose tooltip holds the
// readings the settings choose, with the first chosen percentage drawn on
// the icon, and a panel of every reading that a click opens. Where the
// desktop has no tray, nothing is made and the settings say so.

#include <QElapsedTimer>
#include <QIcon>
#include <QPixmap>
#include <QObject>
#include <QQmlComponent>
#include <QSystemTrayIcon>

#include <memory>

#include "monitor/FreeSpaceBadge.h"
#include "monitor/MenuBarReadings.h"
#include "monitor/TrayModel.h"

class QMenu;
class QQuickWindow;

namespace tessel {

class TesselApp;

class TrayIcon : public QObject {
    Q_OBJECT

public:
    explicit TrayIcon(TesselApp& app, QObject* parent = nullptr);
    ~TrayIcon() override;

    TrayModel& model() { return model_; }
    // The panel, made on first use; null when its QML failed.
    QQuickWindow* panel();
    void openPanel();
    // What a click on the icon does: opens the panel, or closes it when open.
    void togglePanel();

private:
    void follow();
    void redraw();
    void answer(const QString& what);

    TesselApp& app_;
    MenuBarReadings readings_;
    FreeSpaceBadge freeSpace_;
    TrayModel model_;
    QSystemTrayIcon icon_;
    std::unique_ptr<QMenu> menu_;
    std::unique_ptr<QQuickWindow> panel_;
    const QIcon mark_{QStringLiteral(":/Tessel/app-icon.svg")};
    QPixmap dimmedMark_; // drawn on the first figure
    QString drawnBadge_ = QStringLiteral("-");
    QElapsedTimer focusLostAt_; // when the open panel last closed itself on losing the focus
};

} // namespace tessel
