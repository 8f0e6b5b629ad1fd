#pragma once
// The in-window notice stack: short cards that any room posts, newest on top,
// each with an optional countdown that the pointer can hold while it hovers.

#include <QAbstractListModel>
#include <QDateTime>
#include <QHash>
#include <QString>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <optional>
#include <vector>

class QTimer;

namespace tessel {

struct AppNotification {
    enum class Kind { info, success, warning, failure };
    QUuid id = QUuid::createUuid();
    Kind kind = Kind::info;
    QString title;
    std::optional<QString> detail;
    std::optional<QString> actionTitle;
    std::optional<double> duration; // seconds; none: stays until dismissed
    std::optional<QString> symbol;  // icon name, e.g. "checkmark.circle.fill"
    std::function<void()> action;
};

// The stack of short notices every room posts to; newest on top.
class AppNotifications : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the notices")
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        KindRole,        // "info", "success", "warning" or "failure"
        TitleRole,
        DetailRole,      // "" when there is none
        ActionTitleRole, // "" when there is none
        SymbolRole,      // "" when there is none
        DurationRole,    // seconds, 0 for a notice that stays
        RemainingRole,   // seconds left as of the last pause or start
        DeadlineRole,    // ms since the epoch; 0 while paused or without countdown
        PausedRole,
    };

    using Clock = std::function<QDateTime()>;

    // A card's countdown. `remaining` is what was left when the countdown
    // last stopped or started; `deadline` is set only while it runs.
    struct Countdown {
        double total = 0;
        std::optional<QDateTime> deadline;
        double remaining = 0;
        // Share of the time still left at `at`, 0...1, for the card's bar.
        double fraction(const QDateTime& at) const;
    };

    // Without a clock the model reads the system's UTC time.
    explicit AppNotifications(QObject* parent = nullptr, Clock clock = {});
    ~AppNotifications() override;

    int limit() const;
    // Lowering the limit drops the oldest cards at once.
    void setLimit(int limit);

    void post(AppNotification item);
    Q_INVOKABLE void pause(const QString& id);
    Q_INVOKABLE void resume(const QString& id);
    Q_INVOKABLE void dismiss(const QString& id);
    // Runs the action, then dismisses.
    Q_INVOKABLE void trigger(const QString& id);
    Q_INVOKABLE void clear();

    const std::vector<AppNotification>& items() const;
    std::optional<Countdown> countdown(const QUuid& id) const;
    int count() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void countChanged();

private:
    std::optional<std::size_t> rowOf(const QString& id) const;
    std::optional<std::size_t> rowOf(const QUuid& id) const;
    void schedule(const QUuid& id, double seconds);
    void forget(const QUuid& id);
    void drop(std::size_t first, std::size_t last);
    void trimToLimit();
    void countdownChanged(std::size_t row);

    Clock clock_;
    std::vector<AppNotification> items_; // index 0 is the top card
    QHash<QUuid, Countdown> countdowns_;
    QHash<QUuid, QTimer*> timers_; // children of this model
    int limit_ = 4;
};

} // namespace tessel
