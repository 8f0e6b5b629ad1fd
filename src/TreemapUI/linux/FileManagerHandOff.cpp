#include "linux/FileManagerHandOff.h"

#include "support/QtText.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>
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
    QStringList uris;
    for (const QString& path : paths) uris.append(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded));
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                                      "org.freedesktop.FileManager1", "ShowItems");
    call << uris << QString();
    if (QDBusConnection::sessionBus().isConnected()) {
        const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 2000);
        if (reply.type() == QDBusMessage::ReplyMessage) return;
    }
    // No file manager answers on the bus: open the folder that holds the first item.
    if (!paths.isEmpty()) QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(paths.first()).absolutePath()));
}

int gone(const QStringList& paths, const FileManager& files) {
    return static_cast<int>(std::count_if(paths.begin(), paths.end(),
                                          [&](const QString& path) { return !files.exists(toBytes(path)); }));
}

} // namespace tessel::FileManagerHandOff
