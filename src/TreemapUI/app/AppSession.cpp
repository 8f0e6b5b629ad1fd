#include "app/AppSession.h"

#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QtConcurrent>

#include <chrono>
#include <utility>

#include "app/Notices.h"
#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/Paths.h"
#include "DiskScanKit/ScanWords.h"
#include "scan/ScanSummary.h"
#include "support/QtText.h"
#include "support/ThreadName.h"
#include "TrashKit/SystemExtensionsInside.h"
#include "UninstallKit/AppHomes.h"
#include "UninstallKit/AppLaunchers.h"
#include "UninstallKit/DesktopApps.h"
#include "UninstallKit/DpkgDatabase.h"

namespace tessel {

namespace {

// The apps of this machine with the folders wholly theirs: built from the
// package index kept in the cache, where there is a package database.
std::vector<MapLens::KnownApp> installedAppHomes(const std::string& home) {
    const DesktopMachine machine = DesktopMachine::fromEnvironment("/");
    std::optional<PathOwners> owners;
    try {
        owners = PathOwners::cached("/", Paths::xdgFolder("XDG_CACHE_HOME", home, ".cache") + "/Tessel");
    } catch (const DpkgError&) {
        owners.reset();
    }
    std::vector<MapLens::KnownApp> known;
    for (AppHome& app : AppHomes::of(AppCatalog::installedApps(machine).apps, owners ? &*owners : nullptr, machine))
        known.push_back({std::move(app.name), std::move(app.paths)});
    return known;
}

} // namespace

AppSession::Dependencies AppSession::Dependencies::system(QSettings* settings, std::string initialPath) {
    Dependencies dependencies;
    dependencies.settings = settings;
    dependencies.home = Paths::homeFolder();
    dependencies.initialPath = std::move(initialPath);
    dependencies.scanEnvironment = ScanCoordinator::Environment::system(settings);
    dependencies.accessStatus = [home = dependencies.home] { return FullDiskAccess::status(home, LocalFileManager()); };
    // Linux has no settings pane for disk access: there is nothing to open.
    dependencies.openAccessSettings = [] {};
    dependencies.trash = makeSystemTrash();
    dependencies.bundlePath = QCoreApplication::applicationFilePath().toStdString();
    dependencies.snapshotDirectory = SnapshotStore::defaultDirectory();
    dependencies.desktop = Desktop::system();
    const std::shared_ptr<DesktopLaunchers> pinned =
        DesktopLaunchers::system(Paths::xdgFolder("XDG_CONFIG_HOME", dependencies.home, ".config"));
    dependencies.launchers = std::make_shared<AppLaunchers>(
        pinned, [] { return AppCatalog::installedApps(DesktopMachine::fromEnvironment("/")).apps; });
    dependencies.knownApps = [home = dependencies.home] { return installedAppHomes(home); };
    dependencies.junk = JunkModel::Dependencies::system(JunkPlaces::fromEnvironment(), settings);
    dependencies.leftovers = LeftoversModel::Dependencies::system(dependencies.home);
    dependencies.startup = StartupItemsModel::Dependencies::system(dependencies.home);
    dependencies.systemData = SystemDataModel::Dependencies::system("/");
    dependencies.aiData = AIDataModel::Dependencies::system(dependencies.home);
    dependencies.uninstall = UninstallModel::Dependencies::system(dependencies.home, pinned, settings);
    return dependencies;
}

AppSession::AppSession(Dependencies dependencies, QObject* parent)
    : QObject(parent), dependencies_(std::move(dependencies)), tree_(this), notifications_(this),
      removal_((trashWorker_.setMaxThreadCount(1), removalEnvironment()), tree_, this),
      scan_(dependencies_.scanEnvironment, dependencies_.initialPath, this),
      tools_(tree_, removal_, dependencies_.desktop, dependencies_.settings, changesEnvironment(), dependencies_.home,
             dependencies_.junk, dependencies_.leftovers, dependencies_.startup, dependencies_.systemData,
             dependencies_.aiData, this),
      overview_(tree_, dependencies_.settings, dependencies_.home, this), spaceMap_(tree_, dependencies_.settings, this),
      uninstall_(dependencies_.uninstall, removal_, this),
      unused_(uninstall_,
              [] {
                  return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
              },
              this),
      permissions_(this), largeFiles_(tree_, {&removal_, dependencies_.desktop}, dependencies_.settings, this),
      search_(tree_, {&removal_, dependencies_.desktop}, dependencies_.settings, this),
      systemHistory_(SystemHistory::Readers::system(dependencies_.systemRoots), dependencies_.monitorClock),
      diskHistory_(dependencies_.settings, this),
      monitor_({&systemHistory_, dependencies_.systemRoots, "/", dependencies_.monitorClock, &diskHistory_}, this) {
    if (qGuiApp != nullptr)
        connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
            if (state == Qt::ApplicationActive) removal_.applicationActivated();
        });
    connect(&scan_, &ScanCoordinator::completedScanIDChanged, this, &AppSession::handleCompletedScan);
    connect(&permissions_, &PermissionsGate::answered, this, &AppSession::startWork);
    // The summary of a scan keeps its breakdown, which the overview works out once for both.
    connect(&overview_, &OverviewModel::scanFigured, this, &AppSession::recordSummary);
    // Each reading of the startup disk is the day's point of its history.
    connect(&overview_, &OverviewModel::healthChanged, this, [this] {
        if (const std::optional<VolumeCapacity>& disk = overview_.startupDisk())
            diskHistory_.record(QDateTime::currentDateTime(), *disk);
    });
}

