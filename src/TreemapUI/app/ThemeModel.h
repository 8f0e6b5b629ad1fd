#pragma once
// The window's colours: the light or the dark theme, following the desktop's
// choice unless tessel.theme names one ("light", "dark"; "system" follows).

#include <QColor>
#include <QObject>
#include <QSettings>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include "TreemapLayout/TreemapTheme.h"

namespace tessel {

class ThemeModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app creates the theme")
    Q_PROPERTY(QString choice READ choice WRITE setChoice NOTIFY changed)
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
    Q_PROPERTY(QColor background READ background NOTIFY changed)
    Q_PROPERTY(QColor surface READ surface NOTIFY changed)
    Q_PROPERTY(QColor sidebar READ sidebar NOTIFY changed)
    Q_PROPERTY(QColor text READ text NOTIFY changed)
    Q_PROPERTY(QColor secondaryText READ secondaryText NOTIFY changed)
    Q_PROPERTY(QColor outline READ outline NOTIFY changed)
    Q_PROPERTY(QColor highlight READ highlight NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor success READ success NOTIFY changed)
    Q_PROPERTY(QColor warning READ warning NOTIFY changed)
    Q_PROPERTY(QColor danger READ danger NOTIFY changed)
    Q_PROPERTY(QVariantList palette READ palette NOTIFY changed)

public:
    // `systemPrefersDark` is asked once at start and whenever the desktop says it changed.
    ThemeModel(QSettings* settings, bool systemPrefersDark, QObject* parent = nullptr);

    // What the desktop prefers: the freedesktop appearance portal, else the palette's lightness.
    static bool desktopPrefersDark();

    QString choice() const;
    void setChoice(const QString& choice);
    void setSystemPrefersDark(bool dark);
    bool dark() const;
    const TreemapTheme& theme() const;

    QColor background() const;
    QColor surface() const;
    QColor sidebar() const;
    QColor text() const;
    QColor secondaryText() const;
    QColor outline() const;
    QColor highlight() const;
    QColor accent() const;
    QColor success() const;
    QColor warning() const;
    QColor danger() const;
    QVariantList palette() const;
    // The hue of a category or a top-level item, stable across launches.
    Q_INVOKABLE QColor colorForName(const QString& name) const;

signals:
    void changed();

private:
    QSettings* settings_;
    bool systemPrefersDark_;
};

} // namespace tessel
