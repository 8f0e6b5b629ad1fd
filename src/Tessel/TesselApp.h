#pragma once
// The application: its settings, the one session, the view models of the
// window, and the QML engine that shows them. main() makes one; the self-test
// and the screenshot run drive the same object.

#include <QObject>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QSettings>

#include <memory>
#include <optional>
#include <string>

#include "app/AppSession.h"
#include "app/GuideModel.h"
#include "app/PreferencesModel.h"
#include "app/ShellModel.h"
#include "app/ThemeModel.h"

namespace tessel {

class TrayIcon;

class TesselApp {
public:
    // `settings` may be a private file and `home` a fixture folder (self-test,
    // screenshots); the real app uses the user's.
    TesselApp(std::unique_ptr<QSettings> settings, const std::string& initialPath, bool systemPrefersDark,
              const std::optional<std::string>& home = std::nullopt);
    TesselApp(const TesselApp&) = delete;
    TesselApp& operator=(const TesselApp&) = delete;

    // Loads the window; false when QML failed to load.
    bool load(bool quiet);
    QQuickWindow* window() const;
    QQmlApplicationEngine& engine() { return engine_; }

    QSettings& settings() { return *settings_; }
    AppSession& session() { return *session_; }
    ShellModel& shell() { return shell_; }
    GuideModel& guide() { return *guide_; }
    ThemeModel& theme() { return *theme_; }
    PreferencesModel& preferences() { return *preferences_; }
    // The tray icon and its panel, made when the window loads.
    TrayIcon* tray() { return tray_.get(); }
    ~TesselApp();

private:
    std::unique_ptr<QSettings> settings_;
    std::unique_ptr<AppSession> session_;
    ShellModel shell_;
    std::unique_ptr<GuideModel> guide_;
    std::unique_ptr<ThemeModel> theme_;
    std::unique_ptr<PreferencesModel> preferences_;
    QQmlApplicationEngine engine_;
    std::unique_ptr<TrayIcon> tray_;
};

} // namespace tessel
