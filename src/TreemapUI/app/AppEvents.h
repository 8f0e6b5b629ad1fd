#pragma once
// The in-process notification road. Any part of the app can ask for a room, a
// scan, the tour; the shell listens. One centre per process.

#include <QObject>
#include <QString>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

namespace tessel {

namespace AppEvent {
inline constexpr const char* showRoom = "com.tesselworks.tessel.showRoom";
inline constexpr const char* scanRequested = "com.tesselworks.tessel.scanRequested";
inline constexpr const char* optimizeRequested = "com.tesselworks.tessel.optimizeRequested";
inline constexpr const char* showGuide = "com.tesselworks.tessel.showGuide";
inline constexpr const char* lastScanChanged = "com.tesselworks.tessel.lastScanChanged";
inline constexpr const char* volumeRefreshed = "com.tesselworks.tessel.volumeRefreshed";
} // namespace AppEvent

class AppEvents : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("One centre per process")
public:
    static AppEvents& center();
    // Delivered on the main thread, after the caller returns.
    Q_INVOKABLE void post(const QString& name, const QVariant& payload = {});

signals:
    void posted(const QString& name, const QVariant& payload);
};

} // namespace tessel
