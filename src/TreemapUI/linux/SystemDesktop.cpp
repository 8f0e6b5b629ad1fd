// The desktop of a Linux session: the file manager through
// org.freedesktop.FileManager1, files opened the way xdg-open opens them.

#include "app/Desktop.h"

#include <QDesktopServices>

#include "linux/FileManagerHandOff.h"
#include "support/QtText.h"

namespace tessel {

Desktop Desktop::system() {
    Desktop desktop;
    desktop.reveal = [](const QStringList& paths) { FileManagerHandOff::reveal(paths); };
    desktop.open = [](const QString& path) { QDesktopServices::openUrl(fileUrl(toBytes(path))); };
    return desktop;
}

} // namespace tessel
