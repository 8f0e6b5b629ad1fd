// The notice stack (order, limit, countdowns, model signals) and the
// ready-made notices' words. The clock is injected; real timers run only
// where the timer itself is what is tested, and then for milliseconds.
#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QLocale>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include "app/AppNotifications.h"
#include "app/Notices.h"
#include "support/QtText.h"

using namespace tessel;

// Readable QStrings in failure messages.
static void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

namespace {

AppNotification notice(const QString& title, std::optional<double> duration = std::nullopt) {
    AppNotification item;
    item.title = title;
    item.duration = duration;
    return item;
}

QString key(const AppNotification& item) { return item.id.toString(); }

QStringList titles(const AppNotifications& stack) {
    QStringList result;
    for (const AppNotification& item : stack.items()) result << item.title;
    return result;
}

class AppNotificationsStack : public testing::Test {
protected:
    QDateTime now = QDateTime(QDate(2024, 5, 1), QTime(12, 0), Qt::UTC);
    AppNotifications stack{nullptr, [this] { return now; }};
    QSignalSpy inserted{&stack, &QAbstractItemModel::rowsInserted};
    QSignalSpy removed{&stack, &QAbstractItemModel::rowsRemoved};
    QSignalSpy changed{&stack, &QAbstractItemModel::dataChanged};

    QVariant role(int row, AppNotifications::Role which) const { return stack.data(stack.index(row), which); }
    void later(double seconds) { now = now.addMSecs(static_cast<qint64>(seconds * 1000)); }
};

// Rows as (first, last) from a rowsInserted/rowsRemoved spy entry.
std::pair<int, int> rows(const QList<QVariant>& signal) { return {signal.at(1).toInt(), signal.at(2).toInt()}; }

} // namespace

TEST_F(AppNotificationsStack, NewestGoesOnTopAsRowZero) {
    stack.post(notice("first"));
    stack.post(notice("second"));
    EXPECT_EQ(titles(stack), QStringList({"second", "first"}));
    EXPECT_EQ(role(0, AppNotifications::TitleRole).toString(), "second");
    ASSERT_EQ(inserted.count(), 2);
    EXPECT_EQ(rows(inserted.at(1)), std::make_pair(0, 0));
    EXPECT_EQ(stack.count(), 2);
}

TEST_F(AppNotificationsStack, BeyondTheLimitTheOldestGoWithTheirCountdowns) {
    stack.setLimit(2);
    const AppNotification oldest = notice("a", 6.0);
    stack.post(oldest);
    stack.post(notice("b"));
    QSignalSpy counted(&stack, &AppNotifications::countChanged);
    stack.post(notice("c"));
    EXPECT_EQ(titles(stack), QStringList({"c", "b"}));
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(rows(removed.at(0)), std::make_pair(2, 2));
    EXPECT_FALSE(stack.countdown(oldest.id));
    EXPECT_EQ(counted.count(), 0) << "two notices before and after";

    stack.setLimit(1);
    EXPECT_EQ(titles(stack), QStringList({"c"}));
}

TEST_F(AppNotificationsStack, PauseKeepsWhatIsLeftAndStopsTheClock) {
    const AppNotification item = notice("a", 6.0);
    stack.post(item);
    EXPECT_EQ(role(0, AppNotifications::DeadlineRole).toLongLong(), now.addSecs(6).toMSecsSinceEpoch());
    later(2.5);
    stack.pause(key(item));
    auto countdown = stack.countdown(item.id);
    ASSERT_TRUE(countdown);
    EXPECT_DOUBLE_EQ(countdown->remaining, 3.5);
    EXPECT_FALSE(countdown->deadline);
    EXPECT_TRUE(role(0, AppNotifications::PausedRole).toBool());
    EXPECT_EQ(role(0, AppNotifications::DeadlineRole).toLongLong(), 0);
    ASSERT_EQ(changed.count(), 1);
    EXPECT_TRUE(changed.at(0).at(2).value<QList<int>>().contains(AppNotifications::PausedRole));

    later(10);
    stack.pause(key(item));
    EXPECT_DOUBLE_EQ(stack.countdown(item.id)->remaining, 3.5) << "a second pause must not eat the time";
}

