#pragma once
// The tour's progress: which step stands, the words of its buttons, and
// whether it has run before (kept under tessel.guideSeen).

#include <QObject>
#include <QSettings>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

namespace tessel {

class GuideModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app creates the tour")
    Q_PROPERTY(bool active READ active NOTIFY changed)
    Q_PROPERTY(int index READ index NOTIFY changed)
    Q_PROPERTY(int count READ count CONSTANT)
    Q_PROPERTY(QString target READ target NOTIFY changed)
    Q_PROPERTY(QString symbol READ symbol NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString counter READ counter NOTIFY changed)
    Q_PROPERTY(QString forwardTitle READ forwardTitle NOTIFY changed)
    Q_PROPERTY(QString backTitle READ backTitle NOTIFY changed)

public:
    explicit GuideModel(QSettings* settings, QObject* parent = nullptr);

    bool active() const { return active_; }
    int index() const { return index_; }
    int count() const;
    QString target() const;
    QString symbol() const;
    QString title() const;
    QString text() const;
    QString counter() const;
    QString forwardTitle() const;
    QString backTitle() const;

    Q_INVOKABLE void start();
    // Starts the tour unless it has run before.
    Q_INVOKABLE bool startIfUnseen();
    Q_INVOKABLE void next();
    // On the first step this is "Skip Tour".
    Q_INVOKABLE void back();
    Q_INVOKABLE void finish();

signals:
    void changed();

private:
    QSettings* settings_;
    bool active_ = false;
    int index_ = 0;
};

} // namespace tessel
