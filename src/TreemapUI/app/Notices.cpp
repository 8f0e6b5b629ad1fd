#include "app/Notices.h"

#include <QDir>

#include "DiskScanKit/ByteFormat.h"
#include "support/QtText.h"
#include "DiskScanKit/ScanWords.h"
#include "DiskScanKit/TextFormat.h"
#include "TrashKit/RemovalSheet.h"

namespace tessel::Notices {

namespace {

// How many skipped folders the detail names before it only counts the rest.
constexpr qsizetype namedFolders = 3;

} // namespace

QString list(const QStringList& names) {
    if (names.size() < 2) return names.value(0);
    return names.first(names.size() - 1).join(QStringLiteral(", ")) + QStringLiteral(" and ") + names.last();
}

AppNotification foldersSkipped(const QStringList& paths, std::function<void()> scanAgain, const MountOf& mountOf) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::warning;
    notice.title = toQString(ScanWords::stalledTitle(paths.size()));
    if (paths.size() == 1) {
        const std::string shown = toBytes(homeRelative(paths.front(), QDir::homePath()));
        notice.detail = toQString(ScanWords::stalledFolder(shown, mountOf(toBytes(paths.front()))));
    } else if (!paths.isEmpty()) {
        QStringList shown;
        for (const QString& path : paths.first(std::min(paths.size(), namedFolders))) shown << homeRelative(path, QDir::homePath());
        // The tail stands in for the last name, so the sentence keeps a single
        // " and ": five paths read "a, b, c and 2 more", not "a, b and c and 2 more".
        if (paths.size() > namedFolders)
            shown << toQString(TextFormat::grouped(paths.size() - namedFolders)) + QStringLiteral(" more");
        notice.detail = list(shown) + QStringLiteral(". ") + toQString(ScanWords::unreadableDetail(paths.size()));
    }
    notice.actionTitle = QStringLiteral("Scan Again");
    notice.action = std::move(scanAgain);
    notice.symbol = QStringLiteral("exclamationmark.triangle.fill");
    return notice;
}

AppNotification accessIncomplete(qint64 unreadable, std::function<void()> openSettings) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::warning;
    notice.title = toQString(ScanWords::unreadableTitle(unreadable));
    notice.detail = QStringLiteral("Without Full Disk Access this total is short.");
    notice.actionTitle = QStringLiteral("Open Settings");
    notice.action = std::move(openSettings);
    notice.symbol = QStringLiteral("lock.shield");
    return notice;
}

AppNotification foldersUnread(qint64 unreadable, std::function<void()> showFolders) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::warning;
    notice.title = toQString(ScanWords::unreadableTitle(unreadable));
    notice.detail = toQString(ScanWords::unreadableDetail(unreadable));
    notice.actionTitle = QStringLiteral("Show Folders");
    notice.action = std::move(showFolders);
    notice.symbol = QStringLiteral("lock.shield");
    return notice;
}

AppNotification scanFinished(qint64 bytes, double seconds) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::success;
    notice.title = toQString(ScanWords::finishedTitle(bytes));
    notice.detail = QString::asprintf("in %.1f seconds", seconds);
    notice.duration = 6.0;
    notice.symbol = QStringLiteral("checkmark.circle.fill");
    return notice;
}

AppNotification removed(qint64 count, qint64 bytes, std::function<void()> undo) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::success;
    notice.title = toQString(RemovalSheet::movedTitle(static_cast<std::size_t>(count)));
    notice.detail = toQString(RemovalSheet::movedDetail(bytes));
    notice.actionTitle = QStringLiteral("Put Back");
    notice.action = std::move(undo);
    notice.duration = 12;
    notice.symbol = QStringLiteral("trash.fill");
    return notice;
}

AppNotification restored(qint64 count) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::success;
    notice.title = toQString(RemovalSheet::restoredTitle(static_cast<std::size_t>(count)));
    notice.duration = 6;
    notice.symbol = QStringLiteral("arrow.uturn.backward");
    return notice;
}

AppNotification partialFailure(qint64 count, const QString& first) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::failure;
    notice.title = toQString(RemovalSheet::failedTitle(static_cast<std::size_t>(count)));
    notice.detail = first;
    notice.symbol = QStringLiteral("exclamationmark.triangle.fill");
    return notice;
}

AppNotification shownInFileManager(qint64 count) {
    AppNotification notice;
    notice.kind = AppNotification::Kind::info;
    notice.title = (count == 1 ? QStringLiteral("Selected") : QStringLiteral("%1 items selected").arg(toQString(TextFormat::grouped(count)))) +
                   " in Files";
    notice.detail = QStringLiteral("Move %1 to the Trash in Files. It asks an administrator's password where one is "
                                   "needed. If Files says it will delete something immediately, it will not be kept "
                                   "in the Trash: cancel there to keep it.")
                        .arg(count == 1 ? "it" : "them");
    notice.symbol = QStringLiteral("lock.open.fill");
    return notice;
}

} // namespace tessel::Notices
