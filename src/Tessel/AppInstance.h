#pragma once
// One window per user. The first launch claims the app id; a second launch
// hands what it was asked for (a folder to scan, a room to show) to the window
// already open and exits, and that window comes to the front.
//
// On Linux the claim is the app id owned on the session bus, where the open
// window answers the org.freedesktop.Application interface, so desktop tools
// that speak it reach the window too. Where there is no session bus, every
// launch runs alone.

#include <QByteArray>
#include <QObject>
#include <QString>

#include <optional>
#include <string>

namespace tessel {

// What a launch asks of the window; neither field means "come to the front".
struct LaunchRequest {
    std::optional<std::string> path; // absolute, as bytes
    std::optional<QString> room;
    // The desktop's token that lets the window take the focus (Wayland's
    // XDG_ACTIVATION_TOKEN), passed on from the launch that got it.
    QByteArray activationToken;
};

class AppInstance : public QObject {
    Q_OBJECT

public:
    enum class Claim {
        first,     // this process is the one instance: requested() will come here
        handedOff, // another window took the request; this process should exit
        alone,     // no session bus, or the other window did not answer: run anyway
    };

    explicit AppInstance(QObject* parent = nullptr);
    ~AppInstance() override;

    // Claims the app id, or hands `request` to the window that holds it.
    Claim claim(const LaunchRequest& request);
    // When the claim did not succeed, the sentence that says why (for standard error).
    const QString& problem() const { return problem_; }

signals:
    // A later launch's request, on the main thread.
    void requested(const tessel::LaunchRequest& request);

private:
    QString problem_;
    QObject* service_ = nullptr;
};

} // namespace tessel
