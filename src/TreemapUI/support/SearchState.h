#pragma once
// Where a room's search stands, as its view shows it: not started (or
// stopped), under way with how far it got, or done.

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <cstddef>

namespace tessel {

class SearchState : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A room owns its search")
    Q_PROPERTY(tessel::SearchState::Phase phase READ phase NOTIFY phaseChanged)
    Q_PROPERTY(int done READ done NOTIFY progressChanged)
    Q_PROPERTY(int total READ total NOTIFY progressChanged)

public:
    enum class Phase { Idle, Running, Done };
    Q_ENUM(Phase)

    using QObject::QObject;

    Phase phase() const { return phase_; }
    int done() const { return done_; }
    int total() const { return total_; }

    void begin() {
        advance(0, 0);
        setPhase(Phase::Running);
    }
    void advance(std::size_t done, std::size_t total) {
        done_ = static_cast<int>(done);
        total_ = static_cast<int>(total);
        emit progressChanged();
    }
    void finish() { setPhase(Phase::Done); }
    void stop() {
        advance(0, 0);
        setPhase(Phase::Idle);
    }

signals:
    void phaseChanged();
    void progressChanged();

private:
    void setPhase(Phase phase) {
        if (phase_ == phase) return;
        phase_ = phase;
        emit phaseChanged();
    }

    Phase phase_ = Phase::Idle;
    int done_ = 0;
    int total_ = 0;
};

} // namespace tessel
