#include "app/AppSession.h"

#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QtConcurrent/QtConcurrentRun>

#include <set>

#include "scan/TreeAccess.h"

#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/Paths.h"
#include "app/Notices.h"
#include "TrashKit/SystemExtensionsInside.h"
#include "scan/ScanSummary.h"
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
    dependencies.trash = makeSystemTrash();
    dependencies.bundlePath = QCoreApplication::applicationFilePath().toStdString();
    dependencies.snapshotDirectory = SnapshotStore::defaultDirectory();
    return dependencies;
}

AppSession::AppSession(Dependencies dependencies, QObject* parent)
    : QObject(parent), dependencies_(std::move(dependencies)),
      scan_(dependencies_.scanEnvironment, dependencies_.initialPath, this),
      tools_(dependencies_.settings, changesEnvironment(), dependencies_.home, this),
      overview_(dependencies_.settings, dependencies_.home, this), spaceMap_(dependencies_.settings, this), uninstall_(this),
      permissions_(this), notifications_(this), largeFiles_(dependencies_.settings, this),
      search_(dependencies_.settings, this) {
    // Moves are done one at a time, in order, off the main thread.
    trashWorker_.setMaxThreadCount(1);
    if (!dependencies_.trash) dependencies_.trash = makeSystemTrash();
    removal_ = std::make_unique<DeletionModel>(removalEnvironment(), this);
    pathRemoval_ = std::make_unique<PathRemovalModel>(removalEnvironment(), this);
    connect(removal_.get(), &DeletionModel::treeChanged, this, &AppSession::treeChanged);
    connect(pathRemoval_.get(), &PathRemovalModel::pathsRemoved, this, &AppSession::detachPaths);
    connect(pathRemoval_.get(), &PathRemovalModel::pathsRestored, this, &AppSession::reattachPaths);
    tools_.duplicates()->setRemoval(pathRemoval_.get());
    if (qGuiApp != nullptr)
        connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
            if (state != Qt::ApplicationActive) return;
            removal_->applicationActivated();
            pathRemoval_->applicationActivated();
        });
    connect(&scan_, &ScanCoordinator::completedScanIDChanged, this, &AppSession::handleCompletedScan);
    connect(&permissions_, &PermissionsGate::answered, this, &AppSession::startWork);
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
    RemovalEnvironment environment;
    environment.context = {dependencies_.home, dependencies_.bundlePath, currentPlatform(), {}};
    environment.files = &files_;
    environment.bin = dependencies_.trash.get();
    environment.worker = &trashWorker_;
    environment.notices = &notifications_;
    environment.extensionDatabase = SystemExtensionsInside::standardDatabase;
    environment.reveal = [](const QStringList& paths) { FileManagerHandOff::reveal(paths); };
    return environment;
}

void AppSession::removeMapSelection() {
    const ScanResult* result = scan_.result();
    if (result == nullptr) return;
    std::vector<FileNode*> nodes;
    for (const MapItem& item : spaceMap_.chosen()) {
        if (item.node != nullptr) nodes.push_back(item.node);
        for (FileNode* member : item.memberNodes) nodes.push_back(member);
        for (const MapItem& member : item.memberItems)
            if (member.node != nullptr) nodes.push_back(member.node);
    }
    if (nodes.empty()) return;
    removal_->setSelection(result->root, std::move(nodes));
    removal_->prepare();
}

void AppSession::treeChanged() {
    const ScanResult* result = scan_.result();
    if (result == nullptr) return;
    spaceMap_.treeChanged();
    overview_.scanCompleted(result->root, result->root->path());
    largeFiles_.scanCompleted(result->root);
    search_.scanCompleted(result->root);
    tools_.hidden()->scanCompleted(result->root);
}

void AppSession::detachPaths(const QStringList& paths) {
    const ScanResult* result = scan_.result();
    if (result == nullptr) return;
    const std::string rootPath = result->root->path();
    bool changed = false;
    {
        std::unique_lock changing(TreeAccess::lock());
        for (const QString& text : paths) {
            const std::string path = text.toStdString();
            if (!Paths::isWithin(path, rootPath) || path == rootPath) continue;
            // Down the tree by name, one component at a time.
            FileNode* node = result->root.get();
            std::string_view rest = std::string_view(path).substr(rootPath == "/" ? 1 : rootPath.size() + 1);
            while (node != nullptr && !rest.empty()) {
                const std::size_t slash = rest.find('/');
                const std::string_view name = rest.substr(0, slash);
                FileNode* next = nullptr;
                for (FileNode* child : node->children())
                    if (child->name() == name) next = child;
                node = next;
                rest = slash == std::string_view::npos ? std::string_view{} : rest.substr(slash + 1);
            }
            if (node == nullptr) continue;
            if (std::optional<FileNode::Detachment> detachment = node->detachFromTree()) {
                detachedPaths_.emplace_back(path, *detachment);
                changed = true;
            }
        }
    }
    if (changed) treeChanged();
}

void AppSession::reattachPaths(const QStringList& paths) {
    std::set<std::string> restored;
    for (const QString& path : paths) restored.insert(path.toStdString());
    bool changed = false;
    {
        std::unique_lock changing(TreeAccess::lock());
        // Newest first, so that each node finds its siblings as they were when it left.
        for (auto entry = detachedPaths_.rbegin(); entry != detachedPaths_.rend();) {
            if (!restored.contains(entry->first)) {
                ++entry;
                continue;
            }
            entry->second.node->reattach(entry->second);
            entry = decltype(entry)(detachedPaths_.erase(std::next(entry).base()));
            changed = true;
        }
    }
    if (changed) treeChanged();
}

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
    detachedPaths_.clear();
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
        std::optional<VolumeCapacity> volume = VolumeSampler(path).sample();
        StorageBreakdown breakdown = [&] {
            std::shared_lock reading(TreeAccess::lock());
            return StorageBreakdown::make(*root, volume, home);
        }();
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
