// tessel-app: the desktop application.

#include <QCommandLineParser>
#include <QDateTime>
#include <QDir>
#include <QFontDatabase>
#include <QApplication>
#include <QGuiApplication>
#include <QIcon>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtQml/qqmlextensionplugin.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "AppInstance.h"
#include "Base/AppIdentity.h"
#include "Drive.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ProcessLimits.h"
#include "FixtureFolder.h"
#include "app/QuietLaunch.h"
#include "app/Rooms.h"
#include "app/ShellModel.h"
#include "scan/ScanCoordinator.h"
#include "support/QtText.h"
#include "TesselApp.h"

Q_IMPORT_QML_PLUGIN(Tessel_UIPlugin)

namespace {

// --version is answered before the application object exists, which needs a display.
bool asksForVersion(int argc, char** argv) {
    for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i)
        if (std::strcmp(argv[i], "--version") == 0 || std::strcmp(argv[i], "-v") == 0) return true;
    return false;
}

} // namespace

int main(int argc, char** argv) {
    using namespace tessel;
    if (asksForVersion(argc, argv)) {
        std::printf("tessel-app %s\n", AppIdentity::version);
        return 0;
    }
    // The translucent-window setting needs an alpha channel from the start.
    QQuickWindow::setDefaultAlphaBuffer(true);
    // A QApplication, since the tray icon is a widgets class; the window stays Qt Quick.
    QApplication app(argc, argv);
    QGuiApplication::setOrganizationName("Tessel");
    QGuiApplication::setApplicationName("Tessel");
    QGuiApplication::setApplicationDisplayName("Tessel");
    QGuiApplication::setApplicationVersion(AppIdentity::version);
    QGuiApplication::setDesktopFileName(AppIdentity::id);
    QGuiApplication::setWindowIcon(QIcon::fromTheme(AppIdentity::id, QIcon(QStringLiteral(":/Tessel/app-icon.svg"))));
    QQuickStyle::setStyle("Basic");
    if (QFontDatabase::families().contains("Inter")) QGuiApplication::setFont(QFont("Inter", 10));
    raiseOpenFileLimit();

    QCommandLineParser parser;
    parser.setApplicationDescription("See where a disk's space goes, and win it back safely.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument("path", "The folder or disk to scan first (default: the disk that holds your home folder).", "[PATH]");
    QCommandLineOption selfTest("self-test", "Load every room offscreen on a small fixture scan, then quit.");
    QCommandLineOption screenshots("screenshots", "Save a picture of every room, light and dark, into FOLDER.", "FOLDER");
    QCommandLineOption reportStalls("report-stalls", "Scan PATH, move 1,000 of its files and folders to the Trash and back, and print the longest main-thread stalls.");
    QCommandLineOption room("room", "Open on the room NAME: overview, map, search, large, junk, duplicates, hidden, startup, apps (the Uninstaller), report, changes, …", "NAME");
    QCommandLineOption scanHome("home", "Scan your home folder.");
    parser.addOptions({selfTest, screenshots, reportStalls, room, scanHome});
    parser.process(app);

    // The probe moves files to the Trash and back, so it only ever works on a folder named for it.
    if (parser.isSet(reportStalls) && parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "tessel-app: --report-stalls needs the folder to work on: tessel-app --report-stalls PATH\n");
        return 2;
    }
    const bool driven = parser.isSet(selfTest) || parser.isSet(screenshots);
    if (driven) {
        // Nothing of the user's is read or written: settings, autostart and data go to test folders.
        QStandardPaths::setTestModeEnabled(true);
        Drive::watchMessages();
    }
    std::unique_ptr<FixtureFolder> fixture;
    if (parser.isSet(room) && !AppShell::Room::fromId(parser.value(room).toStdString())) {
        std::fprintf(stderr, "tessel-app: there is no room called \"%s\"; the rooms are: %s\n",
                     qPrintable(parser.value(room)), qPrintable(ShellModel::allRoomIds().join(", ")));
        return 2;
    }
    if (parser.isSet(scanHome) && !parser.positionalArguments().isEmpty()) {
        std::fprintf(stderr, "tessel-app: --home and a PATH ask for two scans; give one of them\n");
        return 2;
    }
    QStringList pathAsked = parser.positionalArguments();
    if (parser.isSet(scanHome)) pathAsked = {toQString(Paths::homeFolder())};

    // A launch the user made goes to the window already open, if there is one.
    AppInstance instance;
    if (!driven && !parser.isSet(reportStalls)) {
        LaunchRequest request;
        if (!pathAsked.isEmpty()) request.path = Paths::absolute(toBytes(pathAsked.front()));
        if (parser.isSet(room)) request.room = parser.value(room);
        request.activationToken = qgetenv("XDG_ACTIVATION_TOKEN");
        const AppInstance::Claim claim = instance.claim(request);
        if (claim == AppInstance::Claim::handedOff) return 0;
        if (!instance.problem().isEmpty()) std::fprintf(stderr, "tessel-app: %s\n", qPrintable(instance.problem()));
    }

    std::string initialPath = ScanCoordinator::initialPath(pathAsked);
    if (driven && parser.positionalArguments().isEmpty()) {
        fixture = std::make_unique<FixtureFolder>();
        initialPath = fixture->path().toStdString();
    }
    QTemporaryDir privateSettings;
    auto settings = driven ? std::make_unique<QSettings>(privateSettings.filePath("settings.ini"), QSettings::IniFormat)
                           : std::make_unique<QSettings>();
    const bool quiet = !driven && QuietLaunch::begin(*settings, QDateTime::currentDateTime());

    std::optional<std::string> home;
    if (fixture) {
        home = fixture->path().toStdString();
        // The fixture is the home, Trash and snapshots too: what a driven run moves or keeps never leaves it.
        qputenv("XDG_DATA_HOME", (fixture->path() + "/.local/share").toUtf8());
    } else if (driven) {
        qputenv("XDG_DATA_HOME", privateSettings.filePath("share").toUtf8());
    }
    TesselApp tessel(std::move(settings), initialPath, ThemeModel::desktopPrefersDark(), home);
    // Before the window loads: a later launch may already be waiting for an answer.
    QObject::connect(&instance, &AppInstance::requested, &app, [&tessel](const LaunchRequest& request) {
        // Wayland lets a window take the focus only with the token the launch was given.
        if (!request.activationToken.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", request.activationToken);
        if (request.path) tessel.session().scan()->scan(toQString(*request.path));
        if (!request.room || !tessel.shell().showRoom(*request.room)) emit tessel.shell().raiseRequested();
    });
    if (!tessel.load(quiet)) {
        std::fprintf(stderr, "tessel-app: the window could not be loaded: %s\n", qPrintable(Drive::firstProblem()));
        return 1;
    }
    if (parser.isSet(room)) tessel.shell().setRoom(parser.value(room));
    // The stall probe times the first paint on its own before it starts the scan.
    if (parser.isSet(reportStalls)) return Drive::reportStalls(tessel);
    tessel.session().launch();
    if (parser.isSet(selfTest)) return Drive::selfTest(tessel);
    if (parser.isSet(screenshots)) return Drive::screenshots(tessel, parser.value(screenshots), fixture != nullptr);
    if (!quiet) tessel.guide().startIfUnseen();
    return QGuiApplication::exec();
}
