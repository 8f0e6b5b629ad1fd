#pragma once
// The engine speaks UTF-8 std::string and the system clock; the views speak
// QString, in the user's locale and time zone. The conversions, once.

#include <QDateTime>
#include <QLocale>
#include <QString>
#include <QUrl>

#include <chrono>
#include <string>
#include <string_view>

#include "DiskScanKit/NameBytes.h"

namespace tessel {

// Text from the engine for a view. Names are bytes, and a byte that starts no
// valid UTF-8 sequence travels as a lone surrogate, U+DC80 to U+DCFF, so that
// toBytes gives back exactly the path that came in: a path shown in a list and
// handed back for removal names the very file. A view draws such a character
// as a replacement mark.
inline QString toQString(std::string_view text) {
    if (Utf8::isValid(text)) return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    QString shown;
    shown.reserve(static_cast<qsizetype>(text.size()));
    while (!text.empty()) {
        const std::size_t length = Utf8::sequenceLength(text);
        if (length == 0) {
            shown += QChar(static_cast<char16_t>(0xDC00 + static_cast<unsigned char>(text.front())));
            text.remove_prefix(1);
            continue;
        }
        shown += QString::fromUtf8(text.data(), static_cast<qsizetype>(length));
        text.remove_prefix(length);
    }
    return shown;
}

// The bytes of text that came from toQString, or that a person typed.
inline std::string toBytes(const QString& text) {
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(text.size()));
    qsizetype runStart = 0;
    auto flush = [&](qsizetype end) {
        if (end > runStart) bytes += text.mid(runStart, end - runStart).toStdString();
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text.at(i).unicode();
        if (QChar::isHighSurrogate(unit) && i + 1 < text.size() && QChar::isLowSurrogate(text.at(i + 1).unicode())) {
            ++i; // a whole character beyond U+FFFF
            continue;
        }
        if (unit < 0xDC80 || unit > 0xDCFF) continue;
        flush(i);
        bytes += static_cast<char>(unit - 0xDC00);
        runStart = i + 1;
    }
    flush(text.size());
    return bytes;
}

// A file: URL that names exactly the bytes of `path`: each byte that is not
// plain ASCII is percent-encoded on its own, so a name that is not UTF-8
// survives where QUrl::fromLocalFile would have replaced it.
inline QUrl fileUrl(const std::string& path) {
    const QByteArray bytes(path.data(), static_cast<qsizetype>(path.size()));
    return QUrl::fromEncoded("file://" + bytes.toPercentEncoding("/"), QUrl::StrictMode);
}

// A moment of the engine's clock in the local time zone, as `format` writes it ("d MMM yyyy").
inline QString localDate(std::chrono::system_clock::time_point when, const QString& format) {
    const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(when.time_since_epoch()).count();
    return QDateTime::fromMSecsSinceEpoch(milliseconds).toLocalTime().toString(format);
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
