#pragma once
// The frame of the main window: which room stands, and the sidebar that
// chooses it. Requests for a room arrive by name over the app's notification
// road, from anywhere in the process; names it doesn't know are ignored.

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
    // A request by name, as the notification road carries it. Returns whether it was understood.
    Q_INVOKABLE bool showRoom(const QString& name);
    // Asks for a room the way any part of the app would.
    Q_INVOKABLE void requestRoom(const QString& name);
    // The Help menu's links: they open in the browser or mail app, on the user's click only.
    Q_INVOKABLE void openHelp();
    Q_INVOKABLE void contactSupport();

signals:
    void roomChanged();
    // The window should come forward.
    void raiseRequested();
    void scanRequested();
    void guideRequested();

private:
    AppShell::Room room_;
};

} // namespace tessel
