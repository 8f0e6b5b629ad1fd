// The model tests run inside a QGuiApplication (offscreen), so that timers,
// queued calls and QSettings behave as in the app; nothing touches the real home.
#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QStandardPaths>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QStandardPaths::setTestModeEnabled(true);
    QGuiApplication app(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
