#pragma once
// What the desktop does for the rooms: show items in its file manager, and
// open a file with the application the user chose for its kind. Paths are
// the lossless text of toQString, so a name that is not UTF-8 reaches the
// desktop as the same bytes. Tests hand in their own; an empty function does
// nothing.

#include <QString>
#include <QStringList>

#include <functional>

namespace tessel {

struct Desktop {
    std::function<void(const QStringList& paths)> reveal;
    std::function<void(const QString& path)> open;

    // This machine's file manager and default applications.
    static Desktop system();
};

} // namespace tessel
