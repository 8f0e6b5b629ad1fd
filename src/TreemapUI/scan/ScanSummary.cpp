#include "scan/ScanSummary.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTimeZone>

#include "app/SettingsKeys.h"
#include "support/QtText.h"

namespace tessel {

namespace {

// Dates travel as seconds since 2001-01-01 UTC, the reference date of the snapshots too.
const QDateTime& referenceDate() {
    static const QDateTime date(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());
    return date;
}

} // namespace

QByteArray ScanSummary::encoded() const {
    QJsonObject partsObject;
    for (const auto& [key, value] : parts) partsObject.insert(toQString(key), static_cast<double>(value));
    QJsonObject object{
        {"date", static_cast<double>(referenceDate().msecsTo(date)) / 1000.0},
        {"path", path},
        {"label", label},
        {"bytes", static_cast<double>(bytes)},
        {"files", static_cast<double>(files)},
        {"folders", static_cast<double>(folders)},
        {"parts", partsObject},
    };
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<ScanSummary> ScanSummary::decoded(const QByteArray& json) {
    QJsonParseError error{};
    QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) return std::nullopt;
    const QJsonObject object = document.object();
    for (const char* key : {"date", "bytes", "files", "folders"})
        if (!object.value(key).isDouble()) return std::nullopt;
    for (const char* key : {"path", "label"})
        if (!object.value(key).isString()) return std::nullopt;
    ScanSummary summary;
    summary.date = referenceDate().addMSecs(static_cast<qint64>(object.value("date").toDouble() * 1000.0));
    summary.path = object.value("path").toString();
    summary.label = object.value("label").toString();
    summary.bytes = static_cast<std::int64_t>(object.value("bytes").toDouble());
    summary.files = static_cast<std::int64_t>(object.value("files").toDouble());
    summary.folders = static_cast<std::int64_t>(object.value("folders").toDouble());
    const QJsonObject partsObject = object.value("parts").toObject();
    for (auto it = partsObject.begin(); it != partsObject.end(); ++it)
        if (it.value().isDouble()) summary.parts[it.key().toStdString()] = static_cast<std::int64_t>(it.value().toDouble());
    return summary;
}

std::optional<ScanSummary> ScanSummary::load(const QSettings& settings) {
    QVariant value = settings.value(SettingsKey::lastScan);
    if (!value.isValid()) return std::nullopt;
    return decoded(value.toByteArray());
}

void ScanSummary::save(QSettings& settings) const {
    settings.setValue(SettingsKey::lastScan, QString::fromUtf8(encoded()));
}

QString ScanSummary::when(const QDateTime& now, const QLocale& locale) const {
    const QDateTime local = date.toTimeZone(now.timeZone());
    // Hours and minutes: some locales' short format still carries seconds.
    QString format = locale.timeFormat(QLocale::ShortFormat);
    format.remove(QRegularExpression(QStringLiteral("[:.]ss")));
    const QString time = locale.toString(local.time(), format);
    const qint64 daysAgo = local.date().daysTo(now.date());
    if (daysAgo == 0) return "Today, " + time;
    if (daysAgo == 1) return "Yesterday, " + time;
    return locale.toString(local.date(), "MMM d") + ", " + time;
}

} // namespace tessel
