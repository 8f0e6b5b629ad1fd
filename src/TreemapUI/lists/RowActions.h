#pragma once
// What the chosen rows of a list can do, whichever room lists them: go to the
// Trash by the one removal road (after its confirmation), be shown in the
// file manager, or be opened with their default application. Opening is
// offered for a few items at a time, never for a whole list at once.

#include <vector>

#include "app/Desktop.h"
#include "support/RowSelection.h"

namespace tessel {

class FileNode;
class RemovalRoad;

struct RowActions {
    RemovalRoad* road = nullptr;
    Desktop desktop;

    // What a click with the keyboard's modifiers asks of a selection: Shift extends, Ctrl adds or takes away.
    static RowSelection::Gesture gestureOf(int modifiers);

    static constexpr int mostOpened = 10;
    static bool canOpen(std::size_t count) { return count > 0 && count <= mostOpened; }

    // What a bar says of the chosen: their bytes together, and the name of one alone (empty for more).
    static qint64 bytesOf(const std::vector<const FileNode*>& nodes);
    static QString nameOf(const std::vector<const FileNode*>& nodes);

    void moveToTrash(const std::vector<const FileNode*>& nodes) const;
    void showInFiles(const std::vector<const FileNode*>& nodes) const;
    void open(const std::vector<const FileNode*>& nodes) const;
};

} // namespace tessel
