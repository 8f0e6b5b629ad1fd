#include "SpaceMapModel.h"

namespace tessel {

void SpaceMapModel::start(const std::shared_ptr<FileNode>& root) {
    root_ = root;
    emit treeChanged();
}

} // namespace tessel
