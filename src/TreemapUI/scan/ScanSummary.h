#pragma once
// The last scan, kept across launches: what was scanned, when, how big, and
// how its space divides into kinds. Stored as JSON in the settings, so the
// overview can show it before any new scan.

#include <QDateTime>
#include <QLocale>
#include <QSettings>
#include <QString>

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "DiskScanKit/ScanRecords.h"

namespace tessel {

struct ScanSummary {
    QDateTime date;
    QString path;
    QString label;
    std::int64_t bytes = 0;
    std::int64_t files = 0;
    std::int64_t folders = 0;
    std::map<std::string, std::int64_t> parts;

    // A broken or missing value gives none, without complaint.
    static std::optional<ScanSummary> load(const QSettings& settings);
    // Stores it and tells the process a new summary stands.
    void save(QSettings& settings) const;
    QByteArray encoded() const;
    static std::optional<ScanSummary> decoded(const QByteArray& json);

    // "Today, 14:05", "Yesterday, 09:12", or "Nov 3, 18:40".
    QString when(const QDateTime& now, const QLocale& locale = QLocale()) const;
};

} // namespace tessel
