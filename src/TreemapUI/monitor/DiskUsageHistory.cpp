#include "monitor/DiskUsageHistory.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace tessel {

DiskUsageHistory::DiskUsageHistory(QSettings* settings, QObject* parent) : QObject(parent), settings_(settings) { load(); }

std::int64_t DiskUsageHistory::startOfDay(const QDateTime& now) {
    return now.toLocalTime().date().startOfDay().toSecsSinceEpoch();
}

void DiskUsageHistory::load() {
    if (settings_ == nullptr) return;
    const QJsonDocument stored = QJsonDocument::fromJson(settings_->value(key).toString().toUtf8());
    for (const QJsonValue& value : stored.array()) {
        const QJsonObject object = value.toObject();
        const QDateTime day = QDateTime::fromString(object.value("day").toString(), Qt::ISODate);
        // A point that can't be read is dropped; the rest still count.
        if (!day.isValid() || !object.value("used").isDouble() || !object.value("total").isDouble()) continue;
        DiskUsagePoints::record(points_, {day.toSecsSinceEpoch(), object.value("used").toInteger(),
                                          object.value("total").toInteger()});
    }
}

bool DiskUsageHistory::record(const QDateTime& now, const VolumeCapacity& volume) {
    if (!DiskUsagePoints::record(points_, {startOfDay(now), volume.total - volume.available, volume.total}))
        return false;
    save(now);
    emit changed();
    return true;
}

void DiskUsageHistory::save(const QDateTime& now) {
    if (settings_ == nullptr) return;
    QJsonArray array;
    for (const DiskUsagePoint& point : points_)
        array.append(QJsonObject{
            {"day", QDateTime::fromSecsSinceEpoch(point.day).toOffsetFromUtc(now.toLocalTime().offsetFromUtc()).toString(Qt::ISODate)},
            {"used", static_cast<qint64>(point.used)},
            {"total", static_cast<qint64>(point.total)}});
    settings_->setValue(key, QString::fromUtf8(QJsonDocument(array).toJson(QJsonDocument::Compact)));
}

std::optional<DiskUsagePoint> DiskUsageHistory::last(const QDateTime& now) const {
    return DiskUsagePoints::before(points_, startOfDay(now));
}

DiskDaysChart DiskUsageHistory::chart(const QDateTime& now) const {
    return DiskDaysChart::of(points_, startOfDay(now.addDays(-(DiskDaysChart::shownDays - 1))));
}

} // namespace tessel
