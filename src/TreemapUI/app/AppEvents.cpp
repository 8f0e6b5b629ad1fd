#include "app/AppEvents.h"

#include <QCoreApplication>

namespace tessel {

AppEvents& AppEvents::center() {
    static AppEvents* events = [] {
        auto* created = new AppEvents;
        // Lives on the main thread whoever asks first.
        if (QCoreApplication::instance() != nullptr) created->moveToThread(QCoreApplication::instance()->thread());
        return created;
    }();
    return *events;
}

void AppEvents::post(const QString& name, const QVariant& payload) {
    QMetaObject::invokeMethod(
        this, [this, name, payload] { emit posted(name, payload); }, Qt::QueuedConnection);
}

} // namespace tessel
