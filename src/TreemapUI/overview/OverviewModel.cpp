#include "overview/OverviewModel.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <utility>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/DiskWords.h"
#include "DiskScanKit/TextFormat.h"
#include "support/QtText.h"
#include "app/Rooms.h"
#include "overview/HealthInputs.h"
#include "scan/ScanSummary.h"
#include "SystemStatsKit/VolumeSampler.h"

namespace tessel {

OverviewModel::OverviewModel(ScannedTree& tree, QSettings* settings, std::string home, QObject* parent)
    : QObject(parent), tree_(tree), settings_(settings), home_(std::move(home)) {
    connect(&tree_, &ScannedTree::replaced, this, [this] {
        awaitingFirstFigures_ = true;
        figure(true);
    });
    connect(&tree_, &ScannedTree::changed, this, [this] { figure(false); });
    refreshSummary();
    if (settings_ != nullptr)
        if (std::optional<ScanSummary> summary = ScanSummary::load(*settings_)) sampleLastScansDisk(toBytes(summary->path));
}

void OverviewModel::sampleLastScansDisk(const std::string& path) {
    const int generation = generation_;
    OverviewModel* self = this;
    tree_.run([relay = relay_, self, generation, path] {
        std::optional<VolumeCapacity> volume = VolumeSampler(path).sample();
        relay->post([self, generation, volume] {
            // A new scan's own figures win over the last one's.
            if (generation != self->generation_ || self->breakdown_ || !volume) return;
            self->volume_ = volume;
            emit self->figuresChanged();
        });
    });
}

OverviewModel::~OverviewModel() { relay_->detach(); }

void OverviewModel::figure(bool newScan) {
    const int generation = ++generation_;
    const ScannedTree::Reader reader = tree_.reader();
    if (!reader) return;
    working_ = true;
    emit figuresChanged();
    OverviewModel* self = this;
    // The disk is asked without a hold on the tree: a disk that does not answer must not keep changes waiting.
    tree_.run([relay = relay_, self, generation, reader, home = home_] {
        std::optional<VolumeCapacity> volume = VolumeSampler(reader.root()->path()).sample();
        StorageBreakdown breakdown = [&] {
            const ScannedTree::Reader::Hold hold = reader.hold();
            return StorageBreakdown::make(*reader.root(), volume, home);
        }();
        relay->post([self, generation, volume, breakdown = std::move(breakdown)]() mutable {
            if (generation != self->generation_) return;
            self->volume_ = volume;
            self->breakdown_ = std::move(breakdown);
            self->working_ = false;
            emit self->figuresChanged();
            if (std::exchange(self->awaitingFirstFigures_, false)) emit self->scanFigured();
        });
    });
    if (newScan) refreshHealth();
}

void OverviewModel::refreshHealth() {
    OverviewModel* self = this;
    tree_.run([relay = relay_, self] {
        const HealthInputs inputs = HealthInputs::read(SystemRoots{}, "/");
        std::optional<VolumeCapacity> disk = inputs.disk;
        MacHealth health = inputs.assess();
        relay->post([self, disk, health = std::move(health)] {
            self->startupDisk_ = disk;
            self->health_ = health;
            emit self->healthChanged();
        });
    });
}

void OverviewModel::refreshSummary() {
    QString line;
    if (settings_ != nullptr)
        if (std::optional<ScanSummary> summary = ScanSummary::load(*settings_)) {
            lastScanParts_.clear();
            for (const auto& [key, bytes] : summary->parts)
                if (std::optional<StorageBreakdown::Category> category = StorageBreakdown::category(key); category && bytes > 0)
                    lastScanParts_.push_back({*category, StorageBreakdown::title(*category, toBytes(summary->label)), bytes});
            std::ranges::sort(lastScanParts_, {}, &StorageBreakdown::Part::category);
            const QLocale locale;
            line = QStringLiteral("Last scan: %1, %2. %3 in %4 and %5.")
                       .arg(summary->label, summary->when(QDateTime::currentDateTime(), locale),
                            toQString(ByteFormat::string(summary->bytes)),
                            toQString(TextFormat::counted(summary->files, "file", "files")),
                            toQString(TextFormat::counted(summary->folders, "folder", "folders")));
        }
    if (line != summaryLine_) {
        summaryLine_ = line;
        emit summaryChanged();
    }
}

QString OverviewModel::volumeName() const {
    return volume_ ? toQString(volume_->name) : QString();
}

QString OverviewModel::volumeLine() const {
    if (!volume_) return {};
    return toQString(DiskWords::usage(volume_->usedAsShown(), volume_->total, volume_->available, volumeReserved()));
}

QVariantMap OverviewModel::reservedPart() const {
    if (volumeReserved() == 0) return {};
    return {
        {"title", toQString(DiskWords::reservedTitle())},
        {"description", toQString(DiskWords::reservedExplanation())},
        {"bytes", volumeReserved()},
    };
}

QString OverviewModel::diskLine() const {
    return startupDisk_ ? toQString(DiskWords::freeOf(startupDisk_->available, startupDisk_->total)) : QString();
}

QVariantList OverviewModel::parts() const {
    QVariantList list;
    for (const StorageBreakdown::Part& part : breakdown_ ? breakdown_->parts : lastScanParts_)
        list.append(QVariantMap{
            {"key", toQString(StorageBreakdown::key(part.category))},
            {"title", toQString(part.title)},
            {"description", toQString(StorageBreakdown::description(part.category))},
            {"bytes", static_cast<qint64>(part.bytes)},
        });
    return list;
}

QString OverviewModel::healthLevel() const {
    switch (health_.level) {
    case MacHealth::Level::good: return "good";
    case MacHealth::Level::fair: return "fair";
    case MacHealth::Level::poor: return "poor";
    }
    return "good";
}

QVariantList OverviewModel::tools() const {
    QVariantList list;
    for (ToolsView::Tool tool : ToolsView::allTools()) {
        std::optional<std::string_view> line = ToolsView::line(tool);
        if (!line) continue;
        const AppShell::Room room{AppShell::Room::Kind::tool, tool == ToolsView::Tool::changes ? ToolsView::Tool::report : tool};
        std::string symbol = "chart.bar.doc.horizontal";
        for (const AppShell::Section& section : AppShell::sections())
            for (const AppShell::Item& item : section.items)
                if (item.room == room) symbol = item.symbol;
        list.append(QVariantMap{
            {"key", toQString(ToolsView::key(tool))},
            {"title", toQString(AppShell::title({AppShell::Room::Kind::tool, tool}))},
            {"line", toQString(*line)},
            {"symbol", toQString(symbol)},
            {"room", toQString(room.id())},
        });
    }
    return list;
}

} // namespace tessel
