#include "linux/SystemdUserManager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>

#include "support/QtText.h"

namespace tessel {

namespace {

// Long enough for a manager that reloads many units; the room waits off the main thread.
constexpr int replyMilliseconds = 10000;

std::optional<std::string> ask(const QString& method, const QVariantList& arguments) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return "There is no session bus to reach your systemd manager on.";
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                                                      "org.freedesktop.systemd1.Manager", method);
    call.setArguments(arguments);
    const QDBusMessage reply = bus.call(call, QDBus::Block, replyMilliseconds);
    if (reply.type() == QDBusMessage::ErrorMessage)
        return "Your systemd manager refused " + toBytes(method) + ": " + toBytes(reply.errorMessage());
    return std::nullopt;
}

QStringList names(const std::vector<std::string>& units) {
    QStringList list;
    for (const std::string& unit : units) list.append(toQString(unit));
    return list;
}

} // namespace

std::optional<std::string> SystemdUserManager::disableUnitFiles(const std::vector<std::string>& units) {
    return ask("DisableUnitFiles", {names(units), false});
}

std::optional<std::string> SystemdUserManager::enableUnitFiles(const std::vector<std::string>& units) {
    return ask("EnableUnitFiles", {names(units), false, false});
}

std::optional<std::string> SystemdUserManager::reload() { return ask("Reload", {}); }

} // namespace tessel
