#include "app/QuietLaunch.h"

#include "app/SettingsKeys.h"

namespace tessel::QuietLaunch {

namespace {
constexpr double quietWindowSeconds = 600;
}

bool begin(QSettings& settings, const QDateTime& now) {
    const QVariant stored = settings.value(SettingsKey::quietRelaunch);
    settings.remove(SettingsKey::quietRelaunch);
    // The updater stores a date; a bare number is taken as seconds since 1970.
    double seconds = 0;
    if (stored.typeId() == QMetaType::QDateTime) {
        seconds = static_cast<double>(stored.toDateTime().toMSecsSinceEpoch()) / 1000.0;
    } else {
        bool isNumber = false;
        seconds = stored.toDouble(&isNumber);
        if (!isNumber) return false;
    }
    if (!(seconds > 0)) return false;
    const double nowSeconds = static_cast<double>(now.toMSecsSinceEpoch()) / 1000.0;
    return seconds <= nowSeconds && nowSeconds - seconds < quietWindowSeconds;
}

} // namespace tessel::QuietLaunch
