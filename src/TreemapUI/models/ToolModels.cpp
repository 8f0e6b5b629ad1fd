#include "ToolModels.h"

namespace tessel {

ToolModels::ToolModels(QSettings* settings, QObject* parent) : QObject(parent), hidden_(settings, this) {}

void ToolModels::scanCompleted(const std::shared_ptr<FileNode>& root, bool savesSnapshot) {
    (void)savesSnapshot; // the changes tool saves snapshots once it stands
    scannedAt_ = QDateTime::currentDateTime();
    hidden_.scanCompleted(root);
    emit scanned();
}

} // namespace tessel
