#pragma once
// The summary of a scan and its exports: the tiles (how much, how many
// folders and files, the largest folder), a spreadsheet or a web page saved
// where the user chooses, and a few lines for the clipboard.

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
    Q_PROPERTY(QString lastSaved READ lastSaved NOTIFY exported)
    Q_PROPERTY(QString lastError READ lastError NOTIFY exported)

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
    QString lastSaved() const { return lastSaved_; }
    QString lastError() const { return lastError_; }

    // "Tessel report <folder> <yyyy-MM-dd>.<csv|html>", with ":" made "-".
    Q_INVOKABLE QString suggestedName(const QString& format) const;
    // The suggested name in the user's Documents folder (the home when there is none).
    Q_INVOKABLE QUrl suggestedFile(const QString& format) const;
    // Writes the spreadsheet ("csv") or the page ("html") to `file`, whole or not at all.
    Q_INVOKABLE void exportTo(const QString& format, const QUrl& file);
    Q_INVOKABLE QString summaryText() const;
    Q_INVOKABLE void copySummary() const;

signals:
    void treeChanged();
    void exported();

private:
    void scanCompleted();
    // The figures of the tiles, from one walk of the tree, in the background.
    void takeInventory();

    ScannedTree& tree_;
    Clock clock_;
    std::shared_ptr<FileNode> root_;
    QDateTime scannedAt_;
    std::optional<ScanReport::Inventory> inventory_;
    std::shared_ptr<MainThreadRelay> relay_ = MainThreadRelay::make(this);
    QString lastSaved_;
    QString lastError_;
    int generation_ = 0;
};

} // namespace tessel
