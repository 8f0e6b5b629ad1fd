#pragma once
// The startup disk's use, one point a day, kept in the settings under
// "tessel.diskHistory" as JSON: [{"day": "2026-11-24T00:00:00+01:00",
// "used": ..., "total": ...}], sorted by day. The store is written only when
// a point changed, so a launch that records the same figures writes nothing.

#include <QDateTime>
#include <QObject>
#include <QSettings>

#include <optional>
#include <vector>

#include "SystemStatsKit/DiskUsagePoints.h"
#include "SystemStatsKit/VolumeCapacity.h"
#include "monitor/DiskDaysChart.h"

namespace tessel {

class DiskUsageHistory : public QObject {
    Q_OBJECT

public:
    static constexpr const char* key = "tessel.diskHistory";

    explicit DiskUsageHistory(QSettings* settings, QObject* parent = nullptr);

    // Records `volume` for the local day of `now`; true when the store changed.
    bool record(const QDateTime& now, const VolumeCapacity& volume);
    // The latest point from before the local day of `now`.
    std::optional<DiskUsagePoint> last(const QDateTime& now) const;
    const std::vector<DiskUsagePoint>& points() const { return points_; }
    // The last `DiskDaysChart::shownDays` local days up to that of `now`, as the disk card draws them.
    DiskDaysChart chart(const QDateTime& now) const;

    static std::int64_t startOfDay(const QDateTime& now);

signals:
    // A point was recorded or changed.
    void changed();

private:
    void load();
    // The points as JSON under `key`, each day with the offset from UTC that `now` has.
    void save(const QDateTime& now);

    QSettings* settings_;
    std::vector<DiskUsagePoint> points_;
};

} // namespace tessel
