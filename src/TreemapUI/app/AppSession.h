#pragma once
// Everything the window shows, created once and kept for the life of the app:
// the scanned tree and the removal road first, then the scan, the tools, the
// overview, the map, the uninstaller, the permission gate and the list rooms.
// When a scan completes the session hands its result to the tree, once; every
// room follows the tree by itself, in the order the rooms were made.

#include <QObject>
#include <QSettings>
#include <QThreadPool>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <optional>
#include <string>

#include "app/AppNotifications.h"
#include "app/Desktop.h"
#include "app/PermissionsGate.h"
#include "apps/UninstallModel.h"
#include "apps/UnusedAppsModel.h"
#include "lists/LargeFilesModel.h"
#include "lists/SearchModel.h"
#include "tools/hidden/HiddenFilesModel.h"
#include "map/SpaceMapModel.h"
#include "monitor/DiskUsageHistory.h"
#include "monitor/MonitorModel.h"
#include "monitor/SystemHistory.h"
#include "overview/OverviewModel.h"
#include "removal/RemovalRoad.h"
#include "scan/ScanCoordinator.h"
#include "scan/ScannedTree.h"
#include "support/MainThreadRelay.h"
#include "tools/ToolModels.h"

namespace tessel {

class AppSession : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The app creates the session")
    Q_PROPERTY(tessel::ScanCoordinator* scan READ scan CONSTANT)
    Q_PROPERTY(tessel::ToolModels* tools READ tools CONSTANT)
    Q_PROPERTY(tessel::OverviewModel* overview READ overview CONSTANT)
    Q_PROPERTY(tessel::SpaceMapModel* spaceMap READ spaceMap CONSTANT)
    Q_PROPERTY(tessel::UninstallModel* uninstall READ uninstall CONSTANT)
    Q_PROPERTY(tessel::UnusedAppsModel* unused READ unused CONSTANT)
    Q_PROPERTY(tessel::PermissionsGate* permissions READ permissions CONSTANT)
    Q_PROPERTY(tessel::AppNotifications* notifications READ notifications CONSTANT)
    Q_PROPERTY(tessel::LargeFilesModel* largeFiles READ largeFiles CONSTANT)
    Q_PROPERTY(tessel::SearchModel* search READ search CONSTANT)
    Q_PROPERTY(tessel::ScannedTree* tree READ tree CONSTANT)
    Q_PROPERTY(tessel::RemovalRoad* removal READ removal CONSTANT)
    Q_PROPERTY(tessel::MonitorModel* monitor READ monitor CONSTANT)

public:
    struct Dependencies {
        QSettings* settings = nullptr;
        std::string home;
        std::string initialPath = "/";
        ScanCoordinator::Environment scanEnvironment;
        std::function<FullDiskAccessStatus()> accessStatus;
        std::function<void()> openAccessSettings;
        // Where removed things go; the system's Trash unless a test gives its own.
        std::shared_ptr<TrashBin> trash;
        std::optional<std::string> bundlePath;
        // Where snapshots are kept; the home's data folder when left empty.
        std::string snapshotDirectory;
        // The file manager and default applications; nothing happens when left empty.
        Desktop desktop;
        // The launchers the desktop pins for apps; none leaves them alone.
        std::shared_ptr<LauncherTiles> launchers;
        // The installed apps and their homes, for the map's Apps lens; read once, in the background.
        std::function<std::vector<MapLens::KnownApp>()> knownApps;
        // The junk room's search and what runs; it finds nothing when left empty.
        JunkModel::Dependencies junk;
        // The leftovers room's look; it finds nothing when left empty.
        LeftoversModel::Dependencies leftovers;
        // The startup room's machine and how it switches; it lists nothing when left empty.
        StartupItemsModel::Dependencies startup;
        // The System Data room's look; it finds nothing when left empty.
        SystemDataModel::Dependencies systemData;
        // The AI Data Sweeper's look; it finds nothing when left empty.
        AIDataModel::Dependencies aiData;
        // The uninstaller's machine and what runs; it lists nothing when left empty.
        UninstallModel::Dependencies uninstall;
        // Where the monitors read the kernel, and their clock.
        SystemRoots systemRoots;
        MonitorClock monitorClock = MonitorClock::system();
        static Dependencies system(QSettings* settings, std::string initialPath);
    };

    explicit AppSession(Dependencies dependencies, QObject* parent = nullptr);
    ~AppSession() override;

    ScanCoordinator* scan() { return &scan_; }
    ToolModels* tools() { return &tools_; }
    OverviewModel* overview() { return &overview_; }
    SpaceMapModel* spaceMap() { return &spaceMap_; }
    UninstallModel* uninstall() { return &uninstall_; }
    UnusedAppsModel* unused() { return &unused_; }
    PermissionsGate* permissions() { return &permissions_; }
    AppNotifications* notifications() { return &notifications_; }
    LargeFilesModel* largeFiles() { return &largeFiles_; }
    SearchModel* search() { return &search_; }
    ScannedTree* tree() { return &tree_; }
    RemovalRoad* removal() { return &removal_; }
    MonitorModel* monitor() { return &monitor_; }
    // The hour's history that the monitor's charts draw; one per app, running from launch.
    SystemHistory* systemHistory() { return &systemHistory_; }
    DiskUsageHistory* diskHistory() { return &diskHistory_; }
    // The items chosen in the map go to the removal's confirmation.
    Q_INVOKABLE void removeMapSelection();
    std::optional<QUuid> handledScan() const { return handledScan_; }

    // The launch: read the disk-access status once, then start the work it allows.
    Q_INVOKABLE void launch();
    Q_INVOKABLE void startWork();
    // The completion steps, once per completed scan however often it is called.
    Q_INVOKABLE void handleCompletedScan();
    // Shows the given paths in the file manager.
    Q_INVOKABLE void showInFiles(const QStringList& paths) const;

signals:
    // The notice of folders a scan could not read asks the window to list them.
    void shortFoldersRequested(const QString& title, qint64 count);

private:
    void recordSummary();
    void postCompletionNotices(const ScanResult& result);
    RemovalEnvironment removalEnvironment();
    ChangesModel::Environment changesEnvironment() const;

    Dependencies dependencies_;
    ScannedTree tree_;
    AppNotifications notifications_;
    LocalFileManager files_;
    // Moves are done one at a time, in order, off the main thread.
    QThreadPool trashWorker_;
    RemovalRoad removal_;
    ScanCoordinator scan_;
    ToolModels tools_;
    OverviewModel overview_;
    SpaceMapModel spaceMap_;
    UninstallModel uninstall_;
    UnusedAppsModel unused_;
    std::optional<QUuid> handledScan_;
    PermissionsGate permissions_;
    LargeFilesModel largeFiles_;
    SearchModel search_;
    SystemHistory systemHistory_;
    DiskUsageHistory diskHistory_;
    MonitorModel monitor_;
    bool watchingHistory_ = false;
    // A new scan whose summary is kept once the overview has its figures.
    bool summaryPending_ = false;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
};

} // namespace tessel
