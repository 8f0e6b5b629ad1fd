#pragma once
// Tells a monitor that the machine slept, so that no rate is averaged over
// the sleep and no processor load spans it. Two signs, either enough: logind
// announces PrepareForSleep(false) on the system bus as the machine wakes
// (where there is no system bus, as in a container, there is no such word),
// and the time asleep since boot (the boot clock less the monotonic one)
// grows across any suspend, which a monitor sees at its next beat even when
// nobody announced it.

#include <QObject>

#include "monitor/MonitorClock.h"

namespace tessel {

class SleepWatch : public QObject {
    Q_OBJECT

public:
    explicit SleepWatch(MonitorClock clock, QObject* parent = nullptr);

    // True when the machine slept since the last look; the first look sets the mark.
    bool sleptSinceLastLook();

signals:
    void woke();

private slots:
    void prepareForSleep(bool goingToSleep);

private:
    MonitorClock clock_;
    double asleepAtLastLook_ = -1;
};

} // namespace tessel
