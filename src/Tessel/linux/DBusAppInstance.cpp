// AppInstance over D-Bus. The open window owns the app id on the session bus
// and answers org.freedesktop.Application at the object path made from it
// (com.tesselworks.tessel answers at /com/tesselworks/tessel):
//
//   Activate(a{sv} platformData)                  come to the front
//   Open(as uris, a{sv} platformData)             scan the first file:// URI
//   ActivateAction(s "room", av [name], a{sv})    show the room named
//
// A second launch sends ActivateAction for its room, then Open for its folder,
// or Activate when it named neither, and waits for each answer, so it exits
// only once the window has the request. A path travels as a file:// URI with
// its bytes percent-encoded, so a name that is not UTF-8 arrives as it left.
//
// The object is registered before the name is requested: whoever finds the
// name owned finds someone answering behind it. Two launches at the same
// moment race for the name and the bus lets exactly one win.

#include "AppInstance.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QUrl>
#include <QVariantMap>

#include "Base/AppIdentity.h"

namespace tessel {

namespace {

const QString interfaceName = QStringLiteral("org.freedesktop.Application");
const QString roomAction = QStringLiteral("room");
const QString tokenKey = QStringLiteral("activation-token");
// Long enough for a window in the middle of heavy work, short enough that a
// hung one does not hold the launch for long: after it, the launch runs alone.
constexpr int answerMilliseconds = 10000;

QString serviceName() { return QString::fromLatin1(AppIdentity::id); }
QString objectPath() { return QLatin1Char('/') + serviceName().replace(QLatin1Char('.'), QLatin1Char('/')); }

QString fileUri(const std::string& path) {
    return QStringLiteral("file://") + QString::fromLatin1(QByteArray::fromStdString(path).toPercentEncoding("/"));
}

// The bytes of a local file:// URI's path; nothing for another scheme or a relative path.
std::optional<std::string> localPath(const QString& uri) {
    const QUrl url(uri, QUrl::StrictMode);
    if (!url.isValid() || !url.isLocalFile()) return std::nullopt;
    // The fully encoded path keeps every byte as %XX, so decoding it here gives them back exactly.
    std::string path = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()).toStdString();
    if (!path.starts_with('/')) return std::nullopt;
    return path;
}

QString text(const QVariant& value) {
    if (value.userType() == qMetaTypeId<QDBusVariant>())
        return qvariant_cast<QDBusVariant>(value).variant().toString();
    return value.toString();
}

} // namespace

// The object on the bus. Its slots are the interface's methods, named as it names them.
class ApplicationInterface : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationInterface(AppInstance* instance) : QObject(instance), instance_(instance) {}

public slots:
    void Activate(const QVariantMap& platformData) { emit instance_->requested(request(platformData)); }

    void Open(const QStringList& uris, const QVariantMap& platformData) {
        if (uris.isEmpty()) return Activate(platformData);
        std::optional<std::string> path = localPath(uris.front());
        if (!path) {
            sendErrorReply(QDBusError::InvalidArgs, "Tessel scans folders on this machine, not " + uris.front());
            return;
        }
        LaunchRequest asked = request(platformData);
        asked.path = std::move(path);
        emit instance_->requested(asked);
    }

    void ActivateAction(const QString& action, const QVariantList& parameter, const QVariantMap& platformData) {
        if (action != roomAction || parameter.size() != 1) {
            sendErrorReply(QDBusError::InvalidArgs, "Tessel has no action \"" + action + "\" taking " +
                                                         QString::number(parameter.size()) + " values");
            return;
        }
        LaunchRequest asked = request(platformData);
        asked.room = text(parameter.front());
        emit instance_->requested(asked);
    }

private:
    static LaunchRequest request(const QVariantMap& platformData) {
        LaunchRequest asked;
        asked.activationToken = text(platformData.value(tokenKey)).toUtf8();
        return asked;
    }

    AppInstance* instance_;
};

AppInstance::AppInstance(QObject* parent) : QObject(parent) {}

AppInstance::~AppInstance() {
    if (service_ == nullptr) return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(objectPath());
    bus.interface()->unregisterService(serviceName());
}

AppInstance::Claim AppInstance::claim(const LaunchRequest& request) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    // No session bus (a console, a container): nobody else could be found, so run alone, without a word.
    if (!bus.isConnected()) return Claim::alone;

    auto* service = new ApplicationInterface(this);
    if (!bus.registerObject(objectPath(), service, QDBusConnection::ExportAllSlots)) {
        delete service;
        problem_ = "could not offer " + objectPath() + " on the session bus: " + bus.lastError().message();
        return Claim::alone;
    }
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> owned = bus.interface()->registerService(
        serviceName(), QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
    if (owned.isValid() && owned.value() == QDBusConnectionInterface::ServiceRegistered) {
        service_ = service;
        return Claim::first;
    }
    bus.unregisterObject(objectPath());
    delete service;
    if (!owned.isValid()) {
        problem_ = "could not claim " + serviceName() + " on the session bus: " + owned.error().message();
        return Claim::alone;
    }

    QVariantMap platformData;
    if (!request.activationToken.isEmpty()) platformData.insert(tokenKey, QString::fromUtf8(request.activationToken));
    const auto send = [&](const QString& method, const QVariantList& arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(serviceName(), objectPath(), interfaceName, method);
        message.setArguments(arguments);
        const QDBusMessage reply = bus.call(message, QDBus::Block, answerMilliseconds);
        if (reply.type() != QDBusMessage::ErrorMessage) return true;
        problem_ = "the open Tessel window did not take the request (" + method + ": " + reply.errorMessage() + ")";
        return false;
    };
    bool delivered = true;
    if (request.room) delivered = send(QStringLiteral("ActivateAction"), {roomAction, QVariantList{*request.room}, platformData});
    if (delivered && request.path) delivered = send(QStringLiteral("Open"), {QStringList{fileUri(*request.path)}, platformData});
    if (delivered && !request.room && !request.path) delivered = send(QStringLiteral("Activate"), {platformData});
    return delivered ? Claim::handedOff : Claim::alone;
}

} // namespace tessel

#include "DBusAppInstance.moc"
