#pragma once
// Runs the scan behind the Scan button: what to scan, the phase it is in, and
// the one rule that makes pressing Scan again safe: only the holder of the
// current token may write state, so a slower, older scan can never overwrite
// a newer one, even if it finishes first.

#include <QObject>
#include <QSettings>
#include <QThreadPool>
#include <QString>
#include <QUuid>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "DiskScanKit/DiskScanner.h"
#include "DiskScanKit/FullDiskAccess.h"
#include "support/MainThreadRelay.h"
#include "scan/ScanCancellation.h"
#include "support/QtText.h"

namespace tessel {

class ScanCoordinator : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the scan")
    Q_PROPERTY(tessel::ScanCoordinator::Stage stage READ stage NOTIFY phaseChanged)
    Q_PROPERTY(bool isScanning READ isScanning NOTIFY phaseChanged)
    Q_PROPERTY(QString source READ source NOTIFY sourceChanged)
    Q_PROPERTY(QString sourceLabel READ sourceLabel NOTIFY sourceChanged)
    Q_PROPERTY(QVariantList volumes READ volumeList NOTIFY volumesChanged)
    Q_PROPERTY(QStringList suggestedFolders READ suggestedFolders CONSTANT)
    Q_PROPERTY(QString homeFolder READ homeFolder CONSTANT)
    Q_PROPERTY(QVariant fraction READ fractionValue NOTIFY phaseChanged)
    Q_PROPERTY(qint64 progressFolders READ progressFolders NOTIFY phaseChanged)
    Q_PROPERTY(qint64 progressFiles READ progressFiles NOTIFY phaseChanged)
    Q_PROPERTY(qint64 progressBytes READ progressBytes NOTIFY phaseChanged)
    Q_PROPERTY(QString failure READ failure NOTIFY phaseChanged)
    Q_PROPERTY(qint64 resultBytes READ resultBytes NOTIFY phaseChanged)
    Q_PROPERTY(qint64 resultFiles READ resultFiles NOTIFY phaseChanged)
    Q_PROPERTY(qint64 resultFolders READ resultFolders NOTIFY phaseChanged)
    Q_PROPERTY(bool accessMissing READ accessMissing NOTIFY accessMissingChanged)
    Q_PROPERTY(bool countsVolumeTrash READ countsVolumeTrash WRITE setCountsVolumeTrash NOTIFY countsVolumeTrashChanged)
    Q_PROPERTY(QString completedScanID READ completedScanIDText NOTIFY completedScanIDChanged)
    Q_PROPERTY(QStringList shortFolders READ shortFolderList NOTIFY completedScanIDChanged)

public:
    // Which phase stands, for views and for tests; the phase itself carries its payload.
    enum class Stage { Idle, Scanning, Ready, Failed, NeedsAccess };
    Q_ENUM(Stage)

    struct Idle {};
    struct NeedsAccess {};
    struct Scanning {
        std::optional<ScanProgress> progress;
    };
    struct Ready {
        ScanResult result; // the figures; the tree goes to the one who takes it
    };
    struct Failed {
        std::string message;
    };
    using Phase = std::variant<Idle, Scanning, Ready, Failed, NeedsAccess>;

    struct Volume {
        std::string path;
        std::string name;
        bool isRoot = false;
        bool holdsHome = false;
        bool operator==(const Volume&) const = default;
    };

    using Scanner = std::function<ScanResult(const std::string& root, const ScanOptions& options,
                                             const DiskScanner::Progress& progress,
                                             const DiskScanner::IsCancelled& isCancelled)>;
    // What the coordinator needs from the machine; tests hand in their own.
    struct Environment {
        QSettings* settings = nullptr;
        std::string home;
        Scanner scanner;
        std::function<FullDiskAccessStatus()> accessStatus;
        std::function<std::vector<Volume>()> mountedVolumes;
        // Called on the main thread when the user should pick a folder.
        static Environment system(QSettings* settings);
        // The local disks, as "tessel volumes" lists them.
        static std::vector<Volume> systemVolumes(const std::string& home, bool measured = true);
    };

    ScanCoordinator(Environment environment, std::string initialPath, QObject* parent = nullptr);
    ~ScanCoordinator() override;

    // The path a launch asks for: the command line's folder, else defaultPath.
    static std::string initialPath(const QStringList& positionalArguments);
    // Where a launch without a path starts: the disk that holds the home
    // folder, else the whole disk.
    static std::string defaultPath(const std::vector<Volume>& volumes);

    Q_INVOKABLE void start();
    Q_INVOKABLE void scan(const QString& path);
    Q_INVOKABLE void begin();
    // Asks the view for a folder; the view answers with scan(path).
    Q_INVOKABLE void chooseFolder();
    Q_INVOKABLE void loadVolumes();
    // The permission gate holds the first scan until the user has answered.
    void holdForAccess();

    const Phase& phase() const { return phase_; }
    // The figures of the last completed scan, without its tree.
    const ScanResult* result() const;
    // The last completed scan, tree and all, once: the scanned tree takes it.
    std::optional<ScanResult> takeCompleted();
    std::optional<QUuid> completedScanID() const { return completedScanID_; }
    std::optional<std::int64_t> expectedBytes() const { return expectedBytes_; }
    std::optional<double> fraction() const;
    const std::vector<Volume>& volumes() const { return volumes_; }
    std::string startupDiskName() const;

    Stage stage() const;
    bool isScanning() const { return std::holds_alternative<Scanning>(phase_); }
    QString source() const { return toQString(source_); }
    QString sourceLabel() const;
    QVariantList volumeList() const;
    QStringList suggestedFolders() const;
    QString homeFolder() const { return toQString(environment_.home); }
    QVariant fractionValue() const;
    qint64 progressFolders() const;
    qint64 progressFiles() const;
    qint64 progressBytes() const;
    QString failure() const;
    qint64 resultBytes() const;
    qint64 resultFiles() const;
    qint64 resultFolders() const;
    bool accessMissing() const { return accessMissing_; }
    bool countsVolumeTrash() const;
    void setCountsVolumeTrash(bool counts);
    QString completedScanIDText() const;
    // The folders the last completed scan could not read whole, the first `listedShortFolders` of them.
    const std::vector<std::string>& shortFolders() const { return shortFolders_; }
    QStringList shortFolderList() const;
    static constexpr std::size_t listedShortFolders = 1000;

    // The options of an ordinary scan.
    static ScanOptions ordinaryOptions(bool countsVolumeTrash);
    // Many unreadable folders with access denied mean the total is short.
    static bool accessIsMissing(FullDiskAccessStatus status, std::int64_t unreadableDirectories);

signals:
    void phaseChanged();
    void sourceChanged();
    void volumesChanged();
    void accessMissingChanged();
    void countsVolumeTrashChanged();
    void completedScanIDChanged();
    void folderChoiceRequested(const QString& prompt, const QString& message);

private:
    void setPhase(Phase phase);
    void setSource(std::string path);

    Environment environment_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    Phase phase_ = Idle{};
    std::string source_;
    std::vector<Volume> volumes_;
    std::optional<ScanResult> completed_;
    std::optional<QUuid> completedScanID_;
    std::vector<std::string> shortFolders_;
    bool accessMissing_ = false;
    std::optional<std::int64_t> expectedBytes_;
    std::shared_ptr<ScanCancellation> current_;
    // Scans run here; one cancelled by a newer scan ends within a second beside it.
    QThreadPool scanThreads_;
};

} // namespace tessel
