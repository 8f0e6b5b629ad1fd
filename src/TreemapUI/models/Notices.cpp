#include "Notices.h"

#include <QDir>
#include <QLocale>

#include "DiskScanKit/ByteFormat.h"

namespace tessel::Notices {

namespace {

// How many skipped folders the detail names before it only counts the rest.
constexpr qsizetype namedFolders = 3;

// Counts in the user's locale, always grouped: the C locale leaves the
// separators out by default, and "12345 folders" is hard to read at a glance.
QString counted(qint64 value) {
    QLocale locale;
    locale.setNumberOptions(locale.numberOptions().setFlag(QLocale::OmitGroupSeparator, false));
    return locale.toString(value);
}

// The home folder reads as "~", as people type it; only a whole leading
// component counts, so "/home/ann2" stays as it is when home is "/home/ann".
QString shownPath(const QString& path) {
    const QString home = QDir::homePath();
    if (home.isEmpty() || home == QLatin1String("/")) return path;
    if (path == home) return QStringLiteral("~");
    if (path.startsWith(home) && path.at(home.size()) == QLatin1Char('/'))
        return QLatin1Char('~') + path.mid(home.size());
    return path;
}

} // namespace

QString list(const QStringList& names) {
    if (names.size() < 2) return names.value(0);
    return names.first(names.size() - 1).join(QStringLiteral(", ")) + QStringLiteral(" and ") + names.last();
}

AppNotification foldersSkipped(const QStringList& paths, std::function<void()> scanAgain) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::warning;
    notice.title = paths.size() == 1
        ? QStringLiteral("Skipped a folder that did not respond")
        : QStringLiteral("Skipped ") + counted(paths.size()) + QStringLiteral(" folders that did not respond");
    if (!paths.isEmpty()) {
        QStringList shown;
        for (const QString& path : paths.first(std::min(paths.size(), namedFolders))) shown << shownPath(path);
        // The tail stands in for the last name, so the sentence keeps a single
        // " and ": five paths read "a, b, c and 2 more", not "a, b and c and 2 more".
        if (paths.size() > namedFolders)
            shown << counted(paths.size() - namedFolders) + QStringLiteral(" more");
        notice.detail = list(shown);
    }
    notice.actionTitle = QStringLiteral("Scan Again");
    notice.action = std::move(scanAgain);
    notice.symbol = QStringLiteral("exclamationmark.triangle.fill");
    return notice;
}

AppNotification accessIncomplete(qint64 unreadable, std::function<void()> openSettings) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::warning;
    notice.title = counted(unreadable) + QStringLiteral(" folders could not be read");
    notice.detail = QStringLiteral("Without Full Disk Access this total is short.");
    notice.actionTitle = QStringLiteral("Open Settings");
    notice.action = std::move(openSettings);
    notice.symbol = QStringLiteral("lock.shield");
    return notice;
}

AppNotification scanFinished(qint64 bytes, double seconds) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::success;
    notice.title = QStringLiteral("Scanned ") + QString::fromStdString(ByteFormat::string(bytes));
    notice.detail = QString::asprintf("in %.1f seconds", seconds);
    notice.duration = 6.0;
    notice.symbol = QStringLiteral("checkmark.circle.fill");
    return notice;
}

} // namespace tessel::Notices
