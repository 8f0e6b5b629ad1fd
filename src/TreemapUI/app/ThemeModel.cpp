#include "app/ThemeModel.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>

#include "app/SettingsKeys.h"

namespace tessel {

namespace {
QColor qcolor(const Color& color) { return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green), static_cast<float>(color.blue), static_cast<float>(color.alpha)); }
} // namespace

ThemeModel::ThemeModel(QSettings* settings, bool systemPrefersDark, QObject* parent)
    : QObject(parent), settings_(settings), systemPrefersDark_(systemPrefersDark) {}

bool ThemeModel::desktopPrefersDark() {
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                                                      "org.freedesktop.portal.Settings", "Read");
    call << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme");
    if (QDBusConnection::sessionBus().isConnected()) {
        QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 300);
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()) {
            // The answer is a variant inside a variant: 1 prefers dark, 2 prefers light, 0 says nothing.
            QVariant value = reply.arguments().first();
            while (value.canConvert<QDBusVariant>() && value.userType() == qMetaTypeId<QDBusVariant>())
                value = value.value<QDBusVariant>().variant();
            bool ok = false;
            const uint scheme = value.toUInt(&ok);
            if (ok && scheme == 1) return true;
            if (ok && scheme == 2) return false;
        }
    }
    if (qGuiApp == nullptr) return false;
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

QString ThemeModel::choice() const {
    const QString stored = settings_ != nullptr ? settings_->value(SettingsKey::theme, "system").toString() : "system";
    return stored == "light" || stored == "dark" ? stored : "system";
}

void ThemeModel::setChoice(const QString& choice) {
    if (choice == this->choice() || settings_ == nullptr) return;
    settings_->setValue(SettingsKey::theme, choice);
    emit changed();
}

void ThemeModel::setSystemPrefersDark(bool dark) {
    if (dark == systemPrefersDark_) return;
    systemPrefersDark_ = dark;
    emit changed();
}

bool ThemeModel::dark() const {
    const QString chosen = choice();
    return chosen == "dark" || (chosen == "system" && systemPrefersDark_);
}

const TreemapTheme& ThemeModel::theme() const { return TreemapTheme::theme(dark() ? "dark" : "light"); }

QColor ThemeModel::background() const { return qcolor(theme().background); }
QColor ThemeModel::surface() const { return qcolor(theme().surface); }
QColor ThemeModel::sidebar() const {
    return dark() ? qcolor(Color::hex(0x232326)) : qcolor(Color::hex(0xebebef));
}
QColor ThemeModel::text() const { return qcolor(theme().text); }
QColor ThemeModel::secondaryText() const { return qcolor(theme().secondaryText); }
QColor ThemeModel::outline() const { return qcolor(theme().tileOutline); }
QColor ThemeModel::highlight() const { return qcolor(theme().highlight); }
QColor ThemeModel::accent() const { return qcolor(theme().accent); }
QColor ThemeModel::success() const { return qcolor(dark() ? Color::hex(0x32d17a) : Color::hex(0x1f9d55)); }
QColor ThemeModel::warning() const { return qcolor(dark() ? Color::hex(0xf5b942) : Color::hex(0xc77c02)); }
QColor ThemeModel::danger() const { return qcolor(dark() ? Color::hex(0xff6b6b) : Color::hex(0xd93b3b)); }

QVariantList ThemeModel::palette() const {
    QVariantList colors;
    for (const Color& color : theme().tilePalette) colors.append(qcolor(color));
    return colors;
}

QColor ThemeModel::colorForName(const QString& name) const {
    return qcolor(theme().tileColor(TreemapTheme::paletteIndex(name.toStdString()), 1, true));
}

} // namespace tessel
