#pragma once
// The summary of a scan and its exports: the tiles (how much, how many
// folders and files, the largest folder), a spreadsheet or a web page saved
// where the user chooses, and a few lines for the clipboard.
//
// An export walks the whole tree, which takes a while on a disk of millions
// of files, so it runs on the tree's reader threads, holding the tree only
// while it reads it and writing the file after. It says how far it has come,
// one export at a time, and its words ("Saved …" or why not) arrive on the
// main thread, dropped if another scan has come in the meantime.

#include <QDateTime>
#include <QObject>
#include <QUrl>
#include <QVariant>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <optional>

#include "DiskScanKit/ScanReport.h"
#include "scan/ScannedTree.h"
#include "support/MainThreadRelay.h"

namespace tessel {

class FileNode;

class ReportView : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The tools own the report")
    Q_PROPERTY(bool hasTree READ hasTree NOTIFY treeChanged)
    Q_PROPERTY(bool hasInventory READ hasInventory NOTIFY treeChanged)
    Q_PROPERTY(QVariantList tiles READ tiles NOTIFY treeChanged)
    // The export card's rows: format, title, symbol and what it is good for.
    Q_PROPERTY(QVariantList exportChoices READ exportChoices CONSTANT)
    Q_PROPERTY(QString lastSaved READ lastSaved NOTIFY exported)
    Q_PROPERTY(QString lastError READ lastError NOTIFY exported)
    // While an export runs: no other starts, and the view shows how far it has come.
    Q_PROPERTY(bool isExporting READ isExporting NOTIFY exportProgressChanged)
    Q_PROPERTY(double exportProgress READ exportProgress NOTIFY exportProgressChanged)
    Q_PROPERTY(QString exportingText READ exportingText NOTIFY exportProgressChanged)

public:
    static constexpr int csvLimit = 2000;
    static constexpr int htmlLimit = 200;

    using Clock = std::function<QDateTime()>;
    // Follows `tree`: a new scan is stamped with `clock` and its figures worked
    // out; a change works them out again for what is left.
    explicit ReportView(ScannedTree& tree, Clock clock = &QDateTime::currentDateTime, QObject* parent = nullptr);
    ~ReportView() override;

    bool hasTree() const { return root_ != nullptr; }
    bool hasInventory() const { return inventory_.has_value(); }
    QVariantList tiles() const;
    QVariantList exportChoices() const { return exportChoicesOn(currentPlatform()); }
    static QVariantList exportChoicesOn(Platform platform);
    QString lastSaved() const { return lastSaved_; }
    QString lastError() const { return lastError_; }
    bool isExporting() const { return !exportingText_.isEmpty(); }
    // From 0 to 1: how much of the tree the running export has read.
    double exportProgress() const { return exportProgress_; }
    // "Writing the spreadsheet…" or "Writing the web page…"; empty when none runs.
    QString exportingText() const { return exportingText_; }

    // "Tessel report <folder> <yyyy-MM-dd>.<csv|html>", with ":" made "-".
    Q_INVOKABLE QString suggestedName(const QString& format) const;
    // The suggested name in the user's Documents folder (the home when there is none).
    Q_INVOKABLE QUrl suggestedFile(const QString& format) const;
    // Writes the spreadsheet ("csv") or the page ("html") to `file`, whole or
    // not at all, off the main thread; nothing while another export runs.
    Q_INVOKABLE void exportTo(const QString& format, const QUrl& file);
    // The clipboard's lines, worked out with the tiles' figures; empty until they are.
    Q_INVOKABLE QString summaryText() const;
    Q_INVOKABLE void copySummary() const;

signals:
    void treeChanged();
    void exported();
    void exportProgressChanged();

private:
    void scanCompleted();
    // The figures of the tiles, from one walk of the tree, in the background.
    void takeInventory();
    void exportAdvanced(double fraction);
    // `failure` is the reason it could not be saved; empty when it was.
    void exportFinished(const QString& path, const QString& failure);
    void setExporting(QString text);

    ScannedTree& tree_;
    Clock clock_;
    std::shared_ptr<FileNode> root_;
    QDateTime scannedAt_;
    std::optional<ScanReport::Inventory> inventory_;
    QString summary_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    QString lastSaved_;
    QString lastError_;
    int generation_ = 0;
    QString exportingText_;
    double exportProgress_ = 0;
    // Rises with each export and each new scan: an export's words count only while it is current.
    int exportGeneration_ = 0;
};

} // namespace tessel
