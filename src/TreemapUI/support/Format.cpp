#include "support/Format.h"

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/TextFormat.h"
#include "support/QtText.h"

namespace tessel {

QString Format::bytes(qint64 value) const { return toQString(ByteFormat::string(value)); }

QString Format::count(qint64 value) const { return toQString(TextFormat::grouped(value)); }

QString Format::counted(qint64 value, const QString& one, const QString& many) const {
    return toQString(TextFormat::counted(value, toBytes(one), toBytes(many)));
}

QString Format::share(qint64 part, qint64 whole) const { return toQString(TextFormat::share(part, whole)); }

QString Format::chosen(qint64 count, qint64 bytes, const QString& name) const {
    if (count <= 0) return {};
    if (count == 1) return name + ", " + this->bytes(bytes) + ".";
    return counted(count, "item", "items") + " selected, " + this->bytes(bytes) + " in all.";
}

QString Format::matchesSentence(qint64 total, qint64 bytes) {
    if (total <= 0) return QStringLiteral("Nothing matches.");
    return toQString(TextFormat::counted(total, "match", "matches") + ", " + ByteFormat::string(bytes) + " in all.");
}

} // namespace tessel
