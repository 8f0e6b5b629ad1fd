#pragma once
// The uninstaller's model. It stands in the session from the start so that the
// session's shape does not change when the uninstaller arrives.

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace tessel {

class UninstallModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the uninstaller")
public:
    using QObject::QObject;
};

} // namespace tessel
