#include "lists/LargeFilesModel.h"

#include "app/SettingsKeys.h"

namespace tessel {

LargeFilesModel::LargeFilesModel(ScannedTree& tree, RowActions actions, QSettings* settings, QObject* parent)
    : ListRoomModel(tree, std::move(actions), settings, SettingsKey::sortLargeFiles, largestFirst, parent) {}

void LargeFilesModel::fill() {
    refresh([](FileNode& tree) {
        FileQuery query;
        query.kind = FileQuery::Kind::filesOnly;
        return answerFrom(FileSearch::run(query, tree, mostRows));
    });
}

} // namespace tessel
