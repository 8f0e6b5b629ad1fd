#include "lists/RowActions.h"

#include "DiskScanKit/CheckedSize.h"
#include "DiskScanKit/FileNode.h"
#include "removal/RemovalRoad.h"
#include "support/QtText.h"

namespace tessel {

RowSelection::Gesture RowActions::gestureOf(int modifiers) {
    const Qt::KeyboardModifiers held(modifiers);
    if (held.testFlag(Qt::ShiftModifier)) return RowSelection::Gesture::extend;
    if (held.testFlag(Qt::ControlModifier)) return RowSelection::Gesture::toggle;
    return RowSelection::Gesture::only;
}

qint64 RowActions::bytesOf(const std::vector<const FileNode*>& nodes) {
    std::int64_t sum = 0;
    for (const FileNode* node : nodes) sum = checkedAdd(sum, node->totalBytes());
    return sum;
}

QString RowActions::nameOf(const std::vector<const FileNode*>& nodes) {
    return nodes.size() == 1 ? toQString(nodes.front()->name()) : QString();
}

void RowActions::moveToTrash(const std::vector<const FileNode*>& nodes) const {
    std::vector<DeletionCandidate> candidates;
    for (const FileNode* node : nodes) candidates.push_back(RemovalRoad::candidateFor(*node));
    if (road != nullptr && !candidates.empty()) road->prepare(std::move(candidates));
}

void RowActions::showInFiles(const std::vector<const FileNode*>& nodes) const {
    QStringList paths;
    for (const FileNode* node : nodes) paths.append(toQString(node->path()));
    if (desktop.reveal && !paths.isEmpty()) desktop.reveal(paths);
}

void RowActions::open(const std::vector<const FileNode*>& nodes) const {
    if (!canOpen(nodes.size()) || !desktop.open) return;
    for (const FileNode* node : nodes) desktop.open(toQString(node->path()));
}

} // namespace tessel
