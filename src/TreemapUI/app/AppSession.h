#pragma once
// Everything the window shows, created once and kept for the life of the app:
// the scan, the tools, the overview, the map, the uninstaller and the
// permission gate, in that order. When a scan completes, the session tells
// each of them, in a fixed order, exactly once.

#include <QObject>
#include <QSettings>
#include <QThreadPool>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <optional>
#include <string>

#include "app/AppNotifications.h"
#include "removal/DeletionModel.h"
#include "support/MainThreadRelay.h"
#include "overview/OverviewModel.h"
#include "app/PermissionsGate.h"
#include "scan/ScanCoordinator.h"
#include "map/SpaceMapModel.h"
#include "tools/ToolModels.h"
#include "apps/UninstallModel.h"

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
    Q_PROPERTY(tessel::PermissionsGate* permissions READ permissions CONSTANT)
    Q_PROPERTY(tessel::AppNotifications* notifications READ notifications CONSTANT)
    Q_PROPERTY(tessel::LargeFilesModel* largeFiles READ largeFiles CONSTANT)
    Q_PROPERTY(tessel::SearchModel* search READ search CONSTANT)
    Q_PROPERTY(tessel::DeletionModel* removal READ removal CONSTANT)
    Q_PROPERTY(tessel::PathRemovalModel* pathRemoval READ pathRemoval CONSTANT)

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
        static Dependencies system(QSettings* settings, std::string initialPath);
    };

    explicit AppSession(Dependencies dependencies, QObject* parent = nullptr);
    ~AppSession() override;

    ScanCoordinator* scan() { return &scan_; }
    ToolModels* tools() { return &tools_; }
    OverviewModel* overview() { return &overview_; }
    SpaceMapModel* spaceMap() { return &spaceMap_; }
    UninstallModel* uninstall() { return &uninstall_; }
    PermissionsGate* permissions() { return &permissions_; }
    AppNotifications* notifications() { return &notifications_; }
    LargeFilesModel* largeFiles() { return &largeFiles_; }
    SearchModel* search() { return &search_; }
    DeletionModel* removal() { return removal_.get(); }
    PathRemovalModel* pathRemoval() { return pathRemoval_.get(); }
    // The items chosen in the map go to the removal's confirmation.
    Q_INVOKABLE void removeMapSelection();
    std::optional<QUuid> handledScan() const { return handledScan_; }

    // The launch: read the disk-access status once, then start the work it allows.
    Q_INVOKABLE void launch();
    Q_INVOKABLE void startWork();
    // The completion steps, once per completed scan however often it is called.
    Q_INVOKABLE void handleCompletedScan();

private:
    void recordSummary(const ScanResult& result);
    void postCompletionNotices(const ScanResult& result);
    RemovalEnvironment removalEnvironment();
    ChangesModel::Environment changesEnvironment() const;
    // After nodes left the tree or came back: every view and figure built on it follows.
    void treeChanged();
    void detachPaths(const QStringList& paths);
    // What came back from the Trash rejoins the tree where it was.
    void reattachPaths(const QStringList& paths);

    Dependencies dependencies_;
    ScanCoordinator scan_;
    ToolModels tools_;
    OverviewModel overview_;
    SpaceMapModel spaceMap_;
    UninstallModel uninstall_;
    std::optional<QUuid> handledScan_;
    PermissionsGate permissions_;
    AppNotifications notifications_;
    LargeFilesModel largeFiles_;
    SearchModel search_;
    LocalFileManager files_;
    QThreadPool trashWorker_;
    std::unique_ptr<DeletionModel> removal_;
    std::unique_ptr<PathRemovalModel> pathRemoval_;
    // Nodes the tools' removals took out of the present tree, oldest first.
    std::vector<std::pair<std::string, FileNode::Detachment>> detachedPaths_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
};

} // namespace tessel
