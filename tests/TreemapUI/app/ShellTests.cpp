// The frame around the rooms: which room a request opens, the tour, the
// launch rules, the last scan's summary, and the settings behind the window.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "app/Guide.h"
#include "app/GuideModel.h"
#include "linux/OpenAtLogin.h"
#include "app/PreferencesModel.h"
#include "app/QuietLaunch.h"
#include "app/Rooms.h"
#include "scan/ScanSummary.h"
#include "app/SettingsKeys.h"
#include "app/ShellModel.h"
#include "app/ThemeModel.h"

using namespace tessel;

namespace {

class Settings : public testing::Test {
protected:
    QTemporaryDir folder;
    QSettings settings{folder.filePath("settings.ini"), QSettings::IniFormat};
};

QDateTime at(const char* text) { return QDateTime::fromString(text, Qt::ISODate); }

} // namespace

TEST(Rooms, RequestsByNameOpenOnlyTheFiveKnownRooms) {
    for (const char* name : {"map", "monitor", "overview", "junk", "systemData"}) {
        std::optional<AppShell::Room> room = AppShell::roomForRequest(name);
        ASSERT_TRUE(room) << name;
        EXPECT_EQ(room->id(), name);
    }
    for (const char* name : {"duplicates", "Map", "", "tool:junk"}) EXPECT_FALSE(AppShell::roomForRequest(name)) << name;
}

TEST(Rooms, SidebarHasSixteenRowsAndNoneForChanges) {
    std::vector<std::string> ids;
    for (const AppShell::Section& section : AppShell::sections())
        for (const AppShell::Item& item : section.items) ids.push_back(item.room.id());
    ASSERT_EQ(ids.size(), 16u);
    EXPECT_EQ(ids.front(), "overview");
    EXPECT_EQ(ids.back(), "report");
    EXPECT_EQ(std::count(ids.begin(), ids.end(), "changes"), 0);
    EXPECT_EQ(AppShell::title(*AppShell::Room::fromId("changes")), "Changes Over Time");
    EXPECT_EQ(AppShell::sections()[1].title, "Clean Up");
    for (const std::string& id : ids) EXPECT_EQ(AppShell::Room::fromId(id)->id(), id);
}

TEST(Rooms, ARequestByNameBringsTheWindowForwardOnThatRoom) {
    ShellModel shell;
    QSignalSpy raised(&shell, &ShellModel::raiseRequested);
    EXPECT_TRUE(shell.showRoom(QStringLiteral("systemData")));
    EXPECT_EQ(shell.room(), "systemData");
    EXPECT_EQ(raised.count(), 1);
    EXPECT_FALSE(shell.showRoom(QStringLiteral("nowhere")));
    EXPECT_EQ(shell.room(), "systemData");
    EXPECT_EQ(raised.count(), 1);
}

TEST_F(Settings, TourHasEightStepsSixWithATargetAndRemembersItRan) {
    const std::vector<GuideStep>& steps = Guide::steps();
    ASSERT_EQ(steps.size(), 8u);
    EXPECT_EQ(std::count_if(steps.begin(), steps.end(), [](const GuideStep& step) { return step.target.has_value(); }), 6);
    EXPECT_NE(steps.front().text.find("six steps"), std::string_view::npos);

    GuideModel guide(&settings);
    ASSERT_TRUE(guide.startIfUnseen());
    EXPECT_EQ(guide.forwardTitle(), "Show Me Around");
    EXPECT_EQ(guide.backTitle(), "Skip Tour");
    guide.next();
    EXPECT_EQ(guide.target(), "scan");
    EXPECT_EQ(guide.backTitle(), "Back");
    EXPECT_TRUE(guide.counter().startsWith("Step "));
    guide.back();
    guide.back(); // "Skip Tour"
    EXPECT_FALSE(guide.active());
    EXPECT_TRUE(settings.value(SettingsKey::guideSeen).toBool());
    EXPECT_FALSE(guide.startIfUnseen());
}

TEST_F(Settings, QuietLaunchIsWithinTenMinutesOfTheStoredDateAndOnlyOnce) {
    const QDateTime now = at("2026-11-21T12:00:00Z");
    auto quietAfter = [&](const QVariant& stored) {
        settings.setValue(SettingsKey::quietRelaunch, stored);
        const bool quiet = QuietLaunch::begin(settings, now);
        EXPECT_FALSE(settings.contains(SettingsKey::quietRelaunch));
        return quiet;
    };
    const double seconds = static_cast<double>(now.toSecsSinceEpoch());
    EXPECT_TRUE(quietAfter(seconds - 599));
    EXPECT_FALSE(quietAfter(seconds - 600));
    EXPECT_FALSE(quietAfter(seconds + 5)) << "a date in the future";
    EXPECT_FALSE(quietAfter(0));
    EXPECT_FALSE(quietAfter("soon"));
    EXPECT_TRUE(quietAfter(now.addSecs(-30)));
    EXPECT_FALSE(QuietLaunch::begin(settings, now)) << "nothing stored any more";
}

