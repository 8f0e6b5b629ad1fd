#include "tools/report/ReportView.h"

#include <QClipboard>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSaveFile>
#include <QStandardPaths>

#include "DiskScanKit/ByteFormat.h"
#include "DiskScanKit/FileNode.h"
#include "DiskScanKit/TextFormat.h"
#include "support/QtText.h"

namespace tessel {

namespace {

ScanReport::TimePoint timePoint(const QDateTime& when) {
    return ScanReport::TimePoint(std::chrono::milliseconds(when.toMSecsSinceEpoch()));
}

QVariantMap tile(const QString& title, const QString& value, const QString& caption) {
    return {{"title", title}, {"value", value}, {"caption", caption}};
}

} // namespace

ReportView::ReportView(ScannedTree& tree, Clock clock, QObject* parent)
    : QObject(parent), tree_(tree), clock_(std::move(clock)) {
    connect(&tree_, &ScannedTree::replaced, this, &ReportView::scanCompleted);
    connect(&tree_, &ScannedTree::changed, this, &ReportView::takeInventory);
}

ReportView::~ReportView() { relay_->detach(); }

void ReportView::scanCompleted() {
    root_ = tree_.root();
    scannedAt_ = clock_();
    lastSaved_.clear();
    lastError_.clear();
    emit exported();
    takeInventory();
}

void ReportView::takeInventory() {
    inventory_.reset();
    const int generation = ++generation_;
    emit treeChanged();
    ReportView* self = this;
    // The tiles need one walk of the whole tree: off the main thread.
    tree_.read([relay = relay_, self, generation](FileNode& root) {
        ScanReport::Inventory inventory = ScanReport::inventory(root, 1);
        relay->post([self, generation, inventory = std::move(inventory)]() mutable {
            if (generation != self->generation_) return;
            self->inventory_ = std::move(inventory);
            emit self->treeChanged();
        });
    });
}

QVariantList ReportView::tiles() const {
    if (root_ == nullptr) return {};
    const QString name = toQString(ScanReport::rootName(*root_));
    const QString waiting = QStringLiteral("…");
    QVariantList all;
    all.append(tile(QStringLiteral("Scanned"), toQString(ByteFormat::string(root_->totalBytes())),
                    toQString(ScanReport::readableDate(timePoint(scannedAt_)))));
    all.append(tile(QStringLiteral("Folders"),
                    inventory_ ? toQString(TextFormat::grouped(inventory_->folderCount)) : waiting,
                    QStringLiteral("Everything beneath ") + name));
    all.append(tile(QStringLiteral("Files"), inventory_ ? toQString(TextFormat::grouped(inventory_->fileCount)) : waiting,
                    QStringLiteral("Small ones counted with their folder")));
    if (inventory_ && !inventory_->folders.empty()) {
        const FileNode* largest = inventory_->folders.front();
        all.append(tile(QStringLiteral("Largest Folder"), toQString(largest->name()),
                        toQString(ByteFormat::string(largest->totalBytes()))));
    } else {
        all.append(tile(QStringLiteral("Largest Folder"), inventory_ ? QStringLiteral("None") : waiting,
                        inventory_ ? QStringLiteral("No folders inside") : QString()));
    }
    return all;
}

QString ReportView::suggestedName(const QString& format) const {
    QString folder = root_ ? toQString(ScanReport::rootName(*root_)) : QStringLiteral("scan");
    folder.replace(QLatin1Char(':'), QLatin1Char('-'));
    folder.replace(QLatin1Char('/'), folder == QStringLiteral("/") ? QStringLiteral("Disk") : QStringLiteral("-"));
    const QString extension = format == QStringLiteral("html") ? QStringLiteral("html") : QStringLiteral("csv");
    return QStringLiteral("Tessel report ") + folder + QLatin1Char(' ') + scannedAt_.toString(QStringLiteral("yyyy-MM-dd")) +
           QLatin1Char('.') + extension;
}

QUrl ReportView::suggestedFile(const QString& format) const {
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (folder.isEmpty() || !QFileInfo(folder).isDir()) folder = QDir::homePath();
    return QUrl::fromLocalFile(QDir(folder).filePath(suggestedName(format)));
}

void ReportView::exportTo(const QString& format, const QUrl& file) {
    lastSaved_.clear();
    lastError_.clear();
    if (root_ == nullptr) return;
    const std::string text = format == QStringLiteral("html") ? ScanReport::html(*root_, timePoint(scannedAt_), htmlLimit)
                                                              : ScanReport::csv(*root_, timePoint(scannedAt_), csvLimit);
    const QString path = file.isLocalFile() ? file.toLocalFile() : file.toString();
    // Written beside the target and renamed over it: a failure leaves nothing behind.
    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly) ||
        out.write(text.data(), static_cast<qint64>(text.size())) != static_cast<qint64>(text.size()) || !out.commit()) {
        lastError_ = QStringLiteral("Could not save the report: ") + out.errorString();
        out.cancelWriting();
    } else {
        lastSaved_ = QStringLiteral("Saved ") + QFileInfo(path).fileName();
    }
    emit exported();
}

QString ReportView::summaryText() const {
    if (root_ == nullptr) return {};
    return toQString(ScanReport::summaryText(*root_, timePoint(scannedAt_)));
}

void ReportView::copySummary() const {
    if (QGuiApplication::clipboard() != nullptr) QGuiApplication::clipboard()->setText(summaryText());
}

} // namespace tessel
