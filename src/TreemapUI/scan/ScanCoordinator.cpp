#include "scan/ScanCoordinator.h"

#include "support/QtText.h"

#include <sys/stat.h>

#include <algorithm>
#include <QtConcurrent/QtConcurrentRun>

#include "DiskScanKit/FileManager.h"
#include "DiskScanKit/Paths.h"
#include "scan/ScanSummary.h"
#include "app/SettingsKeys.h"
#include "SystemStatsKit/DiskVolumes.h"
#include "SystemStatsKit/VolumeSampler.h"
#include "support/ThreadName.h"

namespace tessel {

namespace {

constexpr std::int64_t unreadableFoldersThatMatter = 20;

bool isFolder(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace

ScanCoordinator::Environment ScanCoordinator::Environment::system(QSettings* settings) {
    Environment environment;
    environment.settings = settings;
    environment.home = Paths::homeFolder();
    environment.scanner = [](const std::string& root, const ScanOptions& options,
                             const DiskScanner::Progress& progress, const DiskScanner::IsCancelled& isCancelled) {
        return DiskScanner::scan(root, options, progress, isCancelled);
    };
    environment.accessStatus = [home = environment.home] {
        return FullDiskAccess::status(home, LocalFileManager());
    };
    environment.mountedVolumes = [home = environment.home] { return systemVolumes(home); };
    return environment;
}

std::vector<ScanCoordinator::Volume> ScanCoordinator::Environment::systemVolumes(const std::string& home, bool measured) {
    std::vector<Volume> volumes;
    for (const DiskVolume& disk : DiskVolumes::list("/", home, measured).volumes)
        volumes.push_back({disk.mountPoint, disk.name, disk.isRoot, disk.holdsHome});
    return volumes;
}

ScanCoordinator::ScanCoordinator(Environment environment, std::string initialPath, QObject* parent)
    : QObject(parent), environment_(std::move(environment)), source_(std::move(initialPath)) {
    scanThreads_.setMaxThreadCount(2);
}

ScanCoordinator::~ScanCoordinator() {
    relay_->detach();
    // A cancelled scan returns within about a second; the pool waits for it.
    if (current_) current_->cancel();
    scanThreads_.waitForDone();
}

std::string ScanCoordinator::initialPath(const QStringList& positionalArguments) {
    if (!positionalArguments.isEmpty()) return Paths::absolute(toBytes(positionalArguments.front()));
    // Before the window opens: the disks as the mount table has them, none asked for its figures.
    return defaultPath(Environment::systemVolumes(Paths::homeFolder(), false));
}

std::string ScanCoordinator::defaultPath(const std::vector<Volume>& volumes) {
    for (const Volume& volume : volumes)
        if (volume.holdsHome) return volume.path;
    return "/";
}

ScanOptions ScanCoordinator::ordinaryOptions(bool countsVolumeTrash) {
    ScanOptions options;
    options.workerCount = std::max(1, ScanOptions::defaultWorkerCount());
    options.bufferSize = 131072;
    options.retainFileNames = true;
    options.crossDeviceBoundaries = false;
    options.fileNodeThreshold = 1048576;
    options.progressInterval = 0.25;
    options.stallTimeout = 30;
    return countsVolumeTrash ? options.includingVolumeTrash() : options;
}

bool ScanCoordinator::accessIsMissing(FullDiskAccessStatus status, std::int64_t unreadableDirectories) {
    return status == FullDiskAccessStatus::denied && unreadableDirectories >= unreadableFoldersThatMatter;
}

void ScanCoordinator::start() {
    const std::string path = source_;
    const ScanOptions options = ordinaryOptions(countsVolumeTrash());

    completed_.reset();
    if (accessMissing_) {
        accessMissing_ = false;
        emit accessMissingChanged();
    }
    setPhase(Scanning{});

    expectedBytes_.reset();
    if (environment_.settings != nullptr)
        if (std::optional<ScanSummary> last = ScanSummary::load(*environment_.settings);
            last && toBytes(last->path) == path)
            expectedBytes_ = last->bytes;

    if (current_) current_->cancel();
    auto token = std::make_shared<ScanCancellation>();
    current_ = token;

    // The relay runs these on the main thread only while the coordinator lives, so `self` is safe there.
    ScanCoordinator* self = this;
    (void)QtConcurrent::run(&scanThreads_, [relay = relay_, self, token, path, options, scanner = environment_.scanner,
                                            accessStatus = environment_.accessStatus] {
        nameThisThread("Tessel.scan");
        auto stillCurrent = [self, token] { return self->current_ == token; };
        ScanResult result;
        try {
            result = scanner(
                path, options,
                [relay, self, stillCurrent](const ScanProgress& progress) {
                    relay->post([self, stillCurrent, progress] {
                        if (stillCurrent() && self->isScanning()) self->setPhase(Scanning{progress});
                    });
                },
                [token] { return token->isCancelled(); });
        } catch (const DiskScanError& error) {
            // A newer scan owns the state: a cancelled one says nothing.
            if (error.kind() == DiskScanError::Kind::cancelled) return;
            relay->post([self, stillCurrent, message = std::string(error.what())] {
                if (stillCurrent()) self->setPhase(Failed{message});
            });
            return;
        } catch (const std::exception& error) {
            relay->post([self, stillCurrent, message = std::string(error.what())] {
                if (stillCurrent()) self->setPhase(Failed{message});
            });
            return;
        }
        const bool missing =
            accessStatus && accessIsMissing(accessStatus(), result.unreadableDirectories);
        std::vector<std::string> shortFolders;
        if (result.unreadableDirectories > 0 && result.root)
            for (const FileNode* folder : FolderReadings::shortFolders(*result.root, listedShortFolders))
                shortFolders.push_back(folder->path());
        relay->post([self, stillCurrent, missing, result = std::move(result),
                     shortFolders = std::move(shortFolders)]() mutable {
            if (!stillCurrent()) return;
            self->shortFolders_ = std::move(shortFolders);
            if (self->accessMissing_ != missing) {
                self->accessMissing_ = missing;
                emit self->accessMissingChanged();
            }
            // The tree goes to whoever takes it; the phase keeps the figures.
            ScanResult figures = result;
            figures.root.reset();
            self->completed_ = std::move(result);
            self->setPhase(Ready{std::move(figures)});
            self->completedScanID_ = QUuid::createUuid();
            emit self->completedScanIDChanged();
        });
    });
}

QStringList ScanCoordinator::shortFolderList() const {
    QStringList paths;
    for (const std::string& path : shortFolders_) paths.append(toQString(path));
    return paths;
}

std::optional<ScanResult> ScanCoordinator::takeCompleted() {
    std::optional<ScanResult> taken = std::move(completed_);
    completed_.reset();
    return taken;
}

void ScanCoordinator::scan(const QString& path) {
    setSource(Paths::absolute(toBytes(path)));
    start();
}

void ScanCoordinator::begin() {
    loadVolumes();
    start();
}

void ScanCoordinator::chooseFolder() {
    emit folderChoiceRequested(QStringLiteral("Scan"), QStringLiteral("Choose a folder or disk to map."));
}

void ScanCoordinator::loadVolumes() {
    std::vector<Volume> volumes = environment_.mountedVolumes ? environment_.mountedVolumes() : std::vector<Volume>{};
    if (volumes != volumes_) {
        volumes_ = std::move(volumes);
        emit volumesChanged();
        emit sourceChanged(); // the startup disk's name may have come with them
    }
}

void ScanCoordinator::holdForAccess() {
    if (std::holds_alternative<Idle>(phase_)) setPhase(NeedsAccess{});
}

const ScanResult* ScanCoordinator::result() const {
    const Ready* ready = std::get_if<Ready>(&phase_);
    return ready != nullptr ? &ready->result : nullptr;
}

std::optional<double> ScanCoordinator::fraction() const {
    const Scanning* scanning = std::get_if<Scanning>(&phase_);
    if (scanning == nullptr || !scanning->progress || !expectedBytes_ || *expectedBytes_ <= 0) return std::nullopt;
    // Capped below 1, so the bar can't reach its end before the scan does.
    return std::min(static_cast<double>(scanning->progress->bytes) / static_cast<double>(*expectedBytes_), 0.99);
}

std::string ScanCoordinator::startupDiskName() const {
    for (const Volume& volume : volumes_)
        if (volume.isRoot) return volume.name;
    return VolumeSampler::unnamedVolume();
}

ScanCoordinator::Stage ScanCoordinator::stage() const {
    return std::visit(
        [](const auto& phase) {
            using T = std::decay_t<decltype(phase)>;
            if constexpr (std::is_same_v<T, Idle>) return Stage::Idle;
            else if constexpr (std::is_same_v<T, Scanning>) return Stage::Scanning;
            else if constexpr (std::is_same_v<T, Ready>) return Stage::Ready;
            else if constexpr (std::is_same_v<T, Failed>) return Stage::Failed;
            else return Stage::NeedsAccess;
        },
        phase_);
}

QString ScanCoordinator::sourceLabel() const {
    for (const Volume& volume : volumes_)
        if (volume.path == source_) return toQString(volume.name);
    if (source_ == "/") return toQString(startupDiskName());
    return toQString(std::string(Paths::lastComponent(source_)));
}

QVariantList ScanCoordinator::volumeList() const {
    QVariantList list;
    for (const Volume& volume : volumes_)
        list.append(QVariantMap{{"path", toQString(volume.path)},
                                {"name", toQString(volume.name)},
                                {"isRoot", volume.isRoot},
                                {"holdsHome", volume.holdsHome}});
    return list;
}

QStringList ScanCoordinator::suggestedFolders() const {
    QStringList folders;
    for (const char* name : {"/Library", "/Downloads", "/Applications"}) {
        std::string path = environment_.home + name;
        if (isFolder(path)) folders.append(toQString(path));
    }
    return folders;
}

QVariant ScanCoordinator::fractionValue() const {
    std::optional<double> value = fraction();
    return value ? QVariant(*value) : QVariant();
}

qint64 ScanCoordinator::progressFolders() const {
    const Scanning* scanning = std::get_if<Scanning>(&phase_);
    return scanning != nullptr && scanning->progress ? scanning->progress->directories : 0;
}

qint64 ScanCoordinator::progressFiles() const {
    const Scanning* scanning = std::get_if<Scanning>(&phase_);
    return scanning != nullptr && scanning->progress ? scanning->progress->files : 0;
}

qint64 ScanCoordinator::progressBytes() const {
    const Scanning* scanning = std::get_if<Scanning>(&phase_);
    return scanning != nullptr && scanning->progress ? scanning->progress->bytes : 0;
}

QString ScanCoordinator::failure() const {
    const Failed* failed = std::get_if<Failed>(&phase_);
    return failed != nullptr ? toQString(failed->message) : QString();
}

qint64 ScanCoordinator::resultBytes() const { return result() != nullptr ? result()->bytes : 0; }
qint64 ScanCoordinator::resultFiles() const { return result() != nullptr ? result()->files : 0; }
qint64 ScanCoordinator::resultFolders() const { return result() != nullptr ? result()->directories : 0; }

bool ScanCoordinator::countsVolumeTrash() const {
    return environment_.settings != nullptr &&
           environment_.settings->value(SettingsKey::countsVolumeTrash, false).toBool();
}

void ScanCoordinator::setCountsVolumeTrash(bool counts) {
    if (environment_.settings == nullptr || counts == countsVolumeTrash()) return;
    environment_.settings->setValue(SettingsKey::countsVolumeTrash, counts);
    emit countsVolumeTrashChanged();
}

QString ScanCoordinator::completedScanIDText() const {
    return completedScanID_ ? completedScanID_->toString(QUuid::WithoutBraces) : QString();
}

void ScanCoordinator::setPhase(Phase phase) {
    phase_ = std::move(phase);
    emit phaseChanged();
}

void ScanCoordinator::setSource(std::string path) {
    if (path == source_) return;
    source_ = std::move(path);
    emit sourceChanged();
}

} // namespace tessel
