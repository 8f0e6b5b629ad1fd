#include "app/AppNotifications.h"

#include <QTimer>

#include <algorithm>
#include <climits>
#include <cmath>

namespace tessel {

namespace {

// Leaving a hovered card never gives less than this, so a notice does not
// vanish the instant the pointer moves off it.
constexpr double shortestResume = 1.5;

// QTimer counts in int milliseconds; a longer wait than that is as good as forever.
int milliseconds(double seconds) {
    const double ms = std::round(seconds * 1000.0);
    if (!(ms > 0)) return 0; // also NaN
    if (ms >= static_cast<double>(INT_MAX)) return INT_MAX;
    return static_cast<int>(ms);
}

QString kindName(AppNotification::Kind kind) {
    switch (kind) {
    case AppNotification::Kind::info: return QStringLiteral("info");
    case AppNotification::Kind::success: return QStringLiteral("success");
    case AppNotification::Kind::warning: return QStringLiteral("warning");
    case AppNotification::Kind::failure: return QStringLiteral("failure");
    }
    return QStringLiteral("info");
}

} // namespace

double AppNotifications::Countdown::fraction(const QDateTime& at) const {
    if (!(total > 0)) return 0;
    const double left = deadline ? static_cast<double>(std::max<qint64>(0, at.msecsTo(*deadline))) / 1000.0
                                 : remaining;
    return std::clamp(left / total, 0.0, 1.0);
}

AppNotifications::AppNotifications(QObject* parent, Clock clock)
    : QAbstractListModel(parent),
      clock_(clock ? std::move(clock) : Clock([] { return QDateTime::currentDateTimeUtc(); })) {}

AppNotifications::~AppNotifications() = default;

int AppNotifications::limit() const { return limit_; }

void AppNotifications::setLimit(int limit) {
    limit_ = std::max(0, limit);
    const int before = count();
    trimToLimit();
    if (count() != before) emit countChanged();
}

void AppNotifications::post(AppNotification item) {
    const int before = count();
    const QUuid id = item.id;
    const std::optional<double> duration = item.duration;
    // A repeated id would make two cards share one timer; the newer one wins.
    if (const std::optional<std::size_t> row = rowOf(id)) drop(*row, *row);

    beginInsertRows(QModelIndex(), 0, 0);
    items_.insert(items_.begin(), std::move(item));
    endInsertRows();

    if (duration) {
        const double seconds = std::max(0.0, *duration);
        countdowns_.insert(id, Countdown{seconds, clock_().addMSecs(milliseconds(seconds)), seconds});
        schedule(id, seconds);
    }
    trimToLimit();
    if (count() != before) emit countChanged();
}

void AppNotifications::pause(const QString& id) {
    const std::optional<std::size_t> row = rowOf(id);
    if (!row) return;
    const QUuid key = items_[*row].id;
    auto countdown = countdowns_.find(key);
    // Already paused: the stored time is the true one, now - deadline is not.
    if (countdown == countdowns_.end() || !countdown->deadline) return;
    if (QTimer* timer = timers_.value(key)) timer->stop();
    const qint64 left = std::max<qint64>(0, clock_().msecsTo(*countdown->deadline));
    countdown->remaining = static_cast<double>(left) / 1000.0;
    countdown->deadline.reset();
    countdownChanged(*row);
}

void AppNotifications::resume(const QString& id) {
    const std::optional<std::size_t> row = rowOf(id);
    if (!row) return;
    const QUuid key = items_[*row].id;
    auto countdown = countdowns_.find(key);
    if (countdown == countdowns_.end() || countdown->deadline) return;
    const double seconds = std::max(countdown->remaining, shortestResume);
    countdown->remaining = seconds;
    countdown->deadline = clock_().addMSecs(milliseconds(seconds));
    schedule(key, seconds);
    countdownChanged(*row);
}

void AppNotifications::dismiss(const QString& id) {
    const std::optional<std::size_t> row = rowOf(id);
    if (!row) return;
    drop(*row, *row);
    emit countChanged();
}

void AppNotifications::trigger(const QString& id) {
    const std::optional<std::size_t> row = rowOf(id);
    if (!row) return;
    // A copy: the action may post or dismiss notices and move the items.
    const std::function<void()> action = items_[*row].action;
    if (action) action();
    dismiss(id);
}

void AppNotifications::clear() {
    if (items_.empty()) return;
    drop(0, items_.size() - 1);
    emit countChanged();
}

const std::vector<AppNotification>& AppNotifications::items() const { return items_; }

std::optional<AppNotifications::Countdown> AppNotifications::countdown(const QUuid& id) const {
    const auto found = countdowns_.constFind(id);
    if (found == countdowns_.cend()) return std::nullopt;
    return *found;
}

int AppNotifications::count() const { return static_cast<int>(items_.size()); }

int AppNotifications::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : count(); }

