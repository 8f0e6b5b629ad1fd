#pragma once
// One model per tool. The tools arrive one by one; until then this holds what
// they share: when the tree they work on was scanned.

#include <QDateTime>
#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>

#include "DiskScanKit/FileNode.h"

namespace tessel {

class ToolModels : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the tools")
    Q_PROPERTY(QDateTime scannedAt READ scannedAt NOTIFY scanned)
public:
    using QObject::QObject;

    QDateTime scannedAt() const { return scannedAt_; }
    // Each tree-dependent tool goes back to its empty state for the new tree.
    void scanCompleted(const std::shared_ptr<FileNode>& root, bool savesSnapshot);

signals:
    void scanned();

private:
    QDateTime scannedAt_;
    std::shared_ptr<FileNode> root_;
};

} // namespace tessel
