#pragma once
// An automatic restart after an update should not put a window in front of the
// user. The updater leaves a date behind; a launch within ten minutes of it is
// quiet and closes its window at once.

#include <QDateTime>
#include <QSettings>

namespace tessel::QuietLaunch {

// Reads and removes the stored date, so that only one launch can be quiet.
bool begin(QSettings& settings, const QDateTime& now);

} // namespace tessel::QuietLaunch