TEST_F(AppNotificationsStack, ResumeRestartsOnWhatWasLeftButNeverBelowOneAndAHalfSeconds) {
    const AppNotification roomy = notice("roomy", 6.0);
    const AppNotification nearlyOver = notice("nearly over", 6.0);
    stack.post(roomy);
    stack.post(nearlyOver);
    later(2.5);
    stack.pause(key(roomy));
    later(3.4);
    stack.pause(key(nearlyOver));
    later(30); // hovered long past both old deadlines
    stack.resume(key(roomy));
    stack.resume(key(nearlyOver));
    EXPECT_EQ(stack.countdown(roomy.id)->deadline, now.addMSecs(3500));
    EXPECT_EQ(stack.countdown(nearlyOver.id)->deadline, now.addMSecs(1500)) << "0.1 s left becomes 1.5 s";
    EXPECT_FALSE(role(0, AppNotifications::PausedRole).toBool());
    EXPECT_EQ(role(0, AppNotifications::DeadlineRole).toLongLong(), now.addMSecs(1500).toMSecsSinceEpoch());
}

TEST(AppNotificationsCountdown, FractionFollowsTheDeadlineOrTheStoredRemainder) {
    const QDateTime start = QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);
    const AppNotifications::Countdown running{6, start.addSecs(6), 6};
    EXPECT_DOUBLE_EQ(running.fraction(start.addSecs(3)), 0.5);
    EXPECT_DOUBLE_EQ(running.fraction(start.addSecs(9)), 0.0);
    const AppNotifications::Countdown paused{6, std::nullopt, 1.5};
    EXPECT_DOUBLE_EQ(paused.fraction(start.addSecs(100)), 0.25);
}

TEST_F(AppNotificationsStack, TriggerRunsTheActionOnceThenDismisses) {
    int runs = 0;
    AppNotification item = notice("undo");
    item.action = [&] {
        stack.post(notice("follow-up")); // moves the items while the action runs
        ++runs;
    };
    stack.post(item);
    stack.trigger(key(item));
    stack.trigger(key(item));
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(titles(stack), QStringList({"follow-up"}));
}

TEST_F(AppNotificationsStack, UnknownIdsChangeNothing) {
    stack.post(notice("a", 6.0));
    for (const QString& id : {QUuid::createUuid().toString(), QString("not an id"), QString()}) {
        stack.pause(id);
        stack.resume(id);
        stack.trigger(id);
        stack.dismiss(id);
    }
    EXPECT_EQ(stack.count(), 1);
    EXPECT_EQ(removed.count(), 0);
    EXPECT_EQ(changed.count(), 0);
}

TEST_F(AppNotificationsStack, DismissAndClearRemoveExactlyTheirRows) {
    const AppNotification middle = notice("b");
    stack.post(notice("a"));
    stack.post(middle);
    stack.post(notice("c"));
    stack.dismiss(middle.id.toString(QUuid::WithoutBraces)); // as the view passes it back
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(rows(removed.at(0)), std::make_pair(1, 1));
    stack.clear();
    ASSERT_EQ(removed.count(), 2);
    EXPECT_EQ(rows(removed.at(1)), std::make_pair(0, 1));
    EXPECT_EQ(stack.rowCount(), 0);
}

// Real timers from here on, kept to milliseconds where the design allows.
TEST_F(AppNotificationsStack, ACountdownDismissesItselfAndANoticeWithoutOneStays) {
    stack.post(notice("stays"));
    stack.post(notice("goes", 0.02));
    ASSERT_TRUE(removed.wait(2000));
    EXPECT_EQ(titles(stack), QStringList({"stays"}));
    QTest::qWait(50);
    EXPECT_EQ(stack.count(), 1);
}

TEST_F(AppNotificationsStack, ADroppedNoticesTimerNeverFires) {
    stack.setLimit(2);
    stack.post(notice("dropped", 0.02));
    stack.post(notice("b"));
    stack.post(notice("c"));
    for (const QTimer* timer : stack.findChildren<QTimer*>()) EXPECT_FALSE(timer->isActive());
    QTest::qWait(80);
    EXPECT_EQ(titles(stack), QStringList({"c", "b"}));
    EXPECT_EQ(removed.count(), 1);
}

