// The Monitor room's process table: the rows' order and words, a model that
// samples a described /proc off the main thread while started, and the view
// that draws it.
#include <gtest/gtest.h>

#include <QDir>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QSettings>
#include <QSignalSpy>
#include <QtQml/QQmlExtensionPlugin>

#include <memory>

#include "KernelTree.h"
#include "X11Stage.h"
#include "app/IconProvider.h"
#include "app/ThemeModel.h"
#include "monitor/ProcessTableModel.h"

Q_IMPORT_QML_PLUGIN(Tessel_UIPlugin)

namespace tessel {
namespace {

ProcessUsage usage(std::string name, std::optional<double> cpu, std::uint64_t memory, std::optional<double> disk) {
    return {std::nullopt, std::move(name), std::nullopt, 1, {1, 2}, cpu, memory, disk};
}

std::vector<QString> names(const std::vector<ProcessTableRow>& rows) {
    std::vector<QString> found;
    for (const ProcessTableRow& row : rows) found.push_back(row.name);
    return found;
}

TEST(ProcessTableRows, SortByProcessorOrMemoryAndSayADashForWhatWasNotMeasured) {
    const std::vector<ProcessUsage> table{usage("idle", 0.0, 900'000'000, 0.0), usage("busy", 1.5, 1'000, 2'048.0),
                                          usage("new", std::nullopt, 5'000, std::nullopt)};
    const std::vector<ProcessTableRow> byCpu = ProcessTableRows::make(table, ProcessOrder::cpu);
    EXPECT_EQ(names(byCpu), (std::vector<QString>{"busy", "idle", "new"})) << "not measured sorts below 0%";
    EXPECT_EQ(byCpu[0].cpu, "150.0%");
    EXPECT_EQ(byCpu[0].disk, "2.0 KB/s");
    EXPECT_EQ(byCpu[0].processes, "2 processes");
    EXPECT_EQ(byCpu[1].cpu, "0.0%");
    EXPECT_EQ(byCpu[2].cpu, "—");
    EXPECT_EQ(byCpu[2].disk, "—");
    EXPECT_EQ(names(ProcessTableRows::make(table, ProcessOrder::memory)), (std::vector<QString>{"idle", "new", "busy"}));

    ProcessUsage app = usage("Terminal", 0.1, 1'000, 0.0);
    app.appID = "org.gnome.Terminal";
    const std::map<std::string, std::string> icons{{"org.gnome.Terminal", "/usr/share/icons/Terminal.svg"}};
    EXPECT_EQ(ProcessTableRows::make({app}, ProcessOrder::cpu, icons)[0].icon, "image://appicon/%2Fusr%2Fshare%2Ficons%2FTerminal.svg");
    EXPECT_EQ(byCpu[0].icon, "") << "no app unit, no icon";
    EXPECT_EQ(byCpu[0].windows, "—") << "the desktop did not say";
}

TEST(ProcessTableRows, AFamilysWindowsAreCountedInFrontOrHidden) {
    std::vector<ProcessUsage> table{usage("editor", 0.5, 3'000, 0.0), usage("player", 0.2, 2'000, 0.0), usage("daemon", 0.1, 1'000, 0.0)};
    table[0].pids = {1600, 1610};
    table[1].pids = {1700};
    table[2].pids = {1800};
    const WindowsByPid windows{{1600, {1, 0, false}}, {1610, {2, 0, true}}, {1700, {1, 1, false}}};
    const std::vector<ProcessTableRow> rows = ProcessTableRows::make(table, ProcessOrder::cpu, {}, windows);
    EXPECT_EQ(rows[0].windows, "In front, 3");
    EXPECT_EQ(rows[1].windows, "Hidden");
    EXPECT_EQ(rows[2].windows, "") << "known to have none";
}

// A described /proc of three families, and a model that samples it.
struct ProcessTableMachine : testing::Test {
    test::KernelTree kernel;
    ProcessTableModel model;
    void SetUp() override {
        kernel.process({90, 1, "sshd"});
        kernel.process({100, 90, "bash", 0, 1000, 400});
        kernel.process({200, 90, "top", 0, 1000, 800});
        model.setProcRoot(kernel.roots.proc);
    }
};

TEST_F(ProcessTableMachine, SamplesWhileStartedAndTheFirstSampleMeasuresNoProcessor) {
    model.setIntervalMilliseconds(300);
    QSignalSpy sampled(&model, &ProcessTableModel::sampled);
    model.start();
    ASSERT_TRUE(sampled.wait(5000));
    EXPECT_FALSE(model.measured());
    ProcessTableList& rows = *model.rows();
    ASSERT_EQ(rows.rowCount(), 3);
    EXPECT_EQ(rows.rows()[0].cpu, "—");
    ASSERT_TRUE(sampled.wait(5000));
    EXPECT_TRUE(model.measured());
    EXPECT_EQ(rows.rows()[0].name, "top") << "no processor time went by, so by memory";
    EXPECT_EQ(rows.rows()[0].cpu, "0.0%");
    model.setOrder("memory");
    EXPECT_EQ(model.order(), "memory");
    model.stop();
    EXPECT_FALSE(model.running());
    EXPECT_FALSE(sampled.wait(700)) << "no sample after stop()";
}

TEST_F(ProcessTableMachine, SaysWhyTheWindowsAreNotKnownAndShowsThemWhereTheWindowManagerSays) {
    DesktopWindows::Settings wayland;
    wayland.waylandDisplay = "wayland-0";
    model.setWindowSettings(wayland);
    EXPECT_EQ(model.windowsUnknown(), "") << "not asked yet";
    QSignalSpy sampled(&model, &ProcessTableModel::sampled);
    model.start();
    ASSERT_TRUE(sampled.wait(5000));
    EXPECT_FALSE(model.windowsKnown());
    EXPECT_EQ(model.windowsUnknown(), "On Wayland, Tessel can't tell which apps have windows open or are in front.");
    EXPECT_EQ(model.rows()->rows()[0].windows, "—");
    model.stop();

    std::optional<test::ManagedDisplay> desktop = test::ManagedDisplay::start();
    if (!desktop) GTEST_SKIP() << test::noXvfb;
    test::FakeWindowManager& wm = *desktop->wm;
    const auto shell = wm.window(100);
    wm.list({shell, wm.window(200, true)});
    wm.activate(shell);
    wm.sync();
    DesktopWindows::Settings x11;
    x11.display = desktop->server->display();
    model.setWindowSettings(x11);
    model.start();
    ASSERT_TRUE(sampled.wait(5000));
    EXPECT_TRUE(model.windowsKnown());
    EXPECT_EQ(model.windowsUnknown(), "");
    const std::vector<ProcessTableRow>& rows = model.rows()->rows();
    ASSERT_EQ(rows.size(), 3u);
    for (const ProcessTableRow& row : rows) {
        if (row.name == "bash") EXPECT_EQ(row.windows, "In front");
        else if (row.name == "top") EXPECT_EQ(row.windows, "Hidden");
        else EXPECT_EQ(row.windows, "") << row.name.toStdString();
    }
    model.stop();
}

TEST(ProcessTableView, LoadsWithoutAnErrorAndDrawsTheModelsRows) {
    QSettings settings(QDir::temp().filePath(QStringLiteral("tessel-process-table-test.ini")), QSettings::IniFormat);
    ThemeModel theme(&settings, false);
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/"));
    engine.addImageProvider(QStringLiteral("icon"), new IconProvider);
    QQmlComponent component(&engine);
    // The view is made once the theme is in place, as the window does.
    component.setData("import QtQuick\nimport Tessel.UI\n"
                      "Item { width: 700; height: 400; property var theme\n"
                      "  property alias table: loader.item\n"
                      "  Loader { id: loader; anchors.fill: parent; active: Style.theme !== null\n"
                      "           source: \"qrc:/Tessel/UI/qml/monitor/ProcessTable.qml\" }\n"
                      "  Component.onCompleted: Style.theme = theme }",
                      QUrl());
    std::unique_ptr<QObject> window(component.createWithInitialProperties({{"theme", QVariant::fromValue(&theme)}}));
    ASSERT_TRUE(window) << component.errorString().toStdString();
    QObject* table = window->property("table").value<QObject*>();
    ASSERT_NE(table, nullptr);
    auto* model = table->property("processes").value<ProcessTableModel*>();
    ASSERT_NE(model, nullptr);
    EXPECT_TRUE(model->running()) << "a visible table samples";
    window.reset();
}

} // namespace
} // namespace tessel