AppSession::~AppSession() {
    relay_->detach();
    trashWorker_.waitForDone();
}

ChangesModel::Environment AppSession::changesEnvironment() const {
    ChangesModel::Environment environment;
    environment.directory = dependencies_.snapshotDirectory.empty()
                                ? dependencies_.home + "/.local/share/Tessel/Snapshots"
                                : dependencies_.snapshotDirectory;
    return environment;
}

RemovalEnvironment AppSession::removalEnvironment() {
    if (!dependencies_.trash) dependencies_.trash = makeSystemTrash();
    RemovalEnvironment environment;
    environment.context = {dependencies_.home, dependencies_.bundlePath, currentPlatform(), {}};
    environment.files = &files_;
    environment.bin = dependencies_.trash.get();
    environment.worker = &trashWorker_;
    environment.notices = &notifications_;
    environment.extensionDatabase = SystemExtensionsInside::standardDatabase;
    environment.reveal = dependencies_.desktop.reveal;
    environment.launchers = dependencies_.launchers;
    return environment;
}

void AppSession::showInFiles(const QStringList& paths) const {
    if (dependencies_.desktop.reveal && !paths.isEmpty()) dependencies_.desktop.reveal(paths);
}

void AppSession::removeMapSelection() {
    std::vector<DeletionCandidate> candidates;
    auto add = [&](const FileNode* node) {
        if (node != nullptr) candidates.push_back(RemovalRoad::candidateFor(*node));
    };
    for (const MapItem& item : spaceMap_.chosen()) {
        add(item.node);
        for (const FileNode* member : item.memberNodes) add(member);
        for (const MapItem& member : item.memberItems) add(member.node);
    }
    if (!candidates.empty()) removal_.prepare(candidates);
}

void AppSession::launch() {
    if (dependencies_.knownApps)
        (void)QtConcurrent::run(QThreadPool::globalInstance(), [relay = relay_, self = this, known = dependencies_.knownApps] {
            nameThisThread("Tessel.apps");
            std::vector<MapLens::KnownApp> apps = known();
            relay->post([self, apps = std::move(apps)]() mutable { self->spaceMap_.setKnownApps(std::move(apps)); });
        });
    if (dependencies_.accessStatus) permissions_.receive(dependencies_.accessStatus());
    if (permissions_.scanWaits()) scan_.holdForAccess();
    overview_.refreshHealth();
    // The hour's charts start with the app, so the monitor shows them at once.
    if (!std::exchange(watchingHistory_, true)) systemHistory_.watch();
    startWork();
}

void AppSession::startWork() {
    // A scan already stands.
    if (scan_.stage() != ScanCoordinator::Stage::Idle && scan_.stage() != ScanCoordinator::Stage::NeedsAccess) return;
    if (permissions_.scanWaits()) return;
    scan_.begin();
}

void AppSession::handleCompletedScan() {
    const std::optional<QUuid> id = scan_.completedScanID();
    if (!id || handledScan_ == id) return;
    std::optional<ScanResult> result = scan_.takeCompleted();
    if (!result) return;
    handledScan_ = id;
    const ScanResult figures = [&] {
        ScanResult copy = *result;
        copy.root.reset();
        return copy;
    }();
    summaryPending_ = true;
    // Every room hears of the new tree from the tree itself.
    tree_.replace(std::move(*result));
    postCompletionNotices(figures);
}

void AppSession::recordSummary() {
    const ScanResult* result = tree_.result();
    const std::optional<StorageBreakdown>& breakdown = overview_.breakdown();
    if (!std::exchange(summaryPending_, false) || result == nullptr || !breakdown) return;
    ScanSummary summary;
    summary.path = toQString(result->root->path());
    summary.label = scan_.sourceLabel();
    summary.bytes = result->bytes;
    summary.files = result->files;
    summary.folders = result->directories;
    for (const StorageBreakdown::Part& part : breakdown->parts)
        summary.parts[std::string(StorageBreakdown::key(part.category))] += part.bytes;
    summary.date = QDateTime::currentDateTime();
    if (dependencies_.settings == nullptr) return;
    summary.save(*dependencies_.settings);
    overview_.refreshSummary();
}

void AppSession::postCompletionNotices(const ScanResult& result) {
    notifications_.post(Notices::scanFinished(result.bytes, result.duration));
    if (!result.stalledPaths.empty()) {
        QStringList paths;
        for (const std::string& path : result.stalledPaths) paths.append(toQString(path));
        notifications_.post(Notices::foldersSkipped(paths, [this] { scan_.start(); }));
    }
    if (scan_.accessMissing())
        notifications_.post(Notices::accessIncomplete(result.unreadableDirectories, dependencies_.openAccessSettings));
    else if (result.unreadableDirectories > 0)
        notifications_.post(Notices::foldersUnread(result.unreadableDirectories, [this, count = result.unreadableDirectories] {
            emit shortFoldersRequested(toQString(ScanWords::unreadableTitle(count)), count);
        }));
}

} // namespace tessel
