#include "AppSession.h"

#include <QDir>
#include <QtConcurrent/QtConcurrentRun>

#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/Paths.h"
#include "Notices.h"
#include "ScanSummary.h"
#include "SystemStatsKit/VolumeSampler.h"

namespace tessel {

AppSession::Dependencies AppSession::Dependencies::system(QSettings* settings, std::string initialPath) {
    Dependencies dependencies;
    dependencies.settings = settings;
    dependencies.home = Paths::homeFolder();
    dependencies.initialPath = std::move(initialPath);
    dependencies.scanEnvironment = ScanCoordinator::Environment::system(settings);
    dependencies.accessStatus = [home = dependencies.home] { return FullDiskAccess::status(home, LocalFileManager()); };
    // Linux has no settings pane for disk access: there is nothing to open.
    dependencies.openAccessSettings = [] {};
    return dependencies;
}

AppSession::AppSession(Dependencies dependencies, QObject* parent)
    : QObject(parent), dependencies_(std::move(dependencies)),
      scan_(dependencies_.scanEnvironment, dependencies_.initialPath, this), tools_(dependencies_.settings, this),
      overview_(dependencies_.settings, dependencies_.home, this), spaceMap_(dependencies_.settings, this), uninstall_(this),
      permissions_(this), notifications_(this), largeFiles_(dependencies_.settings, this),
      search_(dependencies_.settings, this) {
    connect(&scan_, &ScanCoordinator::completedScanIDChanged, this, &AppSession::handleCompletedScan);
    connect(&permissions_, &PermissionsGate::answered, this, &AppSession::startWork);
}

AppSession::~AppSession() { relay_->detach(); }

void AppSession::launch() {
    if (dependencies_.accessStatus) permissions_.receive(dependencies_.accessStatus());
    if (permissions_.scanWaits()) scan_.holdForAccess();
    overview_.refreshHealth();
    startWork();
}

void AppSession::startWork() {
    if (scan_.phaseName() != "idle" && scan_.phaseName() != "needsAccess") return; // a scan already stands
    if (permissions_.scanWaits()) return;
    scan_.begin();
}

void AppSession::handleCompletedScan() {
    const std::optional<QUuid> id = scan_.completedScanID();
    const ScanResult* result = scan_.result();
    if (!id || result == nullptr || handledScan_ == id) return;
    handledScan_ = id;
    const std::string rootPath = result->root->path();

    recordSummary(*result);
    tools_.scanCompleted(result->root, true);
    overview_.scanCompleted(result->root, rootPath);
    spaceMap_.start(result->root);
    largeFiles_.scanCompleted(result->root);
    search_.scanCompleted(result->root);
    postCompletionNotices(*result);
}

void AppSession::recordSummary(const ScanResult& result) {
    AppSession* self = this;
    ScanSummary summary;
    summary.path = QString::fromStdString(result.root->path());
    summary.label = scan_.sourceLabel();
    summary.bytes = result.bytes;
    summary.files = result.files;
    summary.folders = result.directories;
    (void)QtConcurrent::run([relay = relay_, self, summary, root = result.root, home = dependencies_.home]() mutable {
        const std::string path = summary.path.toStdString();
        StorageBreakdown breakdown = StorageBreakdown::make(*root, VolumeSampler(path).sample(), home);
        for (const StorageBreakdown::Part& part : breakdown.parts)
            summary.parts[std::string(StorageBreakdown::key(part.category))] += part.bytes;
        summary.date = QDateTime::currentDateTime();
        relay->post([self, summary] {
            if (self->dependencies_.settings != nullptr) summary.save(*self->dependencies_.settings);
        });
    });
}

void AppSession::postCompletionNotices(const ScanResult& result) {
    notifications_.post(Notices::scanFinished(result.bytes, result.duration));
    if (!result.stalledPaths.empty()) {
        QStringList paths;
        for (const std::string& path : result.stalledPaths) paths.append(QString::fromStdString(path));
        notifications_.post(Notices::foldersSkipped(paths, [this] { scan_.start(); }));
    }
    if (scan_.accessMissing())
        notifications_.post(Notices::accessIncomplete(result.unreadableDirectories, dependencies_.openAccessSettings));
}

} // namespace tessel
