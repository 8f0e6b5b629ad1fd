#pragma once
// The model behind the map room. Until the map stands it only keeps the tree
// it was given, so that the session's completion steps run in their order.

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>

#include "DiskScanKit/FileNode.h"

namespace tessel {

class SpaceMapModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the map")
    Q_PROPERTY(bool hasTree READ hasTree NOTIFY treeChanged)
public:
    using QObject::QObject;
    void start(const std::shared_ptr<FileNode>& root);
    bool hasTree() const { return root_ != nullptr; }

signals:
    void treeChanged();

private:
    std::shared_ptr<FileNode> root_;
};

class UninstallModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The session owns the uninstaller")
public:
    using QObject::QObject;
};

} // namespace tessel
