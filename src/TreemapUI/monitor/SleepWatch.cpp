#include "monitor/SleepWatch.h"

#include <QDBusConnection>

namespace tessel {

namespace {
// Less than this is clock jitter between two readings, not a sleep.
constexpr double shortestSleep = 1.0;
} // namespace

SleepWatch::SleepWatch(MonitorClock clock, QObject* parent) : QObject(parent), clock_(std::move(clock)) {
    QDBusConnection bus = QDBusConnection::systemBus();
    if (bus.isConnected())
        bus.connect("org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                    "PrepareForSleep", this, SLOT(prepareForSleep(bool)));
}

bool SleepWatch::sleptSinceLastLook() {
    const double asleep = clock_.asleep ? clock_.asleep() : 0;
    const bool slept = asleepAtLastLook_ >= 0 && asleep - asleepAtLastLook_ >= shortestSleep;
    asleepAtLastLook_ = asleep;
    return slept;
}

void SleepWatch::prepareForSleep(bool goingToSleep) {
    if (!goingToSleep) emit woke();
}

} // namespace tessel
