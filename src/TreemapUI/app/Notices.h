#pragma once
// Ready-made notices for the in-window stack, so every room words the same
// event the same way.

#include <QStringList>

#include <functional>
#include <optional>
#include <string_view>

#include "app/AppNotifications.h"
#include "DiskScanKit/HangingMounts.h"

namespace tessel::Notices {

// Joins names as a sentence would: {"a"} -> "a", {"a", "b"} -> "a and b",
// {"a", "b", "c"} -> "a, b and c"; no names give "".
QString list(const QStringList& names);

// Which mount holds a path, for naming its file system.
using MountOf = std::function<std::optional<MountEntry>(std::string_view path)>;

// Folders the scan gave up on because they stopped answering: one is named
// with the file system it is on, more are listed. Says that what they hold is
// left out. Stays until dismissed; its action runs `scanAgain`.
AppNotification foldersSkipped(const QStringList& paths, std::function<void()> scanAgain,
                               const MountOf& mountOf = HangingMounts::holding);

// Folders the scan was not allowed into, so the total it shows is short.
AppNotification accessIncomplete(qint64 unreadable, std::function<void()> openSettings);
// A scan that could not read some folders, where no permission would help: the list is a click away.
AppNotification foldersUnread(qint64 unreadable, std::function<void()> showFolders);

AppNotification scanFinished(qint64 bytes, double seconds);

// Items went to the Trash; the action puts them back.
AppNotification removed(qint64 count, qint64 bytes, std::function<void()> undo);
// Items came back from the Trash.
AppNotification restored(qint64 count);
// Some items stayed: how many, and the first one's reason.
AppNotification partialFailure(qint64 count, const QString& first);
// Items were selected in the file manager for the user to move there.
AppNotification shownInFileManager(qint64 count);

} // namespace tessel::Notices
