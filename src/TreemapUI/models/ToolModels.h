#pragma once
// One model per tool, each reset for every new tree. The tools arrive one by
// one; those that stand are held here.

#include <QDateTime>
#include <QObject>
#include <QSettings>
#include <QtQml/qqmlregistration.h>

#include <memory>

#include "DiskScanKit/FileNode.h"
#include "ToolRooms.h"

namespace tessel {

class ToolModels : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the tools")
    Q_PROPERTY(QDateTime scannedAt READ scannedAt NOTIFY scanned)
    Q_PROPERTY(tessel::HiddenFilesModel* hidden READ hidden CONSTANT)
public:
    explicit ToolModels(QSettings* settings, QObject* parent = nullptr);

    QDateTime scannedAt() const { return scannedAt_; }
    HiddenFilesModel* hidden() { return &hidden_; }
    // Each tree-dependent tool goes back to its empty state for the new tree.
    void scanCompleted(const std::shared_ptr<FileNode>& root, bool savesSnapshot);

signals:
    void scanned();

private:
    QDateTime scannedAt_;
    HiddenFilesModel hidden_;
};

} // namespace tessel
