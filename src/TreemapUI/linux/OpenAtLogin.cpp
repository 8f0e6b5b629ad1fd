#include "linux/OpenAtLogin.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

#include "Base/AppIdentity.h"

namespace tessel::OpenAtLogin {

QString entryPath() {
    // Named, like the app's own entry, by the app id, which the desktop matches them by.
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + "/autostart/" +
           QString::fromLatin1(AppIdentity::id) + ".desktop";
}

bool read() {
    QFile file(entryPath());
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) return false;
    const QString text = QString::fromUtf8(file.readAll());
    return !text.contains(QStringLiteral("\nHidden=true")) &&
           !text.contains(QStringLiteral("\nX-GNOME-Autostart-enabled=false"));
}

void set(bool on, const std::function<void(bool)>& then) {
    const QString path = entryPath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    bool written = file.open(QIODevice::WriteOnly | QIODevice::Text);
    if (written) {
        const QString program = QCoreApplication::applicationFilePath();
        QString text = QStringLiteral("[Desktop Entry]\nType=Application\nName=Tessel\n"
                                      "Comment=See where your disk space goes\n");
        text += "Exec=\"" + program + "\"\n";
        text += "Icon=" + QString::fromLatin1(AppIdentity::id) + "\n";
        text += on ? QStringLiteral("Hidden=false\nX-GNOME-Autostart-enabled=true\n")
                   : QStringLiteral("Hidden=true\nX-GNOME-Autostart-enabled=false\n");
        file.write(text.toUtf8());
        written = file.commit();
    }
    if (then) then(written);
}

} // namespace tessel::OpenAtLogin
