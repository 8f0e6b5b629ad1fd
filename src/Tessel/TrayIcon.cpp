#include "TrayIcon.h"

#include <QCursor>
#include <QIcon>
#include <QFont>
#include <QGuiApplication>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QQuickWindow>
#include <QScreen>

#include <algorithm>

#include "SystemStatsKit/VolumeSampler.h"
#include "TesselApp.h"

namespace tessel {

namespace {

// The app's mark, faded so that a figure on it reads.
QPixmap dimmed(const QIcon& mark) {
    QPixmap pixmap(64, 64);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(0.55);
    mark.paint(&painter, pixmap.rect());
    return pixmap;
}

// The icon with a figure on it: the faded mark, and the number in a rounded
// plate across its lower part, big enough to read at tray size.
QIcon iconWith(const QPixmap& dimmedMark, const QString& figure) {
    QPixmap pixmap = dimmedMark.copy();
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont font = painter.font();
    font.setBold(true);
    font.setPixelSize(figure.size() > 2 ? 28 : 36);
    painter.setFont(font);
    const QRect plate(0, 18, 64, 44);
    painter.setBrush(QColor(20, 20, 24, 220));
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(plate, 10, 10);
    painter.setPen(Qt::white);
    painter.drawText(plate, Qt::AlignCenter, figure);
    return QIcon(pixmap);
}

} // namespace

TrayIcon::TrayIcon(TesselApp& app, QObject* parent)
    : QObject(parent), app_(app), readings_(MenuBarReadings::Readers::system(), MonitorClock::system()),
      freeSpace_([] { return VolumeSampler("/").sample(); }), model_(&readings_, &freeSpace_, app.session().systemHistory()),
      menu_(std::make_unique<QMenu>()) {
    app_.preferences().setTrayAvailable(QSystemTrayIcon::isSystemTrayAvailable());
    icon_.setIcon(mark_);
    menu_->addAction(QStringLiteral("Show Readings"), this, &TrayIcon::openPanel);
    menu_->addAction(QStringLiteral("Open Tessel"), this, [this] { answer("window"); });
    menu_->addAction(QStringLiteral("Monitor"), this, [this] { answer("monitor"); });
    menu_->addSeparator();
    menu_->addAction(QStringLiteral("Quit Tessel"), this, [this] { answer("quit"); });
    icon_.setContextMenu(menu_.get());
    connect(&icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) togglePanel();
    });
    connect(&model_, &TrayModel::changed, this, &TrayIcon::redraw);
    connect(&model_, &TrayModel::asked, this, &TrayIcon::answer);
    connect(&model_, &TrayModel::focusLost, this, [this] { focusLostAt_.restart(); });
    connect(&app_.preferences(), &PreferencesModel::changed, this, &TrayIcon::follow);
    follow();
}

TrayIcon::~TrayIcon() = default;

void TrayIcon::follow() {
    PreferencesModel& preferences = app_.preferences();
    const bool shown = preferences.trayAvailable() && preferences.menuBarExtra();
    model_.choose({shown, preferences.menuBarFreeSpace(), preferences.menuBarCpu(), preferences.menuBarMemory(),
                   preferences.menuBarNetwork(), preferences.menuBarBattery(), preferences.panelStyle() == "dashboard"});
    icon_.setVisible(shown);
    // With the icon in the tray, closing the window leaves the app there; without it, closing quits.
    QGuiApplication::setQuitOnLastWindowClosed(!shown);
    if (!shown && panel_) panel_->hide();
}

void TrayIcon::redraw() {
    if (!icon_.isVisible()) return;
    icon_.setToolTip(model_.tooltip());
    // Drawing an icon costs more than a tooltip; only when its figure changed.
    if (const QString badge = model_.badge(); badge != drawnBadge_) {
        drawnBadge_ = badge;
        // The figure changes every few seconds for as long as the app runs, so
        // the mark is drawn from its SVG once, and each figure only paints its plate.
        if (badge.isEmpty()) {
            icon_.setIcon(mark_);
            return;
        }
        if (dimmedMark_.isNull()) dimmedMark_ = dimmed(mark_);
        icon_.setIcon(iconWith(dimmedMark_, badge));
    }
}

QQuickWindow* TrayIcon::panel() {
    if (panel_) return panel_.get();
    QQmlComponent component(&app_.engine(), QUrl(QStringLiteral("qrc:/Tessel/UI/qml/app/TrayPanel.qml")));
    QObject* made = component.createWithInitialProperties({{"tray", QVariant::fromValue(&model_)}});
    auto* window = qobject_cast<QQuickWindow*>(made);
    if (window == nullptr) {
        qWarning("tessel-app: the tray panel could not be made: %s", qPrintable(component.errorString()));
        delete made;
        return nullptr;
    }
    panel_.reset(window);
    return window;
}

void TrayIcon::togglePanel() {
    // On a desktop, the click on the icon first takes the focus from the open
    // panel, which hides itself, and only then reaches the icon: a click that
    // comes right after that means "close", not "open again".
    constexpr qint64 closingClickMilliseconds = 400;
    if (panel_ && panel_->isVisible()) {
        panel_->hide();
        return;
    }
    if (focusLostAt_.isValid() && focusLostAt_.elapsed() < closingClickMilliseconds) return;
    openPanel();
}

void TrayIcon::openPanel() {
    QQuickWindow* window = panel();
    if (window == nullptr) return;
    // Beside the icon where the tray tells where it is, else at the pointer, kept on the screen.
    QRect near = icon_.geometry();
    if (!near.isValid()) near = QRect(QCursor::pos(), QSize(1, 1));
    const QScreen* screen = QGuiApplication::screenAt(near.center());
    const QRect area = screen != nullptr ? screen->availableGeometry() : QRect(0, 0, 1920, 1080);
    int x = std::clamp(near.center().x() - window->width() / 2, area.left(), area.right() - window->width());
    int y = near.bottom() + 6 + window->height() <= area.bottom() ? near.bottom() + 6 : near.top() - 6 - window->height();
    window->setPosition(x, std::max(area.top(), y));
    window->show();
    window->raise();
    window->requestActivate();
}

void TrayIcon::answer(const QString& what) {
    if (panel_ && what != "settings") panel_->hide();
    QQuickWindow* main = app_.window();
    if (what == "quit") {
        QGuiApplication::quit();
        return;
    }
    if (main == nullptr) return;
    if (what == "monitor") app_.shell().setRoom(QStringLiteral("monitor"));
    if (what == "settings") {
        if (panel_) panel_->hide();
        QMetaObject::invokeMethod(main, "openSettings");
        return;
    }
    main->show();
    main->raise();
    main->requestActivate();
}

} // namespace tessel
