#include "linux/FileManagerHandOff.h"

#include "support/QtText.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QUrl>

#include <algorithm>

namespace tessel::FileManagerHandOff {

std::vector<DeletionCandidate> eligible(const std::vector<DeletionCandidate>& candidates,
                                        const DeletionGuard::Context& context, const FileManager& files) {
    std::vector<DeletionCandidate> kept;
    const DeletionGuard::Context real = DeletionGuard::realContext(context, files);
    for (const DeletionCandidate& candidate : candidates) {
        const std::variant<AnchoredPath, DeletionRefusal> judged = DeletionGuard::admit(candidate, context, real, files, "");
        const DeletionRefusal* reason = std::get_if<DeletionRefusal>(&judged);
        if (reason != nullptr && *reason == DeletionRefusal::notPermitted) kept.push_back(candidate);
    }
    return kept;
}

void reveal(const QStringList& paths) {
    if (paths.isEmpty()) return;
    QStringList uris;
    for (const QString& path : paths) uris.append(fileUrl(toBytes(path)).toString(QUrl::FullyEncoded));
    // The folder that holds the first item, for when no file manager answers on the bus.
    const std::string first = toBytes(paths.first());
    const QUrl folder = fileUrl(first.substr(0, std::max<std::size_t>(first.rfind('/'), 1)));
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        QDesktopServices::openUrl(folder);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                                      "org.freedesktop.FileManager1", "ShowItems");
    call << uris << QString();
    // Asked without waiting: a file manager that is slow to start never holds the window.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, 5000));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [folder](QDBusPendingCallWatcher* done) {
        if (done->isError()) QDesktopServices::openUrl(folder);
        done->deleteLater();
    });
}

int gone(const QStringList& paths, const FileManager& files) {
    return static_cast<int>(std::count_if(paths.begin(), paths.end(),
                                          [&](const QString& path) { return !files.exists(toBytes(path)); }));
}

} // namespace tessel::FileManagerHandOff
