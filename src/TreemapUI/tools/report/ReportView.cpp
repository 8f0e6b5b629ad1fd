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

// Written beside the target and renamed over it: a failure leaves nothing
// behind. Gives the reason on failure, nothing on success.
QString writeWhole(const QString& path, const std::string& text) {
    QSaveFile out(path);
    if (out.open(QIODevice::WriteOnly) &&
        out.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size()) && out.commit())
        return {};
    const QString reason = out.errorString();
    out.cancelWriting();
    return reason.isEmpty() ? QStringLiteral("Unknown error") : reason;
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
    // An export of the last scan may still be writing; what it says no longer belongs here.
    ++exportGeneration_;
    setExporting({});
    emit exported();
    takeInventory();
}

void ReportView::takeInventory() {
    inventory_.reset();
    summary_.clear();
    const int generation = ++generation_;
    emit treeChanged();
    ReportView* self = this;
    // The tiles need one walk of the whole tree: off the main thread.
    tree_.read([relay = relay_, self, generation, scannedAt = timePoint(scannedAt_)](FileNode& root) {
        // One walk serves the tiles and the summary.
        ScanReport::Inventory inventory = ScanReport::inventory(root, ScanReport::summaryRows);
        QString summary = toQString(ScanReport::summaryText(root, inventory, scannedAt));
        relay->post([self, generation, inventory = std::move(inventory), summary = std::move(summary)]() mutable {
            if (generation != self->generation_) return;
            self->inventory_ = std::move(inventory);
            self->summary_ = std::move(summary);
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

QVariantList ReportView::exportChoicesOn(Platform platform) {
    // Numbers is a Mac's own; a Linux desktop opens a spreadsheet in LibreOffice Calc.
    const QString opensIn = platform == Platform::macOS ? QStringLiteral("Opens in Numbers or Excel.")
                                                        : QStringLiteral("Opens in LibreOffice Calc or any spreadsheet.");
    auto choice = [](const char* format, const char* title, const char* symbol, const QString& detail) {
        return QVariantMap{{"format", format}, {"title", title}, {"symbol", symbol}, {"detail", detail}};
    };
    return {choice("csv", "Spreadsheet", "doc.text",
                   QStringLiteral("The largest folders and files, one per row, with their sizes and their share of "
                                  "this scan. ") + opensIn),
            choice("html", "Web Page", "doc",
                   QStringLiteral("One page with the totals and the largest folders and files. Opens in any "
                                  "browser, and loads nothing from the internet."))};
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
    if (root_ == nullptr || isExporting()) return;
    lastSaved_.clear();
    lastError_.clear();
    emit exported();
    const bool page = format == QStringLiteral("html");
    setExporting(page ? QStringLiteral("Writing the web page…") : QStringLiteral("Writing the spreadsheet…"));
    const int generation = ++exportGeneration_;
    const QString path = file.isLocalFile() ? file.toLocalFile() : file.toString();
    const ScanReport::TimePoint scannedAt = timePoint(scannedAt_);
    ReportView* self = this;
    tree_.run([relay = relay_, self, generation, reader = tree_.reader(), page, path, scannedAt] {
        const ScanReport::Progress progress = [relay, self, generation](double fraction) {
            relay->post([self, generation, fraction] {
                if (generation == self->exportGeneration_) self->exportAdvanced(fraction);
            });
        };
        std::string text;
        {
            const ScannedTree::Reader::Hold hold = reader.hold();
            text = page ? ScanReport::html(*reader.root(), scannedAt, htmlLimit, currentPlatform(), progress)
                        : ScanReport::csv(*reader.root(), scannedAt, csvLimit, progress);
        }
        // Written with the tree let go: a slow disk never holds up a removal.
        const QString failure = writeWhole(path, text);
        relay->post([self, generation, path, failure] {
            if (generation == self->exportGeneration_) self->exportFinished(path, failure);
        });
    });
}

void ReportView::exportAdvanced(double fraction) {
    exportProgress_ = fraction;
    emit exportProgressChanged();
}

void ReportView::exportFinished(const QString& path, const QString& failure) {
    if (failure.isEmpty()) lastSaved_ = QStringLiteral("Saved ") + QFileInfo(path).fileName();
    else lastError_ = QStringLiteral("Could not save the report: ") + failure;
    setExporting({});
    emit exported();
}

void ReportView::setExporting(QString text) {
    exportingText_ = std::move(text);
    exportProgress_ = 0;
    emit exportProgressChanged();
}

QString ReportView::summaryText() const { return inventory_ ? summary_ : QString(); }

void ReportView::copySummary() const {
    if (QGuiApplication::clipboard() != nullptr) QGuiApplication::clipboard()->setText(summaryText());
}

} // namespace tessel
