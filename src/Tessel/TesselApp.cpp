#include "TesselApp.h"

#include "TrayIcon.h"

#include <QUrl>

#include "app/AppIconProvider.h"
#include "app/IconProvider.h"

namespace tessel {

namespace {
AppSession::Dependencies dependencies(QSettings* settings, const std::string& initialPath,
                                      const std::optional<std::string>& home) {
    AppSession::Dependencies chosen = AppSession::Dependencies::system(settings, initialPath);
    if (home) {
        chosen.home = chosen.scanEnvironment.home = *home;
        chosen.junk = JunkModel::Dependencies::system(JunkPlaces::forHome(*home), settings);
        chosen.leftovers = LeftoversModel::Dependencies::system(*home);
        // The fixture's apps alone, its home standing for the whole machine, and none of the desktop's pinned
        // launchers: a driven run reads and changes nothing of the user's.
        chosen.uninstall = UninstallModel::Dependencies::system(*home, nullptr, settings);
        chosen.uninstall.machine.root = *home;
        const std::string dataHome = chosen.uninstall.machine.dataHome;
        chosen.uninstall.machine.dataFolders = {dataHome, dataHome + "/flatpak/exports/share"};
        // The fixture's startup items alone, switched on its files: the user's systemd manager is not asked.
        chosen.startup = StartupItemsModel::Dependencies::system(*home);
        static_cast<DesktopMachine&>(chosen.startup.machine) = chosen.uninstall.machine;
        chosen.startup.machine.configHome = *home + "/.config";
        chosen.startup.manager = nullptr;
        // The fixture's home stands for the machine's "/": no system tool is asked.
        chosen.systemData = SystemDataModel::Dependencies::system(*home);
        chosen.aiData = AIDataModel::Dependencies::system(*home);
    }
    return chosen;
}
} // namespace

TesselApp::TesselApp(std::unique_ptr<QSettings> settings, const std::string& initialPath, bool systemPrefersDark,
                     const std::optional<std::string>& home)
    : settings_(std::move(settings)),
      session_(std::make_unique<AppSession>(dependencies(settings_.get(), initialPath, home))),
      guide_(std::make_unique<GuideModel>(settings_.get())),
      theme_(std::make_unique<ThemeModel>(settings_.get(), systemPrefersDark)),
      preferences_(std::make_unique<PreferencesModel>(settings_.get())) {
    // The QML module lives in the resources under :/Tessel/UI.
    engine_.addImportPath(QStringLiteral("qrc:/"));
    engine_.addImageProvider(QStringLiteral("icon"), new IconProvider);
    engine_.addImageProvider(QStringLiteral("appicon"), new AppIconProvider);
}

bool TesselApp::load(bool quiet) {
    engine_.setInitialProperties({
        {"session", QVariant::fromValue(session_.get())},
        {"shell", QVariant::fromValue(&shell_)},
        {"guide", QVariant::fromValue(guide_.get())},
        {"theme", QVariant::fromValue(theme_.get())},
        {"preferences", QVariant::fromValue(preferences_.get())},
        {"quiet", quiet},
    });
    engine_.load(QUrl(QStringLiteral("qrc:/Tessel/UI/qml/Main.qml")));
    if (window() == nullptr) return false;
    tray_ = std::make_unique<TrayIcon>(*this);
    return true;
}

TesselApp::~TesselApp() {
    // The tray's panel belongs to the engine's types; it goes before the engine.
    tray_.reset();
}

QQuickWindow* TesselApp::window() const {
    const QList<QObject*> roots = engine_.rootObjects();
    return roots.isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(roots.first());
}

} // namespace tessel
