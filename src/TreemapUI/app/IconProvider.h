#pragma once
// The app's line icons, drawn in whatever colour the view asks for. The SVGs
// are drawn in pure black (#000000) and recoloured here, so one file serves
// every theme and state:
//
//     Image { source: "image://icon/folder.fill?color=#80ffffff"; sourceSize: Qt.size(16, 16) }
//
// The colour is #rrggbb or #aarrggbb (a literal '#' or "%23"); without one the
// icon comes out black. Without a sourceSize it is 24×24.

#include <QColor>
#include <QImage>
#include <QQuickImageProvider>
#include <QSize>
#include <QString>

namespace tessel {

class IconProvider : public QQuickImageProvider {
public:
    static constexpr int defaultSize = 24;

    IconProvider();

    // Called from the scene graph's loader threads as well as the main thread.
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;

    // Whether an icon of that name ships with the app.
    static bool has(const QString& symbol);
    // The icon drawn in `colour` at `size`, for views that paint themselves.
    static QImage render(const QString& symbol, const QColor& colour, QSize size);
};

} // namespace tessel
