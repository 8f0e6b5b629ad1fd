#pragma once
// The overview room: the disk of the scan and how its space divides into
// kinds, one word for how the machine is doing, the last scan in a sentence,
// and the list of tools. Figures are worked out off the main thread whenever
// the scanned tree is replaced or changes, and published only if nothing
// newer came meanwhile.

#include <QObject>
#include <QSettings>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <memory>
#include <optional>
#include <string>

#include "DiskScanKit/FileNode.h"
#include "overview/MacHealth.h"
#include "overview/StorageBreakdown.h"
#include "scan/ScannedTree.h"
#include "support/MainThreadRelay.h"
#include "SystemStatsKit/VolumeCapacity.h"
#include "support/QtText.h"

namespace tessel {

class OverviewModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the overview")
    Q_PROPERTY(bool hasVolume READ hasVolume NOTIFY figuresChanged)
    Q_PROPERTY(QString volumeName READ volumeName NOTIFY figuresChanged)
    Q_PROPERTY(qint64 volumeTotal READ volumeTotal NOTIFY figuresChanged)
    Q_PROPERTY(qint64 volumeAvailable READ volumeAvailable NOTIFY figuresChanged)
    Q_PROPERTY(qint64 volumeUsed READ volumeUsed NOTIFY figuresChanged)
    Q_PROPERTY(qint64 volumeReserved READ volumeReserved NOTIFY figuresChanged)
    Q_PROPERTY(QString volumeLine READ volumeLine NOTIFY figuresChanged)
    Q_PROPERTY(QVariantMap reservedPart READ reservedPart NOTIFY figuresChanged)
    Q_PROPERTY(QVariantList parts READ parts NOTIFY figuresChanged)
    Q_PROPERTY(bool partsFromLastScan READ partsFromLastScan NOTIFY figuresChanged)
    Q_PROPERTY(QString diskName READ diskName NOTIFY healthChanged)
    Q_PROPERTY(qint64 diskTotal READ diskTotal NOTIFY healthChanged)
    Q_PROPERTY(qint64 diskAvailable READ diskAvailable NOTIFY healthChanged)
    Q_PROPERTY(qint64 diskUsed READ diskUsed NOTIFY healthChanged)
    Q_PROPERTY(qint64 diskReserved READ diskReserved NOTIFY healthChanged)
    Q_PROPERTY(QString diskLine READ diskLine NOTIFY healthChanged)
    Q_PROPERTY(qint64 scanned READ scanned NOTIFY figuresChanged)
    Q_PROPERTY(QString healthLevel READ healthLevel NOTIFY healthChanged)
    Q_PROPERTY(QString healthWord READ healthWord NOTIFY healthChanged)
    Q_PROPERTY(QString healthReason READ healthReason NOTIFY healthChanged)
    Q_PROPERTY(QString summaryLine READ summaryLine NOTIFY summaryChanged)
    Q_PROPERTY(QVariantList tools READ tools CONSTANT)
    Q_PROPERTY(bool working READ working NOTIFY figuresChanged)

public:
    OverviewModel(ScannedTree& tree, QSettings* settings, std::string home, QObject* parent = nullptr);
    ~OverviewModel() override;

    // The startup disk's health, cheap enough to read at launch.
    Q_INVOKABLE void refreshHealth();
    // The line about the last scan, from the summary kept in the settings.
    Q_INVOKABLE void refreshSummary();

    const std::optional<StorageBreakdown>& breakdown() const { return breakdown_; }
    const MacHealth& health() const { return health_; }
    int generation() const { return generation_; }

    bool hasVolume() const { return volume_.has_value(); }
    QString volumeName() const;
    qint64 volumeTotal() const { return volume_ ? volume_->total : 0; }
    qint64 volumeAvailable() const { return volume_ ? volume_->available : 0; }
    // Used, and kept for the system, as the disk bar shows them: the reserve
    // only where it is more than 1% of the disk, else 0 and counted as used.
    // Used, reserved and available add up to the total.
    qint64 volumeUsed() const { return volume_ ? volume_->usedAsShown() : 0; }
    qint64 volumeReserved() const { return volume_ && volume_->showsReserved() ? volume_->reserved : 0; }
    // "34.1 GB used of 271 GB, 68.7 GB free, 168 GB reserved for the system"
    QString volumeLine() const;
    // The disk bar's grey part {title, description, bytes}; empty when too small to show.
    QVariantMap reservedPart() const;
    // The parts of the scanned tree; until a new scan's stand, those of the last scan kept.
    QVariantList parts() const;
    bool partsFromLastScan() const { return !breakdown_ && !lastScanParts_.empty(); }
    // The startup disk, which the sidebar and the health word speak of.
    QString diskName() const { return startupDisk_ ? toQString(startupDisk_->name) : QString(); }
    qint64 diskTotal() const { return startupDisk_ ? startupDisk_->total : 0; }
    qint64 diskAvailable() const { return startupDisk_ ? startupDisk_->available : 0; }
    qint64 diskUsed() const { return startupDisk_ ? startupDisk_->usedAsShown() : 0; }
    qint64 diskReserved() const { return startupDisk_ && startupDisk_->showsReserved() ? startupDisk_->reserved : 0; }
    const std::optional<VolumeCapacity>& startupDisk() const { return startupDisk_; }
    QString diskLine() const;
    qint64 scanned() const { return breakdown_ ? breakdown_->scanned : 0; }
    QString healthLevel() const;
    QString healthWord() const { return toQString(health_.word); }
    QString healthReason() const { return toQString(health_.reason.value_or(std::string())); }
    QString summaryLine() const { return summaryLine_; }
    QVariantList tools() const;
    bool working() const { return working_; }

signals:
    void figuresChanged();
    void healthChanged();
    void summaryChanged();
    // The first figures of a new scan's tree stand.
    void scanFigured();

private:
    // Works out the breakdown of the tree as it stands, in the background.
    void figure(bool newScan);
    // The disk of the last scan, so that its kept parts stand on a whole disk bar at launch.
    void sampleLastScansDisk(const std::string& path);

    ScannedTree& tree_;
    QSettings* settings_;
    std::string home_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    int generation_ = 0;
    bool working_ = false;
    // A new scan's tree whose figures have not stood yet.
    bool awaitingFirstFigures_ = false;
    std::optional<VolumeCapacity> volume_;
    std::optional<VolumeCapacity> startupDisk_;
    std::optional<StorageBreakdown> breakdown_;
    std::vector<StorageBreakdown::Part> lastScanParts_;
    MacHealth health_;
    QString summaryLine_;
};

} // namespace tessel