TEST_F(AppNotificationsStack, APausedNoticeOutlivesItsTimerAndResumeGivesItTheFloor) {
    const AppNotification item = notice("hovered", 0.02);
    stack.post(item);
    stack.pause(key(item));
    QTest::qWait(80);
    EXPECT_EQ(stack.count(), 1);
    QElapsedTimer waited;
    waited.start();
    stack.resume(key(item));
    ASSERT_TRUE(removed.wait(4000));
    EXPECT_GE(waited.elapsed(), 1400);
}

namespace {

// Pins the default locale for one test and puts the old one back.
struct DefaultLocale {
    QLocale saved;
    explicit DefaultLocale(const QLocale& locale) { QLocale::setDefault(locale); }
    ~DefaultLocale() { QLocale::setDefault(saved); }
};

} // namespace

TEST(Notices, ListReadsAsASentence) {
    EXPECT_EQ(Notices::list({}), "");
    EXPECT_EQ(Notices::list({"a"}), "a");
    EXPECT_EQ(Notices::list({"a", "b"}), "a and b");
    EXPECT_EQ(Notices::list({"a", "b", "c"}), "a, b and c");
}

TEST(Notices, OneSkippedFolderIsNamedWithHomeAsTilde) {
    int scans = 0;
    MountEntry share;
    share.mountPoint = toBytes(QDir::homePath() + "/Music");
    share.fileSystem = "fuse.sshfs";
    const AppNotification item = Notices::foldersSkipped(
        {QDir::homePath() + "/Music"}, [&] { ++scans; }, [&](std::string_view) { return std::optional(share); });
    EXPECT_EQ(item.title, "Skipped a folder that did not respond");
    EXPECT_EQ(item.detail, "~/Music did not answer: it is on a FUSE file system (sshfs) mounted at " + QDir::homePath() +
                               "/Music, and what it holds is left out.");
    const auto nowhere = [](std::string_view) { return std::optional<MountEntry>(); };
    EXPECT_EQ(Notices::foldersSkipped({"/a"}, {}, nowhere).detail, "/a did not answer, and what it holds is left out.");
    EXPECT_EQ(item.actionTitle, "Scan Again");
    EXPECT_EQ(item.kind, AppNotification::Kind::warning);
    EXPECT_FALSE(item.duration);
    item.action();
    EXPECT_EQ(scans, 1);
}

TEST(Notices, ManySkippedFoldersNameThreeAndCountTheRest) {
    const AppNotification five = Notices::foldersSkipped({"/a", "/b", "/c", "/d", "/e"}, {});
    EXPECT_EQ(five.title, "Skipped 5 folders that did not respond");
    const QString leftOut = QStringLiteral(". The total leaves out what they hold.");
    EXPECT_EQ(five.detail, "/a, /b, /c and 2 more" + leftOut);
    EXPECT_EQ(Notices::foldersSkipped({"/a", "/b", "/c"}, {}).detail, "/a, /b and /c" + leftOut);
    // Only a whole leading component is the home folder.
    const QString neighbour = QDir::homePath() + "2/x";
    EXPECT_EQ(Notices::foldersSkipped({neighbour, "/b"}, {}).detail, neighbour + " and /b" + leftOut);
}

TEST(Notices, UnreadableCountIsGroupedEvenInTheCLocale) {
    DefaultLocale c(QLocale::c());
    const AppNotification item = Notices::accessIncomplete(12345, {});
    EXPECT_EQ(item.title, "12,345 folders could not be read");
    EXPECT_EQ(item.detail, "Without Full Disk Access this total is short.");
    EXPECT_EQ(item.actionTitle, "Open Settings");
}

TEST(Notices, ScanFinishedGivesSizeAndTimeAndGoesAfterSixSeconds) {
    const AppNotification item = Notices::scanFinished(1'500'000'000, 2.34);
    EXPECT_EQ(item.title, "Scanned 1.5 GB");
    EXPECT_EQ(item.detail, "in 2.3 seconds");
    EXPECT_EQ(item.kind, AppNotification::Kind::success);
    EXPECT_EQ(item.duration, 6.0);
}
