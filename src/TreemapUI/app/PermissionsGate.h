#pragma once
// Holds the first scan while the user is asked for full disk access, where
// the platform has such a permission and it is denied. Linux has none, so
// there the status is `undetermined` and the gate never holds anything.

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <optional>

#include "DiskScanKit/FullDiskAccess.h"

namespace tessel {

class PermissionsGate : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the gate")
    Q_PROPERTY(bool asking READ asking NOTIFY askingChanged)
    Q_PROPERTY(bool scanWaits READ scanWaits NOTIFY askingChanged)
public:
    using QObject::QObject;

    bool asking() const { return asking_; }
    bool scanWaits() const { return scanWaits_; }
    bool checked() const { return checked_; }
    std::optional<FullDiskAccessStatus> diskAccess() const { return diskAccess_; }
    bool answeredThisLaunch() const { return answeredThisLaunch_; }

    // The launch's one reading of the status.
    void receive(FullDiskAccessStatus status);
    // The user left the question, whichever way: the held scan may start.
    Q_INVOKABLE void answer();

signals:
    void askingChanged();
    void answered();

private:
    bool asking_ = false;
    bool scanWaits_ = false;
    bool checked_ = false;
    std::optional<FullDiskAccessStatus> diskAccess_;
    bool answeredThisLaunch_ = false;
};

} // namespace tessel