QVariant AppNotifications::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) return {};
    const AppNotification& item = items_[static_cast<std::size_t>(index.row())];
    const auto countdown = countdowns_.constFind(item.id);
    const bool counting = countdown != countdowns_.cend();
    switch (role) {
    case Qt::DisplayRole:
    case TitleRole: return item.title;
    case IdRole: return item.id.toString(QUuid::WithoutBraces);
    case KindRole: return kindName(item.kind);
    case DetailRole: return item.detail.value_or(QString());
    case ActionTitleRole: return item.actionTitle.value_or(QString());
    case SymbolRole: return item.symbol.value_or(QString());
    case DurationRole: return counting ? countdown->total : 0.0;
    case RemainingRole: return counting ? countdown->remaining : 0.0;
    case DeadlineRole:
        return counting && countdown->deadline ? countdown->deadline->toMSecsSinceEpoch() : qint64{0};
    case PausedRole: return counting && !countdown->deadline;
    default: return {};
    }
}

QHash<int, QByteArray> AppNotifications::roleNames() const {
    return {
        {IdRole, "noticeId"},
        {KindRole, "kind"},
        {TitleRole, "title"},
        {DetailRole, "detail"},
        {ActionTitleRole, "actionTitle"},
        {SymbolRole, "symbol"},
        {DurationRole, "duration"},
        {RemainingRole, "remaining"},
        {DeadlineRole, "deadline"},
        {PausedRole, "paused"},
    };
}

std::optional<std::size_t> AppNotifications::rowOf(const QString& id) const {
    const QUuid key = QUuid::fromString(id);
    if (key.isNull()) return std::nullopt;
    return rowOf(key);
}

std::optional<std::size_t> AppNotifications::rowOf(const QUuid& id) const {
    const auto found = std::find_if(items_.begin(), items_.end(), [&](const AppNotification& item) {
        return item.id == id;
    });
    if (found == items_.end()) return std::nullopt;
    return static_cast<std::size_t>(found - items_.begin());
}

void AppNotifications::schedule(const QUuid& id, double seconds) {
    QTimer*& timer = timers_[id];
    if (!timer) {
        timer = new QTimer(this);
        timer->setSingleShot(true);
        // Seconds-long waits, few at a time: exactness costs nothing here.
        timer->setTimerType(Qt::PreciseTimer);
        // By id, not by row: rows shift as notices come and go.
        connect(timer, &QTimer::timeout, this, [this, id] { dismiss(id.toString()); });
    }
    timer->start(milliseconds(seconds));
}

void AppNotifications::forget(const QUuid& id) {
    countdowns_.remove(id);
    if (QTimer* timer = timers_.take(id)) {
        timer->stop();
        // The timer may be the one whose timeout is running this very call.
        timer->deleteLater();
    }
}

void AppNotifications::drop(std::size_t first, std::size_t last) {
    beginRemoveRows(QModelIndex(), static_cast<int>(first), static_cast<int>(last));
    const auto begin = items_.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = items_.begin() + static_cast<std::ptrdiff_t>(last) + 1;
    for (auto item = begin; item != end; ++item) forget(item->id);
    items_.erase(begin, end);
    endRemoveRows();
}

void AppNotifications::trimToLimit() {
    const auto limit = static_cast<std::size_t>(limit_);
    if (items_.size() > limit) drop(limit, items_.size() - 1);
}

void AppNotifications::countdownChanged(std::size_t row) {
    const QModelIndex changed = index(static_cast<int>(row));
    emit dataChanged(changed, changed, {RemainingRole, DeadlineRole, PausedRole});
}

} // namespace tessel
