#include "tools/hidden/HiddenFilesModel.h"

#include "app/SettingsKeys.h"
#include "DiskScanKit/HiddenItems.h"

namespace tessel {

HiddenFilesModel::HiddenFilesModel(ScannedTree& tree, RowActions actions, QSettings* settings, QObject* parent)
    : ListRoomModel(tree, std::move(actions), settings, SettingsKey::sortHiddenFiles, largestFirst, parent) {}

void HiddenFilesModel::fill() {
    refresh([](FileNode& tree) {
        Answer answer = answerFrom(HiddenItems::results(tree, mostRows));
        for (NodeListModel::Row& row : answer.rows)
            if (std::optional<HiddenItemNote> note = HiddenItems::explanation(row.item.name)) {
                row.note = note->summary;
                row.rebuildsItself = note->rebuildsItself;
            }
        return answer;
    });
}

} // namespace tessel