TEST_F(Settings, SummaryRoundTripsAndABrokenValueIsNone) {
    ScanSummary summary;
    summary.date = at("2026-11-20T08:30:00Z");
    summary.path = "/home/me";
    summary.label = "me";
    summary.bytes = 123456789012;
    summary.files = 42;
    summary.folders = 7;
    summary.parts = {{"documents", 100}, {"system", 200}};
    summary.save(settings);
    std::optional<ScanSummary> back = ScanSummary::load(settings);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->date, summary.date);
    EXPECT_EQ(back->bytes, summary.bytes);
    EXPECT_EQ(back->parts, summary.parts);

    for (const char* broken : {"{", "[]", "{\"path\":\"/x\"}", "{\"date\":\"today\",\"path\":\"/\",\"label\":\"\",\"bytes\":1,\"files\":1,\"folders\":1}"}) {
        settings.setValue(SettingsKey::lastScan, broken);
        EXPECT_FALSE(ScanSummary::load(settings)) << broken;
    }
}

TEST(ScanSummaryWhen, TodayYesterdayOrTheDate) {
    ScanSummary summary;
    const QLocale locale(QLocale::English, QLocale::UnitedKingdom);
    const QDateTime now(QDate(2026, 11, 21), QTime(18, 0));
    summary.date = QDateTime(QDate(2026, 11, 21), QTime(9, 5, 33));
    EXPECT_EQ(summary.when(now, locale), "Today, 09:05");
    summary.date = QDateTime(QDate(2026, 11, 20), QTime(23, 59));
    EXPECT_EQ(summary.when(now, locale), "Yesterday, 23:59");
    summary.date = QDateTime(QDate(2026, 11, 3), QTime(14, 0));
    EXPECT_EQ(summary.when(now, locale), "Nov 3, 14:00");
}

TEST_F(Settings, PreferencesReadDefaultsClampAndWrite) {
    PreferencesModel preferences(&settings);
    EXPECT_TRUE(preferences.menuBarExtra());
    EXPECT_FALSE(preferences.menuBarCpu());
    EXPECT_EQ(preferences.lowDiskPercent(), 10);
    settings.setValue(SettingsKey::alertsLowDiskPercent, 50);
    EXPECT_EQ(preferences.lowDiskPercent(), 20);
    settings.setValue(SettingsKey::alertsLowDiskPercent, 1);
    EXPECT_EQ(preferences.lowDiskPercent(), 2);
    QSignalSpy changed(&preferences, &PreferencesModel::changed);
    preferences.setTranslucent(true);
    preferences.setTranslucent(true);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_TRUE(settings.value(SettingsKey::translucent).toBool());
}

TEST_F(Settings, PanelLookIsCardsUnlessDashboardIsChosen) {
    PreferencesModel preferences(&settings);
    EXPECT_EQ(preferences.panelStyle(), "cards");
    preferences.setPanelStyle("dashboard");
    EXPECT_EQ(PreferencesModel(&settings).panelStyle(), "dashboard") << "kept for the next launch";
    QSignalSpy changed(&preferences, &PreferencesModel::changed);
    preferences.setPanelStyle("tiles");
    EXPECT_EQ(changed.count(), 0) << "an unknown look is refused";
    EXPECT_EQ(settings.value(SettingsKey::panelStyle).toString(), "dashboard");
    settings.setValue(SettingsKey::panelStyle, "purple");
    EXPECT_EQ(preferences.panelStyle(), "cards");
}

TEST_F(Settings, ThemeFollowsTheDesktopUnlessChosen) {
    ThemeModel theme(&settings, true);
    EXPECT_EQ(theme.choice(), "system");
    EXPECT_TRUE(theme.dark());
    theme.setChoice("light");
    EXPECT_FALSE(theme.dark());
    EXPECT_EQ(settings.value(SettingsKey::theme).toString(), "light");
    settings.setValue(SettingsKey::theme, "purple");
    EXPECT_EQ(theme.choice(), "system") << "an unknown value follows the desktop";
    theme.setSystemPrefersDark(false);
    EXPECT_FALSE(theme.dark());
}

TEST(OpenAtLoginEntry, SwitchingOffKeepsTheFileAndMarksItHidden) {
    // Test mode points the config folder at a scratch place, never the user's.
    EXPECT_TRUE(OpenAtLogin::entryPath().contains("qttest")) << OpenAtLogin::entryPath().toStdString();
    bool written = false;
    OpenAtLogin::set(true, [&](bool ok) { written = ok; });
    ASSERT_TRUE(written);
    EXPECT_TRUE(OpenAtLogin::read());
    OpenAtLogin::set(false);
    EXPECT_FALSE(OpenAtLogin::read());
    QFile entry(OpenAtLogin::entryPath());
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(entry.readAll());
    EXPECT_TRUE(text.startsWith("[Desktop Entry]\nType=Application"));
    EXPECT_TRUE(text.contains("\nHidden=true"));
}
