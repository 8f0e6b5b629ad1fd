#pragma once
// The engine speaks UTF-8 std::string and the system clock; the views speak
// QString, in the user's locale and time zone. The conversions, once.

#include <QDateTime>
#include <QLocale>
#include <QString>

#include <chrono>
#include <string_view>

namespace tessel {

inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// A moment of the engine's clock in the local time zone, as `format` writes it ("d MMM yyyy").
inline QString localDate(std::chrono::system_clock::time_point when, const QString& format) {
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(when.time_since_epoch()).count();
    return QDateTime::fromMSecsSinceEpoch(milliseconds).toLocalTime().toString(format);
}

// Counts in the user's locale, always grouped: the C locale leaves the
// separators out by default, and "12345 folders" is hard to read at a glance.
inline QString groupedCount(qint64 value) {
    QLocale locale;
    locale.setNumberOptions(locale.numberOptions().setFlag(QLocale::OmitGroupSeparator, false));
    return locale.toString(value);
}

// The home folder reads as "~", as people type it; only a whole leading
// component counts, so "/home/ann2" stays as it is when home is "/home/ann".
inline QString homeRelative(const QString& path, const QString& home) {
    if (home.isEmpty() || home == QLatin1String("/")) return path;
    if (path == home) return QStringLiteral("~");
    if (path.startsWith(home) && path.size() > home.size() && path.at(home.size()) == QLatin1Char('/'))
        return QLatin1Char('~') + path.mid(home.size());
    return path;
}

} // namespace tessel
