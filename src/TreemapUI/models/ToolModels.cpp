#include "ToolModels.h"

namespace tessel {

void ToolModels::scanCompleted(const std::shared_ptr<FileNode>& root, bool savesSnapshot) {
    (void)savesSnapshot; // the changes tool saves snapshots once it stands
    scannedAt_ = QDateTime::currentDateTime();
    root_ = root;
    emit scanned();
}

} // namespace tessel
