#pragma once
// The frame of the main window: which room stands, and the sidebar that
// chooses it. A request for a room by name (from a notice, the tray or a
// launch) is a call on the shell; names it doesn't know are ignored.

#include <QObject>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include "app/Rooms.h"

namespace tessel {

class ShellModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app creates the shell")
    Q_PROPERTY(QString room READ room WRITE setRoom NOTIFY roomChanged)
    Q_PROPERTY(QString roomTitle READ roomTitle NOTIFY roomChanged)
    Q_PROPERTY(QString comingSentence READ comingSentence NOTIFY roomChanged)
    Q_PROPERTY(QVariantList sections READ sections CONSTANT)
    Q_PROPERTY(QStringList roomIds READ roomIds CONSTANT)

public:
    explicit ShellModel(QObject* parent = nullptr);

    QString room() const;
    // Unknown room ids are ignored.
    void setRoom(const QString& id);
    QString roomTitle() const;
    QString comingSentence() const;
    QVariantList sections() const;
    QStringList roomIds() const;
    static QStringList sidebarRoomIds();
    // Every room a launch may name: the sidebar's, and "changes", the report's first tab.
    static QStringList allRoomIds();
    // A request by name: brings the window forward on that room. Returns whether it was understood.
    Q_INVOKABLE bool showRoom(const QString& name);
    // The Help menu's links: they open in the browser or mail app, on the user's click only.
    Q_INVOKABLE void openHelp();
    Q_INVOKABLE void contactSupport();

signals:
    void roomChanged();
    // The window should come forward.
    void raiseRequested();

private:
    AppShell::Room room_;
};

} // namespace tessel
